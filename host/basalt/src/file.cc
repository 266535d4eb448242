// Files and folders over POSIX calls, and byte streams that buffer through pread/pwrite so
// that the logical position is independent of the descriptor's offset. Offsets are 64-bit
// throughout (off_t is 64-bit on the targets this host supports).
#include "basalt/file.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace basalt {
namespace filesupport {
namespace {

static_assert(sizeof(off_t) == 8, "64-bit file offsets are required");

std::string NativePath(const UTF16String& path) { return ToStdString(path); }

bool StatPath(const std::string& path, struct stat& info) { return ::stat(path.c_str(), &info) == 0; }

// Lexically removes ".", ".." and repeated separators from an absolute path.
std::string NormaliseAbsolute(const std::string& path) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  while (start <= path.size()) {
    std::size_t end = path.find('/', start);
    if (end == std::string::npos) end = path.size();
    const std::string part = path.substr(start, end - start);
    if (part == "..") {
      if (!parts.empty()) parts.pop_back();
    } else if (!part.empty() && part != ".") {
      parts.push_back(part);
    }
    start = end + 1;
  }
  std::string result;
  for (const auto& part : parts) result += "/" + part;
  return result.empty() ? "/" : result;
}

std::string CurrentDirectory() {
  std::vector<char> buffer(PATH_MAX);
  while (::getcwd(buffer.data(), buffer.size()) == nullptr) {
    if (errno != ERANGE) return "/";
    buffer.resize(buffer.size() * 2);
  }
  return buffer.data();
}

// pread/pwrite until done, retrying interrupted and partial transfers.
std::size_t ReadFully(int fd, void* destination, std::size_t size, std::uint64_t offset) {
  auto* bytes = static_cast<unsigned char*>(destination);
  std::size_t done = 0;
  while (done < size) {
    const ssize_t got = ::pread(fd, bytes + done, size - done, static_cast<off_t>(offset + done));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    done += static_cast<std::size_t>(got);
  }
  return done;
}

bool WriteFully(int fd, const void* data, std::size_t size, std::uint64_t offset) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  std::size_t done = 0;
  while (done < size) {
    const ssize_t put = ::pwrite(fd, bytes + done, size - done, static_cast<off_t>(offset + done));
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return false;
    done += static_cast<std::size_t>(put);
  }
  return true;
}

int OpenDescriptor(const std::string& path, int flags) {
  int fd;
  do {
    fd = ::open(path.c_str(), flags | O_CLOEXEC, 0666);
  } while (fd < 0 && errno == EINTR);
  return fd;
}

}  // namespace

// ---- Dir -------------------------------------------------------------------------------

Dir::Dir(const UTF16String& path) : path_(path) {}

bool Dir::Exists() const {
  struct stat info;
  return StatPath(NativePath(path_), info) && S_ISDIR(info.st_mode);
}

bool Dir::Create() const {
  const std::string path = NativePath(path_);
  if (path.empty()) return false;
  // Walk the path and create every missing folder on the way.
  for (std::size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
    const std::string prefix = path.substr(0, slash);
    if (!prefix.empty() && ::mkdir(prefix.c_str(), 0777) != 0 && errno != EEXIST) return false;
    if (slash == std::string::npos) break;
  }
  return Exists();
}

// ---- File ------------------------------------------------------------------------------

File::File(const UTF16String& path) : path_(path) {}

bool File::Exists() const {
  struct stat info;
  return StatPath(NativePath(path_), info) && S_ISREG(info.st_mode);
}

std::uint64_t File::GetSize() const {
  struct stat info;
  if (!StatPath(NativePath(path_), info) || !S_ISREG(info.st_mode)) return 0;
  return static_cast<std::uint64_t>(info.st_size);
}

bool File::Delete() const { return ::unlink(NativePath(path_).c_str()) == 0; }

bool File::Create() const {
  const int fd = OpenDescriptor(NativePath(path_), O_WRONLY | O_CREAT | O_EXCL);
  if (fd < 0) return false;
  ::close(fd);
  return true;
}

