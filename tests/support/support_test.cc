// Checks of the toolkit where a fault would silently weaken every other area's tests.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>

#include "dd_test_support.h"

namespace ddtest {
namespace {

std::vector<float> Shifted(const std::vector<float>& x, int lag) {
  std::vector<float> y(x.size(), 0.0f);
  for (size_t i = 0; i < x.size(); ++i) {
    const long j = static_cast<long>(i) + lag;
    if (j >= 0 && static_cast<size_t>(j) < y.size()) y[j] = x[i];
  }
  return y;
}

TEST(Metrics, LagFinderRecoversShiftsOfSpeechUnderNoise) {
  const std::vector<float> speech = LoadAlsaSpeech({"Front_Center"}, 48000).channels[0];
  for (int lag : {0, 1, 37, -250, 1535}) {
    std::vector<float> test = Shifted(speech, lag);
    MixInto(&test, WhiteNoise(test.size(), 0.01, 3));
    EXPECT_EQ(BestLag(speech, test, 2000), lag);
  }
}

TEST(Metrics, SnrAndLevelsOfKnownSignals) {
  const std::vector<float> tone = Sine(48000, 1000, 0.5);
  std::vector<float> noisy = tone;
  const double noise_rms = 0.5 / std::sqrt(2.0) / 100.0;  // 40 dB below the tone
  MixInto(&noisy, WhiteNoise(tone.size(), noise_rms, 9));
  EXPECT_NEAR(SnrDb(tone, noisy, 0, 0, tone.size()), 40.0, 0.1);
  EXPECT_TRUE(std::isinf(SnrDb(tone, tone, 0, 0, tone.size())));
  // An offset of one sample is a large error for a 1 kHz tone: the range really is aligned.
  EXPECT_LT(SnrDb(tone, Shifted(tone, 1), 0, 0, tone.size()), 20.0);
  // Offsets that match the shift line the signals up exactly; the count is clamped to both.
  EXPECT_TRUE(std::isinf(SnrDb(tone, Shifted(tone, 5), 0, 5, tone.size())));
  EXPECT_NEAR(RmsDb(tone), -9.03, 0.01);
  EXPECT_NEAR(PeakDb(tone), -6.02, 0.01);
  EXPECT_NEAR(NormalizedCorrelation(tone, Shifted(tone, 7), 7), 1.0, 1e-9);
  EXPECT_NEAR(NormalizedCorrelation(tone, WhiteNoise(tone.size(), 0.1)), 0.0, 0.02);
}

TEST(Metrics, NoiseToMaskRisesWithTheErrorAndStaysLowUnderLoudMaskers) {
  std::vector<float> music = ToneChords(96000, 12000, 0.3);
  MixInto(&music, PinkNoise(music.size(), 0.05));
  double previous = -1e9;
  for (double noise_db : {-80.0, -60.0, -40.0, -20.0}) {
    std::vector<float> test = music;
    MixInto(&test, WhiteNoise(music.size(), std::pow(10, noise_db / 20), 5));
    const double nmr = NoiseToMaskDb(music, test);
    EXPECT_GT(nmr, previous + 15.0) << noise_db;
    previous = nmr;
  }
  EXPECT_LT(NoiseToMaskDb(music, music), -90.0);
}

TEST(WavFiles, RoundTripThroughOurReaderAndFfmpeg) {
  Planar audio = SpeechForLayout(7, true, 24000);
  ASSERT_EQ(audio.channels.size(), 6u);
  audio.channels[0][100] = 1.5f;  // beyond full scale: kept in float, clipped in PCM
  struct Case {
    WavFormat format;
    double tolerance;
  };
  for (const Case& c : {Case{WavFormat::kFloat32, 0.0}, Case{WavFormat::kPcm24, 1.0 / (1 << 23)},
                        Case{WavFormat::kPcm16, 1.0 / (1 << 15)}}) {
    const std::string path = TestTempDir().File("round_trip.wav");
    ASSERT_TRUE(WriteWav(path, audio, c.format));

    Planar ours;
    WavInfo info;
    ASSERT_TRUE(ReadWav(path, &ours, &info));
    EXPECT_TRUE(info.extensible);
    EXPECT_EQ(info.channel_mask, 0x60Fu);
    EXPECT_EQ(info.format, c.format);

    const StreamInfo probe = ProbeFile(path);
    ASSERT_TRUE(probe.ok) << probe.error;
    EXPECT_EQ(probe.channels, 6);
    EXPECT_EQ(probe.channel_layout, "5.1(side)");
    EXPECT_EQ(probe.sample_rate, 48000);

    const DecodeResult theirs = DecodeFile(path);
    ASSERT_TRUE(theirs.Clean()) << theirs.stderr_text;
    ASSERT_EQ(theirs.audio.channels.size(), 6u);
    ASSERT_EQ(theirs.audio.frames(), audio.frames());
    for (int ch = 0; ch < 6; ++ch) {
      for (size_t i = 0; i < audio.frames(); ++i) {
        const float expected = c.format == WavFormat::kFloat32
                                   ? audio.channels[ch][i]
                                   : std::clamp(audio.channels[ch][i], -1.0f, 1.0f);
        ASSERT_NEAR(ours.channels[ch][i], expected, c.tolerance) << ch << " " << i;
        ASSERT_EQ(theirs.audio.channels[ch][i], ours.channels[ch][i]) << ch << " " << i;
      }
    }
  }
}

TEST(FfmpegTool, DecodesGoodStreamsCleanlyAndReportsCorruptOnes) {
  const std::string wav = TestTempDir().File("speech.wav");
  ASSERT_TRUE(WriteWav(wav, SpeechForLayout(2, false, 48000), WavFormat::kPcm16));
  const std::string ac3 = TestTempDir().File("speech.ac3");
  const ProcessResult encode = RunProcess(
      {"ffmpeg", "-nostdin", "-v", "error", "-y", "-i", wav, "-c:a", "ac3", "-b:a", "192k", ac3});
  ASSERT_EQ(encode.exit_code, 0) << encode.stderr_text;

  const StreamInfo probe = ProbeFile(ac3);
  ASSERT_TRUE(probe.ok);
  EXPECT_EQ(probe.codec_name, "ac3");
  EXPECT_EQ(probe.bit_rate, 192000);
  const DecodeResult good = DecodeFile(ac3);
  EXPECT_TRUE(good.Clean()) << good.stderr_text;
  EXPECT_EQ(good.channels, 2);
  EXPECT_GE(good.audio.frames(), 48000u);

  std::ifstream in(ac3, std::ios::binary);
  std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)),
                             std::istreambuf_iterator<char>());
  bytes[bytes.size() / 2] ^= 0x10;  // one flipped bit inside a frame breaks its CRC
  const DecodeResult bad = DecodeBytes(bytes, "ac3");
  EXPECT_FALSE(bad.Clean());
  EXPECT_FALSE(bad.stderr_text.empty());

  const DecodeResult scaled = DecodeFile(ac3, {"-drc_scale", "0"});
  EXPECT_TRUE(scaled.Clean()) << scaled.stderr_text;
}

