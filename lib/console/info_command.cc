#include "console/info_command.h"

namespace dolbydigital {

InfoCommand::~InfoCommand() = default;

bool InfoCommand::Run() { return true; }

}  // namespace dolbydigital
