#include "enc_rematrix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "ac3_tables.h"

namespace ddpi::enc {
namespace {

constexpr int kBlocks = 6;
constexpr int kStep = kMaskStepUnits;  // 6 dB of the masking curve

// Two channels' masking curves over a frame, every band of channel 0 at `first` and of
// channel 1 at `second`, with every rematrixing band flagged in every block.
struct PairFrame {
  int16_t curve[2][kBlocks][ac3::kBands];
  uint8_t flags[kBlocks][kRematrixBands];

  PairFrame(int first, int second) {
    for (int b = 0; b < kBlocks; ++b) {
      std::fill(curve[0][b], curve[0][b] + ac3::kBands, static_cast<int16_t>(first));
      std::fill(curve[1][b], curve[1][b] + ac3::kBands, static_cast<int16_t>(second));
      std::fill(flags[b], flags[b] + kRematrixBands, uint8_t{1});
    }
  }
  void Relief(int end, MaskDelta relief[2]) const {
    const int16_t* curves[2][kBlocks];
    for (int c = 0; c < 2; ++c)
      for (int b = 0; b < kBlocks; ++b) curves[c][b] = curve[c][b];
    RematrixMaskRelief(curves[0], curves[1], flags, kBlocks, end, relief);
  }
};

constexpr int kFirstRematrixedBand = 13;  // bin 13, 1.2 kHz

// A frame of two channels' coefficients: each block's right channel is `gain` times its left,
// plus independent noise of `spread` times the left's level.
struct StereoFrame {
  std::vector<float> left[kBlocks], right[kBlocks];
  uint8_t flags[kBlocks][kRematrixBands] = {};

