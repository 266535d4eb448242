// Replays every input a fuzz target once failed on (fuzz/regressions/<target>/) through the
// target's harness. Each must run to its end: the fault it once caused, a broken promise or
// (with the sanitizers on) a memory error, aborts the test.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <system_error>
#include <vector>

#include "fuzz_harnesses.h"

namespace ddfuzz {
// Names the target in test output.
void PrintTo(const FuzzTarget& target, std::ostream* out) { *out << target.name; }
}  // namespace ddfuzz

namespace {

class FuzzRegressions : public testing::TestWithParam<ddfuzz::FuzzTarget> {};

TEST_P(FuzzRegressions, EverySavedInputRunsToItsEnd) {
  const std::filesystem::path folder = std::filesystem::path(DD_FUZZ_REGRESSIONS) / GetParam().name;
  int replayed = 0;
  std::error_code noFolder;  // a target without saved inputs has no folder
  for (const auto& entry : std::filesystem::directory_iterator(folder, noFolder)) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(file)),
                                          std::istreambuf_iterator<char>());
    SCOPED_TRACE(entry.path().filename().string());
    GetParam().harness(bytes.data(), bytes.size());
    ++replayed;
  }
  if (replayed == 0) GTEST_SKIP() << "nothing saved for this target";
}

INSTANTIATE_TEST_SUITE_P(Targets, FuzzRegressions, testing::ValuesIn(ddfuzz::kFuzzTargets),
                         [](const testing::TestParamInfo<ddfuzz::FuzzTarget>& info) {
                           return std::string(info.param.name);
                         });

}  // namespace
