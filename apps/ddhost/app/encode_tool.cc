// ddhost encode IN OUT [--settings FILE.json] [--set KEY=VALUE ...] [--dialnorm auto]: a host's
// export. The sound file is read through libsndfile with its speaker layout; the settings
// are the codec mode's defaults, the stored settings file and the user's changes, corrected
// by the library for the file's layout; the audio goes through the library's Encoder (at
// 48 kHz, resampled when the file is not) into an elementary stream, MP4 or Matroska.
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "basalt/string.h"
#include "channel_routing.h"
#include "dolbydigital/encoder.h"
#include "dolbydigital/parameters.h"
#include "encode_settings.h"
#include "engine_check.h"
#include "loudness.h"
#include "output_file.h"
#include "progress_bar.h"
#include "resampler.h"
#include "sound_file_reader.h"
#include "speaker_positions.h"
#include "stream_writer.h"
#include "tool.h"

namespace ddhost {
namespace {

using namespace dolbydigital;

constexpr int kEncoderRate = 48000;
constexpr std::size_t kBlockFrames = 4096;
constexpr const char* kUsage =
    "usage: ddhost encode IN OUT [--settings FILE.json] [--set KEY=VALUE ...] [--dialnorm auto]\n"
    "  OUT ends in .ac3 or .ec3 (elementary stream), .mp4/.m4a or .mkv/.mka";

int Fail(const std::string& what) {
  std::fprintf(stderr, "ddhost encode: %s\n", what.c_str());
  return 1;
}

std::string Text(const UTF16String& text) { return basalt::ToStdString(text); }

struct EncodeArguments {
  std::string in, out, settings;
  std::vector<std::string> sets;
  bool dialnormAuto = false;
};

bool ParseArguments(const std::vector<std::string>& args, EncodeArguments& parsed) {
  std::vector<std::string> files;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    const bool next = i + 1 < args.size();
    if (a == "--settings" && next) parsed.settings = args[++i];
    else if (a.rfind("--settings=", 0) == 0) parsed.settings = a.substr(11);
    else if (a == "--set" && next) parsed.sets.push_back(args[++i]);
    else if (a.rfind("--set=", 0) == 0) parsed.sets.push_back(a.substr(6));
    else if (a == "--dialnorm" && next && args[i + 1] == "auto") parsed.dialnormAuto = (++i, true);
    else if (a == "--dialnorm=auto") parsed.dialnormAuto = true;
    else if (a.rfind("--", 0) == 0) return false;
    else files.push_back(a);
  }
  if (files.size() != 2) return false;
  parsed.in = files[0];
  parsed.out = files[1];
  return true;
}

std::string KeyOf(const std::string& assignment) { return assignment.substr(0, assignment.find('=')); }

bool SetsKey(const std::vector<std::string>& sets, ParameterID id) {
  for (const std::string& s : sets) {
    ParameterID found;
    if (FindParameterByKey(KeyOf(s), found) && found == id) return true;
  }
  return false;
}

std::string LayoutText(const ChannelLayout& layout) {
  std::string text;
  for (const auto& channel : layout) text += (text.empty() ? "" : " ") + LabelName(channel.label);
  return text;
}

// The settings of this export. The user's --set values go in configuration first (codec
// mode, then channel configuration and LFE), so that the other values are checked against
// the domains of the configuration they will be encoded in.
// `usage` is set when the command line itself is wrong (a bad --set).
bool BuildSettings(const EncodeArguments& a, int impliedMode, const ChannelLayout& sourceLayout,
                   ParameterMap& map, ChannelLayout& targetLayout, std::string& error, bool& usage) {
  GetDefaults(static_cast<CodecMode>(impliedMode >= 0 ? impliedMode : kCodecMode_DolbyDigitalPlus), map);
  if (!a.settings.empty()) {
    bool hasCodecMode = false;
    if (!ReadSettingsFile(a.settings, map, hasCodecMode, error)) return false;
    if (!hasCodecMode && impliedMode >= 0) map[kParameterID_CodecMode] = impliedMode;
  }
  usage = true;
  const ChannelLayout none;
  const ParameterID configuration[] = {kParameterID_CodecMode, kParameterID_ChannelConfiguration,
                                       kParameterID_EnableLFE};
  for (ParameterID id : configuration) {
    for (const std::string& s : a.sets) {
      ParameterID found;
      if (!FindParameterByKey(KeyOf(s), found) || found != id) continue;
      if (!ApplySetting(s, map, none, error)) return false;
      if (id == kParameterID_CodecMode && a.settings.empty()) {
        const int mode = map[kParameterID_CodecMode];
        GetDefaults(static_cast<CodecMode>(mode), map);
      }
    }
  }
  // A pinned configuration is encoded as asked and the file's channels are matched to it
  // by label; otherwise the file's own layout decides.
  const bool pinned = SetsKey(a.sets, kParameterID_ChannelConfiguration);
  targetLayout = pinned ? GetAudioChannelLayout(map) : sourceLayout;
  if (pinned && targetLayout.empty())
    return error = "the ChannelConfiguration given has no channel layout", false;
  // The other values are checked against the domains they will have once the map is
  // corrected for the layout (a stereo programme allows lower data rates than 3/2).
  ParameterMap corrected = map;
  VerifyAndCorrectParameter(targetLayout, corrected);
  for (const std::string& s : a.sets) {
    ParameterID found;
    if (!FindParameterByKey(KeyOf(s), found)) return ApplySetting(s, corrected, targetLayout, error);
    if (found == kParameterID_CodecMode || found == kParameterID_ChannelConfiguration ||
        found == kParameterID_EnableLFE)
      continue;
    if (!ApplySetting(s, corrected, targetLayout, error)) return false;
    map[found] = corrected[found];
  }
  usage = false;
  return true;
}

// DialNorm from the programme's integrated loudness, rounded and kept within the domain.
bool SetDialNormFromLoudness(SoundFileReader& reader, const ChannelLayout& layout,
                             ParameterMap& map, std::string& error) {
  LoudnessMeter meter(reader.Rate(), reader.Layout());
  if (!meter.IsValid()) return error = "cannot set up the loudness measurement", false;
  std::vector<std::vector<float>> planes;
  ProgressBar progress("Measuring loudness");
  for (;;) {
    std::size_t frames = 0;
    if (!reader.Read(planes, kBlockFrames, frames, error)) return progress.Finish(), false;
    if (frames == 0) break;
    meter.Add(planes, frames);
    progress.Update(reader.Frames() ? double(reader.FramesRead()) / reader.Frames() : 1.0,
                    double(reader.FramesRead()) / reader.Rate());
  }
  progress.Finish();
  if (!reader.Rewind(error)) return false;
  double lufs = 0;
  if (!meter.Integrated(lufs))
    return error = "--dialnorm auto: the programme is too short or too quiet to measure", false;
  ParameterValueSet values;
  int defaultValue = 0, lowest = 0, highest = 0;
  GetParameterInfo(kParameterID_DialNorm, map, values, defaultValue, lowest, highest, layout);
  // The parameter holds the level in dB as the stream carries it: -31 .. -1 (or its magnitude).
  long level = std::lround(lufs);
  if (lowest > 0) level = -level;
  if (values.empty()) level = std::max<long>(lowest, std::min<long>(highest, level));
  map[kParameterID_DialNorm] = static_cast<int>(level);
  std::printf("loudness %.1f LUFS: DialNorm %s\n", lufs,
              ValueText(kParameterID_DialNorm, static_cast<int>(level), map).c_str());
  return true;
}

int RunEncode(const std::vector<std::string>& args) {
  EncodeArguments a;
  if (!ParseArguments(args, a)) return std::fprintf(stderr, "%s\n", kUsage), 2;
  int impliedMode = -1;
  if (!IsStreamOutput(a.out, impliedMode))
    return std::fprintf(stderr, "ddhost encode: %s: unknown output type\n%s\n", a.out.c_str(), kUsage), 2;
  if (a.dialnormAuto && SetsKey(a.sets, kParameterID_DialNorm))
    return std::fprintf(stderr, "ddhost encode: --dialnorm auto and --set DialNorm exclude each other\n"), 2;
  if (!RequireEngine("ddhost encode")) return 1;

  std::string error;
  std::unique_ptr<SoundFileReader> reader = SoundFileReader::Open(a.in, error);
  if (!reader) return Fail(error);
  if (reader->Frames() == 0) return Fail(a.in + " holds no audio");
  std::printf("read %s: %s, %d Hz, %zu channels (%s%s)\n", a.in.c_str(), reader->FormatName().c_str(),
              reader->Rate(), reader->Channels(), LayoutText(reader->Layout()).c_str(),
              reader->HasChannelMap() ? "" : ", the default order for this channel count");

  // What the settings make of the file's own layout decides whether a 7.1 file keeps its
  // rear surrounds or is folded to 5.1.
  ParameterMap map;
  ChannelLayout target;
  bool usage = false;
  if (!BuildSettings(a, impliedMode, reader->Layout(), map, target, error, usage))
    return Fail(error) + (usage ? 1 : 0);
  VerifyAndCorrectParameter(target, map);
  const SourceFold fold = FoldFor(reader->Layout(), GetAudioChannelLayout(map));
  if (!fold.note.empty()) std::printf("note: %s\n", fold.note.c_str());

  if (!BuildSettings(a, impliedMode, fold.layout, map, target, error, usage))
    return Fail(error) + (usage ? 1 : 0);
  if (a.dialnormAuto && !SetDialNormFromLoudness(*reader, target, map, error)) return Fail(error);
  const ParameterMap before = map;
  if (!VerifyAndCorrectParameter(target, map))
    return Fail("no channel configuration carries the layout " + LayoutText(target));
  for (const std::string& line : DescribeChanges(before, map)) std::printf("corrected %s\n", line.c_str());

  const CodecMode mode = static_cast<CodecMode>(GetParameter(kParameterID_CodecMode, map));
  if (impliedMode >= 0 && std::string(GetExtension(mode)) != (impliedMode == kCodecMode_DolbyDigital ? "ac3" : "ec3"))
    return Fail(a.out + ": " + Text(GetNameForValue(kParameterID_CodecMode, mode, map)) +
                " streams go into ." + GetExtension(mode) + " files");
  const ChannelLayout encoderLayout = GetAudioChannelLayout(map);
  const ChannelRoute route = RouteChannels(fold.layout, encoderLayout);
  for (const std::string& note : route.notes) std::printf("note: %s\n", note.c_str());

  Encoder encoder;
  int code = 0;
  if (!encoder.InitializeEncode(mode, map, code))
    return Fail("the encoder refused the settings: " + Text(Encoder::GetErrorDescription(code)));
  std::unique_ptr<OutputFile> output = OutputFile::Create(a.out, error);
  if (!output) return Fail(error);
  const StreamFormat format{mode, kEncoderRate, encoderLayout, GetParameter(kParameterID_DataRate, map)};
  std::unique_ptr<StreamWriter> writer = OpenStreamWriter(*output, format, error);
  if (!writer) return Fail(error);

  std::unique_ptr<Resampler> resampler;
  if (reader->Rate() != kEncoderRate) {
    resampler = std::make_unique<Resampler>(reader->Rate(), kEncoderRate, encoderLayout.size());
    if (!resampler->IsValid()) return Fail("cannot resample: " + resampler->GetError());
    std::printf("resampling %d Hz to %d Hz\n", reader->Rate(), kEncoderRate);
  }

  std::vector<std::vector<float>> source, routed, resampled;
  ByteVector bytes;
  std::uint64_t encodedSamples = 0;
  auto encode = [&](const std::vector<std::vector<float>>& planes) {
    const std::size_t frames = planes.empty() ? 0 : planes[0].size();
    if (frames == 0) return true;
    std::vector<const float*> pointers;
    for (const auto& p : planes) pointers.push_back(p.data());
    if (!encoder.Encode(pointers.data(), pointers.size(), frames, bytes, code))
      return error = "encoding failed: " + Text(Encoder::GetErrorDescription(code)), false;
    encodedSamples += frames;
    return writer->Write(bytes.data(), bytes.size(), error) ||
           (error = "cannot write " + a.out + ": " + error, false);
  };

  ProgressBar progress("Encoding");
  for (;;) {
    std::size_t frames = 0;
    if (!reader->Read(source, kBlockFrames, frames, error)) return progress.Finish(), Fail(error);
    if (frames == 0) break;
    ApplyFold(fold, source, frames);
    route.Apply(source, frames, routed);
    if (resampler) {
      std::vector<const float*> pointers;
      for (const auto& p : routed) pointers.push_back(p.data());
      if (!resampler->Process(pointers.data(), frames, resampled))
        return progress.Finish(), Fail("cannot resample: " + resampler->GetError());
      if (!encode(resampled)) return progress.Finish(), Fail(error);
    } else if (!encode(routed)) {
      return progress.Finish(), Fail(error);
    }
    progress.Update(double(reader->FramesRead()) / reader->Frames(), double(reader->FramesRead()) / reader->Rate());
  }
  progress.Finish();
  if (resampler && (!resampler->Flush(resampled) || !encode(resampled)))
    return Fail(error.empty() ? "cannot resample: " + resampler->GetError() : error);
  if (!encoder.FinishEncode(bytes, code))
    return Fail("encoding failed: " + Text(Encoder::GetErrorDescription(code)));
  if (!writer->Write(bytes.data(), bytes.size(), error) || !writer->Finish(encodedSamples, error) ||
      !output->Commit(error))
    return Fail("cannot write " + a.out + ": " + error);
  std::printf("wrote %s: %s, %s%s, %d kbps, %s, %llu samples per channel (%.3f s)\n", a.out.c_str(),
              Text(GetNameForValue(kParameterID_CodecMode, mode, map)).c_str(),
              Text(GetNameForValue(kParameterID_ChannelConfiguration, GetParameter(kParameterID_ChannelConfiguration, map), map)).c_str(),
              GetParameter(kParameterID_EnableLFE, map) > 0 ? " + LFE" : "", GetParameter(kParameterID_DataRate, map),
              writer->Kind().c_str(), static_cast<unsigned long long>(encodedSamples),
              double(encodedSamples) / kEncoderRate);
  return 0;
}

}  // namespace

DDHOST_TOOL(encode, "encode",
            "encode IN OUT [--settings FILE.json] [--set KEY=VALUE ...] [--dialnorm auto]",
            "encode a WAV/RF64/W64/AIFF/FLAC/CAF file to .ac3/.ec3, MP4 or Matroska with settings corrected for its layout",
            RunEncode);

}  // namespace ddhost
