// The Encode command: settings from the configuration file over the defaults, the WAV file
// read with the console's reader (layout from the channel count alone, header problems read
// through, samples as they are, no resampling), the file's channels handed to the encoder in
// file order, and 1536-frame blocks through the encoder into the output file. The command
// does not bend any of that to the file: it says, before encoding, what in the file is
// questionable and what the stream will hold because of it, and points to "ddhost encode",
// the host's own encode path, for a stream made from the file as it is meant.
//
// The output is written as the stream is produced and never removed: a run that fails says
// so, and says what the output holds.
#include "console/encode_command.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "basalt/file.h"
#include "console/channel_mapping.h"
#include "console/configuration_file.h"
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
  // Silence from frame `from` on: what a short read did not fill.
  void Silence(std::size_t from, std::size_t to) {
    for (auto& plane : storage) std::fill(plane.begin() + from, plane.begin() + to, 0.0f);
  }
  std::vector<std::vector<float>> storage;
  std::vector<float*> pointers;
};

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
  // Deleting the output first would destroy the input before it is read.
  if (input.GetFullPath() == output.GetFullPath()) {
    Error("the output file would replace the input file " + ToStdString(arguments.inputPath));
    return false;
  }
  return true;
}

// The LFE flag: on only when both the reader's layout for the file and the layout the
// settings ask for have an LFE channel. Returns the stream's layout that follows from it.
ChannelLayout DecideStreamLayout(const WavReader& reader, ParameterMap& params) {
  const bool lfe = tidemark::HasLFEChannel(reader.GetChannelLayout()) &&
                   tidemark::HasLFEChannel(GetAudioChannelLayout(params));
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

// "3/2 + LFE".
std::string DescribeLayout(const ParameterMap& params) {
  const int configuration = GetParameter(kParameterID_ChannelConfiguration, params);
  std::string layout =
      ToStdString(GetNameForValue(kParameterID_ChannelConfiguration, configuration, params));
  layout = layout.substr(0, layout.find(" ("));  // the channels are listed where it matters
  if (GetParameter(kParameterID_EnableLFE, params) == 1) layout += " + LFE";
  return layout;
}

// "Dolby Digital Plus, 3/2 + LFE (L R C LFE Ls Rs)".
std::string DescribeStream(const ParameterMap& params) {
  const int mode = GetParameter(kParameterID_CodecMode, params);
  std::string channels;
  for (const auto& channel : GetAudioChannelLayout(params))
    channels += (channels.empty() ? "" : " ") +
                ToStdString(tidemark::AudioChannelLabelAbbreviations(channel.GetLabel()));
  return ToStdString(GetNameForValue(kParameterID_CodecMode, mode, params)) + ", " +
         DescribeLayout(params) + " (" + channels + ")";
}

// Everything questionable about the input, before a byte is encoded. True when something was
// said.
bool WarnAboutInput(const std::string& inputName, const WavReader& reader,
                    const ChannelLayout& stream, const ParameterMap& params) {
  std::vector<std::string> warnings = CheckWavInput(reader);
  if (reader.HasFormatChunk() && reader.GetChannelCount() > 0) {
    const std::vector<std::string> placement = DescribeChannelPlacement(
        reader, FileChannelLabels(reader), stream, DescribeLayout(params));
    warnings.insert(warnings.end(), placement.begin(), placement.end());
  }
  for (const std::string& warning : warnings) Warning(inputName + ": " + warning);
  return !warnings.empty();
}

// One encoding run from the opened files to the finished stream.
class EncodeJob {
 public:
  EncodeJob(WavReader& reader, OPlatformByteStream& output)
      : reader_(reader),
        output_(output),
        total_(reader.GetFrameCount()),
        // Never more than a block, and no bigger than the audio there is to read.
        block_(reader.GetChannelCount(),
               static_cast<std::size_t>(std::max<std::uint64_t>(
                   1, std::min<std::uint64_t>(total_, kBlockFrames)))) {}

  bool Run(CodecMode mode, const ParameterMap& params) {
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
  // Frames the header promised that the file no longer held when they were read.
  std::uint64_t FramesMissing() const { return total_ - framesRead_; }
  std::uint64_t FramesPromised() const { return total_; }

 private:
  // Every frame the reader counted at the start goes to the encoder, in blocks: the stream's
  // length is the file's as its header gave it. Frames a short read does not deliver (the
  // file shrank while it was read) are encoded as silence and counted as missing.
  bool EncodeInput(basalt::console::ProgressReporter& progress) {
    std::uint64_t done = 0;
    while (done < total_) {
      const std::size_t wanted =
          static_cast<std::size_t>(std::min<std::uint64_t>(total_ - done, block_.storage[0].size()));
      const std::size_t got = reader_.ReadFrames(block_.pointers.data(), wanted);
      if (got < wanted) block_.Silence(got, wanted);
      framesRead_ += got;
      done += wanted;
      if (!EncodeBlock(wanted)) return false;
      ShowProgress(progress, done);
    }
    return true;
  }

  bool EncodeBlock(std::size_t frames) {
    std::vector<const float*> planes(block_.pointers.begin(), block_.pointers.end());
    int error = 0;
    if (!encoder_.Encode(planes.data(), planes.size(), frames, bytes_, error)) {
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

  void ShowProgress(basalt::console::ProgressReporter& progress, std::uint64_t done) {
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started_).count();
    const double rate = reader_.GetSampleRate() ? reader_.GetSampleRate() : kStreamSampleRate;
    const double audio = static_cast<double>(done) / rate;
    std::string detail = Printf("%.1f of %.1f s", audio, static_cast<double>(total_) / rate);
    if (seconds > 0) detail += Printf(", %.1fx real time", audio / seconds);
    progress.Update(static_cast<double>(done) / static_cast<double>(total_),
                    basalt::UTF8to16(detail.c_str()));
  }

  WavReader& reader_;
  OPlatformByteStream& output_;
  const std::uint64_t total_;
  std::uint64_t framesRead_ = 0;
  PlanarBlock block_;
  Encoder encoder_;
  ByteVector bytes_;
  SyncFrameCounter frames_;
  std::uint64_t bytesWritten_ = 0;
  std::chrono::steady_clock::time_point started_;
};

void ReportResult(const UTF16String& path, const EncodeJob& job, const ParameterMap& params) {
  const double seconds =
      static_cast<double>(job.Frames().AudioBlocks()) * 256.0 / kStreamSampleRate;
  const double kbps = seconds > 0 ? job.BytesWritten() * 8.0 / seconds / 1000.0 : 0.0;
  std::string line = "wrote " + ToStdString(File(path).GetFullPath()) + ": " +
                     std::to_string(job.BytesWritten()) + " bytes, " +
                     std::to_string(job.Frames().Frames()) + " frames, " +
                     Printf("%.3f s", seconds) + "; " + DescribeStream(params) + ", " +
                     Printf("%.0f kbps, %.0f Hz", std::round(kbps), kStreamSampleRate);
  basalt::console::Print(basalt::UTF8to16(line.c_str()));
}

// The input lost audio while it was being encoded (another program truncated or rewrote
// it): the stream has the length the header gave, but not the audio.
void ReportShrunkInput(const std::string& inputName, const std::string& outputName,
                       const EncodeJob& job, std::uint32_t sampleRate) {
  const double rate = sampleRate ? sampleRate : kStreamSampleRate;
  const std::uint64_t read = job.FramesPromised() - job.FramesMissing();
  Error(inputName + " shrank while it was being encoded: " + std::to_string(read) + " of the " +
        std::to_string(job.FramesPromised()) + " frames its header gave could be read" +
        Printf(" (%.3f of %.3f s); ", read / rate, job.FramesPromised() / rate) + outputName +
        " holds the full length, with silence where the audio was missing, and is not a "
        "faithful encoding of the file");
}

}  // namespace

EncodeCommand::EncodeCommand(const UTF16String& arguments)
    : arguments_(ParseEncodeArguments(arguments)) {}

EncodeCommand::~EncodeCommand() = default;

bool EncodeCommand::Run() {
  if (!CheckArguments(arguments_) || !CheckFiles(arguments_)) return false;
  const std::string inputName = ToStdString(arguments_.inputPath);
  const std::string outputName = ToStdString(arguments_.outputPath);
  WavReader reader(File(arguments_.inputPath).GetFullPath());
  if (!reader.IsOpen()) {
    Error("the input file " + inputName + " cannot be opened");
    return false;
  }
  const File outputFile(arguments_.outputPath);
  if (outputFile.Exists()) outputFile.Delete();
  if (!outputFile.Create()) {
    Error("the output file " + outputName + " cannot be created");
    return false;
  }
  OPlatformByteStream output(outputFile, basalt::filesupport::kDefaultStreamBuffer);

  ParameterMap params;
  const std::string configurationWarning =
      LoadEncodeParameters(arguments_.configurationPath, params);
  if (!configurationWarning.empty()) Warning(configurationWarning);
  const ChannelLayout stream = DecideStreamLayout(reader, params);
  if (WarnAboutInput(inputName, reader, stream, params))
    Note("note: this command reads every WAV file the one fixed way described above; for a "
         "stream made from the file as it is meant (its channel layout, header, sample format "
         "and sample rate), use \"ddhost encode\"");
  const auto mode = static_cast<CodecMode>(GetParameter(kParameterID_CodecMode, params));
  WarnOnExtension(arguments_.outputPath, mode);

  EncodeJob job(reader, output);
  if (!job.Run(mode, params)) {
    output.Close();
    Error(outputName + (job.BytesWritten() == 0
                            ? std::string(" holds nothing")
                            : " holds only the " + std::to_string(job.BytesWritten()) +
                                  " bytes encoded before the failure"));
    return false;
  }
  reader.Close();
  if (!output.Close() || output.HasFailed()) {
    Error("writing the output file " + outputName + " failed");
    return false;
  }
  ReportResult(arguments_.outputPath, job, params);
  if (!job.Frames().Consistent()) {
    Error("the encoder produced a stream that does not hold together");
    return false;
  }
  if (job.FramesMissing() > 0) {
    ReportShrunkInput(inputName, outputName, job, reader.GetSampleRate());
    return false;
  }
  return true;
}

}  // namespace dolbydigital
