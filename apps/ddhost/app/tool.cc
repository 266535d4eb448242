#include "tool.h"

namespace ddhost {
namespace {

std::vector<Tool>& Registry() {
  static std::vector<Tool> tools;  // filled by static registrars while the module loads
  return tools;
}

}  // namespace

ToolRegistrar::ToolRegistrar(const Tool& tool) { Registry().push_back(tool); }

const std::vector<Tool>& Tools() { return Registry(); }

const Tool* FindTool(const std::string& name) {
  for (const Tool& t : Registry())
    if (name == t.name) return &t;
  return nullptr;
}

}  // namespace ddhost
