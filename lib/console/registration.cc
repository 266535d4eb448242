// Registration of the library's console commands and self-checks with the host.
#include "dolbydigital/registration.h"

#include "basalt/console.h"
#include "console/encode_command.h"
#include "console/info_command.h"
#include "unittests/self_checks.h"

namespace dolbydigital {
namespace {

using basalt::AsciiToUTF16;
using basalt::console::Command;
using basalt::console::CommandRegistry;

Command* CreateEncodeCommand(const UTF16String& /*name*/, const UTF16String& arguments) {
  return new EncodeCommand(arguments);
}

Command* CreateInfoCommand(const UTF16String& /*name*/, const UTF16String& /*arguments*/) {
  return new InfoCommand;
}

}  // namespace

void RegisterCommandAndTests() {
  CommandRegistry& registry = CommandRegistry::Get();
  registry.RegisterCommand(AsciiToUTF16(EncodeCommand::kName), AsciiToUTF16(EncodeCommand::kHelp),
                           &CreateEncodeCommand);
  registry.RegisterCommand(AsciiToUTF16(InfoCommand::kName), AsciiToUTF16(InfoCommand::kHelp),
                           &CreateInfoCommand);
  RegisterSelfChecks();
}

void UnregisterCommandAndTests() {
  CommandRegistry& registry = CommandRegistry::Get();
  registry.UnregisterCommand(AsciiToUTF16(EncodeCommand::kName));
  registry.UnregisterCommand(AsciiToUTF16(InfoCommand::kName));
  UnregisterSelfChecks();
}

}  // namespace dolbydigital
