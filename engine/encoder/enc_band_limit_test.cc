#include "enc_band_limit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace ddpi::enc {
namespace {

// Gain in dB of the band limit for a sine of `hz`.
double GainDb(const BandLimiter& limiter, double hz) {
  constexpr int kPad = BandLimiter::kHalfTaps, kN = 4800;
  std::vector<float> in(kPad + kN + kPad), out(kN);
  for (size_t i = 0; i < in.size(); ++i)
    in[i] = static_cast<float>(0.5 * std::sin(2 * M_PI * hz * (double(i) - kPad) / 48000));
  limiter.Apply(in.data() + kPad, out.data(), kN);
  double in_energy = 0, out_energy = 0;
  for (int i = 0; i < kN; ++i) {
    in_energy += double{in[kPad + i]} * in[kPad + i];
    out_energy += double{out[i]} * out[i];
  }
  return 10 * std::log10(out_energy / in_energy);
}

// The coded band of AC-3 at 448 kbps 5.1 and 192 kbps stereo ends at bin 181, 16969 Hz.
TEST(BandLimit, FlatBelowTheBandAndSilentAboveIt) {
  BandLimiter limiter;
  limiter.Design(181 * 93.75);
  ASSERT_TRUE(limiter.active());
  for (double hz : {100.0, 1000.0, 8000.0, 14000.0, 15900.0})
    EXPECT_NEAR(GainDb(limiter, hz), 0.0, 0.1) << hz;
  EXPECT_NEAR(GainDb(limiter, 181 * 93.75 - BandLimiter::kMarginHz), -6.0, 0.2);
  EXPECT_LT(GainDb(limiter, 181 * 93.75), -12.0);
  for (double hz : {17700.0, 19000.0, 23000.0}) EXPECT_LT(GainDb(limiter, hz), -70.0) << hz;
}

TEST(BandLimit, LinearPhaseKeepsWaveformsInPlace) {
  BandLimiter limiter;
  limiter.Design(181 * 93.75);
  constexpr int kPad = BandLimiter::kHalfTaps, kN = 480;
  std::vector<float> in(kPad + kN + kPad), out(kN);
  for (size_t i = 0; i < in.size(); ++i)
    in[i] = static_cast<float>(std::sin(2 * M_PI * 3000.0 * (double(i) - kPad) / 48000));
  limiter.Apply(in.data() + kPad, out.data(), kN);
  for (int i = 0; i < kN; ++i) EXPECT_NEAR(out[i], in[kPad + i], 2e-3) << i;
}

TEST(BandLimit, WideBandsAreLeftAlone) {
  BandLimiter limiter;
  limiter.Design(253 * 93.75);  // chbwcod 60: 23.7 kHz
  EXPECT_FALSE(limiter.active());
  limiter.Design(0);
  EXPECT_FALSE(limiter.active());
}

}  // namespace
}  // namespace ddpi::enc
