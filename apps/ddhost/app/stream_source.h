// Where a decoder's bytes come from: an elementary .ac3/.ec3 file as it is, or the audio
// track of an MP4 or Matroska file, demuxed packet by packet. Either way the decoder sees
// one elementary stream through its read callback.
#ifndef DDHOST_STREAM_SOURCE_H
#define DDHOST_STREAM_SOURCE_H

#include <cstdint>
#include <memory>
#include <string>

#include "dolbydigital/decoder.h"

namespace ddhost {

class StreamSource {
 public:
  virtual ~StreamSource() = default;
  virtual bool Rewind() = 0;              // back to the first byte, after the decoder's probe
  virtual bool ReachedEnd() const = 0;    // the end of the data, not a read failure
  virtual double Progress() const = 0;    // 0..1 through the input
  virtual dolbydigital::ReadCallbackPtr Callback() = 0;
  // The programme's length in samples per channel at `rate` when the input declares it (a
  // container's duration, which leaves out the padding of the last frame); 0 when unknown.
  virtual std::uint64_t DeclaredSamples(int rate) const { return 0; }
};

// Opens `path`: a container when it is one that libavformat recognises as MP4 or Matroska,
// otherwise the file's bytes. Null with a message in `error`.
std::unique_ptr<StreamSource> OpenStreamSource(const std::string& path, std::string& error);

}  // namespace ddhost

#endif  // DDHOST_STREAM_SOURCE_H
