// The host conveniences of ddhost ("params", "decode", "info", ...). Each lives in its own
// <name>_tool.cc and registers itself with DDHOST_TOOL; the dispatcher finds it by name.
#ifndef DDHOST_TOOL_H
#define DDHOST_TOOL_H

#include <string>
#include <vector>

namespace ddhost {

// Runs a tool with the words after its name; returns the process exit code.
using ToolMain = int (*)(const std::vector<std::string>& args);

struct Tool {
  const char* name;      // "params"
  const char* synopsis;  // "params [--mode N] [--layout NAME]"
  const char* summary;   // one line for --help
  ToolMain run;
};

struct ToolRegistrar {
  explicit ToolRegistrar(const Tool& tool);
};

const std::vector<Tool>& Tools();
const Tool* FindTool(const std::string& name);

}  // namespace ddhost

#define DDHOST_TOOL(ident, name, synopsis, summary, run) \
  static const ::ddhost::ToolRegistrar ident##_registrar(::ddhost::Tool{name, synopsis, summary, run})

#endif  // DDHOST_TOOL_H
