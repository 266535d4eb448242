#include "enc_content_edge.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace ddpi::enc {
namespace {

constexpr int kBins = ContentEdgeTracker::kBins;

// One channel of six blocks: a flat spectrum of `level` up to bin `end`, and `above` beyond.
struct Channel {
  std::vector<float> coef;
  const float* blocks[6];
  Channel(int end, float level, float above = 0.0f) : coef(kBins) {
    for (int k = 0; k < kBins; ++k) coef[k] = k < end ? level : above;
    for (const float*& b : blocks) b = coef.data();
  }
};

float Db(float level, double db) { return level * static_cast<float>(std::pow(10.0, db / 20)); }

// A frame of one channel, its own floor.
int Feed(ContentEdgeTracker* t, const Channel& c) {
  return t->Update(c.blocks, 6, ContentFloor(c.blocks, 6));
}

TEST(ContentEdge, EndsAfterTheLastBinWithinRangeOfTheProgrammesStrongest) {
  ContentEdgeTracker t;
  EXPECT_EQ(Feed(&t, Channel(100, 0.5f)), 100);
  // 65 dB down still counts as content, 75 dB down does not.
  ContentEdgeTracker near, far;
  EXPECT_EQ(Feed(&near, Channel(100, 0.5f, Db(0.5f, -65))), kBins);
  EXPECT_EQ(Feed(&far, Channel(100, 0.5f, Db(0.5f, -75))), 100);
  // Measured against the whole programme: a channel 75 dB below the loudest one holds nothing,
  // one 65 dB below holds its whole band.
  const Channel loud(200, 0.5f), quiet(150, Db(0.5f, -75)), soft(150, Db(0.5f, -65));
  const float* all[12];
  for (int b = 0; b < 6; ++b) all[b] = loud.blocks[b], all[6 + b] = quiet.blocks[b];
  ContentEdgeTracker quiet_edge, soft_edge;
  EXPECT_EQ(quiet_edge.Update(quiet.blocks, 6, ContentFloor(all, 12)), 0);
  for (int b = 0; b < 6; ++b) all[6 + b] = soft.blocks[b];
  EXPECT_EQ(soft_edge.Update(soft.blocks, 6, ContentFloor(all, 12)), 150);
}

TEST(ContentEdge, WidensAtOnceAndNarrowsOnlyAfterTheHold) {
  ContentEdgeTracker t;
  EXPECT_EQ(Feed(&t, Channel(100, 0.5f)), 100);
  EXPECT_EQ(Feed(&t, Channel(180, 0.5f)), 180);
  for (int i = 1; i < ContentEdgeTracker::kHoldFrames; ++i)
    EXPECT_EQ(Feed(&t, Channel(90, 0.5f)), 180);
  EXPECT_EQ(Feed(&t, Channel(90, 0.5f)), 90);
}

TEST(ContentEdge, ASilentProgrammeLeavesTheEdgeWhereItWas) {
  ContentEdgeTracker t;
  EXPECT_EQ(Feed(&t, Channel(0, 0.0f)), kBins);  // nothing heard yet: no limit
  EXPECT_EQ(Feed(&t, Channel(120, 0.5f)), 120);
  for (int i = 0; i < 3 * ContentEdgeTracker::kHoldFrames; ++i)
    EXPECT_EQ(Feed(&t, Channel(0, 0.0f)), 120);
}

}  // namespace
}  // namespace ddpi::enc
