#include "encoder/delay_compensation.h"

#include <gtest/gtest.h>

namespace dolbydigital {
namespace {

TEST(DelayCompensation, PrimingIsTheNextWholeFrameAboveTheDelay) {
  const DelayCompensation none = CompensateEngineDelay(0);
  EXPECT_EQ(none.primingSamples, 1536u);
  EXPECT_EQ(none.framesToSkip, -1);
  EXPECT_EQ(none.leadingSilence, 1536u);

  const DelayCompensation short_delay = CompensateEngineDelay(256);
  EXPECT_EQ(short_delay.primingSamples, 1536u);
  EXPECT_EQ(short_delay.framesToSkip, -1);
  EXPECT_EQ(short_delay.leadingSilence, 1280u);

  const DelayCompensation longer = CompensateEngineDelay(1600);
  EXPECT_EQ(longer.primingSamples, 3072u);
  EXPECT_EQ(longer.framesToSkip, -2);
  EXPECT_EQ(longer.leadingSilence, 1472u);
}

TEST(DelayCompensation, AWholeFrameOfDelayStillGetsAnotherFrame) {
  const DelayCompensation c = CompensateEngineDelay(1536);
  EXPECT_EQ(c.primingSamples, 3072u);
  EXPECT_EQ(c.framesToSkip, -2);
  EXPECT_EQ(c.leadingSilence, 1536u);
}

}  // namespace
}  // namespace dolbydigital
