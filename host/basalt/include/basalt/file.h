// Files, folders and buffered byte streams over them. Paths are UTF-16 host strings.
#ifndef BASALT_FILE_H
#define BASALT_FILE_H

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "basalt/string.h"

namespace basalt {
namespace filesupport {

constexpr std::size_t kDefaultStreamBuffer = 0x200000;  // 2 MiB

class Dir {
 public:
  explicit Dir(const UTF16String& path);
  bool Exists() const;
  bool Create() const;  // creates missing parents too
  const UTF16String& GetPath() const { return path_; }

 private:
  UTF16String path_;
};

class File {
 public:
  explicit File(const UTF16String& path);
  bool Exists() const;          // a regular file
  std::uint64_t GetSize() const;  // 0 when absent
  bool Delete() const;
  bool Create() const;          // an empty file, replacing nothing that exists
  Dir GetParent() const;        // "." for a bare name
  UTF16String GetFullPath() const;  // absolute, normalised
  const UTF16String& GetPath() const { return path_; }

 private:
  UTF16String path_;
};

// Buffered reading. A failed open leaves IsOpen() false; every read then returns 0.
class IPlatformByteStream {
 public:
  explicit IPlatformByteStream(const File& file, std::size_t buffer_size = kDefaultStreamBuffer);
  ~IPlatformByteStream();
  IPlatformByteStream(const IPlatformByteStream&) = delete;
  IPlatformByteStream& operator=(const IPlatformByteStream&) = delete;

  bool IsOpen() const;
  // Reads up to `size` bytes; returns the count read (short at end of file or on error).
  std::size_t ReadBlock(void* destination, std::size_t size);
  bool SetPosition(std::uint64_t position);
  bool Skip(std::int64_t offset);
  std::uint64_t GetPosition() const;
  std::uint64_t GetSize() const;
  bool AtEnd() const;
  void Close();

 private:
  struct Impl;
  Impl* impl_;
};

// Buffered writing. Close() (also run by the destructor) flushes.
class OPlatformByteStream {
 public:
  explicit OPlatformByteStream(const File& file, std::size_t buffer_size = kDefaultStreamBuffer);
  ~OPlatformByteStream();
  OPlatformByteStream(const OPlatformByteStream&) = delete;
  OPlatformByteStream& operator=(const OPlatformByteStream&) = delete;

  bool IsOpen() const;
  bool WriteBlock(const void* data, std::size_t size);
  bool SetPosition(std::uint64_t position);  // flushes first
  std::uint64_t GetPosition() const;
  bool Flush();
  bool Close();
  bool HasFailed() const;  // a write, seek or flush failed

 private:
  struct Impl;
  Impl* impl_;
};

}  // namespace filesupport
}  // namespace basalt

#endif  // BASALT_FILE_H