Dir File::GetParent() const {
  const std::string path = NativePath(path_);
  const std::size_t slash = path.find_last_of('/');
  if (slash == std::string::npos) return Dir(AsciiToUTF16("."));
  if (slash == 0) return Dir(AsciiToUTF16("/"));
  return Dir(UTF8to16(path.substr(0, slash).c_str()));
}

UTF16String File::GetFullPath() const {
  std::string path = NativePath(path_);
  if (path.empty() || path[0] != '/') path = CurrentDirectory() + "/" + path;
  return UTF8to16(NormaliseAbsolute(path).c_str());
}

// ---- IPlatformByteStream ---------------------------------------------------------------

struct IPlatformByteStream::Impl {
  int fd = -1;
  // Left uninitialised: pages a small file never reaches are never touched (zeroing the
  // whole 2 MiB cost more than reading most files).
  std::unique_ptr<unsigned char[]> buffer;
  std::size_t buffer_size = 0;
  std::uint64_t buffer_offset = 0;  // file offset of buffer[0]
  std::size_t buffer_fill = 0;      // valid bytes in buffer
  std::uint64_t position = 0;       // logical read position

  bool InBuffer(std::uint64_t at) const {
    return at >= buffer_offset && at < buffer_offset + buffer_fill;
  }
  void Refill() {
    buffer_offset = position;
    buffer_fill = ReadFully(fd, buffer.get(), buffer_size, position);
  }
};

IPlatformByteStream::IPlatformByteStream(const File& file, std::size_t buffer_size) : impl_(new Impl()) {
  impl_->buffer_size = buffer_size == 0 ? kDefaultStreamBuffer : buffer_size;
  impl_->fd = OpenDescriptor(NativePath(file.GetPath()), O_RDONLY);
  struct stat info;
  if (impl_->fd >= 0 && (::fstat(impl_->fd, &info) != 0 || S_ISDIR(info.st_mode))) Close();
  // A regular file smaller than the buffer never needs all of it; a file that grows later
  // is still read in full, a buffer's worth at a time.
  if (IsOpen() && S_ISREG(info.st_mode)) {
    const auto fileSize = static_cast<std::uint64_t>(info.st_size);
    impl_->buffer_size = static_cast<std::size_t>(
        std::min<std::uint64_t>(impl_->buffer_size, std::max<std::uint64_t>(fileSize, 4096)));
  }
  impl_->buffer.reset(new unsigned char[impl_->buffer_size]);
}

IPlatformByteStream::~IPlatformByteStream() {
  Close();
  delete impl_;
}

bool IPlatformByteStream::IsOpen() const { return impl_->fd >= 0; }

std::size_t IPlatformByteStream::ReadBlock(void* destination, std::size_t size) {
  if (!IsOpen() || size == 0) return 0;
  auto* out = static_cast<unsigned char*>(destination);
  std::size_t done = 0;
  while (done < size) {
    if (!impl_->InBuffer(impl_->position)) {
      // Requests at least a buffer long bypass the buffer instead of copying twice.
      if (size - done >= impl_->buffer_size) {
        const std::size_t got = ReadFully(impl_->fd, out + done, size - done, impl_->position);
        impl_->position += got;
        return done + got;
      }
      impl_->Refill();
      if (impl_->buffer_fill == 0) break;  // end of file or read error
    }
    const std::size_t offset = static_cast<std::size_t>(impl_->position - impl_->buffer_offset);
    const std::size_t chunk = std::min(size - done, impl_->buffer_fill - offset);
    std::memcpy(out + done, impl_->buffer.get() + offset, chunk);
    done += chunk;
    impl_->position += chunk;
  }
  return done;
}

bool IPlatformByteStream::SetPosition(std::uint64_t position) {
  if (!IsOpen() || position > static_cast<std::uint64_t>(INT64_MAX)) return false;
  impl_->position = position;  // the buffer stays valid; ReadBlock checks it
  return true;
}

