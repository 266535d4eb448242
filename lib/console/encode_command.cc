// The Encode command: settings from the configuration file over the defaults, the WAV
// file's channels matched by label to the configured stream's channels (so a file whose
// layout differs from the settings still has each channel land where it belongs, and the
// user is told what stays silent or is left out), other sample rates resampled to 48 kHz,
// then 1536-frame blocks through the encoder into the output file. A run that fails removes
// the output it started, so that no partial stream is left looking like a result.
#include "console/encode_command.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "basalt/file.h"
#include "console/channel_mapping.h"
#include "console/configuration_file.h"
#include "console/resampler.h"
#include "console/sync_frame_counter.h"
#include "console/wav_input_check.h"
#include "console/wav_reader.h"
#include "dolbydigital/encoder.h"
#include "dolbydigital/parameters.h"
#include "moduledepot/codec_module_loader.h"

namespace dolbydigital {
namespace {

using basalt::ToStdString;
using basalt::filesupport::File;
using basalt::filesupport::OPlatformByteStream;

constexpr std::size_t kBlockFrames = 1536;
constexpr std::uint32_t kEngineSampleRate = 48000;
constexpr const char* kUsage =
    "usage: dolbydigital.Encode -cfg=<settings.json> -in=<input.wav> -out=<output.ec3|ac3>";

void Say(const char* kind, const std::string& text) {
  const std::string line = std::string(EncodeCommand::kName) + ": " + kind + text;
  basalt::console::PrintError(basalt::UTF8to16(line.c_str()));
}
void Error(const std::string& text) { Say("error: ", text); }
void Warning(const std::string& text) { Say("warning: ", text); }
void Note(const std::string& text) { Say("", text); }

std::string Printf(const char* format, double a, double b = 0, double c = 0) {
  char text[128];
  std::snprintf(text, sizeof text, format, a, b, c);
  return text;
}

// Planar float audio for one block, one buffer per channel.
struct PlanarBlock {
  PlanarBlock(std::size_t channels, std::size_t frames)
      : storage(channels, std::vector<float>(frames, 0.0f)) {
    for (auto& plane : storage) pointers.push_back(plane.data());
  }
  std::vector<std::vector<float>> storage;
  std::vector<float*> pointers;
};

// The stream's channel planes for one call: each points into the file's planes or at
// silence, as the channel mapping says.
std::vector<const float*> StreamPlanes(const ChannelMapping& mapping,
                                       const std::vector<const float*>& source,
                                       const std::vector<float>& silence) {
  std::vector<const float*> planes;
  for (int from : mapping.sourceOf)
    planes.push_back(from == ChannelMapping::kSilent ? silence.data() : source[from]);
  return planes;
}

bool CheckArguments(const EncodeArguments& arguments) {
  for (const UTF16String& word : arguments.unrecognised)
    Warning("unknown argument \"" + ToStdString(word) + "\" ignored");
  if (!arguments.notRead.empty())
    Warning("arguments are read up to the first word without \"=\"; \"" +
            ToStdString(arguments.notRead.front()) + "\" and what follows are ignored");
  if (arguments.inputPath.empty() || arguments.outputPath.empty()) {
    Error(std::string("an input (-in=) and an output (-out=) file are needed\n") + kUsage);
    return false;
  }
  return true;
}

bool CheckFiles(const EncodeArguments& arguments) {
  const File input(arguments.inputPath), output(arguments.outputPath);
  if (!input.Exists()) {
    Error("the input file " + ToStdString(arguments.inputPath) + " does not exist");
    return false;
  }
  if (!output.GetParent().Exists()) {
    Error("the folder of the output file " + ToStdString(arguments.outputPath) + " does not exist");
    return false;
  }
  if (input.GetFullPath() == output.GetFullPath()) {
    Error("the output file would replace the input file " + ToStdString(arguments.inputPath));
    return false;
  }
  return true;
}

// The stream's layout: the configuration's, with LFE only when both the configuration and
// the file have one. The file's own channel labels are asked, not the reader's layout, which
// names every count other than one and two 5.1.
ChannelLayout DecideStreamLayout(const ChannelLayout& source, ParameterMap& params) {
  const bool lfe =
      tidemark::HasLFEChannel(source) && tidemark::HasLFEChannel(GetAudioChannelLayout(params));
  SetParameter(kParameterID_EnableLFE, params, lfe ? 1 : 0);
  return GetAudioChannelLayout(params);
}

// Players pick the decoder by the file's extension: a mismatch is worth a word.
void WarnOnExtension(const UTF16String& outputPath, CodecMode mode) {
  const std::string path = ToStdString(outputPath);
  const std::string expected = GetExtension(mode);
  const std::size_t dot = path.rfind('.');
  const std::string given = dot == std::string::npos ? std::string() : path.substr(dot + 1);
  if (given != expected)
    Warning("the stream is " +
            ToStdString(GetNameForValue(kParameterID_CodecMode, mode, ParameterMap())) +
            "; files of this kind are named ." + expected);
}

void ReportEngineFailure(int error) {
  Error("the encoder could not be set up: " + ToStdString(Encoder::GetErrorDescription(error)));
  if (!ModuleDepot::CodecModuleLoader::IsLoaded())
    Error("the codec engine module could not be loaded (" +
          ModuleDepot::CodecModuleLoader::GetLastError() + ")");
}

// "Dolby Digital Plus, 3/2 + LFE (L R C LFE Ls Rs)".
std::string DescribeStream(const ParameterMap& params) {
  const int mode = GetParameter(kParameterID_CodecMode, params);
  const int configuration = GetParameter(kParameterID_ChannelConfiguration, params);
  std::string layout =
      ToStdString(GetNameForValue(kParameterID_ChannelConfiguration, configuration, params));
  layout = layout.substr(0, layout.find(" ("));  // the channels are listed below
  if (GetParameter(kParameterID_EnableLFE, params) == 1) layout += " + LFE";
  std::string channels;
  for (const auto& channel : GetAudioChannelLayout(params))
    channels += (channels.empty() ? "" : " ") +
                ToStdString(tidemark::AudioChannelLabelAbbreviations(channel.GetLabel()));
  return ToStdString(GetNameForValue(kParameterID_CodecMode, mode, params)) + ", " + layout + " (" +
         channels + ")";
}

// One encoding run from the opened files to the finished stream.
class EncodeJob {
 public:
  EncodeJob(WavReader& reader, OPlatformByteStream& output, const ChannelMapping& mapping,
            std::size_t streamChannels)
      : reader_(reader),
        output_(output),
        mapping_(mapping),
        streamChannels_(streamChannels),
        input_(reader.GetChannelCount(), kBlockFrames),
        silence_(kBlockFrames, 0.0f) {
    if (reader.GetSampleRate() != kEngineSampleRate)
      resampler_.reset(
          new Resampler(reader.GetSampleRate(), kEngineSampleRate, reader.GetChannelCount()));
  }

