#include "console/wav_input_check.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "temp_dir.h"
#include "wav_image.h"

namespace dolbydigital {
namespace {

using ddtest::WavImage;
constexpr std::uint64_t kFourGiB = std::uint64_t{1} << 32;

class WavInputCheckTest : public ::testing::Test {
 protected:
  // The warnings for `wav`, its file grown (sparse) to `fileSize` bytes when that is given.
  std::vector<std::string> Check(const WavImage& wav, std::uint64_t fileSize = 0) {
    const std::string path = dir_.File("in.wav");
    EXPECT_TRUE(wav.Write(path));
    if (fileSize) {
      EXPECT_EQ(truncate(path.c_str(), static_cast<off_t>(fileSize)), 0);
    }
    const WavReader reader(basalt::UTF8to16(path.c_str()));
    return CheckWavInput(reader);
  }
  static WavImage Stereo16(std::size_t frames) {
    WavImage wav;
    wav.data.assign(frames * 4, 0);
    return wav;
  }
  static std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const auto& line : lines) text += line + "\n";
    return text;
  }
  ddtest::TempDir dir_{"wav_input_check"};
};

TEST_F(WavInputCheckTest, FilesReadAsWhatTheyAreDrawNoWarning) {
  EXPECT_TRUE(Check(Stereo16(4800)).empty());
  WavImage float51;
  float51.tag = 0xFFFE, float51.channels = 6, float51.bits = 32, float51.mask = 0x3F;
  float51.floatSubFormat = true;
  float51.data.assign(6 * 4 * 100, 0);
  EXPECT_TRUE(Check(float51).empty());
  WavImage pcm24 = Stereo16(0);
  pcm24.tag = 0xFFFE, pcm24.bits = 24, pcm24.mask = 0x3;
  pcm24.data.assign(6 * 100, 0);
  EXPECT_TRUE(Check(pcm24).empty());
  WavImage trailing = Stereo16(100);  // a chunk after the audio is no disagreement
  const auto list = WavImage::Chunk("LIST", std::vector<std::uint8_t>(10, 'x'));
  trailing.data.insert(trailing.data.end(), list.begin(), list.end());
  trailing.declared = 400;
  EXPECT_TRUE(Check(trailing).empty());
}

TEST_F(WavInputCheckTest, SamplesReadAsSomethingElseAreNamed) {
  WavImage int32 = Stereo16(0);
  int32.bits = 32;
  int32.data.assign(8 * 100, 0);
  EXPECT_EQ(Joined(Check(int32)),
            "the samples are 32-bit integers; this command takes their bits as 32-bit float "
            "unchanged (it does not convert them), so the stream holds noise, not the recording\n");
  WavImage pcm8 = Stereo16(100);
  pcm8.bits = 8;
  EXPECT_EQ(Joined(Check(pcm8)),
            "header: \"Only 16bit PCM or 32bit Float supported\"; its 8-bit samples are read as "
            "16-bit integer samples all the same, so the stream holds noise, not the recording\n");
  WavImage pcm24 = Stereo16(0);
  pcm24.bits = 24;
  pcm24.data.assign(6 * 100, 0);
  EXPECT_EQ(Joined(Check(pcm24)),
            "header: \"Only 16bit PCM or 32bit Float supported\"; its 24-bit samples are read as "
            "24-bit integer samples all the same\n");
  WavImage float64 = Stereo16(100);
  float64.tag = 3, float64.bits = 64;
  EXPECT_EQ(Joined(Check(float64)),
            "the samples are 64-bit float; they are read as 16-bit integer samples, so the stream "
            "holds noise, not the recording\n");
}

TEST_F(WavInputCheckTest, OtherRatesAreEncodedAsTheyAre) {
  WavImage wav = Stereo16(44100);
  wav.rate = 44100;
  EXPECT_EQ(Joined(Check(wav)),
            "the file is sampled at 44100 Hz; this command does not resample: its samples go into "
            "a 48000 Hz stream as they are, which plays 1.088 times as fast and pitched "
            "accordingly (0.919 s instead of 1.000 s)\n");
}

