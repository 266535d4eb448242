#include "scratch_files.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace ddfuzz {
namespace {

class ScratchFolder {
 public:
  ScratchFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "ddfuzz-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
      std::perror("ddfuzz: cannot make a scratch folder");
      std::abort();
    }
    path_ = pattern;
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

const ScratchFolder& Folder() {
  static const ScratchFolder folder;
  return folder;
}

}  // namespace

std::string ScratchPath(const std::string& name) { return (Folder().path() / name).string(); }

std::string WriteScratchFile(const std::string& name, const void* data, std::size_t size) {
  const std::string path = ScratchPath(name);
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
  file.close();
  if (!file) {
    std::perror("ddfuzz: cannot write a scratch file");
    std::abort();
  }
  return path;
}

}  // namespace ddfuzz
