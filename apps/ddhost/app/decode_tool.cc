// ddhost decode IN OUT.wav: decodes an AC-3 / E-AC-3 stream through the library into a
// 32-bit float WAV file, with progress on a terminal.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "basalt/console.h"
#include "basalt/file.h"
#include "dolbydigital/decoder.h"
#include "stream_reader.h"
#include "tool.h"

namespace ddhost {
namespace {

constexpr std::size_t kBlockFrames = 4096;

void PutLE(std::vector<std::uint8_t>& out, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

void PutTag(std::vector<std::uint8_t>& out, const char* tag) { out.insert(out.end(), tag, tag + 4); }

// The library's WAV header for 32-bit float: an 18-byte format record, extensible with the
// 5.1 channel mask for six channels; the sizes are filled in at the end.
std::vector<std::uint8_t> FloatWavHeader(std::uint16_t channels, std::uint32_t rate) {
  static const std::uint8_t kFloatSubFormat[16] = {0x03, 0, 0, 0, 0, 0, 0x10, 0, 0x80, 0,
                                                   0,    0xAA, 0, 0x38, 0x9B, 0x71};
  const bool extensible = channels == 6;
  std::vector<std::uint8_t> h;
  PutTag(h, "RIFF");
  PutLE(h, 0, 4);
  PutTag(h, "WAVE");
  PutTag(h, "fmt ");
  PutLE(h, extensible ? 40 : 18, 4);
  PutLE(h, extensible ? 0xFFFE : 3, 2);
  PutLE(h, channels, 2);
  PutLE(h, rate, 4);
  PutLE(h, rate * 4u * channels, 4);
  PutLE(h, channels * 4u, 2);
  PutLE(h, 32, 2);
  PutLE(h, extensible ? 22 : 0, 2);
  if (extensible) {
    PutLE(h, 0, 2);
    PutLE(h, 0x3F, 4);
    h.insert(h.end(), kFloatSubFormat, kFloatSubFormat + 16);
  }
  PutTag(h, "data");
  PutLE(h, 0, 4);
  return h;
}

bool FinishWav(basalt::filesupport::OPlatformByteStream& out, std::size_t header_size,
               std::uint64_t data_bytes) {
  std::vector<std::uint8_t> riff, data;
  PutLE(riff, static_cast<std::uint32_t>(header_size - 8 + data_bytes), 4);
  PutLE(data, static_cast<std::uint32_t>(data_bytes), 4);
  return out.SetPosition(4) && out.WriteBlock(riff.data(), 4) &&
         out.SetPosition(header_size - 4) && out.WriteBlock(data.data(), 4) && out.Close();
}

int Fail(const std::string& what) {
  std::fprintf(stderr, "ddhost decode: %s\n", what.c_str());
  return 1;
}

std::string ErrorText(int error) {
  return basalt::ToStdString(dolbydigital::Decoder::GetErrorDescription(error));
}

int RunDecode(const std::vector<std::string>& args) {
  if (args.size() != 2) return Fail("usage: ddhost decode IN OUT.wav"), 2;
  StreamReader reader(args[0]);
  if (!reader.IsOpen()) return Fail("cannot open " + args[0]);
  dolbydigital::Decoder decoder;
  int error = 0;
  if (!decoder.InitializeForDecode(reader.Callback(), error))
    return Fail(args[0] + " is not a decodable stream: " + ErrorText(error));
  // The probe consumed the stream's first bytes; start over so that no audio is lost.
  if (!reader.Rewind()) return Fail("cannot rewind " + args[0]);

  const std::size_t channels = decoder.GetAudioChannelLayout().size();
  const basalt::filesupport::File target(basalt::UTF8to16(args[1].c_str()));
  target.Delete();
  basalt::filesupport::OPlatformByteStream out(target);
  const std::vector<std::uint8_t> header =
      FloatWavHeader(static_cast<std::uint16_t>(channels), decoder.GetSampleRate());
  if (!out.IsOpen() || !out.WriteBlock(header.data(), header.size()))
    return Fail("cannot write " + args[1]);

  std::vector<std::vector<float>> planes(channels, std::vector<float>(kBlockFrames));
  std::vector<float*> pointers(channels);
  for (std::size_t c = 0; c < channels; ++c) pointers[c] = planes[c].data();
  std::vector<float> interleaved(kBlockFrames * channels);
  basalt::console::ProgressReporter progress(basalt::UTF8to16("Decoding"));
  std::uint64_t data_bytes = 0;
  bool more = true;
  while (more) {
    std::size_t frames = kBlockFrames;
    more = decoder.Decode(pointers.data(), channels, frames, error);
    for (std::size_t i = 0; i < frames; ++i)
      for (std::size_t c = 0; c < channels; ++c) interleaved[i * channels + c] = planes[c][i];
    const std::size_t bytes = frames * channels * sizeof(float);
    if (bytes && !out.WriteBlock(interleaved.data(), bytes)) return Fail("cannot write " + args[1]);
    data_bytes += bytes;
    progress.Update(reader.Progress(), basalt::UTF16String());
  }
  progress.Finish();
  if (!reader.ReachedEnd()) return Fail("decoding stopped: " + ErrorText(error));
  if (!FinishWav(out, header.size(), data_bytes)) return Fail("cannot write " + args[1]);
  const std::uint64_t frames_written = channels ? data_bytes / (channels * sizeof(float)) : 0;
  std::printf("wrote %s: %zu channels, %d Hz, %llu samples per channel (%.3f s), 32-bit float\n",
              args[1].c_str(), channels, decoder.GetSampleRate(),
              static_cast<unsigned long long>(frames_written),
              decoder.GetSampleRate() ? static_cast<double>(frames_written) / decoder.GetSampleRate() : 0.0);
  return 0;
}

}  // namespace

DDHOST_TOOL(decode, "decode", "decode IN OUT.wav",
            "decode an ac3/ec3 stream to a 32-bit float WAV file", RunDecode);

}  // namespace ddhost
