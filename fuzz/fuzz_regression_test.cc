// Replays every input the decoder fuzzer once failed on (fuzz/regressions). Each must run to
// its end; with the sanitizers on, the fault it once caused would abort the test.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "decode_arbitrary_bytes.h"

TEST(FuzzRegressions, EverySavedInputDecodesToItsEnd) {
  int replayed = 0;
  for (const auto& entry : std::filesystem::directory_iterator(DD_FUZZ_REGRESSIONS)) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(file)),
                                          std::istreambuf_iterator<char>());
    SCOPED_TRACE(entry.path().filename().string());
    ddfuzz::DecodeArbitraryBytes(bytes.data(), bytes.size());
    ++replayed;
  }
  EXPECT_GT(replayed, 0);
}