  bool Run(CodecMode mode, const ParameterMap& params) {
    if (resampler_ && !resampler_->IsValid()) {
      Error("the resampler could not be set up: " + resampler_->GetError());
      return false;
    }
    int error = 0;
    if (!encoder_.InitializeEncode(mode, params, error)) {
      ReportEngineFailure(error);
      return false;
    }
    basalt::console::ProgressReporter progress(basalt::AsciiToUTF16("Encoding"));
    started_ = std::chrono::steady_clock::now();
    const bool encoded = EncodeInput(progress) && Finish();
    progress.Finish();
    return encoded;
  }

  std::uint64_t BytesWritten() const { return bytesWritten_; }
  const SyncFrameCounter& Frames() const { return frames_; }

 private:
  bool EncodeInput(basalt::console::ProgressReporter& progress) {
    const std::uint64_t total = reader_.GetFrameCount();
    std::uint64_t done = 0;
    while (done < total) {
      const std::size_t wanted =
          static_cast<std::size_t>(std::min<std::uint64_t>(total - done, kBlockFrames));
      const std::size_t got = reader_.ReadFrames(input_.pointers.data(), wanted);
      if (got == 0) {
        Warning("the input ended early; encoding what was read");
        break;
      }
      done += got;
      const std::vector<const float*> source(input_.pointers.begin(), input_.pointers.end());
      if (!(resampler_ ? EncodeResampled(source.data(), got) : EncodeBlock(source, got)))
        return false;
      ShowProgress(progress, done, total);
    }
    return !resampler_ || EncodeResampled(nullptr, 0);
  }

  // Resamples a block (or, with null planes, drains the resampler) and encodes the result.
  bool EncodeResampled(const float* const* planes, std::size_t frames) {
    Resampler::Planes out;
    const bool ok = planes ? resampler_->Process(planes, frames, out) : resampler_->Flush(out);
    if (!ok) {
      Error("resampling failed: " + resampler_->GetError());
      return false;
    }
    const std::size_t produced = out.empty() ? 0 : out[0].size();
    if (produced > silence_.size()) silence_.resize(produced, 0.0f);
    std::vector<const float*> source;
    for (const auto& plane : out) source.push_back(plane.data());
    return produced == 0 || EncodeBlock(source, produced);
  }

  bool EncodeBlock(const std::vector<const float*>& source, std::size_t frames) {
    std::vector<const float*> planes = StreamPlanes(mapping_, source, silence_);
    int error = 0;
    if (!encoder_.Encode(planes.data(), streamChannels_, frames, bytes_, error)) {
      Error("encoding failed: " + ToStdString(Encoder::GetErrorDescription(error)));
      return false;
    }
    return Write();
  }

  bool Finish() {
    int error = 0;
    if (!encoder_.FinishEncode(bytes_, error)) {
      Error("finishing the stream failed: " + ToStdString(Encoder::GetErrorDescription(error)));
      return false;
    }
    return Write();
  }

  bool Write() {
    if (bytes_.empty()) return true;
    frames_.Add(bytes_.data(), bytes_.size());
    if (!output_.WriteBlock(bytes_.data(), bytes_.size())) {
      Error("writing the output file failed");
      return false;
    }
    bytesWritten_ += bytes_.size();
    return true;
  }