// Files over 4 GiB, made sparse: their sizes cannot be said in the data chunk's 32 bits.
TEST_F(WavInputCheckTest, DataSizesThatDisagreeWithTheFileSayWhatIsEncoded) {
  const std::uint64_t header = 44;
  WavImage wrapped = Stereo16(48000);  // 4 GiB + 1 s of audio, the size wrapped to 1 s
  EXPECT_EQ(Joined(Check(wrapped, header + kFourGiB + 192000)),
            "the file holds 4295159296 bytes of audio (about 22370.621 s) but its data chunk "
            "declares 192000 bytes (a 32-bit size that wrapped past 4 GiB): only the first "
            "1.000 s are encoded\n");

  WavImage saturated = Stereo16(0);
  saturated.declared = 0xFFFFFFFF;
  EXPECT_EQ(Joined(Check(saturated, header + kFourGiB + 192000)),
            "the file holds 4295159296 bytes of audio (about 22370.621 s) but its data chunk "
            "declares 4294967295 bytes (a size of 0xFFFFFFFF: the writer could not say the length "
            "of a file over 4 GiB): only the first 22369.621 s are encoded\n");

  WavImage rf64 = saturated;
  rf64.riff = "RF64";
  rf64.before = WavImage::Chunk("ds64", std::vector<std::uint8_t>(28, 0));
  EXPECT_EQ(Joined(Check(rf64, header + 36 + kFourGiB + 192000)),
            "the file holds 4295159296 bytes of audio (about 22370.621 s) but its data chunk "
            "declares 4294967295 bytes (an RF64 file: its real sizes are in a \"ds64\" chunk this "
            "command does not read): only the first 22369.621 s are encoded\n");

  WavImage cut = Stereo16(48000);
  cut.declared = 4 * 96000;
  EXPECT_EQ(Joined(Check(cut)),
            "the data chunk declares 384000 bytes (2.000 s) but the file holds only 192000 "
            "(1.000 s): 1.000 s are encoded\n");
}

TEST_F(WavInputCheckTest, HeaderMessagesAreRepeatedWithWhatIsReadAllTheSame) {
  WavImage odd = Stereo16(100);
  odd.form = "AVI ";
  odd.tag = 2;
  odd.between = WavImage::Chunk("LIST", std::vector<std::uint8_t>(40, 0));
  EXPECT_EQ(Joined(Check(odd)),
            "header: \"Not a wave file\" (its form type is \"AVI \"); the file is read as a WAV "
            "file all the same\n"
            "header: \"Unknown format\" (format tag 0x0002 is neither integer PCM nor IEEE float); "
            "its data is read as 16-bit integer samples all the same, so the stream holds "
            "whatever those bytes give\n"
            "header: \"Data chunk missing\" (a \"LIST\" chunk follows the \"fmt \" chunk where "
            "\"data\" belongs); the \"LIST\" chunk's size (40 bytes) is taken as the length of "
            "the audio and its bytes as samples: the stream holds those 10 frames (0.000 s) and "
            "none of the file's real audio\n");
  WavImage noFormat;
  const std::string path = dir_.File("garbage.wav");
  ASSERT_TRUE(noFormat.Write(path));
  ASSERT_EQ(truncate(path.c_str(), 10), 0);
  const WavReader reader(basalt::UTF8to16(path.c_str()));
  EXPECT_EQ(Joined(CheckWavInput(reader)),
            "header: \"Not a wave file\" (its form type is \"WA??\"); the file is read as a WAV "
            "file all the same\n"
            "the file has no \"fmt \" chunk: nothing in it is read as audio, and the stream holds "
            "only the encoder's silence\n");
}

}  // namespace
}  // namespace dolbydigital
