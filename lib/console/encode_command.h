// The console command "dolbydigital.Encode": encodes a WAV file into an AC-3 or E-AC-3
// elementary stream with the settings of a parameter configuration file.
//   dolbydigital.Encode -cfg=settings.json -in=input.wav -out=output.ec3
#ifndef DOLBYDIGITAL_CONSOLE_ENCODE_COMMAND_H
#define DOLBYDIGITAL_CONSOLE_ENCODE_COMMAND_H

#include "basalt/console.h"
#include "console/encode_arguments.h"

namespace dolbydigital {

class EncodeCommand : public basalt::console::Command {
 public:
  static constexpr const char* kName = "dolbydigital.Encode";
  static constexpr const char* kHelp =
      "dolbydigital.Encode - encode src wavefile into wavefile with dolby bitstream using a "
      "configuration file";

  // `arguments`: the text typed after the command's name.
  explicit EncodeCommand(const UTF16String& arguments);
  ~EncodeCommand() override;
  // True when the stream was written completely; on failure nothing is left at the output.
  bool Run() override;

 private:
  EncodeArguments arguments_;
};

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_CONSOLE_ENCODE_COMMAND_H
