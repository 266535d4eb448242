// Reads a RIFF/WAVE file into planar 32-bit float: 16-bit and 24-bit integer PCM and 32-bit
// float. The header walk is forgiving on purpose: what it finds wrong is noted as a header
// message and reading goes on with whatever the header held, so that the caller decides
// what a problem means for its job (HeaderMessages()).
#ifndef DOLBYDIGITAL_CONSOLE_WAV_READER_H
#define DOLBYDIGITAL_CONSOLE_WAV_READER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "basalt/file.h"
#include "dolbydigital/types.h"

namespace dolbydigital {

class WavReader {
 public:
  // Texts of the header messages.
  static constexpr const char* kNotAWaveFile = "Not a wave file";
  static constexpr const char* kUnknownFormat = "Unknown format";
  static constexpr const char* kUnsupportedSampleFormat = "Only 16bit PCM or 32bit Float supported";
  static constexpr const char* kDataChunkMissing = "Data chunk missing";

  // Opens `path` and walks its header. A path whose folder does not exist opens nothing.
  explicit WavReader(const UTF16String& path);
  ~WavReader();
  WavReader(const WavReader&) = delete;
  WavReader& operator=(const WavReader&) = delete;

  bool IsOpen() const;
  std::uint16_t GetChannelCount() const { return channels_; }
  std::uint32_t GetSampleRate() const { return sampleRate_; }
  std::uint16_t GetBitsPerSample() const { return bitsPerSample_; }
  // The bytes each sample takes as read: 4 (float bits), 3 (24-bit) or 2 (16-bit, also for
  // every other declared size).
  std::size_t GetBytesPerSample() const;
  // 1 channel: mono; 2: stereo; any other count: broadcast 5.1, whatever the count is.
  const ChannelLayout& GetChannelLayout() const { return layout_; }
  std::uint16_t GetFormatTag() const { return formatTag_; }
  // Whether the samples are IEEE float (format 3, or extensible with the float sub-format).
  bool IsFloatData() const { return floatData_; }
  // The extensible format's speaker mask; 0 for the other formats.
  std::uint32_t GetChannelMask() const { return channelMask_; }
  bool HasFormatChunk() const { return hasFormat_; }
  // The file's first tag ("RIFF", or "RF64" for the 64-bit variant) and its form type.
  const std::string& GetRiffTag() const { return riffTag_; }
  const std::string& GetFormType() const { return formType_; }

  // The data chunk's length as the header declares it.
  std::uint32_t GetDataLength() const { return dataLength_; }
  // What of it the file really holds (less when the file is cut short).
  std::uint64_t GetAvailableDataLength() const { return availableLength_; }
  // How many bytes the file holds after the data chunk's size field, whatever the size says.
  std::uint64_t GetBytesAfterDataHeader() const { return bytesAfterDataHeader_; }
  // Whether a well-formed chunk header follows the declared data (a chunk after the audio),
  // as opposed to more bytes of audio than the size field can say.
  bool IsDeclaredDataFollowedByChunk() const { return followedByChunk_; }
  // Whole sample frames in the available data.
  std::uint64_t GetFrameCount() const;
  // The id of the chunk found where "data" was expected ("data" when all is well).
  const std::string& GetChunkIdAfterFormat() const { return chunkAfterFormat_; }
  // The header messages, in the order they arose.
  const std::vector<std::string>& HeaderMessages() const { return messages_; }

  // Reads up to `frames` frames into planes[0..channels-1]; returns the frames read, short
  // at the end of the data.
  std::size_t ReadFrames(float* const* planes, std::size_t frames);
  void Close();

 private:
  void WalkHeader();
  bool FindFormatChunk();
  void ReadFormat();
  void ReadDataChunkHeader();
  bool ChunkHeaderAt(std::uint64_t position);
  void RaiseHeaderMessage(const char* text);

  std::unique_ptr<basalt::filesupport::IPlatformByteStream> stream_;
  std::uint16_t channels_ = 0;
  std::uint32_t sampleRate_ = 0;
  std::uint16_t bitsPerSample_ = 0;
  std::uint16_t formatTag_ = 0;
  bool floatData_ = false;
  std::uint32_t channelMask_ = 0;
  bool hasFormat_ = false;
  ChannelLayout layout_;
  std::uint32_t dataLength_ = 0;
  std::uint64_t availableLength_ = 0;
  std::uint64_t bytesAfterDataHeader_ = 0;
  bool followedByChunk_ = false;
  std::string riffTag_, formType_;
  std::uint64_t dataRead_ = 0;
  std::string chunkAfterFormat_;
  std::vector<std::string> messages_;
  std::vector<std::uint8_t> readBuffer_;
};

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_CONSOLE_WAV_READER_H
