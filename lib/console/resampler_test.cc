#include "console/resampler.h"

#include <gtest/gtest.h>

#include <cmath>

#include "metrics.h"
#include "signals.h"

namespace dolbydigital {
namespace {

TEST(Resampler, ToneKeepsItsPitchLengthAndTiming) {
  const std::size_t frames = 44100;
  const std::vector<float> tone = ddtest::Sine(frames, 1000.0, 0.5, 0.0, 44100);
  Resampler resampler(44100, 48000, 2);
  ASSERT_TRUE(resampler.IsValid()) << resampler.GetError();
  std::vector<float> out;
  Resampler::Planes piece;
  for (std::size_t at = 0; at < frames; at += 1536) {
    const float* planes[2] = {tone.data() + at, tone.data() + at};
    ASSERT_TRUE(resampler.Process(planes, std::min<std::size_t>(1536, frames - at), piece));
    ASSERT_EQ(piece.size(), 2u);
    EXPECT_EQ(piece[0], piece[1]);
    out.insert(out.end(), piece[0].begin(), piece[0].end());
  }
  ASSERT_TRUE(resampler.Flush(piece));
  out.insert(out.end(), piece[0].begin(), piece[0].end());

  EXPECT_NEAR(static_cast<double>(out.size()), 48000.0, 2.0);
  const std::vector<float> expected = ddtest::Sine(48000, 1000.0, 0.5, 0.0, 48000);
  EXPECT_EQ(ddtest::BestLag(expected, out, 100), 0);
  EXPECT_GT(ddtest::SnrDb(expected, out, 2000, 2000, 44000), 60.0);
}

TEST(Resampler, ImpossibleRatesAreReportedNotCrashed) {
  Resampler resampler(0, 48000, 1);
  EXPECT_FALSE(resampler.IsValid());
  Resampler::Planes out;
  const float* planes[1] = {nullptr};
  EXPECT_FALSE(resampler.Process(planes, 10, out));
  EXPECT_FALSE(resampler.Flush(out));
}

}  // namespace
}  // namespace dolbydigital