  StereoFrame(const float gain[kBlocks], const float spread[kBlocks]) {
    std::mt19937 rng(7);
    std::normal_distribution<float> noise(0.0f, 0.1f);
    for (int b = 0; b < kBlocks; ++b) {
      left[b].resize(256);
      right[b].resize(256);
      for (int k = 0; k < 256; ++k) {
        left[b][k] = noise(rng);
        right[b][k] = gain[b] * left[b][k] + spread[b] * noise(rng);
      }
    }
  }
  void Rematrix(int end, const bool alone[kBlocks]) {
    float* l[kBlocks];
    float* r[kBlocks];
    for (int b = 0; b < kBlocks; ++b) l[b] = left[b].data(), r[b] = right[b].data();
    RematrixFrame(l, r, kBlocks, end, alone, flags);
  }
};

TEST(Rematrix, SumAndDifferenceOnlyWhereTheyCompactThePair) {
  const bool none[kBlocks] = {};
  const float weaker[kBlocks] = {0.7f, 0.7f, 0.7f, 0.7f, 0.7f, 0.7f}, zero[kBlocks] = {};
  const float panned[kBlocks] = {0.6f, 0.6f, 0.6f, 0.6f, 0.6f, 0.6f};
  const float antiphase[kBlocks] = {-1, -1, -1, -1, -1, -1};
  // Unrelated channels 3 dB apart: the sum and difference are both weaker than the weaker
  // of left and right, but no further apart.
  StereoFrame unrelated(zero, weaker);
  unrelated.Rematrix(253, none);
  // Channels of equal level that correlate by 0.3, as a wide stereo recording does: the sum
  // and difference are a little more compact, not enough to pay for their shared noise.
  const float loose_gain[kBlocks] = {0.3f, 0.3f, 0.3f, 0.3f, 0.3f, 0.3f};
  StereoFrame loose(loose_gain, std::vector<float>(kBlocks, 0.95f).data());
  loose.Rematrix(253, none);
  // A source panned off centre, with a little of its own noise in the right channel, and one
  // in antiphase.
  StereoFrame mono(panned, std::vector<float>(kBlocks, 0.05f).data());
  const float left_before = mono.left[2][40], right_before = mono.right[2][40];
  mono.Rematrix(253, none);
  StereoFrame inverted(antiphase, zero);
  inverted.Rematrix(61, none);  // coded below bin 61: the last band stays as it is
  for (int b = 0; b < kBlocks; ++b)
    for (int band = 0; band < kRematrixBands; ++band) {
      EXPECT_EQ(unrelated.flags[b][band], 0) << b << " " << band;
      EXPECT_EQ(loose.flags[b][band], 0) << b << " " << band;
      EXPECT_EQ(mono.flags[b][band], 1) << b << " " << band;
      EXPECT_EQ(inverted.flags[b][band], band < 3 ? 1 : 0) << b << " " << band;
    }
  EXPECT_FLOAT_EQ(mono.left[2][40], 0.5f * (left_before + right_before));
  EXPECT_FLOAT_EQ(mono.right[2][40], 0.5f * (left_before - right_before));
  EXPECT_EQ(inverted.right[0][100], -inverted.left[0][100]);  // bin 100 left as it was
}

TEST(Rematrix, BlocksFollowTheFramesDecisionExceptAroundAnAttack) {
  // Five blocks of a panned source and one whose channels are unrelated, 3 dB apart: that
  // block alone would code left and right, but follows the frame, unless it decides alone.
  const float gain[kBlocks] = {0.6f, 0.6f, 0, 0.6f, 0.6f, 0.6f};
  const float spread[kBlocks] = {0, 0, 0.7f, 0, 0, 0};
  StereoFrame together(gain, spread), apart(gain, spread);
  const bool none[kBlocks] = {}, attack[kBlocks] = {false, false, true, false, false, false};
  together.Rematrix(253, none);
  apart.Rematrix(253, attack);
  for (int b = 0; b < kBlocks; ++b) {
    EXPECT_EQ(together.flags[b][3], 1) << b;
    EXPECT_EQ(apart.flags[b][3], b == 2 ? 0 : 1) << b;
  }
}

TEST(Rematrix, ReliefRaisesTheWeakerCurveInWholeStepsTowardsTheStronger) {
  MaskDelta relief[2];
  // The difference channel 2.5 steps (15 dB) below the sum: two steps, never above the sum.
  PairFrame panned(3000, 3000 - 5 * kStep / 2);
  panned.Relief(253, relief);
  EXPECT_FALSE(relief[0].Any());
  for (int band = 0; band < ac3::kBands; ++band)
    EXPECT_EQ(relief[1].step[band], band < kFirstRematrixedBand ? 0 : 2) << band;

  // Antiphase: the sum is the weaker channel.
  PairFrame antiphase(3000 - 3 * kStep, 3000);
  antiphase.Relief(253, relief);
  EXPECT_FALSE(relief[1].Any());
  EXPECT_EQ(relief[0].step[kFirstRematrixedBand], 3);
  EXPECT_EQ(relief[0].step[ac3::kBands - 1], 3);

  // At most four steps (24 dB), whatever the distance; none under one step.
  PairFrame far(3000, 3000 - 10 * kStep);
  far.Relief(253, relief);
  EXPECT_EQ(relief[1].step[kFirstRematrixedBand], 4);
  PairFrame near(3000, 3000 - kStep + 1);
  near.Relief(253, relief);
  EXPECT_FALSE(relief[0].Any() || relief[1].Any());
}

TEST(Rematrix, ReliefOnlyWhereTheFrameIsRematrixedAndCoded) {
  MaskDelta relief[2];
  PairFrame pair(3000, 3000 - 2 * kStep);
  // Rematrixing band 1 (bins 25-36) coded as left and right in one block.
  pair.flags[3][1] = 0;
  // Channels coded below bin 61 (coupled above): no relief from band 37 up.
  pair.Relief(61, relief);
  for (int band = 0; band < ac3::kBands; ++band) {
    const int bin = ac3::kBandStart[band];
    const bool relieved = bin >= 13 && bin < 61 && !(bin >= 25 && bin < 37);
    EXPECT_EQ(relief[1].step[band], relieved ? 2 : 0) << band;
  }
  EXPECT_FALSE(relief[0].Any());
}

TEST(Rematrix, ReliefFollowsTheMeanDistanceOverEachGroup) {
  // The pair's balance moves with frequency: the difference channel 3 steps below the sum up
  // to bin 61 and level with it above; blocks disagree within a group, which the mean settles.
  PairFrame pair(3000, 3000);
  for (int b = 0; b < kBlocks; ++b)
    for (int band = 0; band < ac3::kBinToBand[61]; ++band) pair.curve[1][b][band] -= 3 * kStep;
  for (int b = 0; b < kBlocks; b += 2) pair.curve[1][b][ac3::kBinToBand[13]] += 2 * kStep;
  MaskDelta relief[2];
  pair.Relief(253, relief);
  for (int band = kFirstRematrixedBand; band < ac3::kBands; ++band) {
    // Bins 13-24 form one group: a step less over one band in half the blocks lowers its mean
    // distance by a twelfth of a step, under three.
    const int bin = ac3::kBandStart[band];
    const int expected = bin < 25 ? 2 : bin < 61 ? 3 : 0;
    EXPECT_EQ(relief[1].step[band], expected) << band;
  }
}

}  // namespace
}  // namespace ddpi::enc
