// Where an encoded stream goes, chosen by the output's extension: .ac3/.ec3 as the
// elementary stream itself; .mp4/.m4a and .mkv/.mka through libavformat, frame by frame as
// they come (no re-encoding), with the codec configuration players need and the real
// duration of the programme (the padding of the last frame marked for removal).
#ifndef DDHOST_STREAM_WRITER_H
#define DDHOST_STREAM_WRITER_H

#include <cstdint>
#include <memory>
#include <string>

#include "dolbydigital/types.h"

namespace ddhost {

class OutputFile;

struct StreamFormat {
  dolbydigital::CodecMode mode;
  int rate;
  dolbydigital::ChannelLayout layout;  // the stream's channels
  int kbps;
};

class StreamWriter {
 public:
  virtual ~StreamWriter() = default;
  virtual bool Write(const std::uint8_t* bytes, std::size_t size, std::string& error) = 0;
  // `samples`: the programme's length per channel, so that the container says so exactly.
  virtual bool Finish(std::uint64_t samples, std::string& error) = 0;
  virtual std::string Kind() const = 0;  // "MP4", "Matroska", "elementary stream"
};

// Whether `path` names an output this writer knows, and the codec mode its extension asks
// for (an .ac3 file holds Dolby Digital, an .ec3 file Dolby Digital Plus; containers take
// either, `impliedMode` is then -1).
bool IsStreamOutput(const std::string& path, int& impliedMode);

std::unique_ptr<StreamWriter> OpenStreamWriter(OutputFile& output, const StreamFormat& format,
                                               std::string& error);

}  // namespace ddhost

#endif  // DDHOST_STREAM_WRITER_H
