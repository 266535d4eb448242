// Writes decoded planar float audio into a sound file through libsndfile: the container by
// the target's extension (.wav: WAV with WAVE_FORMAT_EXTENSIBLE, becoming RF64 once the data
// passes 4 GiB; .rf64, .w64, .flac, .aif/.aiff, .caf), the channels stored in the order of
// their speaker positions and the positions recorded in the file where the format can.
#ifndef DDHOST_SOUND_FILE_WRITER_H
#define DDHOST_SOUND_FILE_WRITER_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "dolbydigital/types.h"
#include "speaker_positions.h"

typedef struct sf_private_tag SNDFILE;

namespace ddhost {

class OutputFile;

enum class SampleFormat { kDefault, kS16, kS24, kS32, kF32 };
bool ParseSampleFormat(const std::string& text, SampleFormat& format);

class SoundFileWriter {
 public:
  // Writes into `output`'s temporary file; `layout` is the order of the planes handed in.
  static std::unique_ptr<SoundFileWriter> Open(OutputFile& output, int rate,
                                               const dolbydigital::ChannelLayout& layout,
                                               SampleFormat format, std::string& error);
  ~SoundFileWriter();

  bool Write(const float* const* planes, std::size_t frames, std::string& error);
  bool Close(std::string& error);  // finishes the header; the output is then ready to commit

  // "WAV, 32-bit float, channel mask 0x60F (L R C LFE Ls Rs)" for the closing message.
  const std::string& Description() const { return description_; }
  // Set when the format could not record the speaker positions.
  const std::string& Note() const { return note_; }

 private:
  SoundFileWriter(SNDFILE* file, StoredOrder order, std::string description, std::string note);

  SNDFILE* file_;
  StoredOrder order_;
  std::vector<float> interleaved_;
  std::string description_;
  std::string note_;
};

}  // namespace ddhost

#endif  // DDHOST_SOUND_FILE_WRITER_H
