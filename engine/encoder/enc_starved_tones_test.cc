#include "enc_starved_tones.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "enc_mdct.h"

namespace ddpi::enc {
namespace {

constexpr int kFrameSamples = 1536;

// Feeds `frames` frames of a signal given sample by sample, six long transforms each, over
// bins 13 to 181 (1.2 to 17 kHz); returns in how many of the last ten the channel was steady.
int SteadyFramesAtTheEnd(const std::function<double(size_t)>& signal, int frames) {
  SteadinessTracker tracker;
  std::vector<float> x(kFrameSamples * frames + 256);
  for (size_t n = 0; n < x.size(); ++n) x[n] = static_cast<float>(signal(n));
  int steady = 0;
  for (int frame = 0; frame < frames; ++frame) {
    std::vector<std::vector<float>> coef(6, std::vector<float>(256));
    const float* blocks[6];
    for (int b = 0; b < 6; ++b) {
      MdctLong(&x[frame * kFrameSamples + 256 * b], coef[b].data());
      blocks[b] = coef[b].data();
    }
    if (tracker.Update(blocks, 6, 13, 181) && frame >= frames - 10) ++steady;
  }
  return steady;
}

double PitchPipe(double f0, size_t n) {
  double v = 0;
  for (int h = 1; h * f0 < 19000; ++h) v += std::sin(2 * M_PI * f0 * h * n / 48000.0) / h;
  return 0.1 * v;
}

// A held harmonic tone turns steady within about a second and stays so; stationary noise,
// a tone that changes its pitch every frame (a melody, speech's voiced sounds) and silence
// never do.
TEST(StarvedTones, SteadinessTellsHeldTonesFromNoiseAndMelodies) {
  EXPECT_EQ(SteadyFramesAtTheEnd([](size_t n) { return PitchPipe(880, n); }, 40), 10);
  uint32_t seed = 7;
  EXPECT_EQ(SteadyFramesAtTheEnd(
                [&](size_t) {
                  seed = seed * 1664525u + 1013904223u;
                  return 0.2 * ((seed >> 8) / 16777216.0 - 0.5);
                },
                40),
            0);
  EXPECT_EQ(SteadyFramesAtTheEnd(
                [](size_t n) {
                  const int note = static_cast<int>(n / kFrameSamples);
                  return PitchPipe(440 * std::pow(2.0, (note % 7) / 12.0), n);
                },
                40),
            0);
  EXPECT_EQ(SteadyFramesAtTheEnd([](size_t) { return 0.0; }, 40), 0);
}

// Starved once the smoothed index has been under 216 for a few frames; held through indices
// up to 232 and a missing one; released above that.
TEST(StarvedTones, StarvationTurnsWithAMargin) {
  StarvationTracker t;
  EXPECT_FALSE(t.Update(0));
  EXPECT_FALSE(t.Update(250));
  int frames = 1;
  while (!t.Update(200)) ++frames;
  EXPECT_GE(frames, 3);
  EXPECT_LE(frames, 20);
  for (int i = 0; i < 100; ++i) EXPECT_TRUE(t.Update(230));
  EXPECT_TRUE(t.Update(0));
  frames = 0;
  while (t.Update(240)) ++frames;
  EXPECT_GE(frames, 1);
  EXPECT_FALSE(t.starved());
  // After a reset the first frame's index is all there is to go by.
  t.Reset();
  EXPECT_FALSE(t.starved());
  EXPECT_TRUE(t.Update(200));
}

}  // namespace
}  // namespace ddpi::enc
