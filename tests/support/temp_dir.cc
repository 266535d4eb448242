#include "temp_dir.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>

namespace ddtest {

TempDir::TempDir(const std::string& prefix) {
  const char* base = std::getenv("TMPDIR");
  std::string safe = prefix;
  for (char& c : safe) {
    if (!std::isalnum(static_cast<unsigned char>(c)) && c != '-') c = '_';
  }
  std::string pattern =
      std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/" + safe + "-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) {
    ADD_FAILURE() << "cannot create a temporary directory from " << pattern;
  }
  path_ = pattern;
}

TempDir::~TempDir() {
  if (std::getenv("DD_KEEP_TEMP") != nullptr) return;
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

TempDir& TestTempDir() {
  // One directory per test, removed when the next test asks for its own (and at exit).
  static std::unique_ptr<TempDir> current;
  static std::string owner;
  const ::testing::TestInfo* test = ::testing::UnitTest::GetInstance()->current_test_info();
  const std::string name =
      test != nullptr ? std::string(test->test_suite_name()) + "." + test->name() : "ddtest";
  if (current == nullptr || owner != name) {
    current.reset();
    current = std::make_unique<TempDir>(name);
    owner = name;
  }
  return *current;
}

}  // namespace ddtest
