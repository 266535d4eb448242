#include "stream_source.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "container_reader.h"
#include "stream_reader.h"

namespace ddhost {

std::unique_ptr<StreamSource> OpenStreamSource(const std::string& path, std::string& error) {
  struct stat info;
  if (stat(path.c_str(), &info) != 0) return error = path + ": " + std::strerror(errno), nullptr;
  if (S_ISDIR(info.st_mode)) return error = path + " is a folder", nullptr;
  if (IsContainerFile(path)) return ContainerReader::Open(path, error);
  auto reader = std::make_unique<StreamReader>(path);
  if (!reader->IsOpen()) return error = "cannot open " + path, nullptr;
  return reader;
}

}  // namespace ddhost
