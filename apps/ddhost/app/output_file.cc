#include "output_file.h"

#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "signal_cleanup.h"

namespace ddhost {
namespace {

std::string FolderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string NameOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// A symbolic link to a regular file is followed, so that the new content replaces the file
// the link names and the link itself stays.
bool ResolveTarget(const std::string& path, std::string& resolved, std::string& error) {
  struct stat info;
  if (stat(path.c_str(), &info) != 0) {
    if (errno != ENOENT) return error = path + ": " + std::strerror(errno), false;
    resolved = path;
    return true;
  }
  if (!S_ISREG(info.st_mode))
    return error = path + " exists and is not a regular file; it is left as it is", false;
  char real[PATH_MAX];
  resolved = realpath(path.c_str(), real) ? std::string(real) : path;
  return true;
}

bool CheckFolder(const std::string& folder, std::string& error) {
  struct stat info;
  if (stat(folder.c_str(), &info) != 0)
    return error = "the folder " + folder + " does not exist", false;
  if (!S_ISDIR(info.st_mode)) return error = folder + " is not a folder", false;
  return true;
}

mode_t CreationMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

std::unique_ptr<OutputFile> OutputFile::Create(const std::string& target, std::string& error) {
  std::string resolved;
  if (!ResolveTarget(target, resolved, error)) return nullptr;
  const std::string folder = FolderOf(resolved);
  if (!CheckFolder(folder, error)) return nullptr;
  std::string pattern = folder + "/." + NameOf(resolved) + ".partial-XXXXXX";
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  InstallSignalCleanup();
  const int fd = mkostemp(name.data(), O_CLOEXEC);
  if (fd < 0) {
    error = "cannot create a file in " + folder + ": " + std::strerror(errno);
    return nullptr;
  }
  const std::string temporary(name.data());
  const int slot = RemoveOnSignal(temporary);
  fchmod(fd, CreationMode());
  return std::unique_ptr<OutputFile>(new OutputFile(resolved, temporary, fd, slot));
}

OutputFile::OutputFile(std::string target, std::string temporary, int fd, int signalSlot)
    : target_(std::move(target)), temporary_(std::move(temporary)), fd_(fd), signalSlot_(signalSlot) {}

OutputFile::~OutputFile() {
  if (!committed_) Discard();
}

void OutputFile::Discard() {
  if (fd_ >= 0) close(fd_);
  fd_ = -1;
  unlink(temporary_.c_str());
  ForgetOnSignal(signalSlot_);
}

bool OutputFile::Commit(std::string& error) {
  if (fd_ < 0) return error = "the output was already closed", false;
  if (fsync(fd_) != 0 || close(fd_) != 0) {
    error = "cannot write " + target_ + ": " + std::strerror(errno);
    fd_ = -1;
    Discard();
    return false;
  }
  fd_ = -1;
  if (rename(temporary_.c_str(), target_.c_str()) != 0) {
    error = "cannot write " + target_ + ": " + std::strerror(errno);
    Discard();
    return false;
  }
  committed_ = true;
  ForgetOnSignal(signalSlot_);
  return true;
}

}  // namespace ddhost
