// Writes planar float audio to a RIFF/WAVE file as 32-bit IEEE float or 32-bit integer PCM.
// Six channels are written in the extensible form with the 5.1 speaker mask.
#ifndef DOLBYDIGITAL_CONSOLE_WAV_WRITER_H
#define DOLBYDIGITAL_CONSOLE_WAV_WRITER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "basalt/file.h"
#include "dolbydigital/types.h"

namespace dolbydigital {

class WavWriter {
 public:
  // Replaces any file at `path` and writes the header. A path whose folder does not exist
  // creates nothing.
  WavWriter(const ChannelLayout& layout, std::uint32_t sampleRate, bool integerSamples,
            const UTF16String& path);
  ~WavWriter();  // finishes the file
  WavWriter(const WavWriter&) = delete;
  WavWriter& operator=(const WavWriter&) = delete;

  bool IsOpen() const;
  // planes[c] holds `frames` samples of channel c.
  bool WriteFrames(const float* const* planes, std::size_t frames);
  // Fills in the RIFF and data sizes and closes the file; false when a write failed.
  bool Finish();
  std::uint64_t GetFramesWritten() const { return framesWritten_; }

 private:
  void WriteHeader();
  void AppendSample(float sample);

  std::unique_ptr<basalt::filesupport::OPlatformByteStream> stream_;
  std::uint16_t channels_;
  std::uint32_t sampleRate_;
  bool integerSamples_;
  std::uint64_t framesWritten_ = 0;
  std::uint64_t dataSizePosition_ = 0;
  std::size_t blockFrames_;
  std::vector<std::uint8_t> block_;
};

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_CONSOLE_WAV_WRITER_H
