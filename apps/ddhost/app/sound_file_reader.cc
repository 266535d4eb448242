#include "sound_file_reader.h"

#include <sndfile.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "speaker_positions.h"

namespace ddhost {
namespace {

constexpr int kMaxChannels = 8;  // the most any channel configuration carries

std::string DescribeFormat(int format) {
  SF_FORMAT_INFO major = {}, sub = {};
  major.format = format & SF_FORMAT_TYPEMASK;
  sub.format = format & SF_FORMAT_SUBMASK;
  std::string text = sf_command(nullptr, SFC_GET_FORMAT_INFO, &major, sizeof major) == 0 && major.name
                         ? major.name : "sound file";
  if (sf_command(nullptr, SFC_GET_FORMAT_INFO, &sub, sizeof sub) == 0 && sub.name)
    text += std::string(", ") + sub.name;
  return text;
}

}  // namespace

std::unique_ptr<SoundFileReader> SoundFileReader::Open(const std::string& path, std::string& error) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) return error = path + ": " + std::strerror(errno), nullptr;
  if (!S_ISREG(status.st_mode)) return error = path + " is not a regular file", nullptr;
  SF_INFO info = {};
  SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
  if (!file) {
    error = path + " cannot be read as a sound file: " + sf_strerror(nullptr);
    return nullptr;
  }
  std::unique_ptr<SoundFileReader> reader(new SoundFileReader());
  reader->file_ = file;
  reader->path_ = path;
  reader->rate_ = info.samplerate;
  reader->frames_ = info.frames > 0 ? static_cast<std::uint64_t>(info.frames) : 0;
  reader->formatName_ = DescribeFormat(info.format);
  if (info.channels < 1 || info.channels > kMaxChannels) {
    error = path + " has " + std::to_string(info.channels) +
            " channels; a stream carries 1 to " + std::to_string(kMaxChannels);
    return nullptr;
  }
  if (info.samplerate <= 0) return error = path + " has no sample rate", nullptr;
  std::vector<int> positions(info.channels);
  reader->hasMap_ = sf_command(file, SFC_GET_CHANNEL_MAP_INFO, positions.data(),
                               static_cast<int>(positions.size() * sizeof(int))) == SF_TRUE;
  if (!reader->hasMap_) positions = DefaultPositions(info.channels);
  if (!LabelsForPositions(positions, reader->layout_, error)) {
    error = path + ": " + error;
    return nullptr;
  }
  return reader;
}

SoundFileReader::~SoundFileReader() {
  if (file_) sf_close(file_);
}

bool SoundFileReader::Read(std::vector<std::vector<float>>& planes, std::size_t capacity,
                           std::size_t& frames, std::string& error) {
  const std::size_t channels = layout_.size();
  interleaved_.resize(capacity * channels);
  planes.resize(channels);
  const sf_count_t got = sf_readf_float(file_, interleaved_.data(), static_cast<sf_count_t>(capacity));
  if (got < 0 || sf_error(file_) != SF_ERR_NO_ERROR) {
    error = path_ + ": " + sf_strerror(file_);
    return false;
  }
  frames = static_cast<std::size_t>(got);
  for (std::size_t c = 0; c < channels; ++c) {
    planes[c].resize(frames);
    for (std::size_t i = 0; i < frames; ++i) planes[c][i] = interleaved_[i * channels + c];
  }
  read_ += frames;
  if (frames == 0 && read_ < frames_) {
    error = path_ + " ends after " + std::to_string(read_) + " of the " + std::to_string(frames_) +
            " sample frames its header declares (truncated or damaged)";
    return false;
  }
  return true;
}

bool SoundFileReader::Rewind(std::string& error) {
  if (sf_seek(file_, 0, SEEK_SET) != 0) {
    error = path_ + ": cannot go back to the start: " + sf_strerror(file_);
    return false;
  }
  read_ = 0;
  return true;
}

}  // namespace ddhost