  void ShowProgress(basalt::console::ProgressReporter& progress, std::uint64_t done,
                    std::uint64_t total) {
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started_).count();
    const double audio = static_cast<double>(done) / reader_.GetSampleRate();
    std::string detail =
        Printf("%.1f of %.1f s", audio, static_cast<double>(total) / reader_.GetSampleRate());
    if (seconds > 0) detail += Printf(", %.1fx real time", audio / seconds);
    progress.Update(static_cast<double>(done) / static_cast<double>(total),
                    basalt::UTF8to16(detail.c_str()));
  }

  WavReader& reader_;
  OPlatformByteStream& output_;
  const ChannelMapping& mapping_;
  std::size_t streamChannels_;
  PlanarBlock input_;
  std::vector<float> silence_;
  std::unique_ptr<Resampler> resampler_;
  Encoder encoder_;
  ByteVector bytes_;
  SyncFrameCounter frames_;
  std::uint64_t bytesWritten_ = 0;
  std::chrono::steady_clock::time_point started_;
};

void ReportResult(const UTF16String& path, const EncodeJob& job, const ParameterMap& params) {
  const double seconds =
      static_cast<double>(job.Frames().AudioBlocks()) * 256.0 / kEngineSampleRate;
  const double kbps = seconds > 0 ? job.BytesWritten() * 8.0 / seconds / 1000.0 : 0.0;
  std::string line = "wrote " + ToStdString(File(path).GetFullPath()) + ": " +
                     std::to_string(job.BytesWritten()) + " bytes, " +
                     std::to_string(job.Frames().Frames()) + " frames, " +
                     Printf("%.3f s", seconds) + "; " + DescribeStream(params) + ", " +
                     Printf("%.0f kbps, %.0f Hz", std::round(kbps), kEngineSampleRate);
  basalt::console::Print(basalt::UTF8to16(line.c_str()));
}

}  // namespace

EncodeCommand::EncodeCommand(const UTF16String& arguments)
    : arguments_(ParseEncodeArguments(arguments)) {}

EncodeCommand::~EncodeCommand() = default;

bool EncodeCommand::Run() {
  if (!CheckArguments(arguments_) || !CheckFiles(arguments_)) return false;
  const std::string inputName = ToStdString(arguments_.inputPath);
  const File outputFile(arguments_.outputPath);
  if (outputFile.Exists()) outputFile.Delete();
  if (!outputFile.Create()) {
    Error("the output file " + ToStdString(arguments_.outputPath) + " cannot be created");
    return false;
  }
  OPlatformByteStream output(outputFile, basalt::filesupport::kDefaultStreamBuffer);
  WavReader reader(File(arguments_.inputPath).GetFullPath());

  // Whatever goes wrong from here on, a broken stream is not left behind.
  bool succeeded = false;
  struct RemoveOnFailure {
    const File& file;
    OPlatformByteStream& stream;
    const bool& succeeded;
    ~RemoveOnFailure() {
      if (succeeded) return;
      stream.Close();
      file.Delete();
    }
  } removeOnFailure{outputFile, output, succeeded};

  const WavInputCheck check = CheckWavInput(reader);
  for (const std::string& warning : check.warnings) Warning(inputName + ": " + warning);
  for (const std::string& error : check.errors) Error(inputName + ": " + error);
  if (!check.Usable()) return false;

  ParameterMap params;
  const std::string configurationWarning =
      LoadEncodeParameters(arguments_.configurationPath, params);
  if (!configurationWarning.empty()) Warning(configurationWarning);

  const ChannelLayout source = SourceChannelLayout(reader);
  const ChannelLayout stream = DecideStreamLayout(source, params);
  const ChannelMapping mapping = MapChannels(source, stream);
  for (const std::string& warning : mapping.warnings) Warning(inputName + ": " + warning);
  if (!mapping.warnings.empty())
    Note(
        "a configuration file with \"ChannelConfiguration\" and \"EnableLFE\" matching the "
        "input encodes every channel it has");
  if (reader.GetSampleRate() != kEngineSampleRate)
    Note(inputName +
         Printf(" is sampled at %.0f Hz; resampling it to %.0f Hz (libsoxr, very high quality)",
                reader.GetSampleRate(), kEngineSampleRate));

  const auto mode = static_cast<CodecMode>(GetParameter(kParameterID_CodecMode, params));
  WarnOnExtension(arguments_.outputPath, mode);
  EncodeJob job(reader, output, mapping, stream.size());
  if (!job.Run(mode, params)) return false;
  reader.Close();
  if (!output.Close() || output.HasFailed()) {
    Error("writing the output file " + ToStdString(arguments_.outputPath) + " failed");
    return false;
  }
  if (!job.Frames().Consistent()) {
    Error("the encoder produced a stream that does not hold together");
    return false;
  }
  succeeded = true;
  ReportResult(arguments_.outputPath, job, params);
  return true;
}

}  // namespace dolbydigital
