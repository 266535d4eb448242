#include "enc_spx.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "enc_frame.h"

namespace ddpi::enc {
namespace {

TEST(SpectralExtension, LayoutFollowsTheCodes) {
  SpxLayout l;
  // Begin codes name sub-bands 2..7, 9, 11; end codes 5..7, 9, 11, 13, 15, 17.
  ASSERT_TRUE(MakeSpxLayout(2, 5, 5, 24, &l));
  EXPECT_EQ(l.copy_start, 49);
  EXPECT_EQ(l.begin, 109);
  EXPECT_EQ(l.end, 181);
  EXPECT_EQ(l.bands, 3);  // 72 bins in bands of 24
  EXPECT_EQ(l.band_edge[1], 133);
  EXPECT_EQ(l.bndstrc[l.first_subband + 1], 1);
  EXPECT_EQ(l.bndstrc[l.first_subband + 2], 0);
  ASSERT_TRUE(MakeSpxLayout(0, 7, 7, 12, &l));
  EXPECT_EQ(l.begin, 157);
  EXPECT_EQ(l.end, 229);
  EXPECT_EQ(l.bands, 6);
  EXPECT_FALSE(MakeSpxLayout(0, 7, 4, 12, &l));  // ends below its begin
  EXPECT_FALSE(MakeSpxLayout(3, 0, 4, 12, &l));  // copies from above its begin
  EXPECT_FALSE(MakeSpxLayout(0, 8, 4, 12, &l));

  EXPECT_EQ(SpxBeginCode(117), 5);  // bin 109, the highest begin at or below
  EXPECT_EQ(SpxBeginCode(20), 0);
  EXPECT_EQ(SpxEndCode(181), 5);
  EXPECT_EQ(SpxEndCode(182), 6);
  EXPECT_EQ(SpxEndCode(256), 7);
}

TEST(SpectralExtension, CopiesWrapAsTheDecoderWrapsThem) {
  SpxLayout l;
  ASSERT_TRUE(MakeSpxLayout(2, 5, 5, 24, &l));  // copy region 49..108, bands of 24 from 109
  std::vector<int> source(l.end - l.begin);
  SpxSourceBins(l, source.data());
  EXPECT_EQ(source[0], 49);
  EXPECT_EQ(source[24], 73);
  // The third band would run past bin 108: it starts again at the copy start.
  EXPECT_EQ(source[48], 49);
  EXPECT_EQ(source[71], 72);
  // A band wider than the copy region wraps inside the band.
  ASSERT_TRUE(MakeSpxLayout(3, 2, 7, 72, &l));  // copy region 61..72, bands of 72 and more
  source.assign(l.end - l.begin, 0);
  SpxSourceBins(l, source.data());
  for (int k = 0; k < l.end - l.begin; ++k) ASSERT_EQ(source[k], 61 + k % 12) << k;
}

TEST(SpectralExtension, CoordinatesQuantizeWithinAMantissaStep) {
  // Gains from the loudest the syntax carries down to 2^-16, three bands at a time (the master
  // code is shared, so mixed sets are where quantization can go wrong).
  for (float top = 28.0f; top > 1e-3f; top *= 0.37f) {
    const float value[3] = {top, top * 0.2f, top * 0.03f};
    SpxCoords c;
    QuantizeSpxCoords(value, 3, &c);
    for (int b = 0; b < 3; ++b) {
      ASSERT_LE(c.exp[b], 15);
      ASSERT_LE(c.mant[b], 3);
      const float decoded = SpxCoordValue(c, b);
      // Mantissa steps of 1/8 above an implied 1/2: at most 1/16 of 1/2 = 12.5% off, except
      // where the exponent runs out and the band is far below the loudest.
      if (c.exp[b] < 15) EXPECT_NEAR(decoded / value[b], 1.0f, 0.126f) << top << " band " << b;
      else EXPECT_LT(decoded, value[0] * 1e-3f);
    }
  }
  const float silent[2] = {0.0f, 0.0f};
  SpxCoords c;
  QuantizeSpxCoords(silent, 2, &c);
  EXPECT_EQ(SpxCoordValue(c, 0), 0.0f);
  EXPECT_EQ(SpxCoordValue(c, 1), 0.0f);
}

TEST(SpectralExtension, GainsRestoreEachBandsEnergy) {
  SpxLayout l;
  ASSERT_TRUE(MakeSpxLayout(2, 5, 5, 24, &l));
  // A spectrum falling 6 dB per band above the copy region: each band needs the gain that
  // scales its copied bins to the band's own level.
  std::vector<float> coef(256, 0.0f);
  for (int k = l.copy_start; k < l.begin; ++k) coef[k] = (k % 2 ? 1.0f : -1.0f);
  for (int band = 0; band < l.bands; ++band)
    for (int k = l.band_edge[band]; k < l.band_edge[band + 1]; ++k)
      coef[k] = std::ldexp(0.5f, -band);
  const float* blocks[1] = {coef.data()};
  float gain[kMaxSpxSubbands];
  SpxGains(blocks, 1, l, gain);
  for (int band = 0; band < l.bands; ++band)
    EXPECT_NEAR(gain[band], std::ldexp(0.5f, -band), 1e-5f);
}

TEST(SpectralExtension, PlannedOnlyForExtendedStreamsAtLowRates) {
  EXPECT_TRUE(PlanForRate(96, 2, false, true).spx);
  EXPECT_TRUE(PlanForRate(128, 2, false, true).spx);
  EXPECT_TRUE(PlanForRate(192, 7, true, true).spx);
  EXPECT_FALSE(PlanForRate(96, 2, false, false).spx);  // AC-3 has no extension
  EXPECT_FALSE(PlanForRate(448, 7, true, true).spx);
  EXPECT_FALSE(PlanForRate(192, 2, false, true).spx);
  // With coupling as well (64 kbps per channel), the coupling range ends where the extension
  // begins.
  const CodingPlan p = PlanForRate(128, 2, false, true);
  ASSERT_TRUE(p.coupling);
  EXPECT_EQ(CouplingEndMant(p.cplendf), p.spx_layout.begin);
}

}  // namespace
}  // namespace ddpi::enc
