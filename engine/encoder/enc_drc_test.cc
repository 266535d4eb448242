#include "enc_drc.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace ddpi::enc {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kFrame = 1536;

TEST(DrcGainWords, KnownCodesDecodeToTheirGains) {
  EXPECT_DOUBLE_EQ(DynrngDbFromCode(0x00), 0.0);
  EXPECT_NEAR(DynrngDbFromCode(0xE0), -6.02, 0.01);   // X = -1
  EXPECT_NEAR(DynrngDbFromCode(0x20), 6.02, 0.01);    // X = 1
  EXPECT_NEAR(DynrngDbFromCode(0x80), -24.08, 0.01);  // X = -4, lowest
  EXPECT_NEAR(DynrngDbFromCode(0x7F), 23.94, 0.01);   // X = 3, Y = 31, highest
  EXPECT_NEAR(DynrngDbFromCode(0x10), 20 * std::log10(1.5), 1e-9);  // Y = 16
  EXPECT_DOUBLE_EQ(ComprDbFromCode(0x00), 0.0);
  EXPECT_NEAR(ComprDbFromCode(0xF0), -6.02, 0.01);
  EXPECT_NEAR(ComprDbFromCode(0x80), -48.16, 0.01);
  EXPECT_NEAR(ComprDbFromCode(0x7F), 47.89, 0.01);
  EXPECT_NEAR(ComprDbFromCode(0x08), 20 * std::log10(1.5), 1e-9);
}

TEST(DrcGainWords, EveryCodeRoundTripsExactly) {
  for (int code = 0; code < 256; ++code) {
    EXPECT_EQ(DynrngCodeFromDb(DynrngDbFromCode(code)), code);
    EXPECT_EQ(DynrngCodeAtMostDb(DynrngDbFromCode(code)), code);
    EXPECT_EQ(ComprCodeFromDb(ComprDbFromCode(code)), code);
    EXPECT_EQ(ComprCodeAtMostDb(ComprDbFromCode(code)), code);
  }
}

// Walks the codes in order of gain and checks that every gain between two neighbours rounds
// to the nearer one (linear distance) and rounds down to the lower one.
template <typename ToDb, typename FromDb, typename AtMost>
void CheckRounding(ToDb to_db, FromDb from_db, AtMost at_most, int lowest, int highest) {
  std::vector<int> ordered;
  for (int code = 0; code < 256; ++code) ordered.push_back(code);
  std::sort(ordered.begin(), ordered.end(),
            [&](int a, int b) { return to_db(a) < to_db(b); });
  ASSERT_EQ(ordered.front(), lowest);
  ASSERT_EQ(ordered.back(), highest);
  for (size_t k = 0; k + 1 < ordered.size(); ++k) {
    const double low = std::pow(10, to_db(ordered[k]) / 20);
    const double high = std::pow(10, to_db(ordered[k + 1]) / 20);
    const double below_middle = 20 * std::log10(low + (high - low) * 0.49);
    const double above_middle = 20 * std::log10(low + (high - low) * 0.51);
    ASSERT_EQ(from_db(below_middle), ordered[k]) << k;
    ASSERT_EQ(from_db(above_middle), ordered[k + 1]) << k;
    ASSERT_EQ(at_most(above_middle), ordered[k]) << k;
  }
  EXPECT_EQ(from_db(100.0), highest);
  EXPECT_EQ(from_db(-100.0), lowest);
  EXPECT_EQ(at_most(-100.0), lowest);
  EXPECT_EQ(from_db(std::nan("")), lowest);
}

TEST(DrcGainWords, IntermediateGainsRoundToTheNearestCodeAndSaturate) {
  CheckRounding(DynrngDbFromCode, DynrngCodeFromDb, DynrngCodeAtMostDb, 0x80, 0x7F);
  CheckRounding(ComprDbFromCode, ComprCodeFromDb, ComprCodeAtMostDb, 0x80, 0x7F);
}

TEST(DrcCurves, AreContinuousMonotonicAndBoostNoMoreThanTheirMaximum) {
  const double max_boost[] = {0, 6, 6, 12, 12, 15};
  for (int profile = 0; profile <= 5; ++profile) {
    double previous = DrcStaticGainDb(profile, -80);
    EXPECT_DOUBLE_EQ(previous, max_boost[profile]) << profile;
    for (double level = -80; level <= 40; level += 0.01) {
      const double gain = DrcStaticGainDb(profile, level);
      ASSERT_LE(gain, previous + 1e-12) << "profile " << profile << " at " << level;
      ASSERT_LT(previous - gain, 0.05) << "jump in profile " << profile << " at " << level;
      previous = gain;
    }
    EXPECT_EQ(DrcStaticGainDb(profile, 2.0), 0.0) << "dialogue sits in the null band";
  }
  EXPECT_EQ(DrcStaticGainDb(0, 30), 0.0);
  EXPECT_LT(DrcStaticGainDb(kDrcFilmStandard, 30), DrcStaticGainDb(kDrcFilmLight, 30));
}

