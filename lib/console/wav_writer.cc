#include "console/wav_writer.h"

#include <algorithm>
#include <cstring>

namespace dolbydigital {
namespace {

using basalt::filesupport::File;

constexpr std::uint16_t kBytesPerSample = 4;
constexpr std::size_t kWriteBlockBytes = 0x80000;
constexpr std::uint16_t kExtensibleChannels = 6;
constexpr std::uint32_t kMask51 = 0x3F;  // L R C LFE Ls Rs
// The sub-format GUIDs of PCM and IEEE float differ only in their first field.
constexpr std::uint8_t kSubFormatTail[12] = {0x00, 0x00, 0x10, 0x00, 0x80, 0x00,
                                             0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};

void Put16(std::vector<std::uint8_t>& out, std::uint16_t v) {
  out.push_back(static_cast<std::uint8_t>(v));
  out.push_back(static_cast<std::uint8_t>(v >> 8));
}

void Put32(std::vector<std::uint8_t>& out, std::uint32_t v) {
  for (int shift = 0; shift < 32; shift += 8) out.push_back(static_cast<std::uint8_t>(v >> shift));
}

void PutTag(std::vector<std::uint8_t>& out, const char* tag) {
  out.insert(out.end(), tag, tag + 4);
}

// Scales to 32-bit integer without clipping: +1.0 and above wrap to the integer's overflow
// value 0x80000000, which is how the format has always been written here.
std::uint32_t FloatToInt32Bits(float sample) {
  const double scaled = static_cast<double>(sample) * 2147483648.0;
  if (scaled >= 2147483648.0 || scaled < -2147483648.0 || scaled != scaled) return 0x80000000u;
  return static_cast<std::uint32_t>(static_cast<std::int32_t>(scaled));
}

}  // namespace

WavWriter::WavWriter(const ChannelLayout& layout, std::uint32_t sampleRate, bool integerSamples,
                     const UTF16String& path)
    : channels_(static_cast<std::uint16_t>(layout.size())),
      sampleRate_(sampleRate),
      integerSamples_(integerSamples),
      blockFrames_(channels_ ? std::max<std::size_t>(1, kWriteBlockBytes / channels_) : 1) {
  const File file(path);
  if (!file.GetParent().Exists()) return;
  if (file.Exists()) file.Delete();
  file.Create();
  stream_.reset(new basalt::filesupport::OPlatformByteStream(
      file, basalt::filesupport::kDefaultStreamBuffer));
  if (!stream_->IsOpen()) {
    stream_.reset();
    return;
  }
  WriteHeader();
}

WavWriter::~WavWriter() { Finish(); }

bool WavWriter::IsOpen() const { return stream_ != nullptr; }

void WavWriter::WriteHeader() {
  const bool extensible = channels_ == kExtensibleChannels;
  std::vector<std::uint8_t> header;
  PutTag(header, "RIFF");
  Put32(header, 0);
  PutTag(header, "WAVE");
  PutTag(header, "fmt ");
  Put32(header, 18 + (extensible ? 22 : 0));
  Put16(header, extensible ? 0xFFFE : integerSamples_ ? 1 : 3);
  Put16(header, channels_);
  Put32(header, sampleRate_);
  Put32(header, sampleRate_ * kBytesPerSample * channels_);
  Put16(header, static_cast<std::uint16_t>(channels_ * kBytesPerSample));
  Put16(header, 32);
  Put16(header, extensible ? 22 : 0);
  if (extensible) {
    Put16(header, 0);  // valid bits per sample: left at zero
    Put32(header, kMask51);
    Put32(header, integerSamples_ ? 1 : 3);
    header.insert(header.end(), kSubFormatTail, kSubFormatTail + sizeof kSubFormatTail);
  }
  PutTag(header, "data");
  dataSizePosition_ = header.size();
  Put32(header, 0);
  stream_->WriteBlock(header.data(), header.size());
}

void WavWriter::AppendSample(float sample) {
  std::uint32_t bits;
  if (integerSamples_)
    bits = FloatToInt32Bits(sample);
  else
    std::memcpy(&bits, &sample, sizeof bits);
  for (int shift = 0; shift < 32; shift += 8)
    block_.push_back(static_cast<std::uint8_t>(bits >> shift));
}

bool WavWriter::WriteFrames(const float* const* planes, std::size_t frames) {
  if (!stream_) return false;
  for (std::size_t start = 0; start < frames; start += blockFrames_) {
    const std::size_t count = std::min(blockFrames_, frames - start);
    block_.clear();
    for (std::size_t f = start; f < start + count; ++f)
      for (std::size_t c = 0; c < channels_; ++c) AppendSample(planes[c][f]);
    if (!stream_->WriteBlock(block_.data(), block_.size())) return false;
  }
  framesWritten_ += frames;
  return true;
}

bool WavWriter::Finish() {
  if (!stream_) return false;
  const std::uint64_t dataBytes = framesWritten_ * channels_ * kBytesPerSample;
  const std::uint64_t fileBytes = stream_->GetPosition();
  std::vector<std::uint8_t> size;
  Put32(size, static_cast<std::uint32_t>(fileBytes - 8));
  stream_->SetPosition(4);
  stream_->WriteBlock(size.data(), 4);
  size.clear();
  Put32(size, static_cast<std::uint32_t>(dataBytes));
  stream_->SetPosition(dataSizePosition_);
  stream_->WriteBlock(size.data(), 4);
  const bool ok = !stream_->HasFailed() && stream_->Close();
  stream_.reset();
  return ok;
}

}  // namespace dolbydigital
