// A 7.1 WAV file (WAVE_FORMAT_EXTENSIBLE mask 0x63F: L R C LFE, back pair, side pair) and a
// settings file asking for configuration 21, through "ddhost encode" as a real process: FFmpeg
// decodes a 7.1 stream in which the file's side pair are the surrounds and its back pair the
// rear surrounds, every channel in place at lag 0.
#include <gtest/gtest.h>

#include <string>

#include "dd_test_support.h"
#include "ddhost_run.h"

namespace ddtest {
namespace {

constexpr std::size_t kFrames = 48000 + 555;

TEST(SevenOne, ConfigurationFileAskingForSevenOneEncodesAnEightChannelFile) {
  TempDir& dir = TestTempDir();
  // File order of mask 0x63F, with the recording that names each position.
  Planar input = LoadAlsaSpeech({"Front_Left", "Front_Right", "Front_Center"}, kFrames);
  input.channels.push_back(Sine(kFrames, 40.0, 0.2));
  for (const char* name : {"Rear_Left", "Rear_Right", "Side_Left", "Side_Right"})
    input.channels.push_back(LoadAlsaSpeech({name}, kFrames).channels[0]);
  ASSERT_TRUE(WriteWav(dir.File("in71.wav"), input, WavFormat::kPcm16, 0x63F));
  WriteText(dir.File("settings.json"),
            "{\"CodecMode\": 0, \"ChannelConfiguration\": 21, \"EnableLFE\": 1, \"DataRate\": 640}");
  const std::string out = dir.File("out71.ec3");
  const ProcessResult run =
      RunDdhost({"encode", dir.File("in71.wav"), out, "--settings", dir.File("settings.json")});
  ASSERT_EQ(run.exit_code, 0) << run.stderr_text;
  EXPECT_EQ(run.stdout_bytes.find("note:"), std::string::npos) << run.stdout_bytes;

  const StreamInfo probe = ProbeFile(out);
  ASSERT_TRUE(probe.ok) << probe.error;
  EXPECT_EQ(probe.codec_name, "eac3");
  EXPECT_EQ(probe.channel_layout, "7.1");
  const DecodeResult decoded = DecodeFile(out, {"-drc_scale", "0"});
  ASSERT_TRUE(decoded.Clean()) << decoded.stderr_text;
  ASSERT_EQ(decoded.channels, 8);
  // FFmpeg's 7.1 order is the file's order: FL FR FC LFE BL BR SL SR.
  for (int ch = 0; ch < 8; ++ch) {
    if (ch == 3) continue;  // LFE: low-passed
    SCOPED_TRACE("channel " + std::to_string(ch));
    const auto& output = decoded.audio.channels[ch];
    EXPECT_EQ(BestLag(input.channels[ch], output, 2000), 0);
    const double own = NormalizedCorrelation(input.channels[ch], output);
    EXPECT_GT(own, 0.8);
    for (int other = 0; other < 8; ++other) {
      if (other != ch) {
        EXPECT_LT(NormalizedCorrelation(input.channels[other], output), own - 0.3);
      }
    }
  }
}

}  // namespace
}  // namespace ddtest
