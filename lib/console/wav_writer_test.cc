#include "console/wav_writer.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "console/wav_reader.h"
#include "temp_dir.h"

namespace dolbydigital {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes ReadFile(const std::string& path) {
  Bytes bytes;
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) return bytes;
  for (int c; (c = std::fgetc(f)) != EOF;) bytes.push_back(static_cast<std::uint8_t>(c));
  std::fclose(f);
  return bytes;
}

std::uint32_t U32(const Bytes& b, std::size_t at) {
  return b[at] | (b[at + 1] << 8) | (b[at + 2] << 16) |
         (static_cast<std::uint32_t>(b[at + 3]) << 24);
}
std::uint16_t U16(const Bytes& b, std::size_t at) {
  return static_cast<std::uint16_t>(b[at] | (b[at + 1] << 8));
}

class WavWriterTest : public ::testing::Test {
 protected:
  UTF16String Path(const char* name) const { return basalt::UTF8to16(dir_.File(name).c_str()); }
  ddtest::TempDir dir_{"wav_writer"};
};

TEST_F(WavWriterTest, StereoFloatHeaderAndSizes) {
  const float left[] = {0.5f, -0.25f, 1.5f}, right[] = {0.0f, 1.0f, -1.0f};
  const float* planes[] = {left, right};
  {
    WavWriter writer(tidemark::CreateStereoChannelLayout(), 44100, false, Path("s.wav"));
    ASSERT_TRUE(writer.IsOpen());
    ASSERT_TRUE(writer.WriteFrames(planes, 3));
    EXPECT_TRUE(writer.Finish());
  }
  const Bytes b = ReadFile(dir_.File("s.wav"));
  ASSERT_EQ(b.size(), 46u + 24u);
  EXPECT_EQ(std::string(b.begin(), b.begin() + 4), "RIFF");
  EXPECT_EQ(U32(b, 4), b.size() - 8);
  EXPECT_EQ(std::string(b.begin() + 8, b.begin() + 16), "WAVEfmt ");
  EXPECT_EQ(U32(b, 16), 18u);
  EXPECT_EQ(U16(b, 20), 3);  // IEEE float
  EXPECT_EQ(U16(b, 22), 2);
  EXPECT_EQ(U32(b, 24), 44100u);
  EXPECT_EQ(U32(b, 28), 44100u * 8);
  EXPECT_EQ(U16(b, 32), 8);
  EXPECT_EQ(U16(b, 34), 32);
  EXPECT_EQ(U16(b, 36), 0);  // cbSize, present although the format needs none
  EXPECT_EQ(std::string(b.begin() + 38, b.begin() + 42), "data");
  EXPECT_EQ(U32(b, 42), 24u);
  float first;
  std::memcpy(&first, &b[46], 4);
  EXPECT_EQ(first, 0.5f);
  float overRange;
  std::memcpy(&overRange, &b[46 + 16], 4);
  EXPECT_EQ(overRange, 1.5f);  // floats are written as they are
}

TEST_F(WavWriterTest, SixChannelsAreExtensibleWithMask3FAndValidBitsZero) {
  std::vector<float> zeros(4, 0.0f);
  std::vector<const float*> planes(6, zeros.data());
  {
    WavWriter writer(tidemark::CreateBroadcast51ChannelLayout(), 48000, true, Path("6.wav"));
    ASSERT_TRUE(writer.WriteFrames(planes.data(), 4));
  }  // the destructor finishes the file
  const Bytes b = ReadFile(dir_.File("6.wav"));
  ASSERT_EQ(b.size(), 68u + 96u);
  EXPECT_EQ(U32(b, 16), 40u);
  EXPECT_EQ(U16(b, 20), 0xFFFE);
  EXPECT_EQ(U16(b, 36), 22);
  EXPECT_EQ(U16(b, 38), 0);
  EXPECT_EQ(U32(b, 40), 0x3Fu);
  const Bytes pcmGuid = {1, 0, 0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71};
  EXPECT_EQ(Bytes(b.begin() + 44, b.begin() + 60), pcmGuid);
  EXPECT_EQ(std::string(b.begin() + 60, b.begin() + 64), "data");
  EXPECT_EQ(U32(b, 64), 96u);
  EXPECT_EQ(U32(b, 4), b.size() - 8);
}

