#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "ac3_tables.h"
#include "enc_allocate.h"
#include "enc_frame.h"
#include "enc_frame_test_util.h"

namespace ddpi::enc {
namespace {

// A block that switches to short transforms holds an attack, and the next block's long
// transform spans it too: both are quantized more finely, the frame's other blocks paying for
// it, and a frame ending on an attack passes the boost on to the next frame's first block.
TEST(AttackBlocks, GetFinerQuantization) {
  auto f = NewFrame(2);
  std::vector<float> input(2 * (kHistory + kFrameInput));
  uint32_t seed = 7;
  for (float& x : input) x = 0.3f * Noise(&seed);
  // Unrelated channels 10 dB apart, which code as left and right in every block.
  for (size_t i = kHistory + kFrameInput; i < input.size(); ++i) input[i] *= 0.3f;
  const float* channels[2] = {&input[0], &input[kHistory + kFrameInput]};
  BlockAttack attacks[kMaxChannels][kBlocks] = {};
  attacks[0][2] = kExposedAttack;
  CodingPlan plan = PlanForRate(256, 2, false);
  ASSERT_FALSE(plan.coupling);
  const int budget = 6000;

  auto block_bits = [&](int b) {
    MantissaCounter counter;
    for (int c = 0; c < 2; ++c) counter.Add(f->ch[c].bap[b], 0, f->ch[c].end);
    return counter.Bits();
  };
  auto allocate = [&](int boost, int bits[kBlocks]) {
    plan.attack_boost = boost;
    f->snr_index = 0;
    std::fill(f->last_block_attack, f->last_block_attack + kMaxCplChannels, false);
    AnalyzeFrame(channels, attacks, plan, f.get());
    ASSERT_TRUE(AllocateFrame(budget, budget, true, f.get()));
    int total = 0;
    for (int b = 0; b < kBlocks; ++b) total += bits[b] = block_bits(b);
    EXPECT_LE(total, budget);
  };
  int plain[kBlocks], boosted[kBlocks];
  allocate(0, plain);
  for (int b = 0; b < kBlocks; ++b) EXPECT_EQ(f->snr_boost[b], 0);
  allocate(32, boosted);
  const int expected[kBlocks] = {0, 0, 32, 32, 0, 0};
  for (int b = 0; b < kBlocks; ++b) {
    EXPECT_EQ(f->snr_boost[b], expected[b]) << "block " << b;
    EXPECT_EQ(f->NewSnrOffsets(b), b == 0 || b == 2 || b == 4) << "block " << b;
    if (expected[b]) {
      // 6 dB finer: a fifth to a quarter more of the block's bits (24-25% here).
      EXPECT_GT(boosted[b], plain[b] * 6 / 5) << "block " << b;
    } else {
      EXPECT_LT(boosted[b], plain[b]) << "block " << b;
    }
  }
  EXPECT_EQ(f->BlockCoarseOffset(2), f->csnroffst + 2);

  std::fill(&attacks[0][0], &attacks[0][0] + kBlocks, BlockAttack());
  attacks[1][5] = kExposedAttack;
  AnalyzeFrame(channels, attacks, plan, f.get());
  EXPECT_EQ(f->snr_boost[4], 0);
  EXPECT_EQ(f->snr_boost[5], 32);
  attacks[1][5] = BlockAttack();
  AnalyzeFrame(channels, attacks, plan, f.get());
  EXPECT_EQ(f->snr_boost[0], 32);
  EXPECT_EQ(f->snr_boost[1], 0);

  // An exposed attack early in its block: its block alone takes the early boost on top.
  attacks[0][2] = kEarlyExposedAttack;
  AnalyzeFrame(channels, attacks, plan, f.get());
  ASSERT_GT(plan.early_attack_boost, 0);
  const int early_expected[kBlocks] = {0, 0, 32 + plan.early_attack_boost, 32, 0, 0};
  for (int b = 0; b < kBlocks; ++b) EXPECT_EQ(f->snr_boost[b], early_expected[b]) << "block " << b;
  ASSERT_TRUE(AllocateFrame(budget, budget, true, f.get()));
  EXPECT_EQ(f->BlockCoarseOffset(2), f->csnroffst + (32 + plan.early_attack_boost) / 16);

  // An exposed attack out of near silence: both its blocks take the silence boost on top.
  attacks[0][2] = kSilentAttack;
  AnalyzeFrame(channels, attacks, plan, f.get());
  ASSERT_GT(plan.silent_attack_boost, 0);
  const int silent = 32 + plan.silent_attack_boost;
  const int silent_expected[kBlocks] = {0, 0, silent, silent, 0, 0};
  for (int b = 0; b < kBlocks; ++b)
    EXPECT_EQ(f->snr_boost[b], silent_expected[b]) << "block " << b;

  // An attack heard against the content before it switches to short transforms but takes no
  // bits from the rest of the frame, wherever it lands.
  attacks[0][2] = kMaskedAttack;
  AnalyzeFrame(channels, attacks, plan, f.get());
  EXPECT_TRUE(f->ch[0].blksw[2]);
  EXPECT_TRUE(f->around_attack[2] && f->around_attack[3]);
  for (int b = 0; b < kBlocks; ++b) EXPECT_EQ(f->snr_boost[b], 0) << "block " << b;
}

// An onset the detector leaves on long transforms, rising steeply within its block's window,
// takes the boost of an exposed attack in that block.
TEST(AttackBlocks, LongBlockOnsetGetsTheBoost) {
  auto f = NewFrame(2);
  constexpr int kLength = kHistory + kFrameInput;
  std::vector<float> input(2 * kLength);
  uint32_t seed = 9;
  constexpr int kOnset = 2 * 256 + 256 + 64;  // a quarter into block 2's new samples
  for (int n = 0; n < kLength; ++n) {
    input[n] = (n < kOnset ? 0.005f : 0.3f) * Noise(&seed);
    input[kLength + n] = 0.1f * Noise(&seed);
  }
  const float* channels[2] = {&input[0], &input[kLength]};
  const BlockAttack no_attacks[kMaxChannels][kBlocks] = {};
  const CodingPlan plan = PlanForRate(192, 2, false);
  ASSERT_GT(plan.attack_boost, 0);
  AnalyzeFrame(channels, no_attacks, plan, f.get());
  for (int b = 0; b < kBlocks; ++b) {
    EXPECT_FALSE(f->ch[0].blksw[b]) << "block " << b;
    EXPECT_EQ(f->snr_boost[b], b == 2 ? plan.attack_boost : 0) << "block " << b;
  }
}

// E-AC-3 says the attack boost through the attack channel's masking curve: two delta steps
// lower in the attack's block and the next, a third in the block of an attack that lands early
// and in both blocks of one out of near silence.
TEST(AttackBlocks, Eac3LowersTheirChannelsMaskingCurve) {
  auto f = NewFrame(2);
  std::vector<float> input(2 * (kHistory + kFrameInput));
  uint32_t seed = 11;
  for (float& x : input) x = 0.3f * Noise(&seed);
  const float* channels[2] = {&input[0], &input[kHistory + kFrameInput]};
  const CodingPlan plan = PlanForRate(128, 2, false, true);
  ASSERT_TRUE(plan.boost_by_delta);
  auto steps = [&](int b, int c) {
    const MaskDelta& d = f->dba[b][c];
    EXPECT_TRUE(std::all_of(d.step, d.step + ac3::kBands,
                            [&](int8_t step) { return step == d.step[0]; }));
    return static_cast<int>(d.step[0]);
  };
  for (const BlockAttack attack : {kExposedAttack, kEarlyExposedAttack, kSilentAttack}) {
    BlockAttack attacks[kMaxChannels][kBlocks] = {};
    attacks[0][2] = attack;
    std::fill(f->last_block_attack, f->last_block_attack + kMaxCplChannels, false);
    std::fill(f->last_block_exposed, f->last_block_exposed + kMaxCplChannels, false);
    std::fill(f->last_block_silent, f->last_block_silent + kMaxCplChannels, false);
    AnalyzeFrame(channels, attacks, plan, f.get());
    // One step more in the attack's block when it lands early; in both when out of silence.
    const bool silent = attack.rise > 100;
    const int expected[kBlocks] = {0, 0, attack.quarter < 2 || silent ? -3 : -2,
                                   silent ? -3 : -2, 0, 0};
    for (int b = 0; b < kBlocks; ++b) {
      EXPECT_EQ(steps(b, 0), expected[b]) << "block " << b << ", quarter " << attack.quarter;
      EXPECT_EQ(steps(b, 1), 0) << "block " << b;
      EXPECT_EQ(f->snr_boost[b], 0) << "block " << b;
    }
  }
}

// A mix of more than two channels keeps its long transforms at an attack (see PlanForRate) and
// boosts the blocks that span it all the same, in either codec by lowering the masking curve of
// the channel that holds it.
TEST(AttackBlocks, MultichannelAttacksKeepLongTransforms) {
  EXPECT_TRUE(PlanForRate(192, 2, false).block_switching);
  auto f = NewFrame(7);
  constexpr int kLength = kHistory + kFrameInput;
  std::vector<float> input(5 * kLength);
  uint32_t seed = 13;
  for (float& x : input) x = 0.3f * Noise(&seed);
  const float* channels[5];
  for (int c = 0; c < 5; ++c) channels[c] = &input[c * kLength];
  BlockAttack attacks[kMaxChannels][kBlocks] = {};
  attacks[3][2] = kEarlyExposedAttack;
  for (const bool eac3 : {false, true}) {
    SCOPED_TRACE(eac3 ? "E-AC-3" : "AC-3");
    const CodingPlan plan = PlanForRate(eac3 ? 256 : 448, 7, false, eac3);
    ASSERT_FALSE(plan.block_switching);
    ASSERT_TRUE(plan.boost_by_delta);
    ASSERT_GT(plan.attack_boost, 0);
    std::fill(f->last_block_attack, f->last_block_attack + kMaxCplChannels, false);
    std::fill(f->last_block_exposed, f->last_block_exposed + kMaxCplChannels, false);
    AnalyzeFrame(channels, attacks, plan, f.get());
    for (int b = 0; b < kBlocks; ++b) {
      for (int c = 0; c < 5; ++c) EXPECT_FALSE(f->ch[c].blksw[b]) << "channel " << c;
      const bool spans = b == 2 || b == 3;
      EXPECT_EQ(f->channel_around_attack[3][b], spans) << "block " << b;
      EXPECT_FALSE(f->channel_around_attack[0][b]) << "block " << b;
      EXPECT_EQ(f->dba[b][3].step[0], spans ? -plan.attack_boost / 32 : 0) << "block " << b;
      EXPECT_FALSE(f->dba[b][0].Any()) << "block " << b;
      EXPECT_EQ(f->snr_boost[b], 0) << "block " << b;
    }
  }
}

}  // namespace
}  // namespace ddpi::enc
