// The one way ddhost writes a file: the content goes to a temporary file in the target's
// folder, which is renamed onto the target only when everything was written. A failure, an
// early return or a terminating signal removes the temporary file, so the target is either
// the complete new file or untouched.
#ifndef DDHOST_OUTPUT_FILE_H
#define DDHOST_OUTPUT_FILE_H

#include <memory>
#include <string>

namespace ddhost {

class OutputFile {
 public:
  // Refuses a target that exists but is not a regular file (a device, a folder, a pipe), a
  // folder that does not exist or cannot be written. `error` says which.
  static std::unique_ptr<OutputFile> Create(const std::string& target, std::string& error);
  ~OutputFile();  // removes the temporary file unless Commit succeeded
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  const std::string& Target() const { return target_; }
  const std::string& TemporaryPath() const { return temporary_; }
  int Descriptor() const { return fd_; }  // open for writing, owned by this object

  // Flushes to disk, closes and renames onto the target.
  bool Commit(std::string& error);

 private:
  OutputFile(std::string target, std::string temporary, int fd, int signalSlot);
  void Discard();

  std::string target_;
  std::string temporary_;
  int fd_;
  int signalSlot_;
  bool committed_ = false;
};

}  // namespace ddhost

#endif  // DDHOST_OUTPUT_FILE_H
