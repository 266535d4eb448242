#include "enc_tonality.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "enc_mdct.h"

namespace ddpi::enc {
namespace {

// Six blocks of long-transform coefficients of a signal given sample by sample.
template <typename Signal>
std::vector<std::vector<float>> SixBlocks(Signal signal) {
  std::vector<float> x(256 * 7);
  for (size_t n = 0; n < x.size(); ++n) x[n] = static_cast<float>(signal(n));
  std::vector<std::vector<float>> coef(6, std::vector<float>(256));
  for (int b = 0; b < 6; ++b) MdctLong(&x[256 * b], coef[b].data());
  return coef;
}

// A harmonic series with partials every five bins (a 440 Hz reed's upper band) reads as
// peaked, noise as flat, whatever the spectrum's slope; silence is flat too, and nothing in
// it is taken for a partial.
TEST(Tonality, LocalFlatnessTellsStablePartialsFromNoise) {
  auto flatness = [](const std::vector<std::vector<float>>& coef) {
    const float* blocks[6];
    for (int b = 0; b < 6; ++b) blocks[b] = coef[b].data();
    return LocalFlatness(blocks, 6, 100, 204);
  };
  const double partials = flatness(SixBlocks([](size_t n) {
    double v = 0;
    for (int h = 1; h * 440 < 20000; ++h) v += std::sin(2 * M_PI * 440 * h * n / 48000.0) / h;
    return 0.1 * v;
  }));
  uint32_t seed = 3;
  double last = 0;
  const double noise = flatness(SixBlocks([&](size_t) {
    seed = seed * 1664525u + 1013904223u;
    last = 0.5 * last + ((seed >> 8) / 16777216.0 - 0.5);  // falling towards the top
    return 0.1 * last;
  }));
  EXPECT_LT(partials, 0.3);
  EXPECT_GT(noise, 0.5);
  EXPECT_NEAR(flatness(SixBlocks([](size_t) { return 0.0; })), 1.0, 1e-9);
}

// The tracker turns tonal only once the band has been peaked for a few frames, stays so
// through a single noisy frame and between its two levels, and turns back once the band has
// been noisy for a while.
TEST(Tonality, TrackerTurnsOnlyOnWhatLasts) {
  TonalityTracker t;
  EXPECT_FALSE(t.Update(0.1));
  int frames = 1;
  while (!t.Update(0.1)) ++frames;
  EXPECT_GE(frames, 3);
  EXPECT_LE(frames, 20);
  EXPECT_TRUE(t.Update(0.9));
  for (int i = 0; i < 50; ++i) EXPECT_TRUE(t.Update(0.35));
  // Tonal from 0.3 down, clearly so only well below that.
  EXPECT_FALSE(t.clearly_tonal());
  for (int i = 0; i < 50; ++i) t.Update(0.1);
  EXPECT_TRUE(t.clearly_tonal());
  frames = 0;
  while (t.Update(0.8)) ++frames;
  EXPECT_GE(frames, 1);
  for (int i = 0; i < 50; ++i) EXPECT_FALSE(t.Update(0.35));
  t.Reset();
  EXPECT_FALSE(t.tonal());
}

}  // namespace
}  // namespace ddpi::enc