TEST_F(WavWriterTest, IntegerSamplesScaleWithoutClipping) {
  const float samples[] = {1.0f, -1.0f, 0.5f, -0.5f, 0.0f, 2.0f, 0.999999f};
  const float* planes[] = {samples};
  {
    WavWriter writer(tidemark::CreateMonoChannelLayout(), 48000, true, Path("i.wav"));
    ASSERT_TRUE(writer.WriteFrames(planes, 7));
  }
  const Bytes b = ReadFile(dir_.File("i.wav"));
  EXPECT_EQ(U16(b, 20), 1);
  EXPECT_EQ(U32(b, 46), 0x80000000u);  // +1.0 overflows
  EXPECT_EQ(U32(b, 50), 0x80000000u);
  EXPECT_EQ(U32(b, 54), 0x40000000u);
  EXPECT_EQ(U32(b, 58), 0xC0000000u);
  EXPECT_EQ(U32(b, 62), 0u);
  EXPECT_EQ(U32(b, 66), 0x80000000u);
  EXPECT_EQ(U32(b, 70), 0x7FFFF780u);  // truncated toward zero
}

TEST_F(WavWriterTest, FloatFilesReadBackThroughTheReader) {
  std::vector<std::vector<float>> channels(6, std::vector<float>(3000));
  for (std::size_t c = 0; c < 6; ++c)
    for (std::size_t i = 0; i < 3000; ++i)
      channels[c][i] = static_cast<float>(c) * 0.1f - i * 1e-4f;
  std::vector<const float*> planes;
  for (auto& c : channels) planes.push_back(c.data());
  {
    WavWriter writer(tidemark::CreateBroadcast51ChannelLayout(), 48000, false, Path("r.wav"));
    ASSERT_TRUE(writer.WriteFrames(planes.data(), 1000));
    std::vector<const float*> rest;
    for (auto& c : channels) rest.push_back(c.data() + 1000);
    ASSERT_TRUE(writer.WriteFrames(rest.data(), 2000));
    EXPECT_EQ(writer.GetFramesWritten(), 3000u);
  }
  WavReader reader(Path("r.wav"));
  EXPECT_TRUE(reader.HeaderMessages().empty());
  EXPECT_TRUE(reader.IsFloatData());
  ASSERT_EQ(reader.GetFrameCount(), 3000u);
  std::vector<std::vector<float>> back(6, std::vector<float>(3000));
  std::vector<float*> pointers;
  for (auto& c : back) pointers.push_back(c.data());
  ASSERT_EQ(reader.ReadFrames(pointers.data(), 3000), 3000u);
  EXPECT_EQ(back, channels);
}

TEST_F(WavWriterTest, MissingFolderCreatesNothingAndExistingFilesAreReplaced) {
  WavWriter nowhere(tidemark::CreateStereoChannelLayout(), 48000, false,
                    basalt::UTF8to16((dir_.path() + "/missing/x.wav").c_str()));
  EXPECT_FALSE(nowhere.IsOpen());
  const float* planes[2] = {nullptr, nullptr};
  EXPECT_FALSE(nowhere.WriteFrames(planes, 0));

  std::FILE* f = std::fopen(dir_.File("old.wav").c_str(), "wb");
  std::fputs("a much longer old file that must not survive underneath the new one", f);
  std::fclose(f);
  { WavWriter writer(tidemark::CreateStereoChannelLayout(), 48000, false, Path("old.wav")); }
  EXPECT_EQ(ReadFile(dir_.File("old.wav")).size(), 46u);
}

}  // namespace
}  // namespace dolbydigital
