#include "enc_delta_allocation.h"

#include <gtest/gtest.h>

#include "bit_reader.h"

namespace ddpi::enc {
namespace {

// Applies segments as a decoder does, from band 0.
MaskDelta FromSegments(const DeltaSegments& s) {
  MaskDelta d;
  int band = 0;
  for (int i = 0; i < s.count; ++i) {
    band += s.offset[i];
    const int step = s.code[i] >= 4 ? s.code[i] - 3 : s.code[i] - 4;
    for (int k = 0; k < s.length[i]; ++k) d.step[band++] = static_cast<int8_t>(step);
  }
  return d;
}

TEST(DeltaAllocation, SegmentsRebuildTheDelta) {
  DeltaSegments s;
  const MaskDelta uniform = UniformMaskDelta(-1);
  ASSERT_TRUE(MakeDeltaSegments(uniform, &s));
  EXPECT_EQ(s.count, 4);  // 15 + 15 + 15 + 5 bands
  EXPECT_EQ(FromSegments(s), uniform);

  MaskDelta sparse;  // two bands far apart: the gap needs an empty segment
  sparse.step[2] = 3;
  sparse.step[45] = -4;
  ASSERT_TRUE(MakeDeltaSegments(sparse, &s));
  EXPECT_EQ(FromSegments(s), sparse);

  MaskDelta busy;  // nine separate runs: more than the syntax's eight segments
  for (int band = 0; band < 18; band += 2) busy.step[band] = 1;
  EXPECT_FALSE(MakeDeltaSegments(busy, &s));
  MaskDelta too_far;
  too_far.step[0] = 5;
  EXPECT_FALSE(MakeDeltaSegments(too_far, &s));
}

TEST(DeltaAllocation, MaskMovesBySixDecibelSteps) {
  int16_t mask[ac3::kBands] = {};
  MaskDelta d;
  d.step[10] = -2;
  d.step[11] = 4;
  d.step[30] = 1;
  ApplyMaskDelta(d, 11, ac3::kBands, mask);
  EXPECT_EQ(mask[10], 0);  // below the range
  EXPECT_EQ(mask[11], 512);
  EXPECT_EQ(mask[30], 128);
}

TEST(DeltaAllocation, FollowingTakesTheLeadersStepsWhereLifted) {
  MaskDelta own, leader = UniformMaskDelta(-2), lift;
  own.step[5] = 1;   // outside the lift: kept
  own.step[20] = 3;  // inside it: replaced
  for (int band = 13; band < 30; ++band) lift.step[band] = 2;
  lift.step[29] = 4;  // -2 + 4 = 2
  leader.step[28] = 4;  // 4 + 2, held at 4
  const MaskDelta d = FollowingMaskDelta(own, leader, lift);
  EXPECT_EQ(d.step[5], 1);
  EXPECT_EQ(d.step[12], 0);
  EXPECT_EQ(d.step[13], 0);
  EXPECT_EQ(d.step[20], 0);
  EXPECT_EQ(d.step[28], 4);
  EXPECT_EQ(d.step[29], 2);
  EXPECT_EQ(d.step[30], 0);
}

// deltbaie and each channel's deltbae, as a decoder reads them (no coupling).
struct BlockModes {
  bool present = false;
  int mode[5] = {};
};

BlockModes ReadModes(BitReader* r, int nfch) {
  BlockModes m;
  m.present = r->ReadFlag();
  if (!m.present) return m;
  for (int c = 0; c < nfch; ++c) m.mode[c] = r->ReadInt(2);
  for (int c = 0; c < nfch; ++c) {
    if (m.mode[c] != 1) continue;
    const int segments = r->ReadInt(3) + 1;
    r->Skip(12 * segments);
  }
  return m;
}

TEST(DeltaAllocation, BlocksSayOnlyWhatChanged) {
  constexpr int kChannels = 2;
  const MaskDelta none, boost = UniformMaskDelta(-1);
  // Block by block: channel 0 boosted in blocks 1 and 2, nothing else.
  const MaskDelta blocks[4][kChannels] = {{none, none}, {boost, none}, {boost, none}, {none, none}};
  MaskDelta state[kChannels];
  uint8_t buffer[64] = {};
  BitWriter bw(buffer, sizeof buffer);
  for (int b = 0; b < 4; ++b)
    ASSERT_TRUE(WriteDeltaAllocation(&bw, blocks[b], state, kChannels, false, b == 0));
  EXPECT_EQ(state[0], none);
  BitReader r(buffer, sizeof buffer);
  EXPECT_FALSE(ReadModes(&r, kChannels).present);  // block 0: nothing, nothing before
  const BlockModes b1 = ReadModes(&r, kChannels);
  EXPECT_TRUE(b1.present);
  EXPECT_EQ(b1.mode[0], 1);  // new
  EXPECT_EQ(b1.mode[1], 2);  // none, never a reuse of nothing
  EXPECT_FALSE(ReadModes(&r, kChannels).present);  // block 2: unchanged
  const BlockModes b3 = ReadModes(&r, kChannels);
  EXPECT_EQ(b3.mode[0], 2);  // none from here on
  EXPECT_EQ(b3.mode[1], 2);

  // A channel whose delta stays while another's changes reuses its own.
  const MaskDelta two[2][kChannels] = {{boost, boost}, {boost, none}};
  MaskDelta pair_state[kChannels];
  uint8_t pair[32] = {};
  BitWriter bw3(pair, sizeof pair);
  for (int b = 0; b < 2; ++b)
    ASSERT_TRUE(WriteDeltaAllocation(&bw3, two[b], pair_state, kChannels, false, false));
  BitReader r3(pair, sizeof pair);
  EXPECT_EQ(ReadModes(&r3, kChannels).mode[1], 1);
  const BlockModes second = ReadModes(&r3, kChannels);
  EXPECT_EQ(second.mode[0], 0);
  EXPECT_EQ(second.mode[1], 2);

  // A frame that starts after one ending with a delta says so outright in its block 0.
  state[1] = boost;
  uint8_t next[16] = {};
  BitWriter bw2(next, sizeof next);
  ASSERT_TRUE(WriteDeltaAllocation(&bw2, blocks[0], state, kChannels, false, true));
  BitReader r2(next, sizeof next);
  const BlockModes first = ReadModes(&r2, kChannels);
  EXPECT_TRUE(first.present);
  EXPECT_EQ(first.mode[0], 2);
  EXPECT_EQ(first.mode[1], 2);
}

}  // namespace
}  // namespace ddpi::enc
