// The AC-3 / E-AC-3 track of an MP4 or Matroska file as an elementary stream: libavformat
// demuxes it and hands the packets' bytes to the decoder's read callback unchanged.
#ifndef DDHOST_CONTAINER_READER_H
#define DDHOST_CONTAINER_READER_H

#include <memory>
#include <string>
#include <vector>

#include "stream_source.h"

struct AVFormatContext;
struct AVPacket;

namespace ddhost {

// Whether libavformat recognises `path` as MP4/QuickTime or Matroska/WebM.
bool IsContainerFile(const std::string& path);

class ContainerReader : public StreamSource {
 public:
  // Null with a message when the file cannot be read or holds no AC-3 / E-AC-3 track.
  static std::unique_ptr<ContainerReader> Open(const std::string& path, std::string& error);
  ~ContainerReader() override;

  bool Rewind() override;
  bool ReachedEnd() const override { return reachedEnd_; }
  double Progress() const override;
  dolbydigital::ReadCallbackPtr Callback() override;
  std::uint64_t DeclaredSamples(int rate) const override;

 private:
  ContainerReader() = default;
  bool OpenFile(std::string& error);
  void CloseFile();
  bool Read(std::uint8_t* buffer, std::size_t& size);

  std::string path_;
  AVFormatContext* context_ = nullptr;
  AVPacket* packet_ = nullptr;
  int track_ = -1;
  std::vector<std::uint8_t> pending_;
  std::size_t pendingOffset_ = 0;
  bool reachedEnd_ = false;
};

}  // namespace ddhost

#endif  // DDHOST_CONTAINER_READER_H