// A steady sine in two channels whose programme level is `level_db` relative to the dialogue
// level of `dialnorm`, analysed for `frames` frames; returns the last frame's words.
DrcFrameGains RunSteady(DrcAnalyzer* drc, double level_db, int dialnorm, int frames) {
  // Two equal channels add 3 dB of power; a full-scale sine is 0 dB.
  const double amplitude = std::pow(10, (level_db - dialnorm - 3.0103) / 20);
  std::vector<float> tone(kFrame);
  DrcFrameGains gains{};
  static long phase = 0;
  for (int f = 0; f < frames; ++f) {
    for (int i = 0; i < kFrame; ++i, ++phase) {
      tone[i] = static_cast<float>(amplitude * std::sin(2 * kPi * 997 * phase / 48000.0));
    }
    const float* channels[2] = {tone.data(), tone.data()};
    drc->AnalyzeFrame(channels, 2, 6, &gains);
  }
  return gains;
}

TEST(DrcAnalyzer, SteadyLevelsSettleOnTheProfileCurve) {
  struct Case {
    int profile;
    double level_db;
  };
  const Case cases[] = {{kDrcFilmStandard, -20}, {kDrcFilmStandard, 2}, {kDrcFilmStandard, 10},
                        {kDrcFilmLight, 20},     {kDrcMusicStandard, -10}, {kDrcSpeech, -30}};
  for (const Case& c : cases) {
    DrcAnalyzer drc;
    drc.Reset(c.profile, c.profile, 27);
    const DrcFrameGains gains = RunSteady(&drc, c.level_db, 27, 400);
    const double expected = DrcStaticGainDb(c.profile, c.level_db);
    ASSERT_TRUE(gains.dynrng_on);
    ASSERT_TRUE(gains.compr_on);
    for (int b = 0; b < 6; ++b) {
      EXPECT_NEAR(DynrngDbFromCode(gains.dynrng[b]), expected, 0.15)
          << "profile " << c.profile << " level " << c.level_db;
    }
    EXPECT_NEAR(ComprDbFromCode(gains.compr), expected, 0.3);
  }
}

TEST(DrcAnalyzer, ProfileNoneWritesNoWords) {
  DrcAnalyzer drc;
  drc.Reset(kDrcNone, kDrcNone, 31);
  const DrcFrameGains gains = RunSteady(&drc, 25, 31, 20);
  EXPECT_FALSE(gains.dynrng_on);
  EXPECT_FALSE(gains.compr_on);
  drc.Reset(kDrcNone, kDrcMusicLight, 31);
  const DrcFrameGains rf_only = RunSteady(&drc, 25, 31, 20);
  EXPECT_FALSE(rf_only.dynrng_on);
  EXPECT_TRUE(rf_only.compr_on);
  EXPECT_LT(ComprDbFromCode(rf_only.compr), -1.0);
}

TEST(DrcAnalyzer, CutsFollowAttacksQuicklyAndBoostsRecoverSlowly) {
  DrcAnalyzer drc;
  drc.Reset(kDrcFilmStandard, kDrcNone, 31);
  RunSteady(&drc, -20, 31, 300);  // quiet: full 6 dB boost
  const DrcFrameGains loud = RunSteady(&drc, 25, 31, 1);
  const double loud_target = DrcStaticGainDb(kDrcFilmStandard, 25);
  EXPECT_NEAR(DynrngDbFromCode(loud.dynrng[5]), loud_target, 1.0)
      << "a cut reaches its target within one frame";
  RunSteady(&drc, 25, 31, 100);
  const DrcFrameGains back = RunSteady(&drc, -20, 31, 3);  // ~100 ms after the loud passage
  EXPECT_LT(DynrngDbFromCode(back.dynrng[5]), 0.0) << "a boost does not return at once";
  const DrcFrameGains later = RunSteady(&drc, -20, 31, 200);
  EXPECT_NEAR(DynrngDbFromCode(later.dynrng[5]), 6.0, 0.15);
}

TEST(DrcAnalyzer, GainsNeverPushPeaksBeyondFullScale) {
  // Quiet programme (wants the full boost) with a full-scale click in the middle of a frame,
  // of either sign.
  for (int dialnorm : {31, 20, 1}) for (float click : {0.99f, -0.99f}) {
    DrcAnalyzer drc;
    drc.Reset(kDrcMusicStandard, kDrcSpeech, dialnorm);
    RunSteady(&drc, -30, dialnorm, 200);
    std::vector<float> plane(kFrame, 0.0f);
    plane[3 * 256 + 100] = click;
    const float* channels[1] = {plane.data()};
    DrcFrameGains gains{};
    drc.AnalyzeFrame(channels, 1, 6, &gains);
    const double normalisation_db = -(31 - dialnorm);
    const double peak_db = 20 * std::log10(0.99) + normalisation_db;
    for (int b = 2; b <= 4; ++b) {  // the click's block and its neighbours
      EXPECT_LE(peak_db + DynrngDbFromCode(gains.dynrng[b]), 0.0) << "dialnorm " << dialnorm;
    }
    EXPECT_LE(peak_db + DrcAnalyzer::kRfLiftDb + ComprDbFromCode(gains.compr), 0.0)
        << "dialnorm " << dialnorm;
    if (dialnorm == 31) {
      EXPECT_GT(DynrngDbFromCode(gains.dynrng[0]), 11.0) << "blocks away from it keep the boost";
    }
  }
}

}  // namespace
}  // namespace ddpi::enc
