// A configuration file's settings reach the stream: read back from the stream itself.
#include <gtest/gtest.h>

#include <algorithm>

#include "dd_test_support.h"
#include "ddhost_run.h"

namespace ddtest {
namespace {

constexpr std::size_t kFrames = 48000;

class Configuration : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(
        WriteWav(dir_.File("in.wav"), SpeechForLayout(7, true, kFrames), WavFormat::kFloat32));
  }

  // Encodes in.wav with `json`; returns the stream's frames.
  std::vector<ddpi::bitstream::FrameInfo> Encode(const std::string& json, const std::string& out) {
    WriteText(dir_.File("settings.json"), json);
    const ProcessResult run =
        RunEncode(dir_.File("in.wav"), dir_.File(out), dir_.File("settings.json"));
    EXPECT_EQ(run.exit_code, 0) << run.stderr_text;
    EXPECT_EQ(run.stderr_text, "");
    const DecodeResult decoded = DecodeFile(dir_.File(out));
    EXPECT_TRUE(decoded.Clean()) << decoded.stderr_text;
    return ReadFrameInfos(dir_.File(out));
  }

  TempDir dir_{"configuration"};
};

TEST_F(Configuration, SettingsReachTheStream) {
  const std::string settings =
      "{\"CodecMode\": 0, \"ChannelConfiguration\": 7, \"EnableLFE\": 1, \"DataRate\": 384,"
      " \"DialNorm\": -20, \"LtRt_CenterMixLevel\": 3, \"LtRt_SurroundMixLevel\": 6,"
      " \"LoRo_CenterMixLevel\": 5, \"LoRo_SurroundMixLevel\": 7, \"StereoDownmixPreference\": 2,"
      " \"DynamicRangeControlLineMode\": 5, \"DynamicRangeControlRFMode\": 5}";
  const auto frames = Encode(settings, "set.ec3");
  ASSERT_FALSE(frames.empty());
  EXPECT_EQ(ProbeFile(dir_.File("set.ec3")).bit_rate, 384000);
  const ddpi::bitstream::FrameInfo& first = frames.front();
  EXPECT_TRUE(first.header.IsEac3());
  EXPECT_EQ(first.header.acmod, 7);
  EXPECT_EQ(first.header.lfeon, 1);
  EXPECT_EQ(first.dialnorm, 20);
  EXPECT_EQ(first.ltrtcmixlev, 3);
  EXPECT_EQ(first.ltrtsurmixlev, 6);
  EXPECT_EQ(first.lorocmixlev, 5);
  EXPECT_EQ(first.lorosurmixlev, 7);
  EXPECT_EQ(first.dmixmod, 2);
  // The speech profile compresses speech: some frame carries a gain other than 0 dB.
  EXPECT_TRUE(std::any_of(frames.begin(), frames.end(),
                          [](const auto& f) { return f.compre && f.compr != 0; }));
}

TEST_F(Configuration, DolbyDigitalCarriesDataRateAndDialogueLevel) {
  const auto frames = Encode(
      "{\"CodecMode\": 1, \"ChannelConfiguration\": 7, \"DataRate\": 448, \"DialNorm\": -27}",
      "set.ac3");
  ASSERT_FALSE(frames.empty());
  EXPECT_FALSE(frames.front().header.IsEac3());
  EXPECT_EQ(frames.front().header.frmsizecod / 2, 15);  // 448 kbps
  EXPECT_EQ(frames.front().dialnorm, 27);
}

TEST_F(Configuration, WithoutDynamicRangeProfilesNoGainIsSent) {
  const auto frames = Encode(
      "{\"CodecMode\": 1, \"ChannelConfiguration\": 7, \"DynamicRangeControlLineMode\": 0,"
      " \"DynamicRangeControlRFMode\": 0}",
      "none.ac3");
  ASSERT_FALSE(frames.empty());
  for (const auto& f : frames) {
    EXPECT_TRUE(f.compre == 0 || f.compr == 0);
    EXPECT_TRUE(f.dynrng0 <= 0);
  }
}

}  // namespace
}  // namespace ddtest
