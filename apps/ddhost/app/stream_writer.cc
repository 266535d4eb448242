#include "stream_writer.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "container_writer.h"
#include "file_extension.h"
#include "output_file.h"

namespace ddhost {
namespace {

class ElementaryStreamWriter : public StreamWriter {
 public:
  explicit ElementaryStreamWriter(int fd) : fd_(fd) {}
  bool Write(const std::uint8_t* bytes, std::size_t size, std::string& error) override {
    while (size > 0) {
      const ssize_t n = ::write(fd_, bytes, size);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) return error = std::strerror(n < 0 ? errno : EIO), false;
      bytes += n;
      size -= static_cast<std::size_t>(n);
    }
    return true;
  }
  bool Finish(std::uint64_t, std::string&) override { return true; }
  std::string Kind() const override { return "elementary stream"; }

 private:
  int fd_;
};

}  // namespace

bool IsStreamOutput(const std::string& path, int& impliedMode) {
  const std::string ext = LowerCaseExtension(path);
  impliedMode = -1;
  if (ext == "ac3") impliedMode = dolbydigital::kCodecMode_DolbyDigital;
  else if (ext == "ec3" || ext == "eac3") impliedMode = dolbydigital::kCodecMode_DolbyDigitalPlus;
  else if (ContainerForExtension(ext) == nullptr) return false;
  return true;
}

std::unique_ptr<StreamWriter> OpenStreamWriter(OutputFile& output, const StreamFormat& format,
                                               std::string& error) {
  const std::string ext = LowerCaseExtension(output.Target());
  if (const char* muxer = ContainerForExtension(ext))
    return OpenContainerWriter(output, muxer, format, error);
  return std::make_unique<ElementaryStreamWriter>(output.Descriptor());
}

}  // namespace ddhost
