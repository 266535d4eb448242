#include "enc_mdct.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace ddpi::enc {
namespace {

void RandomBlock(unsigned seed, float* x) {
  std::mt19937 rng(seed);
  std::uniform_real_distribution<float> d(-1.0f, 1.0f);
  for (int n = 0; n < 512; ++n) x[n] = d(rng);
}

TEST(Mdct, FastTransformsMatchDirectFormulas) {
  for (bool short_blocks : {false, true}) {
    for (unsigned seed = 1; seed <= 3; ++seed) {
      float x[512], fast[256];
      double ref[256];
      RandomBlock(seed, x);
      if (short_blocks) MdctShort(x, fast);
      else MdctLong(x, fast);
      MdctReference(x, short_blocks, ref);
      for (int k = 0; k < 256; ++k)
        ASSERT_NEAR(fast[k], ref[k], 2e-5) << "short " << short_blocks << " k " << k;
    }
  }
}

TEST(Mdct, WindowIsTheStandardsKbdWindow) {
  const float* w = KbdWindow();
  // A/52 Table 7.33 lists the window truncated to 1/32768 units.
  const int index[5] = {0, 1, 15, 100, 255};
  const int table[5] = {4, 7, 145, 14427, 32767};
  for (int i = 0; i < 5; ++i) EXPECT_NEAR(w[index[i]] * 32768, table[i] + 0.5, 0.5) << index[i];
  // Princen-Bradley condition: w[n]^2 + w[n + 256]^2 = 1, and symmetry.
  for (int n = 0; n < 256; ++n) {
    EXPECT_NEAR(w[n] * w[n] + w[n + 256] * w[n + 256], 1.0, 1e-6);
    EXPECT_FLOAT_EQ(w[n], w[511 - n]);
  }
}

TEST(Mdct, SineConcentratesInItsBin) {
  // A sine at the centre of bin 40 of a long transform puts most energy near bin 40.
  float x[512], c[256];
  for (int n = 0; n < 512; ++n) x[n] = 0.5f * std::sin(2 * M_PI * (40.5 / 512.0) * n);
  MdctLong(x, c);
  double near = 0, total = 0;
  for (int k = 0; k < 256; ++k) {
    total += c[k] * c[k];
    if (std::abs(k - 40) <= 2) near += c[k] * c[k];
  }
  EXPECT_GT(near / total, 0.99);
}

}  // namespace
}  // namespace ddpi::enc
