// ddhost decode IN OUT [--format s16|s24|s32|f32]: decodes an AC-3 / E-AC-3 stream through the
// library into a sound file (WAV by default) whose channels are stored in the order of their
// speaker positions and labelled with them, so that every other program plays each channel
// from its own speaker.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "basalt/string.h"
#include "dolbydigital/decoder.h"
#include "dolbydigital/parameters.h"
#include "engine_check.h"
#include "output_file.h"
#include "progress_bar.h"
#include "sound_file_writer.h"
#include "stream_source.h"
#include "tool.h"

namespace ddhost {
namespace {

constexpr std::size_t kBlockFrames = 4096;
constexpr const char* kUsage = "usage: ddhost decode IN OUT [--format s16|s24|s32|f32]";

int Fail(const std::string& what) {
  std::fprintf(stderr, "ddhost decode: %s\n", what.c_str());
  return 1;
}

std::string ErrorText(int error) {
  return basalt::ToStdString(dolbydigital::Decoder::GetErrorDescription(error));
}

struct DecodeArguments {
  std::string in, out;
  SampleFormat format = SampleFormat::kDefault;
};

bool ParseArguments(const std::vector<std::string>& args, DecodeArguments& parsed) {
  std::vector<std::string> files;
  for (std::size_t i = 0; i < args.size(); ++i) {
    std::string value;
    if (args[i] == "--format" && i + 1 < args.size()) value = args[++i];
    else if (args[i].rfind("--format=", 0) == 0) value = args[i].substr(9);
    else if (args[i].rfind("--", 0) == 0) return false;
    else {
      files.push_back(args[i]);
      continue;
    }
    if (!ParseSampleFormat(value, parsed.format)) return false;
  }
  if (files.size() != 2) return false;
  parsed.in = files[0];
  parsed.out = files[1];
  return true;
}

int RunDecode(const std::vector<std::string>& args) {
  DecodeArguments a;
  if (!ParseArguments(args, a)) return std::fprintf(stderr, "%s\n", kUsage), 2;
  if (!RequireEngine("ddhost decode")) return 1;
  std::string error;
  std::unique_ptr<StreamSource> source = OpenStreamSource(a.in, error);
  if (!source) return Fail(error);
  dolbydigital::Decoder decoder;
  int code = 0;
  if (!decoder.InitializeForDecode(source->Callback(), code))
    return Fail(a.in + " is not a decodable stream: " + ErrorText(code));
  // The probe consumed the stream's first bytes; start over so that no audio is lost.
  if (!source->Rewind()) return Fail("cannot rewind " + a.in);

  dolbydigital::ChannelLayout layout = decoder.GetAudioChannelLayout();
  // Two independent programmes (1+1) are two channels without speaker positions.
  if (dolbydigital::GetAudioChannelConfiguration(layout) == dolbydigital::kAudioChannelConfiguration_Acmod_11)
    layout = dolbydigital::GetAudioChannelLayout(dolbydigital::kAudioChannelConfiguration_Acmod_11, false);
  const std::size_t channels = layout.size();
  const int rate = decoder.GetSampleRate();
  if (channels == 0 || rate <= 0) return Fail(a.in + ": the stream reports no channels");
  std::unique_ptr<OutputFile> output = OutputFile::Create(a.out, error);
  if (!output) return Fail(error);
  std::unique_ptr<SoundFileWriter> writer = SoundFileWriter::Open(*output, rate, layout, a.format, error);
  if (!writer) return Fail(error);

  std::vector<std::vector<float>> planes(channels, std::vector<float>(kBlockFrames));
  std::vector<float*> pointers(channels);
  for (std::size_t c = 0; c < channels; ++c) pointers[c] = planes[c].data();
  ProgressBar progress("Decoding");
  // A container says how long the programme is; the padding of its last frame is dropped.
  const std::uint64_t declared = source->DeclaredSamples(rate);
  std::uint64_t written = 0;
  bool more = true;
  while (more) {
    std::size_t frames = kBlockFrames;
    more = decoder.Decode(pointers.data(), channels, frames, code);
    if (declared && written + frames > declared) frames = static_cast<std::size_t>(declared - std::min(declared, written));
    if (frames && !writer->Write(pointers.data(), frames, error))
      return progress.Finish(), Fail("cannot write " + a.out + ": " + error);
    written += frames;
    progress.Update(source->Progress(), static_cast<double>(written) / rate);
  }
  progress.Finish();
  if (!source->ReachedEnd()) return Fail("decoding stopped: " + ErrorText(code));
  if (!writer->Close(error) || !output->Commit(error))
    return Fail("cannot write " + a.out + ": " + error);
  if (!writer->Note().empty()) std::printf("note: %s\n", writer->Note().c_str());
  std::printf("wrote %s: %s, %d Hz, %llu samples per channel (%.3f s)\n", a.out.c_str(),
              writer->Description().c_str(), rate, static_cast<unsigned long long>(written),
              static_cast<double>(written) / rate);
  return 0;
}

}  // namespace

DDHOST_TOOL(decode, "decode", "decode IN OUT [--format s16|s24|s32|f32]",
            "decode an ac3/ec3 stream (or MP4/Matroska holding one) to WAV, RF64, W64, FLAC, AIFF or CAF",
            RunDecode);

}  // namespace ddhost
