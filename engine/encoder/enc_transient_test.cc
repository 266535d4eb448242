#include "enc_transient.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

namespace ddpi::enc {
namespace {

TEST(Transient, SteadyToneNeverSwitches) {
  TransientDetector t;
  t.Reset();
  float block[256];
  int switches = 0;
  for (int b = 0; b < 40; ++b) {
    for (int n = 0; n < 256; ++n)
      block[n] = 0.5f * std::sin(2 * M_PI * 1000.0 * (b * 256 + n) / 48000);
    if (b > 0) switches += t.Detect(block);
    else t.Detect(block);
  }
  EXPECT_EQ(switches, 0);
}

// A buzzy tone, all harmonics in phase: through the high-pass it is a pulse every 206 samples,
// quiet in between. It is periodic, not an attack.
TEST(Transient, PeriodicPulsesDoNotSwitch) {
  TransientDetector t;
  t.Reset();
  float block[256];
  int switches = 0;
  for (int b = 0; b < 40; ++b) {
    for (int n = 0; n < 256; ++n) {
      double v = 0;
      for (int h = 1; h < 64; ++h) v += std::sin(2 * M_PI * 233.0 * h * (b * 256 + n) / 48000) / h;
      block[n] = static_cast<float>(0.1 * v);
    }
    if (b > 0) switches += t.Detect(block);
    else t.Detect(block);
  }
  EXPECT_EQ(switches, 0);
}

TEST(Transient, AttackAfterQuietSwitchesOnlyItsBlock) {
  TransientDetector t;
  t.Reset();
  float quiet[256], attack[256];
  for (int n = 0; n < 256; ++n) quiet[n] = 0.001f * std::sin(0.3f * n);
  for (int n = 0; n < 256; ++n) attack[n] = n < 180 ? quiet[n] : 0.8f * ((n % 2) ? 1.0f : -1.0f);
  for (int b = 0; b < 4; ++b) {
    EXPECT_FALSE(t.Detect(quiet));
    EXPECT_EQ(t.rise(), 0.0f);
  }
  EXPECT_TRUE(t.Detect(attack));
  // Measured from the silence threshold, as nothing audible came before it.
  EXPECT_GT(t.rise(), 100.0f);
}

// Where in its block an attack lands: the quarter of the new samples holding the high band's
// peak.
TEST(Transient, PeakQuarterSaysWhereTheAttackLands) {
  for (int onset : {20, 100, 140, 250}) {
    TransientDetector t;
    t.Reset();
    float quiet[256], attack[256];
    for (int n = 0; n < 256; ++n) quiet[n] = 0.001f * std::sin(0.3f * n);
    for (int n = 0; n < 256; ++n) {
      const float click = 0.8f * ((n % 2) ? 1.0f : -1.0f) * std::exp(-(n - onset) / 8.0f);
      attack[n] = n < onset ? quiet[n] : click;
    }
    for (int b = 0; b < 4; ++b) t.Detect(quiet);
    EXPECT_TRUE(t.Detect(attack)) << "onset " << onset;
    EXPECT_EQ(t.peak_quarter(), onset / 64) << "onset " << onset;
  }
}

// A block of the highest frequency (all in the detector's high band) at amplitude `before`,
// stepping to `after` at sample `at`.
void HighBandStep(float before, float after, int at, float block[256]) {
  for (int n = 0; n < 256; ++n) block[n] = (n < at ? before : after) * ((n % 2) ? 1.0f : -1.0f);
}

// A clap whose first rise falls at the end of the block before: the rise, though well above
// the quiet before it, must not hide the clap: 8 times louder than the rise, 40 times louder
// than the quiet.
TEST(Transient, AttackRisingJustBeforeItsBlockSwitches) {
  TransientDetector t;
  t.Reset();
  float quiet[256], rise[256], clap[256];
  HighBandStep(0.001f, 0.001f, 0, quiet);
  HighBandStep(0.001f, 0.005f, 224, rise);
  HighBandStep(0.04f, 0.04f, 0, clap);
  for (int b = 0; b < 4; ++b) EXPECT_FALSE(t.Detect(quiet));
  EXPECT_FALSE(t.Detect(rise));
  EXPECT_TRUE(t.Detect(clap));
}

// A clap that follows a decaying one: 12 times over the quarters just before it, in the high
// band and the full band alike, but only 3 times over the tail that the 256 samples before it
// still hold. A rise that large in the full band is exposed, and switches from a single
// quarter.
TEST(Transient, ExposedClapOverATailSwitchesFromOneQuarter) {
  TransientDetector t;
  t.Reset();
  float tail[256], quiet[256], clap[256];
  HighBandStep(0.04f, 0.04f, 0, tail);
  HighBandStep(0.01f, 0.01f, 0, quiet);
  HighBandStep(0.01f, 0.12f, 192, clap);
  t.Detect(tail);  // the onset of the first clap
  for (int b = 0; b < 3; ++b) EXPECT_FALSE(t.Detect(tail));
  EXPECT_FALSE(t.Detect(quiet));
  EXPECT_TRUE(t.Detect(clap));
  EXPECT_GT(t.rise(), 10.0f);
  EXPECT_EQ(t.peak_quarter(), 3);
}

// A high-band burst under a louder low tone stays on long blocks; the same burst rising above
// the tone's peaks switches, rising only a few times above them.
TEST(Transient, HighBandBurstMustRiseAboveTheFullBand) {
  for (float burst : {0.1f, 0.8f}) {
    TransientDetector t;
    t.Reset();
    float block[256];
    bool switched = false;
    for (int b = 0; b < 5; ++b) {
      for (int n = 0; n < 256; ++n) {
        block[n] = 0.5f * std::sin(2 * M_PI * 200.0 * (b * 256 + n) / 48000);
        if (b == 4 && n >= 192) block[n] += burst * ((n % 2) ? 1.0f : -1.0f);
      }
      const bool detected = t.Detect(block);
      if (b > 0 && b < 4) EXPECT_FALSE(detected) << burst;  // block 0 is the onset
      else switched = detected;
    }
    EXPECT_EQ(switched, burst > 0.5f) << burst;
    if (switched) {
      EXPECT_GT(t.rise(), 2.0f);
      EXPECT_LT(t.rise(), 3.0f);
    }
  }
}

TEST(Transient, SilenceAndNoiseFloorAreNotAttacks) {
  TransientDetector t;
  t.Reset();
  float block[256] = {};
  EXPECT_FALSE(t.Detect(block));
  for (int n = 0; n < 256; ++n) block[n] = (n % 3 - 1) * 0.002f;  // below the silence threshold
  EXPECT_FALSE(t.Detect(block));
}

// What keeps a masked onset on long transforms: a spectrum of a few partials is tonal, a
// click's or noise's is not.
TEST(Transient, TonalBlockTellsPartialsFromClicksAndNoise) {
  float x[512];
  for (int n = 0; n < 512; ++n)
    x[n] = static_cast<float>(0.3 * std::sin(2 * M_PI * 2093.0 * n / 48000) +
                              0.1 * std::sin(2 * M_PI * 5777.0 * n / 48000) +
                              0.05 * std::sin(2 * M_PI * 11302.0 * n / 48000));
  EXPECT_TRUE(TonalBlock(x));
  // The same partials with a strike's click at the onset stay tonal.
  x[300] += 0.3f;
  EXPECT_TRUE(TonalBlock(x));

  float click[512] = {};
  click[300] = 0.8f;
  EXPECT_FALSE(TonalBlock(click));
  uint32_t seed = 5;
  float noise[512];
  for (float& v : noise) {
    seed = seed * 1664525u + 1013904223u;
    v = static_cast<float>(seed) / 4294967296.0f - 0.5f;
  }
  EXPECT_FALSE(TonalBlock(noise));
}

// An onset in the new half of a block's samples rises far above the old half; steady noise
// does not, nor does a rise that stays below the detector's silence.
TEST(Transient, WindowRiseMeasuresAnOnsetAgainstTheOldSamples) {
  uint32_t seed = 11;
  auto noise = [&seed] {
    seed = seed * 1664525u + 1013904223u;
    return static_cast<float>(seed) / 4294967296.0f - 0.5f;
  };
  float x[512];
  for (float& v : x) v = 0.2f * noise();
  EXPECT_LT(WindowRise(x), 4.0f);
  for (int n = 0; n < 512; ++n) x[n] = (n < 256 + 64 ? 0.02f : 0.4f) * noise();
  EXPECT_GT(WindowRise(x), 100.0f);
  for (int n = 0; n < 512; ++n) x[n] = n < 256 ? 0.0f : 0.004f * noise();
  EXPECT_LT(WindowRise(x), 1.0f);
  for (int n = 0; n < 512; ++n) x[n] = n < 256 ? 0.0f : 0.4f * noise();
  EXPECT_GT(WindowRise(x), 1000.0f);
}

// Any number of channels filtered side by side (up to eight at once, more in turns) gives each
// channel exactly what it gets alone, and carries each channel's state to the next call.
TEST(Transient, ChannelsFilteredTogetherMatchEachAlone) {
  constexpr int kChannels = 11, kLength = 512;
  std::vector<std::vector<float>> in(kChannels, std::vector<float>(kLength));
  uint32_t seed = 9;
  for (auto& plane : in)
    for (float& v : plane) {
      seed = seed * 1664525u + 1013904223u;
      v = static_cast<float>(seed) / 4294967296.0f - 0.5f;
    }
  for (int channels = 1; channels <= kChannels; ++channels) {
    std::vector<TransientDetector> together(channels), alone(channels);
    std::vector<TransientDetector*> detectors;
    std::vector<const float*> from;
    std::vector<std::vector<float>> out(channels, std::vector<float>(kLength));
    std::vector<float*> to;
    for (int c = 0; c < channels; ++c) {
      together[c].Reset();
      alone[c].Reset();
      detectors.push_back(&together[c]);
      from.push_back(in[c].data());
      to.push_back(out[c].data());
    }
    for (int half = 0; half < 2; ++half) {  // two calls of 256 samples
      std::vector<const float*> x(from);
      std::vector<float*> y(to);
      for (int c = 0; c < channels; ++c) x[c] += 256 * half, y[c] += 256 * half;
      TransientDetector::HighPassChannels(detectors.data(), x.data(), y.data(), channels, 256);
    }
    for (int c = 0; c < channels; ++c) {
      float single[kLength];
      for (int half = 0; half < 2; ++half) {
        TransientDetector* d = &alone[c];
        const float* x = in[c].data() + 256 * half;
        float* y = single + 256 * half;
        TransientDetector::HighPassChannels(&d, &x, &y, 1, 256);
      }
      for (int i = 0; i < kLength; ++i)
        ASSERT_EQ(out[c][i], single[i]) << channels << " channels, channel " << c << ", " << i;
    }
  }
}

}  // namespace
}  // namespace ddpi::enc
