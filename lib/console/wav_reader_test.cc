#include "console/wav_reader.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "temp_dir.h"

namespace dolbydigital {
namespace {

using Bytes = std::vector<std::uint8_t>;

void Put(Bytes& b, std::uint32_t v, int n) {
  for (int i = 0; i < n; ++i) b.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}
void Tag(Bytes& b, const char* t) { b.insert(b.end(), t, t + 4); }

// A WAV image: "fmt " of 16 or 18 bytes (or the given extensible body), optional chunks
// before "fmt " and between "fmt " and "data", and the data with a declared size.
struct WavImage {
  std::uint16_t tag = 1, channels = 2, bits = 16;
  std::uint32_t rate = 48000;
  const char* form = "WAVE";
  Bytes extensible;  // the 22 bytes after cbSize
  Bytes before, between, data;
  long declared = -1;  // data size field; -1: the data's size

  Bytes Build() const {
    Bytes b;
    Tag(b, "RIFF");
    Put(b, 0, 4);
    Tag(b, form);
    b.insert(b.end(), before.begin(), before.end());
    Tag(b, "fmt ");
    Put(b, extensible.empty() ? 16 : 40, 4);
    Put(b, tag, 2);
    Put(b, channels, 2);
    Put(b, rate, 4);
    Put(b, rate * channels * bits / 8, 4);
    Put(b, channels * bits / 8, 2);
    Put(b, bits, 2);
    if (!extensible.empty()) {
      Put(b, 22, 2);
      b.insert(b.end(), extensible.begin(), extensible.end());
    }
    b.insert(b.end(), between.begin(), between.end());
    Tag(b, "data");
    Put(b, declared < 0 ? data.size() : static_cast<std::uint32_t>(declared), 4);
    b.insert(b.end(), data.begin(), data.end());
    return b;
  }
};

Bytes ExtensibleBody(std::uint32_t mask, bool isFloat) {
  Bytes b;
  Put(b, 0, 2);
  Put(b, mask, 4);
  const std::uint8_t guid[16] = {isFloat ? std::uint8_t{3} : std::uint8_t{1},
                                 0,
                                 0,
                                 0,
                                 0,
                                 0,
                                 0x10,
                                 0,
                                 0x80,
                                 0,
                                 0,
                                 0xAA,
                                 0,
                                 0x38,
                                 0x9B,
                                 0x71};
  b.insert(b.end(), guid, guid + 16);
  return b;
}

class WavReaderTest : public ::testing::Test {
 protected:
  UTF16String Write(const Bytes& bytes, const char* name = "in.wav") {
    const std::string path = dir_.File(name);
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!bytes.empty()) std::fwrite(bytes.data(), 1, bytes.size(), f);
    std::fclose(f);
    return basalt::UTF8to16(path.c_str());
  }
  std::vector<std::vector<float>> ReadAll(WavReader& reader) {
    std::vector<std::vector<float>> planes(reader.GetChannelCount(),
                                           std::vector<float>(reader.GetFrameCount() + 4, -9.0f));
    std::vector<float*> pointers;
    for (auto& p : planes) pointers.push_back(p.data());
    const std::size_t got = reader.ReadFrames(pointers.data(), reader.GetFrameCount() + 4);
    for (auto& p : planes) p.resize(got);
    return planes;
  }
  ddtest::TempDir dir_{"wav_reader"};
};

TEST_F(WavReaderTest, Reads16BitStereoIntoPlanarFloat) {
  WavImage wav;
  for (int v : {0, 16384, -32768, 32767, 1, -1}) Put(wav.data, static_cast<std::uint16_t>(v), 2);
  WavReader reader(Write(wav.Build()));
  ASSERT_TRUE(reader.IsOpen());
  EXPECT_TRUE(reader.HeaderMessages().empty());
  EXPECT_EQ(reader.GetChannelCount(), 2);
  EXPECT_EQ(reader.GetSampleRate(), 48000u);
  EXPECT_EQ(reader.GetChannelLayout(), tidemark::CreateStereoChannelLayout());
  EXPECT_EQ(reader.GetFrameCount(), 3u);
  const auto planes = ReadAll(reader);
  EXPECT_EQ(planes[0], (std::vector<float>{0.0f, -1.0f, 1.0f / 32768}));
  EXPECT_EQ(planes[1], (std::vector<float>{0.5f, 32767.0f / 32768, -1.0f / 32768}));
}

TEST_F(WavReaderTest, Reads24BitAlthoughTheMessageNamesOnly16And32) {
  WavImage wav;
  wav.channels = 1;
  wav.bits = 24;
  for (std::uint32_t v : {0x400000u, 0x800000u, 0xFFFFFFu}) Put(wav.data, v, 3);
  WavReader reader(Write(wav.Build()));
  EXPECT_EQ(reader.HeaderMessages(),
            std::vector<std::string>{"Only 16bit PCM or 32bit Float supported"});
  EXPECT_EQ(reader.GetChannelLayout(), tidemark::CreateMonoChannelLayout());
  const auto planes = ReadAll(reader);
  EXPECT_EQ(planes[0], (std::vector<float>{0.5f, -1.0f, -1.0f / 8388608}));
}

TEST_F(WavReaderTest, FloatDataPlainAndExtensible) {
  WavImage plain;
  plain.tag = 3;
  plain.channels = 1;
  plain.bits = 32;
  const float values[] = {0.25f, -2.5f};
  for (float v : values) {
    std::uint32_t bits;
    std::memcpy(&bits, &v, 4);
    Put(plain.data, bits, 4);
  }
  WavReader reader(Write(plain.Build()));
  EXPECT_TRUE(reader.HeaderMessages().empty());
  EXPECT_TRUE(reader.IsFloatData());
  EXPECT_EQ(ReadAll(reader)[0], (std::vector<float>{0.25f, -2.5f}));  // taken as they are

  WavImage extensible = plain;
  extensible.tag = 0xFFFE;
  extensible.extensible = ExtensibleBody(0x4, true);
  WavReader ext(Write(extensible.Build(), "ext.wav"));
  EXPECT_TRUE(ext.HeaderMessages().empty());
  EXPECT_TRUE(ext.IsFloatData());
  EXPECT_EQ(ext.GetChannelMask(), 0x4u);
  EXPECT_EQ(ReadAll(ext)[0], (std::vector<float>{0.25f, -2.5f}));
}

TEST_F(WavReaderTest, TheSampleSizeCheckPassesExtensiblePcmOfAnySizeButNotExtensibleFloat) {
  // The kind flag is set for an extensible PCM sub-format and cleared for the float one, so
  // 24-bit extensible PCM raises no message while 24-bit extensible float does.
  WavImage pcm;
  pcm.tag = 0xFFFE;
  pcm.channels = 1;
  pcm.bits = 24;
  pcm.extensible = ExtensibleBody(0x4, false);
  Put(pcm.data, 0x400000, 3);
  WavReader reader(Write(pcm.Build()));
  EXPECT_TRUE(reader.HeaderMessages().empty());
  EXPECT_EQ(ReadAll(reader)[0], std::vector<float>{0.5f});

  WavImage flt = pcm;
  flt.extensible = ExtensibleBody(0x4, true);
  WavReader floatReader(Write(flt.Build(), "float24.wav"));
  EXPECT_EQ(floatReader.HeaderMessages(),
            std::vector<std::string>{"Only 16bit PCM or 32bit Float supported"});
}

TEST_F(WavReaderTest, ChannelCountsOtherThanOneOrTwoGetTheBroadcast51Layout) {
  WavImage wav;
  wav.channels = 3;
  wav.data.assign(6, 0);  // one frame of three 16-bit samples
  WavReader reader(Write(wav.Build()));
  EXPECT_EQ(reader.GetChannelCount(), 3);
  EXPECT_EQ(reader.GetChannelLayout(), tidemark::CreateBroadcast51ChannelLayout());
  EXPECT_EQ(reader.GetFrameCount(), 1u);
}

TEST_F(WavReaderTest, ChunksBeforeFmtAreSkippedWithoutPadBytes) {
  WavImage wav;
  Tag(wav.before, "JUNK");
  Put(wav.before, 3, 4);
  Put(wav.before, 0xABCDEF, 3);  // odd size, no pad byte follows
  Put(wav.data, 0x1234, 2);
  Put(wav.data, 0x5678, 2);
  WavReader reader(Write(wav.Build()));
  EXPECT_TRUE(reader.HeaderMessages().empty());
  EXPECT_EQ(reader.GetFrameCount(), 1u);
}

TEST_F(WavReaderTest, AChunkBetweenFmtAndDataIsReadAsIfItWereTheData) {
  WavImage wav;
  Tag(wav.between, "LIST");
  Put(wav.between, 4, 4);
  Put(wav.between, 0x7FFF7FFF, 4);
  Put(wav.data, 0, 4);
  WavReader reader(Write(wav.Build()));
  EXPECT_EQ(reader.HeaderMessages(), std::vector<std::string>{"Data chunk missing"});
  EXPECT_EQ(reader.GetChunkIdAfterFormat(), "LIST");
  EXPECT_EQ(reader.GetDataLength(), 4u);
  const auto planes = ReadAll(reader);  // reading goes on with the LIST chunk's bytes
  ASSERT_EQ(planes[0].size(), 1u);
  EXPECT_EQ(planes[0][0], 32767.0f / 32768);
}

TEST_F(WavReaderTest, HeaderProblemsAreNotedAndReadingGoesOn) {
  WavImage wav;
  wav.form = "AVI ";
  wav.tag = 2;  // ADPCM
  wav.bits = 8;
  Put(wav.data, 0, 4);
  WavReader reader(Write(wav.Build()));
  EXPECT_EQ(reader.HeaderMessages(),
            (std::vector<std::string>{"Not a wave file", "Unknown format",
                                      "Only 16bit PCM or 32bit Float supported"}));
  EXPECT_EQ(reader.GetChannelCount(), 2);
  EXPECT_EQ(reader.GetDataLength(), 4u);
}

TEST_F(WavReaderTest, DataBeyondTheEndOfTheFileIsClampedToWhatIsThere) {
  WavImage wav;
  for (int i = 0; i < 10; ++i) Put(wav.data, 100 * i, 2);
  wav.declared = 0x7FFFFFF0;
  WavReader reader(Write(wav.Build()));
  EXPECT_EQ(reader.GetDataLength(), 0x7FFFFFF0u);
  EXPECT_EQ(reader.GetAvailableDataLength(), 20u);
  EXPECT_EQ(reader.GetFrameCount(), 5u);
  EXPECT_EQ(ReadAll(reader)[1].size(), 5u);

  WavImage cut = wav;  // a frame cut in half at the end
  cut.data.resize(7);
  cut.declared = 8;
  WavReader truncated(Write(cut.Build(), "cut.wav"));
  EXPECT_EQ(truncated.GetFrameCount(), 1u);
}

TEST_F(WavReaderTest, GarbageAndMissingFilesEndWithoutHanging) {
  Bytes garbage;
  for (int i = 0; i < 5000; ++i) garbage.push_back(static_cast<std::uint8_t>(i * 7919));
  WavReader reader(Write(garbage));
  EXPECT_TRUE(reader.IsOpen());
  EXPECT_FALSE(reader.HasFormatChunk());
  EXPECT_EQ(reader.GetFrameCount(), 0u);

  WavReader empty(Write(Bytes(), "empty.wav"));
  EXPECT_FALSE(empty.HasFormatChunk());

  WavReader missingFolder(basalt::UTF8to16((dir_.path() + "/no/such/folder/x.wav").c_str()));
  EXPECT_FALSE(missingFolder.IsOpen());
  WavReader missingFile(basalt::UTF8to16(dir_.File("absent.wav").c_str()));
  EXPECT_FALSE(missingFile.IsOpen());
}

}  // namespace
}  // namespace dolbydigital