bool IPlatformByteStream::Skip(std::int64_t offset) {
  if (!IsOpen()) return false;
  if (offset < 0 && static_cast<std::uint64_t>(-(offset + 1)) + 1 > impl_->position) return false;
  return SetPosition(impl_->position + static_cast<std::uint64_t>(offset));
}

std::uint64_t IPlatformByteStream::GetPosition() const { return impl_->position; }

std::uint64_t IPlatformByteStream::GetSize() const {
  struct stat info;
  if (!IsOpen() || ::fstat(impl_->fd, &info) != 0) return 0;
  return static_cast<std::uint64_t>(info.st_size);
}

bool IPlatformByteStream::AtEnd() const { return !IsOpen() || impl_->position >= GetSize(); }

void IPlatformByteStream::Close() {
  if (impl_->fd >= 0) ::close(impl_->fd);
  impl_->fd = -1;
  impl_->buffer_fill = 0;
}

// ---- OPlatformByteStream ---------------------------------------------------------------

struct OPlatformByteStream::Impl {
  int fd = -1;
  std::unique_ptr<unsigned char[]> buffer;  // uninitialised, as for reading
  std::size_t buffer_size = 0;
  std::size_t buffer_fill = 0;
  std::uint64_t flushed_position = 0;  // file offset where the buffer's bytes go
  bool failed = false;

  bool Flush() {
    if (buffer_fill == 0) return !failed;
    if (!WriteFully(fd, buffer.get(), buffer_fill, flushed_position)) failed = true;
    flushed_position += buffer_fill;
    buffer_fill = 0;
    return !failed;
  }
};

OPlatformByteStream::OPlatformByteStream(const File& file, std::size_t buffer_size) : impl_(new Impl()) {
  impl_->buffer_size = buffer_size == 0 ? kDefaultStreamBuffer : buffer_size;
  impl_->buffer.reset(new unsigned char[impl_->buffer_size]);
  impl_->fd = OpenDescriptor(NativePath(file.GetPath()), O_WRONLY | O_CREAT | O_TRUNC);
}

OPlatformByteStream::~OPlatformByteStream() {
  Close();
  delete impl_;
}

bool OPlatformByteStream::IsOpen() const { return impl_->fd >= 0; }

bool OPlatformByteStream::WriteBlock(const void* data, std::size_t size) {
  if (!IsOpen()) return false;
  if (size == 0) return true;
  const auto* bytes = static_cast<const unsigned char*>(data);
  if (impl_->buffer_fill + size <= impl_->buffer_size) {
    std::memcpy(impl_->buffer.get() + impl_->buffer_fill, bytes, size);
    impl_->buffer_fill += size;
    return true;
  }
  if (!impl_->Flush()) return false;
  if (size >= impl_->buffer_size) {
    if (!WriteFully(impl_->fd, bytes, size, impl_->flushed_position)) {
      impl_->failed = true;
      return false;
    }
    impl_->flushed_position += size;
    return true;
  }
  std::memcpy(impl_->buffer.get(), bytes, size);
  impl_->buffer_fill = size;
  return true;
}

bool OPlatformByteStream::SetPosition(std::uint64_t position) {
  if (!IsOpen() || position > static_cast<std::uint64_t>(INT64_MAX)) return false;
  if (!impl_->Flush()) return false;
  impl_->flushed_position = position;
  return true;
}

std::uint64_t OPlatformByteStream::GetPosition() const {
  return impl_->flushed_position + impl_->buffer_fill;
}

bool OPlatformByteStream::Flush() { return IsOpen() && impl_->Flush(); }

bool OPlatformByteStream::Close() {
  if (!IsOpen()) return !impl_->failed;
  impl_->Flush();
  if (::close(impl_->fd) != 0) impl_->failed = true;
  impl_->fd = -1;
  return !impl_->failed;
}

bool OPlatformByteStream::HasFailed() const { return impl_->failed; }

}  // namespace filesupport
}  // namespace basalt
