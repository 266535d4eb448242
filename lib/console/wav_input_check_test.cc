#include "console/wav_input_check.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "temp_dir.h"

namespace dolbydigital {
namespace {

// A WAV file with the given format fields and `dataBytes` bytes of silence.
class WavInputCheckTest : public ::testing::Test {
 protected:
  WavInputCheck Check(std::uint16_t tag, std::uint16_t channels, std::uint32_t rate,
                      std::uint16_t bits, std::uint32_t dataBytes = 4096) {
    std::vector<std::uint8_t> b;
    auto put = [&b](std::uint32_t v, int n) {
      for (int i = 0; i < n; ++i) b.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
    };
    for (const char* t : {"RIFF", "\0\0\0\0", "WAVE", "fmt "}) b.insert(b.end(), t, t + 4);
    put(16, 4), put(tag, 2), put(channels, 2), put(rate, 4), put(0, 4), put(0, 2), put(bits, 2);
    b.insert(b.end(), {'d', 'a', 't', 'a'});
    put(dataBytes, 4);
    b.resize(b.size() + dataBytes, 0);
    const std::string path = dir_.File("x.wav");
    std::FILE* f = std::fopen(path.c_str(), "wb");
    std::fwrite(b.data(), 1, b.size(), f);
    std::fclose(f);
    WavReader reader(basalt::UTF8to16(path.c_str()));
    return CheckWavInput(reader);
  }
  ddtest::TempDir dir_{"wav_input_check"};
};

TEST_F(WavInputCheckTest, ReadableFormatsPass) {
  EXPECT_TRUE(Check(1, 2, 48000, 16).Usable());
  EXPECT_TRUE(Check(3, 6, 44100, 32).Usable());
  const WavInputCheck pcm24 = Check(1, 1, 48000, 24);
  EXPECT_TRUE(pcm24.Usable());
  ASSERT_EQ(pcm24.warnings.size(), 1u);  // the reader's message, and that it reads on
  EXPECT_NE(pcm24.warnings[0].find("Only 16bit PCM or 32bit Float supported"), std::string::npos);
}

TEST_F(WavInputCheckTest, AnEmptyRecordingEncodesButDamagedDataDoesNot) {
  const WavInputCheck empty = Check(1, 2, 48000, 16, 0);
  EXPECT_TRUE(empty.Usable());
  ASSERT_EQ(empty.warnings.size(), 1u);
  EXPECT_NE(empty.warnings[0].find("no audio"), std::string::npos);
  EXPECT_FALSE(Check(1, 2, 48000, 16, 2).Usable());  // half a frame
}

TEST_F(WavInputCheckTest, SamplesTheReaderWouldMisreadAreRefused) {
  EXPECT_FALSE(Check(1, 2, 48000, 8).Usable());
  EXPECT_FALSE(Check(1, 2, 48000, 32).Usable());  // integer bits would be taken for floats
  EXPECT_FALSE(Check(3, 2, 48000, 64).Usable());
  EXPECT_FALSE(Check(0x55, 2, 48000, 16).Usable());
}

TEST_F(WavInputCheckTest, AbsurdHeadersAreRefusedBeforeAnythingIsAllocated) {
  EXPECT_FALSE(Check(1, 0, 48000, 16).Usable());
  EXPECT_FALSE(Check(1, 65535, 48000, 16).Usable());
  EXPECT_FALSE(Check(1, 2, 1, 16).Usable());
  EXPECT_FALSE(Check(1, 2, 4000000000u, 16).Usable());
}

}  // namespace
}  // namespace dolbydigital
