#include "console/wav_input_check.h"

#include <algorithm>
#include <cstdio>

namespace dolbydigital {
namespace {

constexpr std::uint64_t kFourGiB = 0x100000000ull;
constexpr std::uint32_t kSaturatedSize = 0xFFFFFFFFu;

std::string Format(const char* format, double a = 0, double b = 0, double c = 0) {
  char text[256];
  std::snprintf(text, sizeof text, format, a, b, c);
  return text;
}

std::string Hex(unsigned value, int digits) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%0*X", digits, value);
  return text;
}

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

std::string Printable(std::string id) {
  for (char& ch : id)
    if (ch < 0x20 || ch > 0x7E) ch = '?';
  return id;
}

bool Raised(const WavReader& reader, const char* message) {
  const auto& messages = reader.HeaderMessages();
  return std::find(messages.begin(), messages.end(), message) != messages.end();
}

std::uint64_t FrameBytes(const WavReader& reader) {
  return static_cast<std::uint64_t>(reader.GetChannelCount()) * reader.GetBytesPerSample();
}

// "12.345 s" of file time for a byte count of sample data.
std::string Duration(const WavReader& reader, std::uint64_t bytes) {
  const std::uint64_t frameBytes = FrameBytes(reader);
  const double frames = frameBytes ? static_cast<double>(bytes / frameBytes) : 0.0;
  const double rate = reader.GetSampleRate() ? reader.GetSampleRate() : kStreamSampleRate;
  return Format("%.3f s", frames / rate);
}

// How the reader turns the file's bytes into samples.
std::string HowSamplesAreRead(const WavReader& reader) {
  switch (reader.GetBytesPerSample()) {
    case 4:
      return "32-bit float";
    case 3:
      return "24-bit integer";
    default:
      return "16-bit integer";
  }
}

// Whether the reader takes the samples for what the header says they are.
bool ReadAsDeclared(const WavReader& reader) {
  const unsigned bits = reader.GetBitsPerSample();
  if (bits == 16 || bits == 24) return !reader.IsFloatData();
  return bits == 32 && reader.IsFloatData();
}

const char* kNoise = ", so the stream holds noise, not the recording";

void CheckHeader(const WavReader& reader, std::vector<std::string>& warnings) {
  if (Raised(reader, WavReader::kNotAWaveFile))
    warnings.push_back("header: " + Quoted(WavReader::kNotAWaveFile) + " (its form type is " +
                       Quoted(Printable(reader.GetFormType())) +
                       "); the file is read as a WAV file all the same");
  if (!reader.HasFormatChunk()) {
    warnings.push_back(
        "the file has no \"fmt \" chunk: nothing in it is read as audio, and the stream holds "
        "only the encoder's silence");
    return;
  }
  if (Raised(reader, WavReader::kUnknownFormat))
    warnings.push_back("header: " + Quoted(WavReader::kUnknownFormat) +
                       " (format tag " + Hex(reader.GetFormatTag(), 4) +
                       " is neither integer PCM nor IEEE float); " +
                       "its data is read as " + HowSamplesAreRead(reader) +
                       " samples all the same, so the stream holds whatever those bytes give");
  if (Raised(reader, WavReader::kUnsupportedSampleFormat))
    warnings.push_back("header: " + Quoted(WavReader::kUnsupportedSampleFormat) +
                       Format("; its %.0f-bit samples are read as ", reader.GetBitsPerSample()) +
                       HowSamplesAreRead(reader) + " samples all the same" +
                       (ReadAsDeclared(reader) ? "" : kNoise));
  if (Raised(reader, WavReader::kDataChunkMissing)) {
    const std::string id = Quoted(Printable(reader.GetChunkIdAfterFormat()));
    warnings.push_back(
        "header: " + Quoted(WavReader::kDataChunkMissing) + " (a " + id +
        " chunk follows the \"fmt \" chunk where \"data\" belongs); the " + id +
        Format(" chunk's size (%.0f bytes) is taken as the length of the audio and its bytes as "
               "samples: the stream holds those %.0f frames (",
               reader.GetDataLength(), static_cast<double>(reader.GetFrameCount())) +
        Duration(reader, reader.GetAvailableDataLength()) + ") and none of the file's real audio");
  }
  if (reader.GetChannelCount() == 0)
    warnings.push_back(
        "the header declares no channels: nothing is read as audio, and the stream holds only "
        "the encoder's silence");
}

// Samples whose bits the reader takes for something they are not.
void CheckSampleFormat(const WavReader& reader, std::vector<std::string>& warnings) {
  const unsigned bits = reader.GetBitsPerSample();
  if (bits == 32 && !reader.IsFloatData()) {
    warnings.push_back(
        "the samples are 32-bit integers; this command takes their bits as 32-bit float "
        "unchanged (it does not convert them)" + std::string(kNoise));
    return;
  }
  if (!ReadAsDeclared(reader) && !Raised(reader, WavReader::kUnsupportedSampleFormat) &&
      !Raised(reader, WavReader::kUnknownFormat))
    warnings.push_back(Format("the samples are %.0f-bit ", bits) +
                       (reader.IsFloatData() ? "float" : "integer") + "; they are read as " +
                       HowSamplesAreRead(reader) + " samples" + kNoise);
}

void CheckSampleRate(const WavReader& reader, std::vector<std::string>& warnings) {
  const std::uint32_t rate = reader.GetSampleRate();
  if (rate == kStreamSampleRate || reader.GetFrameCount() == 0) return;
  const double frames = static_cast<double>(reader.GetFrameCount());
  const double speed = rate ? static_cast<double>(kStreamSampleRate) / rate : 0.0;
  warnings.push_back(
      Format("the file is sampled at %.0f Hz; this command does not resample: its samples go "
             "into a %.0f Hz stream as they are, which plays ",
             rate, kStreamSampleRate) +
      Format("%.3f times as fast and pitched accordingly (%.3f s instead of ", speed,
             frames / kStreamSampleRate) +
      (rate ? Format("%.3f s)", frames / rate) : std::string("an unknown length)")));
}

// The data chunk's 32-bit size against what the file really holds after it: sizes that
// wrapped past 4 GiB, sizes saturated at 0xFFFFFFFF, RF64 files (whose real sizes are in a
// "ds64" chunk this reader does not read) and files cut short.
void CheckDataLength(const WavReader& reader, std::vector<std::string>& warnings) {
  if (!reader.HasFormatChunk() || Raised(reader, WavReader::kDataChunkMissing) ||
      FrameBytes(reader) == 0)
    return;
  const std::uint64_t declared = reader.GetDataLength();
  const std::uint64_t inFile = reader.GetBytesAfterDataHeader();
  const std::string encoded = Duration(reader, reader.GetAvailableDataLength());
  std::string why;
  if (reader.GetRiffTag() == "RF64")
    why = " (an RF64 file: its real sizes are in a \"ds64\" chunk this command does not read)";
  else if (declared == kSaturatedSize)
    why = " (a size of 0xFFFFFFFF: the writer could not say the length of a file over 4 GiB)";
  if (declared > inFile) {
    warnings.push_back(Format("the data chunk declares %.0f bytes (", static_cast<double>(declared)) +
                       Duration(reader, declared) + ")" + why +
                       Format(" but the file holds only %.0f (", static_cast<double>(inFile)) +
                       Duration(reader, inFile) + "): " + encoded + " are encoded");
    return;
  }
  const bool moreAudio = !reader.IsDeclaredDataFollowedByChunk() || inFile - declared >= kFourGiB;
  if (declared == inFile || !moreAudio) return;
  if (why.empty() && inFile >= kFourGiB)
    why = " (a 32-bit size that wrapped past 4 GiB)";
  warnings.push_back(Format("the file holds %.0f bytes of audio (about ", static_cast<double>(inFile)) +
                     Duration(reader, inFile) +
                     Format(") but its data chunk declares %.0f bytes", static_cast<double>(declared)) +
                     why + ": only the first " + encoded + " are encoded");
}

void CheckEmpty(const WavReader& reader, std::vector<std::string>& warnings) {
  if (!reader.HasFormatChunk() || reader.GetChannelCount() == 0 || reader.GetFrameCount() > 0)
    return;
  warnings.push_back("the file holds no whole sample frame of audio; the stream holds only the "
                     "encoder's silence");
}

}  // namespace

std::vector<std::string> CheckWavInput(const WavReader& reader) {
  std::vector<std::string> warnings;
  if (!reader.IsOpen()) return warnings;
  CheckHeader(reader, warnings);
  if (!reader.HasFormatChunk() || reader.GetChannelCount() == 0) return warnings;
  CheckSampleFormat(reader, warnings);
  CheckSampleRate(reader, warnings);
  CheckDataLength(reader, warnings);
  CheckEmpty(reader, warnings);
  return warnings;
}

}  // namespace dolbydigital
