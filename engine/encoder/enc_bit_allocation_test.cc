#include "enc_bit_allocation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "ac3_tables.h"

namespace ddpi::enc {
namespace {

// LFE-sized cases (7 bins, bands 0..6) worked through A/52 section 7.2.2 by hand with the
// default parameters (sdcycod 2, fdcycod 1, sgaincod 1, dbpbcod 2, floorcod 7) and fgaincod 4.
TEST(BitAllocation, SilentSpectrumSitsOnTheHearingThreshold) {
  uint8_t exp[7] = {24, 24, 24, 24, 24, 24, 24};
  Masking m;
  ComputeMasking(exp, 0, 7, 4, BitAllocParams(), &m);
  // psd 0; excitation 0 - fastgain(0x280) = -640, plus the knee (0x900 - 0) >> 2 = 576: -64,
  // below the hearing threshold in every band.
  for (int band = 0; band < 7; ++band) EXPECT_EQ(m.mask[band], ac3::kHearingThreshold48k[band]);
  uint8_t bap[7];
  ComputeBap(m, SnrOffset(15, 0), BitAllocParams(), bap);
  for (int i = 0; i < 7; ++i) EXPECT_EQ(bap[i], 0);
}

TEST(BitAllocation, FullScaleFlatSpectrum) {
  uint8_t exp[7] = {0, 0, 0, 0, 0, 0, 0};
  Masking m;
  ComputeMasking(exp, 0, 7, 4, BitAllocParams(), &m);
  // psd 3072 everywhere; excitation 3072 - 640 = 2432 (the fast leak dominates the slow one,
  // 3072 - 0x4d8 = 1832); above the knee, so the mask is 2432.
  for (int band = 0; band < 7; ++band) EXPECT_EQ(m.mask[band], 2432);
  uint8_t bap[7];
  // snroffset 0: mask (2432 + 2048) & 0x1fe0 - 2048 = 2432; address (3072 - 2432) >> 5 = 20.
  ComputeBap(m, SnrOffset(15, 0), BitAllocParams(), bap);
  for (int i = 0; i < 7; ++i) EXPECT_EQ(bap[i], 7);
  // csnroffst 31: snroffset 1024, mask 1408, address 52 -> bap 14.
  ComputeBap(m, SnrOffset(31, 0), BitAllocParams(), bap);
  for (int i = 0; i < 7; ++i) EXPECT_EQ(bap[i], 14);
}

TEST(BitAllocation, MoreOffsetNeverMeansFewerBits) {
  uint8_t exp[253];
  for (int i = 0; i < 253; ++i) exp[i] = static_cast<uint8_t>((i * 7) % 19 + (i > 120 ? 4 : 0));
  Masking m;
  ComputeMasking(exp, 0, 253, 4, BitAllocParams(), &m);
  uint8_t previous[253] = {};
  for (int t = 1; t < 1024; t += 37) {
    uint8_t bap[253];
    ComputeBap(m, (t - 240) * 4, BitAllocParams(), bap);
    for (int i = 0; i < 253; ++i) ASSERT_GE(bap[i], previous[i]);
    std::copy(bap, bap + 253, previous);
  }
}

// The offset search's cost evaluation against the pointers themselves, over random exponent
// sets of every grouping, both channel kinds and the whole range of offsets.
TEST(BitAllocation, RunSumsEqualSumsOverEveryPointer) {
  std::mt19937 rng(3);
  uint64_t weight[16], by_address[64];
  // Random 64-bit weights: equal sums mean equal counts per pointer, barring a 2^-64 accident.
  std::mt19937_64 wide(5);
  for (uint64_t& w : weight) w = wide();
  WeightsByAddress(weight, by_address);
  for (int trial = 0; trial < 60; ++trial) {
    const int end = trial % 5 == 0 ? 7 : 37 + static_cast<int>(rng() % 217);
    const int group = 1 << (trial % 3);
    uint8_t exp[256];
    int level = static_cast<int>(rng() % 12);
    for (int i = 0; i < end; ++i) {
      if (i % group == 0) level = std::clamp(level + static_cast<int>(rng() % 5) - 2, 0, 24);
      exp[i] = static_cast<uint8_t>(level);
    }
    Masking m;
    ComputeMasking(exp, 0, end, static_cast<int>(rng() % 8), BitAllocParams(), &m);
    for (int t = 1; t < 1024; t += 29) {
      const int snroffset = (t - 240) * 4;
      uint8_t bap[256];
      ComputeBap(m, snroffset, BitAllocParams(), bap);
      uint64_t expected = 0;
      for (int i = 0; i < end; ++i) expected += weight[bap[i]];
      ASSERT_EQ(SumBapWeights(m, snroffset, BitAllocParams(), by_address), expected)
          << "trial " << trial << " t " << t;
    }
  }
}

}  // namespace
}  // namespace ddpi::enc
