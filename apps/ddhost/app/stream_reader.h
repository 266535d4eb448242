// A decoder read callback over a file, as a host's importer provides one: it can go back to
// the start after the decoder's probe, and it tells the stream's end from a failure.
#ifndef DDHOST_STREAM_READER_H
#define DDHOST_STREAM_READER_H

#include <cstdint>
#include <memory>
#include <string>

#include "basalt/file.h"
#include "dolbydigital/decoder.h"
#include "stream_source.h"

namespace ddhost {

class StreamReader : public StreamSource {
 public:
  explicit StreamReader(const std::string& path);
  bool IsOpen() const { return stream_->IsOpen(); }
  bool Rewind() override;
  bool ReachedEnd() const override { return reached_end_; }
  double Progress() const override;  // 0..1 through the file
  dolbydigital::ReadCallbackPtr Callback() override;

 private:
  bool Read(std::uint8_t* buffer, std::size_t& size);

  basalt::filesupport::File file_;
  std::shared_ptr<basalt::filesupport::IPlatformByteStream> stream_;
  bool reached_end_ = false;
};

}  // namespace ddhost

#endif  // DDHOST_STREAM_READER_H
