#include "console/wav_input_check.h"

#include <algorithm>
#include <cstdio>

namespace dolbydigital {
namespace {

constexpr unsigned kMaxChannels = 64;
constexpr unsigned kMinSampleRate = 8000;
constexpr unsigned kMaxSampleRate = 384000;

bool Raised(const WavReader& reader, const char* message) {
  const auto& messages = reader.HeaderMessages();
  return std::find(messages.begin(), messages.end(), message) != messages.end();
}

std::string Format(const char* format, unsigned long long a, unsigned long long b = 0) {
  char text[256];
  std::snprintf(text, sizeof text, format, a, b);
  return text;
}

std::string Printable(std::string id) {
  for (char& ch : id)
    if (ch < 0x20 || ch > 0x7E) ch = '?';
  return id;
}

bool ReadableSampleFormat(const WavReader& reader) {
  const int bits = reader.GetBitsPerSample();
  if (reader.IsFloatData()) return bits == 32;
  // 32-bit integer samples would be taken for float bits: refuse them rather than make noise.
  return bits == 16 || bits == 24;
}

void CheckFormat(const WavReader& reader, WavInputCheck& check) {
  if (Raised(reader, WavReader::kNotAWaveFile))
    check.errors.push_back(std::string(WavReader::kNotAWaveFile) + ": the file is not RIFF/WAVE");
  if (!reader.HasFormatChunk()) {
    check.errors.push_back("the file has no \"fmt \" chunk");
    return;
  }
  if (Raised(reader, WavReader::kUnknownFormat))
    check.errors.push_back(std::string(WavReader::kUnknownFormat) +
                           Format(": format tag 0x%04llX is neither integer PCM nor IEEE float",
                                  reader.GetFormatTag()));
  // Limits that keep a damaged header from asking for absurd buffers. A stream takes at most
  // 8 channels (files with more give it the ones it takes); rates outside the span are not
  // audio anyone encodes.
  const unsigned channels = reader.GetChannelCount();
  if (channels == 0 || channels > kMaxChannels)
    check.errors.push_back(Format("the file declares %llu channels; between 1 and %llu can be read",
                                  channels, kMaxChannels));
  const unsigned rate = reader.GetSampleRate();
  if (rate < kMinSampleRate || rate > kMaxSampleRate)
    check.errors.push_back(
        Format("the file declares a sample rate of %llu Hz; rates from 8000 "
               "to %llu Hz can be encoded",
               rate, kMaxSampleRate));
  if (!Raised(reader, WavReader::kUnknownFormat) && !ReadableSampleFormat(reader)) {
    check.errors.push_back(Format("%llu-bit ", reader.GetBitsPerSample()) +
                           (reader.IsFloatData() ? "float" : "integer") +
                           " samples cannot be read: use 16-bit or 24-bit integer PCM or 32-bit "
                           "float");
  } else if (Raised(reader, WavReader::kUnsupportedSampleFormat)) {
    check.warnings.push_back(
        std::string("header: ") + WavReader::kUnsupportedSampleFormat +
        Format("; the %llu-bit samples are read all the same", reader.GetBitsPerSample()));
  }
}

void CheckData(const WavReader& reader, WavInputCheck& check) {
  if (Raised(reader, WavReader::kDataChunkMissing)) {
    check.errors.push_back(std::string(WavReader::kDataChunkMissing) + ": a \"" +
                           Printable(reader.GetChunkIdAfterFormat()) +
                           "\" chunk follows the \"fmt \" chunk where \"data\" must come");
    return;
  }
  const std::uint64_t declared = reader.GetDataLength();
  const std::uint64_t available = reader.GetAvailableDataLength();
  if (available < declared)
    check.warnings.push_back(
        Format("the data chunk declares %llu bytes but the file holds only "
               "%llu; encoding what is there",
               declared, available));
  // A data chunk that declares nothing is an empty recording and encodes as one (the
  // stream then holds only the encoder's flush); one whose bytes are missing is damage.
  if (reader.GetFrameCount() == 0) {
    if (declared == 0)
      check.warnings.push_back("the file holds no audio; the stream holds only silence");
    else
      check.errors.push_back("the file holds no whole sample frame of the audio it declares");
  }
}

}  // namespace

WavInputCheck CheckWavInput(const WavReader& reader) {
  WavInputCheck check;
  if (!reader.IsOpen()) {
    check.errors.push_back("the file cannot be opened");
    return check;
  }
  CheckFormat(reader, check);
  if (check.Usable()) CheckData(reader, check);
  return check;
}

}  // namespace dolbydigital
