#include "stream_reader.h"

#include <boost/make_shared.hpp>

namespace ddhost {

StreamReader::StreamReader(const std::string& path)
    : file_(basalt::UTF8to16(path.c_str())),
      stream_(std::make_shared<basalt::filesupport::IPlatformByteStream>(file_)) {}

bool StreamReader::Rewind() {
  reached_end_ = false;
  return stream_->SetPosition(0);
}

double StreamReader::Progress() const {
  const std::uint64_t size = stream_->GetSize();
  return size ? static_cast<double>(stream_->GetPosition()) / static_cast<double>(size) : 1.0;
}

bool StreamReader::Read(std::uint8_t* buffer, std::size_t& size) {
  size = stream_->ReadBlock(buffer, size);
  if (size == 0) reached_end_ = stream_->AtEnd();
  return size > 0;
}

dolbydigital::ReadCallbackPtr StreamReader::Callback() {
  return boost::make_shared<dolbydigital::ReadCallback>(
      [this](std::uint8_t* buffer, std::size_t& size) { return Read(buffer, size); });
}

}  // namespace ddhost
