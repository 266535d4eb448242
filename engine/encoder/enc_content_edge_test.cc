#include "enc_content_edge.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace ddpi::enc {
namespace {

constexpr int kBins = ContentEdgeTracker::kBins;

// One channel of six blocks: a flat spectrum of `level` up to bin `end`, and `above` beyond.
struct Frame {
  std::vector<float> coef;
  const float* blocks[6];
  Frame(int end, float level, float above = 0.0f) : coef(kBins) {
    for (int k = 0; k < kBins; ++k) coef[k] = k < end ? level : above;
    for (const float*& b : blocks) b = coef.data();
  }
};

int Feed(ContentEdgeTracker* t, const Frame& f) { return t->Update(f.blocks, 1, 6); }

TEST(ContentEdge, EndsAfterTheLastBinWithinRangeOfTheStrongest) {
  ContentEdgeTracker t;
  EXPECT_EQ(Feed(&t, Frame(100, 0.5f)), 100);
  // 65 dB down still counts as content, 75 dB down does not.
  ContentEdgeTracker near, far;
  EXPECT_EQ(Feed(&near, Frame(100, 0.5f, 0.5f * std::pow(10.0f, -65.0f / 20))), kBins);
  EXPECT_EQ(Feed(&far, Frame(100, 0.5f, 0.5f * std::pow(10.0f, -75.0f / 20))), 100);
}

TEST(ContentEdge, WidensAtOnceAndNarrowsOnlyAfterTheHold) {
  ContentEdgeTracker t;
  EXPECT_EQ(Feed(&t, Frame(100, 0.5f)), 100);
  EXPECT_EQ(Feed(&t, Frame(180, 0.5f)), 180);
  for (int i = 1; i < ContentEdgeTracker::kHoldFrames; ++i) EXPECT_EQ(Feed(&t, Frame(90, 0.5f)), 180);
  EXPECT_EQ(Feed(&t, Frame(90, 0.5f)), 90);
}

TEST(ContentEdge, SilenceLeavesTheEdgeWhereItWas) {
  ContentEdgeTracker t;
  EXPECT_EQ(Feed(&t, Frame(0, 0.0f)), kBins);  // nothing heard yet: no limit
  EXPECT_EQ(Feed(&t, Frame(120, 0.5f)), 120);
  for (int i = 0; i < 3 * ContentEdgeTracker::kHoldFrames; ++i) EXPECT_EQ(Feed(&t, Frame(0, 0.0f)), 120);
}

}  // namespace
}  // namespace ddpi::enc
