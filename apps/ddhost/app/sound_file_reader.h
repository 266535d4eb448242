// Reads a PCM sound file through libsndfile (WAV with any chunks, WAVE_FORMAT_EXTENSIBLE,
// RF64, W64, AIFF, FLAC, CAF; 8 to 32-bit integer and 32/64-bit float) as planar float, and
// tells its speaker layout in host channel labels: from the file's channel map, or from the
// default order of its channel count when it has none.
#ifndef DDHOST_SOUND_FILE_READER_H
#define DDHOST_SOUND_FILE_READER_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "dolbydigital/types.h"

typedef struct sf_private_tag SNDFILE;

namespace ddhost {

class SoundFileReader {
 public:
  static std::unique_ptr<SoundFileReader> Open(const std::string& path, std::string& error);
  ~SoundFileReader();

  int Rate() const { return rate_; }
  std::size_t Channels() const { return layout_.size(); }
  std::uint64_t Frames() const { return frames_; }  // as the header declares
  const dolbydigital::ChannelLayout& Layout() const { return layout_; }
  bool HasChannelMap() const { return hasMap_; }
  const std::string& FormatName() const { return formatName_; }  // "WAV, 24-bit integer"

  // Reads up to `capacity` frames into planes[c][0..]; `frames` is what was read, 0 at the
  // end. False on a read error, or when the file ends before the frames its header declares.
  bool Read(std::vector<std::vector<float>>& planes, std::size_t capacity, std::size_t& frames,
            std::string& error);
  bool Rewind(std::string& error);
  std::uint64_t FramesRead() const { return read_; }

 private:
  SoundFileReader() = default;

  SNDFILE* file_ = nullptr;
  std::string path_;
  int rate_ = 0;
  std::uint64_t frames_ = 0;
  std::uint64_t read_ = 0;
  dolbydigital::ChannelLayout layout_;
  bool hasMap_ = false;
  std::string formatName_;
  std::vector<float> interleaved_;
};

}  // namespace ddhost

#endif  // DDHOST_SOUND_FILE_READER_H
