#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "enc_frame.h"
#include "enc_frame_test_util.h"

namespace ddpi::enc {
namespace {

// The blocks around an attack get coordinates of their own that rebuild a quarter of the
// original's upper band; the others restore all of it.
TEST(SpxChoice, RebuildsAQuarterAroundAnAttack) {
  auto f = NewFrame(1);
  std::vector<float> input(kHistory + kFrameInput);
  uint32_t seed = 3;
  for (float& x : input) x = 0.3f * Noise(&seed);
  const float* channels[1] = {input.data()};
  BlockAttack attacks[kMaxChannels][kBlocks] = {};
  attacks[0][2] = kExposedAttack;
  const CodingPlan plan = PlanForRate(48, 1, false, true);
  ASSERT_TRUE(plan.spx);
  AnalyzeFrame(channels, attacks, plan, f.get());
  ASSERT_TRUE(f->spxinu && f->chinspx[0]);
  // Block 2 is short, block 3 takes the attack into its long transform.
  const bool new_set[kBlocks] = {true, false, true, true, true, false};
  for (int b = 0; b < kBlocks; ++b) EXPECT_EQ(f->spxcoe[b], new_set[b]) << "block " << b;
  // Energy per block of each run's target: the noise is the same level throughout.
  auto per_block = [&](int first, int blocks) {
    const double* target = f->spx_target[first][0];
    return std::accumulate(target, target + f->spx.bands, 0.0) / blocks;
  };
  const double plain = per_block(4, 2);
  EXPECT_NEAR(per_block(0, 2) / plain, 1.0, 0.2);
  EXPECT_NEAR(per_block(3, 1) / plain, 0.25, 0.08);  // long, holding the attack
  EXPECT_GT(per_block(2, 1), 0.0);                    // short
  EXPECT_LT(per_block(2, 1) / plain, 0.5);
}

// An upper band that rises where the band copied into it does not (noise from 12 kHz up
// entering in block 3 over steady broadband noise) takes coordinates of its own from that
// block; broadband noise that grows by as much throughout keeps one set for the frame.
TEST(SpxChoice, StartsARunWhereTheUpperBandRisesAlone) {
  const CodingPlan plan = PlanForRate(48, 1, false, true);
  ASSERT_TRUE(plan.spx);
  constexpr int kLength = kHistory + kFrameInput;
  constexpr int kRise = 4 * 256;  // the first new sample of block 3
  for (const bool upper_only : {true, false}) {
    std::vector<float> input(kLength);
    uint32_t seed = 5;
    for (float& x : input) x = 0.05f * Noise(&seed);
    // Noise whose fourth difference keeps mostly what lies above 12 kHz.
    std::vector<float> burst(kLength + 4);
    for (float& x : burst) x = Noise(&seed);
    for (int n = kRise; n < kLength; ++n) {
      const float* b = &burst[n];
      input[n] += upper_only ? 0.05f * (b[4] - 4 * b[3] + 6 * b[2] - 4 * b[1] + b[0])
                             : 0.2f * b[0];
    }
    auto f = NewFrame(1);
    const float* channels[1] = {input.data()};
    BlockAttack attacks[kMaxChannels][kBlocks] = {};
    AnalyzeFrame(channels, attacks, plan, f.get());
    ASSERT_TRUE(f->spxinu && f->chinspx[0]);
    for (int b = 0; b < kBlocks; ++b)
      EXPECT_EQ(f->spxcoe[b], b == 0 || (upper_only && b == 3))
          << "block " << b << (upper_only ? ", upper band alone" : ", broadband");
  }
}

}  // namespace
}  // namespace ddpi::enc
