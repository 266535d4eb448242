#include "enc_coupling.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "enc_frame.h"

namespace ddpi::enc {
namespace {

// Decodes coupling exponents as A/52 section 7.1.3 does: cplabsexp * 2, then the grouped
// differences, each value repeated over its group of bins.
void DecodeCouplingExponents(uint8_t absexp, const uint8_t* groups, int count, int start,
                             ExpStrategy s, uint8_t* exp) {
  const int size = s == kExpD15 ? 1 : (s == kExpD25 ? 2 : 4);
  int value = absexp * 2;
  int bin = start;
  for (int g = 0; g < count; ++g) {
    const int d[3] = {groups[g] / 25 - 2, (groups[g] % 25) / 5 - 2, groups[g] % 5 - 2};
    for (int k = 0; k < 3; ++k) {
      value += d[k];
      for (int j = 0; j < size; ++j) exp[bin++] = static_cast<uint8_t>(value);
    }
  }
}

TEST(Coupling, LayoutFollowsTheSubBandStructure) {
  CouplingLayout l;
  ASSERT_TRUE(MakeCouplingLayout(2, 2, &l));
  EXPECT_EQ(l.start, 61);
  EXPECT_EQ(l.end, 97);
  EXPECT_EQ(l.subbands, 3);
  EXPECT_EQ(l.bands, 3);
  ASSERT_TRUE(MakeCouplingLayout(5, 15, &l));
  EXPECT_EQ(l.start, 97);
  EXPECT_EQ(l.end, 253);
  EXPECT_EQ(l.subbands, 13);
  // Sub-bands 5..7 alone, then 8+9, 10+11, ..., 16+17.
  EXPECT_EQ(l.bands, 3 + 5);
  EXPECT_EQ(l.band_edge[0], 97);
  EXPECT_EQ(l.band_edge[3], 133);
  EXPECT_EQ(l.band_edge[4], 157);
  EXPECT_EQ(l.band_edge[l.bands], 253);
  int merged = 0;
  for (int k = 1; k < l.subbands; ++k) merged += l.bndstrc[k];
  EXPECT_EQ(l.subbands - merged, l.bands);
  EXPECT_FALSE(MakeCouplingLayout(6, 2, &l));  // empty range
  EXPECT_FALSE(MakeCouplingLayout(16, 15, &l));
}

TEST(Coupling, CoordinatesQuantizeWithinHalfAStep) {
  std::vector<float> values;
  for (double v = 7.7; v > 1e-4; v *= 0.83) values.push_back(static_cast<float>(v));
  for (size_t first = 0; first + 8 <= values.size(); first += 3) {
    CouplingCoords q;
    QuantizeCoords(&values[first], 8, &q);
    for (int b = 0; b < 8; ++b) {
      ASSERT_LE(q.exp[b], 15);
      ASSERT_LE(q.mant[b], 15);
      const float got = CoordValue(q, b);
      // Normal coordinates have 5 significant bits (a half-step of at most 1/32 relative),
      // denormal ones an absolute half-step of 8 * 2^-(15 + 3 * mstrcplco) / 32.
      const float tolerance = std::max(values[first + b] / 31.0f,
                                       std::ldexp(8.0f / 32, -(15 + 3 * q.mstrcplco)) * 1.01f);
      EXPECT_NEAR(got, values[first + b], tolerance) << "value " << values[first + b];
    }
  }
  CouplingCoords q;
  const float silent[2] = {0.0f, 100.0f};
  QuantizeCoords(silent, 2, &q);
  EXPECT_EQ(CoordValue(q, 0), 0.0f);
  EXPECT_NEAR(CoordValue(q, 1), 7.75f, 1e-6);  // the largest the syntax carries
}

TEST(Coupling, ExponentsDecodeToTheCodedValues) {
  const int start = 61, end = 157;
  for (ExpStrategy s : {kExpD15, kExpD25, kExpD45}) {
    uint8_t exp[256];
    uint32_t seed = 7;
    for (int i = 0; i < 256; ++i) {
      seed = seed * 1664525u + 1013904223u;
      exp[i] = static_cast<uint8_t>(4 + (seed >> 24) % 18);
    }
    uint8_t raw[256];
    std::copy(exp, exp + 256, raw);
    CodeCouplingExponents(exp, start, end, s);
    for (int i = start; i < end; ++i) ASSERT_LE(exp[i], raw[i]) << "never raised";
    uint8_t absexp, groups[256];
    const int count = GroupCouplingExponents(exp, start, end, s, &absexp, groups);
    EXPECT_EQ(4 + 7 * count, CouplingExponentBits(start, end, s));
    for (int g = 0; g < count; ++g) ASSERT_LT(groups[g], 125);
    uint8_t decoded[256] = {};
    DecodeCouplingExponents(absexp, groups, count, start, s, decoded);
    for (int i = start; i < end; ++i) ASSERT_EQ(decoded[i], exp[i]) << "bin " << i;
  }
}

// Coupled channels rebuilt as a decoder does (coef = cplcoef * cplco * 8) against the input in
// the coupled band: exact up to coordinate quantization when the channels are scaled copies.
double CoupledSnrDb(const std::vector<std::vector<float>>& coef, const CouplingLayout& l,
                    float fit) {
  const int n = static_cast<int>(coef.size());
  const float* planes[kMaxCplChannels] = {};
  for (int c = 0; c < n; ++c) planes[c] = coef[c].data();
  float cpl[256] = {};
  FormCouplingChannel(planes, n, l, cpl);
  double cpl_energy[kMaxCplSubbands] = {};
  AddBandEnergy(cpl, l, cpl_energy);
  double signal = 0, noise = 0;
  for (int c = 0; c < n; ++c) {
    double energy[kMaxCplSubbands] = {}, cross[kMaxCplSubbands] = {};
    AddBandEnergy(planes[c], l, energy);
    AddBandCross(planes[c], cpl, l, cross);
    float value[kMaxCplSubbands];
    CoordsFromEnergy(energy, cross, cpl_energy, l.bands, fit, value);
    CouplingCoords q;
    QuantizeCoords(value, l.bands, &q);
    for (int b = 0; b < l.bands; ++b)
      for (int i = l.band_edge[b]; i < l.band_edge[b + 1]; ++i) {
        const double rebuilt = cpl[i] * CoordValue(q, b);
        signal += double(planes[c][i]) * planes[c][i];
        noise += (rebuilt - planes[c][i]) * (rebuilt - planes[c][i]);
      }
  }
  return 10 * std::log10(signal / noise);
}

TEST(Coupling, RoundTripRebuildsScaledCopiesInTheCoupledBand) {
  CouplingLayout l;
  ASSERT_TRUE(MakeCouplingLayout(3, 12, &l));
  const float gains[5] = {1.0f, 0.5f, 0.25f, 0.7f, 0.05f};
  std::vector<std::vector<float>> coef(5, std::vector<float>(256, 0.0f));
  uint32_t seed = 3;
  for (int i = 0; i < 256; ++i) {
    seed = seed * 1664525u + 1013904223u;
    const float common = ((seed >> 8) / 16777216.0f - 0.5f) * 0.2f;
    for (int c = 0; c < 5; ++c) coef[c][i] = gains[c] * common;
  }
  EXPECT_GT(CoupledSnrDb(coef, l, 0.0f), 28.0);
  EXPECT_GT(CoupledSnrDb(coef, l, 1.0f), 28.0);
}

TEST(Coupling, LeastSquaresCoordinatesGiveTheSmallerWaveformError) {
  // Independent channels: energy-preserving coordinates rebuild each channel's share of the
  // mean at full energy; least-squares ones fit it (1.8 dB for three channels) and never do
  // worse than leaving the band out (0 dB).
  CouplingLayout l;
  ASSERT_TRUE(MakeCouplingLayout(3, 12, &l));
  std::vector<std::vector<float>> coef(3, std::vector<float>(256, 0.0f));
  uint32_t seed = 5;
  for (auto& ch : coef)
    for (float& x : ch) {
      seed = seed * 1664525u + 1013904223u;
      x = ((seed >> 8) / 16777216.0f - 0.5f) * 0.1f;
    }
  const double energy = CoupledSnrDb(coef, l, 0.0f), ls = CoupledSnrDb(coef, l, 1.0f);
  EXPECT_GT(ls, energy + 0.5);
  EXPECT_GT(ls, 1.0);
}

// Multichannel couples every frame at low rates (unless the spectral extension runs there),
// and frame by frame, only the channels that agree, from 64 to 96 kbps per channel; not above.
TEST(Coupling, PlanCouplesMultichannelBelow96KbpsPerChannel) {
  EXPECT_TRUE(PlanForRate(192, 7, true).coupling);
  EXPECT_LT(PlanForRate(192, 7, true).cpl_min_coherence, 0);
  EXPECT_TRUE(PlanForRate(192, 7, true, true).spx);
  EXPECT_FALSE(PlanForRate(192, 7, true, true).coupling);
  EXPECT_TRUE(PlanForRate(324, 7, true, true).coupling);  // 64 kbps per channel: both
  EXPECT_TRUE(PlanForRate(64, 2, false).coupling);
  EXPECT_FALSE(PlanForRate(32, 1, false).coupling);   // 1/0 cannot couple
  EXPECT_TRUE(PlanForRate(448, 7, true).coupling);
  EXPECT_GT(PlanForRate(448, 7, true).cpl_min_coherence, 0);
  EXPECT_FALSE(PlanForRate(640, 7, true).coupling);
  const CodingPlan p = PlanForRate(96, 2, false);
  if (p.coupling) {
    EXPECT_GT(p.cplbegf, 2);  // rematrixing keeps its four bands in 2/0
  }
}

}  // namespace
}  // namespace ddpi::enc
