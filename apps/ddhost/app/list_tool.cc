// ddhost --list: the console commands the library registered, with their help texts.
#include <cstdio>

#include "basalt/console.h"
#include "tool.h"

namespace {

int ListCommands(const std::vector<std::string>& /*args*/) {
  const auto commands = basalt::console::CommandRegistry::Get().ListCommands();
  if (commands.empty()) std::printf("no console commands are registered\n");
  for (const basalt::console::CommandInfo& command : commands)
    std::printf("%s\n    %s\n", basalt::ToStdString(command.name).c_str(),
                basalt::ToStdString(command.help).c_str());
  return 0;
}

}  // namespace

DDHOST_TOOL(list, "--list", "--list", "the console commands the library registered, with their help",
            ListCommands);
