// A private temporary directory, removed with its files when the object goes away (kept when
// the environment sets DD_KEEP_TEMP, for looking at a failing test's files).
#ifndef DD_TESTS_SUPPORT_TEMP_DIR_H
#define DD_TESTS_SUPPORT_TEMP_DIR_H

#include <string>

namespace ddtest {

class TempDir {
 public:
  // prefix names the directory (e.g. the test's name); created under $TMPDIR or /tmp.
  explicit TempDir(const std::string& prefix = "ddtest");
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return path_; }
  std::string File(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

// A TempDir named after the running GoogleTest test.
TempDir& TestTempDir();

}  // namespace ddtest

#endif  // DD_TESTS_SUPPORT_TEMP_DIR_H
