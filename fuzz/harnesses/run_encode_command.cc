#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "basalt/console.h"
#include "basalt/string.h"
#include "dolbydigital/registration.h"
#include "fuzz_harnesses.h"
#include "scratch_files.h"

namespace ddfuzz {
namespace {

// Configuration files a user might pass: the common cases, a mode from a newer version and
// settings the encoder must refuse or correct.
constexpr const char* kConfigurations[] = {
    "{\"CodecMode\": 1, \"ChannelConfiguration\": 2, \"DataRate\": 192}",
    "{\"CodecMode\": 0, \"ChannelConfiguration\": 7, \"EnableLFE\": 1, \"DataRate\": 640}",
    "{\"CodecMode\": 3, \"ChannelConfiguration\": 1, \"DataRate\": 64}",
    "{\"CodecMode\": 0, \"ChannelConfiguration\": 21, \"DataRate\": 1024}",
    "{\"CodecMode\": 6}",
    "{\"CodecMode\": 2, \"DataRate\": -5, \"DialNorm\": 4294967295}",
    "not json",
};
constexpr std::size_t kConfigurationCount = sizeof kConfigurations / sizeof kConfigurations[0];

// The library registers its commands once, as a host does after loading it.
void RegisterOnce() {
  static const bool registered = [] {
    dolbydigital::RegisterCommandAndTests();
    return true;
  }();
  (void)registered;
}

}  // namespace

void RunEncodeCommand(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return;
  RegisterOnce();
  std::string arguments = "-in=" + WriteScratchFile("input.wav", data + 1, size - 1) +
                          " -out=" + ScratchPath("output.ac3");
  const std::size_t choice = data[0] % (kConfigurationCount + 1);
  if (choice > 0) {
    const std::string text = kConfigurations[choice - 1];
    arguments += " -cfg=" + WriteScratchFile("settings.json", text.data(), text.size());
  }
  const auto name = basalt::AsciiToUTF16("dolbydigital.Encode");
  std::unique_ptr<basalt::console::Command> command =
      basalt::console::CommandRegistry::Get().CreateCommand(name, basalt::AsciiToUTF16(arguments.c_str()));
  FuzzCheck(command != nullptr, "the library registered dolbydigital.Encode");
  command->Run();
}

}  // namespace ddfuzz
