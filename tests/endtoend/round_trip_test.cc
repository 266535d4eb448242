// WAV in, ddhost, stream out, FFmpeg back to PCM: the decoded audio starts with the input's
// first sample, lasts as long as the input to within the last frame, and every channel comes
// out where it went in.
#include <gtest/gtest.h>

#include <string>

#include "dd_test_support.h"
#include "ddhost_run.h"

namespace ddtest {
namespace {

constexpr std::size_t kFrames = 2 * 48000 + 777;  // not a whole number of frames
constexpr int kSlotLfe = 3;

struct Case {
  const char* name;
  int codecMode;  // 0 DD+, 1 DD
  int acmod;
  bool lfe;
  int channels;
};

std::string Config(const Case& c) {
  return "{\"CodecMode\": " + std::to_string(c.codecMode) +
         ", \"ChannelConfiguration\": " + std::to_string(c.acmod) +
         ", \"EnableLFE\": " + (c.lfe ? "1" : "0") + ", \"DataRate\": 384}";
}

class RoundTrip : public ::testing::TestWithParam<Case> {};

TEST_P(RoundTrip, EveryChannelComesBackInPlaceAndOnTime) {
  const Case& c = GetParam();
  TempDir& dir = TestTempDir();
  const Planar input = SpeechForLayout(c.acmod, c.lfe, kFrames);
  ASSERT_EQ(static_cast<int>(input.channels.size()), c.channels);
  ASSERT_TRUE(WriteWav(dir.File("in.wav"), input, WavFormat::kPcm16));
  WriteText(dir.File("settings.json"), Config(c));
  const std::string out = dir.File(c.codecMode == 1 ? "out.ac3" : "out.ec3");

  const ProcessResult run = RunEncode(dir.File("in.wav"), out, dir.File("settings.json"));
  ASSERT_EQ(run.exit_code, 0) << run.stderr_text;
  EXPECT_EQ(run.stderr_text, "");  // a file that matches its settings draws no warning
  EXPECT_NE(run.stdout_bytes.find("wrote " + out), std::string::npos) << run.stdout_bytes;

  const StreamInfo probe = ProbeFile(out);
  ASSERT_TRUE(probe.ok) << probe.error;
  EXPECT_EQ(probe.codec_name, c.codecMode == 1 ? "ac3" : "eac3");
  EXPECT_EQ(probe.sample_rate, 48000);

  const DecodeResult decoded = DecodeFile(out, {"-drc_scale", "0"});
  ASSERT_TRUE(decoded.Clean()) << decoded.stderr_text;
  ASSERT_EQ(decoded.channels, c.channels);
  EXPECT_GE(decoded.audio.frames(), kFrames);
  EXPECT_LT(decoded.audio.frames(), kFrames + 1536);

  const std::vector<int> slots = SlotsForLayout(c.acmod, c.lfe);
  for (int ch = 0; ch < c.channels; ++ch) {
    const auto& source = input.channels[ch];
    const auto& output = decoded.audio.channels[ch];
    SCOPED_TRACE("channel " + std::to_string(ch));
    // The LFE channel's low-pass shifts the phase of its low tone; it is compared where it
    // matches best. Every other channel must match at lag 0.
    const int lag = slots[ch] == kSlotLfe ? BestLag(source, output, 480) : 0;
    if (slots[ch] != kSlotLfe) {
      EXPECT_EQ(BestLag(source, output, 2000), 0);
    }
    const double own = NormalizedCorrelation(source, output, lag);
    EXPECT_GT(own, 0.8);
    for (int other = 0; other < c.channels; ++other) {
      if (other != ch) {
        EXPECT_LT(NormalizedCorrelation(input.channels[other], output, lag), own - 0.3);
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Layouts, RoundTrip,
    ::testing::Values(Case{"DD_mono", 1, 1, false, 1}, Case{"DD_stereo", 1, 2, false, 2},
                      Case{"DD_5_1", 1, 7, true, 6}, Case{"DD_5_0", 1, 7, false, 5},
                      Case{"DD_dual_mono", 1, 0, false, 2}, Case{"DDPlus_mono", 0, 1, false, 1},
                      Case{"DDPlus_stereo", 0, 2, false, 2}, Case{"DDPlus_5_1", 0, 7, true, 6},
                      Case{"DDPlus_5_0", 0, 7, false, 5}, Case{"DDPlus_dual_mono", 0, 0, false, 2}),
    [](const ::testing::TestParamInfo<Case>& info) { return std::string(info.param.name); });

// The README's main job: the speech programme made by ddhost itself, default settings.
TEST(MainJob, SpeechWavEncodesAsDolbyDigitalPlus51) {
  TempDir& dir = TestTempDir();
  const ProcessResult made = RunDdhost({"make-speech-wav", dir.File("demo.wav")});
  ASSERT_EQ(made.exit_code, 0) << made.stderr_text;
  const ProcessResult run = RunEncode(dir.File("demo.wav"), dir.File("demo.ec3"));
  ASSERT_EQ(run.exit_code, 0) << run.stderr_text;
  const DecodeResult plain = DecodeFile(dir.File("demo.ec3"), {"-drc_scale", "0"});
  ASSERT_TRUE(plain.Clean()) << plain.stderr_text;
  EXPECT_EQ(plain.channels, 6);
  EXPECT_EQ(ProbeFile(dir.File("demo.ec3")).channel_layout.rfind("5.1", 0), 0u);

  // The programme: each speaker says its own name in turn, front left first.
  Planar wav;
  ASSERT_TRUE(ReadWav(dir.File("demo.wav"), &wav));
  ASSERT_EQ(wav.channels.size(), 6u);
  const Planar frontLeft = LoadAlsaSpeech({"Front_Left"}, 48000);
  EXPECT_GT(NormalizedCorrelation(frontLeft.channels[0], wav.channels[0]), 0.99);
  EXPECT_LT(RmsDb(std::vector<float>(wav.channels[1].begin(), wav.channels[1].begin() + 48000)),
            -90.0);
  for (int ch : {0, 1, 2, 4, 5}) {
    SCOPED_TRACE("channel " + std::to_string(ch));
    EXPECT_EQ(BestLag(wav.channels[ch], plain.audio.channels[ch], 2000), 0);
    EXPECT_GT(NormalizedCorrelation(wav.channels[ch], plain.audio.channels[ch]), 0.8);
  }
}

}  // namespace
}  // namespace ddtest
