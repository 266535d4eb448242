#include "console/wav_reader.h"

#include <algorithm>
#include <cstring>

namespace dolbydigital {
namespace {

using basalt::filesupport::File;
using basalt::filesupport::IPlatformByteStream;

constexpr std::uint16_t kFormatPcm = 1;
constexpr std::uint16_t kFormatFloat = 3;
constexpr std::uint16_t kFormatExtensible = 0xFFFE;
constexpr std::size_t kFormatExBytes = 18;          // WAVEFORMATEX with its cbSize
constexpr std::size_t kFormatExtensibleBytes = 40;  // WAVEFORMATEXTENSIBLE
// KSDATAFORMAT_SUBTYPE_IEEE_FLOAT as it lies in the file.
constexpr std::uint8_t kFloatSubFormat[16] = {0x03, 0x00, 0x00, 0x00, 0x00, 0x00, 0x10, 0x00,
                                              0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};

std::uint16_t LittleEndian16(const std::uint8_t* p) {
  return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}

std::uint32_t LittleEndian32(const std::uint8_t* p) {
  return static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
         (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}

// Reads a 4-byte tag or little-endian number; false at the end of the file.
bool ReadFour(IPlatformByteStream& stream, std::uint8_t (&bytes)[4]) {
  return stream.ReadBlock(bytes, 4) == 4;
}

ChannelLayout LayoutForChannelCount(std::uint16_t channels) {
  if (channels == 1) return tidemark::CreateMonoChannelLayout();
  if (channels == 2) return tidemark::CreateStereoChannelLayout();
  return tidemark::CreateBroadcast51ChannelLayout();
}

float Sample16(const std::uint8_t* p) {
  return static_cast<float>(static_cast<std::int16_t>(LittleEndian16(p))) * (1.0f / 32768.0f);
}

float Sample24(const std::uint8_t* p) {
  std::int32_t value = p[0] | (p[1] << 8) | (p[2] << 16);
  if (value & 0x800000) value -= 0x1000000;  // sign extension
  return static_cast<float>(value) * (1.0f / 8388608.0f);
}

float Sample32Float(const std::uint8_t* p) {
  const std::uint32_t bits = LittleEndian32(p);
  float value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

}  // namespace

WavReader::WavReader(const UTF16String& path) {
  const File file(path);
  if (!file.GetParent().Exists()) return;
  stream_.reset(new IPlatformByteStream(file, basalt::filesupport::kDefaultStreamBuffer));
  if (!stream_->IsOpen()) {
    stream_.reset();
    return;
  }
  WalkHeader();
}

WavReader::~WavReader() { Close(); }

bool WavReader::IsOpen() const { return stream_ != nullptr; }

void WavReader::RaiseHeaderMessage(const char* text) {
  // The walk does not stop here: the text is kept for the caller to judge.
  messages_.emplace_back(text);
}

void WavReader::WalkHeader() {
  std::uint8_t riff[12] = {};
  stream_->ReadBlock(riff, sizeof riff);  // "RIFF" and its size are not checked
  riffTag_.assign(reinterpret_cast<const char*>(riff), 4);
  formType_.assign(reinterpret_cast<const char*>(riff + 8), 4);
  if (std::memcmp(riff + 8, "WAVE", 4) != 0) RaiseHeaderMessage(kNotAWaveFile);
  if (!FindFormatChunk()) return;
  ReadFormat();
  ReadDataChunkHeader();
}

bool WavReader::FindFormatChunk() {
  for (;;) {
    std::uint8_t id[4], size[4];
    if (!ReadFour(*stream_, id)) return false;
    if (std::memcmp(id, "fmt ", 4) == 0) return true;
    if (!ReadFour(*stream_, size)) return false;
    // No pad byte is skipped after an odd-sized chunk.
    stream_->Skip(LittleEndian32(size));
  }
}

void WavReader::ReadFormat() {
  std::uint8_t sizeField[4] = {};
  ReadFour(*stream_, sizeField);
  const std::uint32_t formatSize = LittleEndian32(sizeField);
  const std::uint64_t formatStart = stream_->GetPosition();
  std::uint8_t format[kFormatExtensibleBytes] = {};
  stream_->ReadBlock(format, kFormatExBytes);
  formatTag_ = LittleEndian16(format);
  channels_ = LittleEndian16(format + 2);
  sampleRate_ = LittleEndian32(format + 4);
  bitsPerSample_ = LittleEndian16(format + 14);
  layout_ = LayoutForChannelCount(channels_);
  hasFormat_ = true;

  // The kind flag is set for float and for extensible integer PCM alike; only the check of
  // the sample size below reads it.
  bool kindFlag = false;
  if (formatTag_ == kFormatExtensible) {
    stream_->SetPosition(formatStart);
    stream_->ReadBlock(format, kFormatExtensibleBytes);
    channelMask_ = LittleEndian32(format + 20);
    floatData_ = std::memcmp(format + 24, kFloatSubFormat, sizeof kFloatSubFormat) == 0;
    kindFlag = !floatData_;
  } else if (formatTag_ == kFormatFloat) {
    floatData_ = true;
    kindFlag = true;
  } else if (formatTag_ != kFormatPcm) {
    RaiseHeaderMessage(kUnknownFormat);
  }
  if (!(bitsPerSample_ == 16 || kindFlag || bitsPerSample_ == 32))
    RaiseHeaderMessage(kUnsupportedSampleFormat);
  stream_->SetPosition(formatStart + formatSize);
}

void WavReader::ReadDataChunkHeader() {
  std::uint8_t id[4] = {}, size[4] = {};
  ReadFour(*stream_, id);
  chunkAfterFormat_.assign(reinterpret_cast<const char*>(id), 4);
  // The data chunk must follow the format chunk directly; nothing in between is skipped.
  if (chunkAfterFormat_ != "data") RaiseHeaderMessage(kDataChunkMissing);
  ReadFour(*stream_, size);
  dataLength_ = LittleEndian32(size);
  const std::uint64_t position = stream_->GetPosition();
  const std::uint64_t fileSize = stream_->GetSize();
  const std::uint64_t inFile = fileSize > position ? fileSize - position : 0;
  availableLength_ = std::min<std::uint64_t>(dataLength_, inFile);
  bytesAfterDataHeader_ = inFile;
  // Chunks after the audio are common ("LIST", "id3 "); more audio than the 32-bit size can
  // say is not followed by a chunk header. Odd-sized data is followed by a pad byte.
  if (dataLength_ < inFile) {
    followedByChunk_ = ChunkHeaderAt(position + dataLength_ + (dataLength_ & 1));
    stream_->SetPosition(position);
  }
}

bool WavReader::ChunkHeaderAt(std::uint64_t position) {
  std::uint8_t header[8];
  if (!stream_->SetPosition(position) || stream_->ReadBlock(header, sizeof header) != 8)
    return false;
  for (int i = 0; i < 4; ++i)
    if (header[i] < 0x20 || header[i] > 0x7E) return false;
  const std::uint64_t end = stream_->GetSize();
  return position + 8 + LittleEndian32(header + 4) <= end;
}

std::size_t WavReader::GetBytesPerSample() const {
  const std::size_t bytes = bitsPerSample_ / 8;
  return bytes == 4 || bytes == 3 ? bytes : 2;
}

std::uint64_t WavReader::GetFrameCount() const {
  const std::uint64_t frameBytes = static_cast<std::uint64_t>(channels_) * GetBytesPerSample();
  return frameBytes ? availableLength_ / frameBytes : 0;
}

std::size_t WavReader::ReadFrames(float* const* planes, std::size_t frames) {
  if (!stream_ || channels_ == 0) return 0;
  const std::uint64_t remaining = GetFrameCount() - std::min(GetFrameCount(), dataRead_);
  frames = static_cast<std::size_t>(std::min<std::uint64_t>(frames, remaining));
  const std::size_t sampleBytes = GetBytesPerSample();
  const std::size_t frameBytes = sampleBytes * channels_;
  readBuffer_.resize(frames * frameBytes);
  const std::size_t got = stream_->ReadBlock(readBuffer_.data(), readBuffer_.size()) / frameBytes;
  const std::uint8_t* p = readBuffer_.data();
  for (std::size_t f = 0; f < got; ++f) {
    for (std::size_t c = 0; c < channels_; ++c, p += sampleBytes) {
      planes[c][f] = sampleBytes == 4   ? Sample32Float(p)
                     : sampleBytes == 3 ? Sample24(p)
                                        : Sample16(p);
    }
  }
  dataRead_ += got;
  return got;
}

void WavReader::Close() { stream_.reset(); }

}  // namespace dolbydigital
