// ddhost info IN: the sample rate, channel layout and coding parameters of a stream.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "basalt/string.h"
#include "dolbydigital/decoder.h"
#include "dolbydigital/parameters.h"
#include "engine_check.h"
#include "stream_source.h"
#include "tidemark/audio_channel.h"
#include "tool.h"

namespace ddhost {
namespace {

std::string Text(const basalt::UTF16String& text) { return basalt::ToStdString(text); }

void PrintLayout(const dolbydigital::ChannelLayout& layout) {
  std::printf("Channels: %zu\n", layout.size());
  for (std::size_t i = 0; i < layout.size(); ++i)
    std::printf("  %zu: %s (%s)\n", i, Text(tidemark::AudioChannelLabelAbbreviations(layout[i].label)).c_str(),
                Text(tidemark::AudioChannelLabelDescription(layout[i].label, false)).c_str());
}

int RunInfo(const std::vector<std::string>& args) {
  if (args.size() != 1) {
    std::fprintf(stderr, "usage: ddhost info IN\n");
    return 2;
  }
  if (!ddhost::RequireEngine("ddhost info")) return 1;
  std::string problem;
  std::unique_ptr<StreamSource> source = OpenStreamSource(args[0], problem);
  if (!source) {
    std::fprintf(stderr, "ddhost info: %s\n", problem.c_str());
    return 1;
  }
  dolbydigital::Decoder decoder;
  int error = 0;
  if (!decoder.InitializeForDecode(source->Callback(), error)) {
    std::fprintf(stderr, "ddhost info: %s is not a decodable stream: %s\n", args[0].c_str(),
                 Text(dolbydigital::Decoder::GetErrorDescription(error)).c_str());
    return 1;
  }
  std::printf("Sample rate: %d Hz\n", decoder.GetSampleRate());
  PrintLayout(decoder.GetAudioChannelLayout());
  dolbydigital::ParameterMap params;
  if (!decoder.GetParameters(params)) return 1;
  std::printf("Parameters:\n");
  for (const auto& [id, value] : params)
    std::printf("  %s: %s\n", Text(dolbydigital::GetParameterName(id)).c_str(),
                Text(dolbydigital::GetNameForValue(id, value, params)).c_str());
  return 0;
}

}  // namespace

DDHOST_TOOL(info, "info", "info IN", "show an ac3/ec3 stream's rate, layout and parameters",
            RunInfo);

}  // namespace ddhost
