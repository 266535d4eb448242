#include "enc_exponents.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace ddpi::enc {
namespace {

// Rebuilds exponents from the group codes the way a decoder does (A/52 section 7.1.3).
void DecodeGroups(uint8_t absexp, const uint8_t* groups, int count, ExpStrategy s, uint8_t* out) {
  const int size = s == kExpD15 ? 1 : (s == kExpD25 ? 2 : 4);
  int e = absexp;
  out[0] = static_cast<uint8_t>(e);
  for (int g = 0; g < count; ++g) {
    const int d[3] = {groups[g] / 25, (groups[g] % 25) / 5, groups[g] % 5};
    for (int k = 0; k < 3; ++k) {
      e += d[k] - 2;
      for (int j = 0; j < size; ++j) out[1 + (3 * g + k) * size + j] = static_cast<uint8_t>(e);
    }
  }
}

TEST(Exponents, ExtractionPutsMantissaInHalfOpenUnitRange) {
  const float coef[6] = {0.75f, -0.25f, 1e-9f, 0.0f, 1.0f, -0.5f};
  uint8_t exp[6];
  ExtractExponents(coef, 6, exp);
  EXPECT_EQ(exp[0], 0);
  EXPECT_EQ(exp[1], 1);
  EXPECT_EQ(exp[2], 24);
  EXPECT_EQ(exp[3], 24);
  EXPECT_EQ(exp[4], 0);
  EXPECT_EQ(exp[5], 0);
}

TEST(Exponents, CodedSetsRespectLimitsAndDecodeExactly) {
  std::mt19937 rng(7);
  std::uniform_int_distribution<int> d(0, 24);
  for (ExpStrategy s : {kExpD15, kExpD25, kExpD45}) {
    for (int end : {7, 73, 160, 253}) {
      for (int trial = 0; trial < 20; ++trial) {
        uint8_t raw[256], coded[256];
        for (int i = 0; i < 256; ++i) raw[i] = coded[i] = static_cast<uint8_t>(d(rng));
        CodeExponents(coded, end, s);
        EXPECT_LE(coded[0], 15);
        for (int i = 0; i < end; ++i) ASSERT_LE(coded[i], raw[i]) << "bin " << i;
        uint8_t absexp, groups[128], decoded[260];
        const int count = GroupExponents(coded, end, s, &absexp, groups);
        EXPECT_EQ(count, ExponentGroups(end, s));
        for (int g = 0; g < count; ++g) ASSERT_LT(groups[g], 125);  // every difference in -2..2
        DecodeGroups(absexp, groups, count, s, decoded);
        for (int i = 0; i < end; ++i) ASSERT_EQ(decoded[i], coded[i]) << "bin " << i;
      }
    }
  }
}

TEST(Exponents, GroupCountsFollowTheStandard) {
  EXPECT_EQ(ExponentGroups(253, kExpD15), 84);
  EXPECT_EQ(ExponentGroups(253, kExpD25), 42);
  EXPECT_EQ(ExponentGroups(253, kExpD45), 21);
  EXPECT_EQ(ExponentGroups(7, kExpD15), 2);  // LFE: nlfegrps
  EXPECT_EQ(ExponentSetBits(253, kExpD15, false), 4 + 84 * 7 + 2);
}

TEST(Exponents, StrategiesReuseSteadySpectraAndRenewOnChange) {
  uint8_t raw[6][256];
  for (int b = 0; b < 6; ++b)
    for (int i = 0; i < 256; ++i) raw[b][i] = static_cast<uint8_t>(5 + i % 7);
  for (int i = 0; i < 256; ++i) raw[4][i] = static_cast<uint8_t>(20 - i % 5);
  bool short_block[6] = {false, false, false, false, false, true};
  const bool around_attack[6] = {false, false, false, false, false, true};
  ExpStrategy s[6];
  ChooseStrategies(raw, short_block, around_attack, 6, 253, 1.0f, 0, s);
  EXPECT_NE(s[0], kExpReuse);
  EXPECT_EQ(s[1], kExpReuse);
  EXPECT_EQ(s[3], kExpReuse);
  EXPECT_NE(s[4], kExpReuse);  // spectrum changed
  EXPECT_NE(s[5], kExpReuse);  // transform length changed
  EXPECT_EQ(s[0], kExpD15);    // a set shared by four blocks keeps full resolution
  EXPECT_EQ(s[4], kExpD45);    // one used by a single block groups four bins
  EXPECT_EQ(s[5], kExpD25);    // unless that block holds an attack

  // Shared sets hold every block's coefficients: exponents never exceed any block's.
  uint8_t shared[6][256];
  for (int b = 0; b < 6; ++b)
    for (int i = 0; i < 256; ++i) shared[b][i] = raw[b][i] - ((b + i) % 3 == 0 ? 1 : 0);
  uint8_t before[6][256];
  std::copy(&shared[0][0], &shared[0][0] + 6 * 256, &before[0][0]);
  ShareAndCode(shared, s, 6, 253);
  for (int b = 0; b < 6; ++b)
    for (int i = 0; i < 253; ++i) ASSERT_LE(shared[b][i], before[b][i]);
  for (int i = 0; i < 253; ++i) EXPECT_EQ(shared[1][i], shared[0][i]);
}

}  // namespace
}  // namespace ddpi::enc
