// The console command "dolbydigital.Info". It is offered with its help text and, by design,
// does nothing when run: reading a stream's parameters is the decoder's business, and hosts
// that want it call the decoder themselves.
#ifndef DOLBYDIGITAL_CONSOLE_INFO_COMMAND_H
#define DOLBYDIGITAL_CONSOLE_INFO_COMMAND_H

#include "basalt/console.h"

namespace dolbydigital {

class InfoCommand : public basalt::console::Command {
 public:
  static constexpr const char* kName = "dolbydigital.Info";
  static constexpr const char* kHelp = "dolbydigital.Info <file> - get info about ac3 or ec3 file";

  ~InfoCommand() override;
  bool Run() override;  // returns at once
};

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_CONSOLE_INFO_COMMAND_H