TEST(TestProgramme, EveryLayoutHasItsChannelsInSlotOrderEachDistinct) {
  const int channel_counts[8] = {2, 1, 2, 3, 3, 4, 4, 5};
  for (int acmod = 0; acmod < 8; ++acmod) {
    for (bool lfe : {false, true}) {
      const std::vector<int> slots = SlotsForLayout(acmod, lfe);
      const Planar p = SpeechForLayout(acmod, lfe, 72000);
      ASSERT_EQ(static_cast<int>(p.channels.size()), channel_counts[acmod] + (lfe ? 1 : 0));
      ASSERT_EQ(slots.size(), p.channels.size());
      EXPECT_TRUE(std::is_sorted(slots.begin(), slots.end()));
      for (size_t a = 0; a < p.channels.size(); ++a) {
        EXPECT_GT(RmsDb(p.channels[a]), -45.0) << acmod << " " << a;
        for (size_t b = a + 1; b < p.channels.size(); ++b) {
          EXPECT_LT(std::fabs(NormalizedCorrelation(p.channels[a], p.channels[b])), 0.5)
              << "acmod " << acmod << " channels " << a << " and " << b;
        }
      }
    }
  }
  EXPECT_EQ(SlotsForLayout(7, true), (std::vector<int>{0, 1, 2, 3, 4, 5}));
  EXPECT_EQ(SlotsForLayout(4, false), (std::vector<int>{0, 1, 4}));
}

}  // namespace
}  // namespace ddtest
