#include "enc_preprocess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace ddpi::enc {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kFrame = 1536;
constexpr int kDelay = Preprocessor::kDelaySamples;

// Eleven planes of the same length, processed through a Preprocessor in calls of given sizes.
struct Slots {
  explicit Slots(size_t length) : planes(Preprocessor::kSlots, std::vector<float>(length)) {}

  void Run(Preprocessor* p, const bool active[Preprocessor::kSlots], int call_size) {
    const int length = static_cast<int>(planes[0].size());
    for (int offset = 0; offset < length; offset += call_size) {
      float* pointers[Preprocessor::kSlots];
      for (int s = 0; s < Preprocessor::kSlots; ++s) pointers[s] = planes[s].data() + offset;
      p->Process(pointers, active, std::min(call_size, length - offset));
    }
  }

  std::vector<std::vector<float>> planes;
};

std::vector<float> Sine(double hz, double amplitude, size_t length, double phase = 0) {
  std::vector<float> x(length);
  for (size_t i = 0; i < length; ++i) {
    x[i] = static_cast<float>(amplitude * std::sin(2 * kPi * hz * i / 48000.0 + phase));
  }
  return x;
}

// Amplitude and phase of the hz component over [begin, end), by projection on sin and cos.
struct Tone {
  double amplitude;
  double phase;
};
Tone Measure(const std::vector<float>& x, double hz, size_t begin, size_t end) {
  double s = 0, c = 0;
  for (size_t i = begin; i < end; ++i) {
    const double w = 2 * kPi * hz * i / 48000.0;
    s += x[i] * std::sin(w);
    c += x[i] * std::cos(w);
  }
  const double n = static_cast<double>(end - begin);
  return {2 * std::hypot(s, c) / n, std::atan2(c, s)};
}

double Db(double ratio) { return 20 * std::log10(ratio); }

// Frequencies whose whole number of periods fit the measuring window, so that projection is exact.
constexpr size_t kWindow = 48000;

bool kAllActive[Preprocessor::kSlots] = {true, true, true, true, true, true,
                                          true, true, true, true, true};

PreprocessSettings AllOff() { return {false, false, false, false}; }

TEST(Preprocessor, EverythingOffIsAnExactDelayOfEverySlotWhateverTheCallSizes) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<float> noise(-1.0f, 1.0f);
  Slots input(4 * kFrame + 321);
  for (auto& plane : input.planes) {
    for (float& v : plane) v = noise(rng);
  }
  for (int call_size : {kFrame, 1, 100, 4000}) {
    Preprocessor p;
    p.Reset(AllOff());
    Slots out = input;
    out.Run(&p, kAllActive, call_size);
    for (int s = 0; s < Preprocessor::kSlots; ++s) {
      for (int i = 0; i < kDelay; ++i) ASSERT_EQ(out.planes[s][i], 0.0f);
      for (size_t i = kDelay; i < input.planes[s].size(); ++i) {
        ASSERT_EQ(out.planes[s][i], input.planes[s][i - kDelay])
            << "slot " << s << " sample " << i << " call size " << call_size;
      }
    }
  }
}

TEST(Preprocessor, InactiveSlotsAreLeftUntouched) {
  Preprocessor p;
  p.Reset({true, true, true, true});
  Slots data(kFrame);
  for (auto& plane : data.planes) plane = Sine(1000, 0.5, kFrame);
  bool active[Preprocessor::kSlots] = {true, true, false, false, false, true};
  data.Run(&p, active, kFrame);
  const std::vector<float> original = Sine(1000, 0.5, kFrame);
  EXPECT_EQ(data.planes[2], original);
  EXPECT_EQ(data.planes[4], original);
  EXPECT_EQ(data.planes[10], original);
  EXPECT_NE(data.planes[0], original);
}

TEST(Preprocessor, DcHighpassRemovesOffsetButLeavesTheAudioBand) {
  Preprocessor p;
  PreprocessSettings settings = AllOff();
  settings.dc_highpass = true;
  p.Reset(settings);
  const size_t length = 6 * kWindow;
  Slots data(length);
  const std::vector<float> low = Sine(20, 0.25, length);
  const std::vector<float> mid = Sine(1000, 0.25, length);
  for (int s : {0, 2, 5, 3}) {
    for (size_t i = 0; i < length; ++i) data.planes[s][i] = 0.3f + low[i] + mid[i];
  }
  data.Run(&p, kAllActive, kFrame);

  // The filter settles within a few seconds; measure over the last second.
  const size_t begin = length - kWindow;
  for (int s : {0, 2, 5}) {
    const std::vector<float>& y = data.planes[s];
    double mean = 0;
    for (size_t i = begin; i < length; ++i) mean += y[i];
    mean /= kWindow;
    EXPECT_LT(std::fabs(mean), 1e-3) << "slot " << s;
    EXPECT_NEAR(Db(Measure(y, 20, begin, length).amplitude / 0.25), 0.0, 0.05) << "slot " << s;
    EXPECT_NEAR(Db(Measure(y, 1000, begin, length).amplitude / 0.25), 0.0, 0.001) << "slot " << s;
  }
  // LFE is not a full-bandwidth channel: the DC high-pass leaves it alone.
  double lfe_mean = 0;
  for (size_t i = begin; i < length; ++i) lfe_mean += data.planes[3][i];
  EXPECT_NEAR(lfe_mean / kWindow, 0.3, 1e-3);
}

// The DC removal must not shift the phase of low notes: a waveform at 40 Hz and up comes out
// as the delayed input to within -55 dB (a high-pass at a few Hz misses this by 30 dB).
TEST(Preprocessor, DcRemovalKeepsTheWaveformOfLowNotes) {
  Preprocessor p;
  PreprocessSettings settings = AllOff();
  settings.dc_highpass = true;
  p.Reset(settings);
  const size_t length = 3 * kWindow;
  Slots data(length);
  std::vector<float> input(length);
  const std::vector<float> a = Sine(40, 0.3, length), b = Sine(110, 0.3, length, 1.0);
  for (size_t i = 0; i < length; ++i) input[i] = a[i] + b[i];
  data.planes[0] = input;
  data.Run(&p, kAllActive, kFrame);
  double signal = 0, error = 0;
  for (size_t i = 2 * kWindow; i < length; ++i) {  // after the onset has died away
    const double x = input[i - kDelay];
    signal += x * x;
    error += (data.planes[0][i] - x) * (data.planes[0][i] - x);
  }
  EXPECT_LT(10 * std::log10(error / signal), -55.0);
}

// The interleaved filter runners against one section at a time: the same arithmetic, so
// the same bits, for every group width.
TEST(Biquad, InterleavedRunsEqualSingleRuns) {
  std::mt19937 rng(5);
  std::uniform_real_distribution<float> noise(-1.0f, 1.0f);
  auto design = [&](Biquad* q) {
    q->b0 = 0.2 + 0.01 * (rng() % 10), q->b1 = 0.3, q->b2 = 0.1;
    q->a1 = -0.9 + 0.01 * (rng() % 10), q->a2 = 0.2;
    q->s1 = noise(rng), q->s2 = noise(rng);
  };
  for (int count = 1; count <= 8; ++count) {
    std::vector<Biquad> a(count), b(count);
    std::vector<std::vector<float>> x(count, std::vector<float>(300)), y;
    for (int k = 0; k < count; ++k) {
      design(&a[k]);
      b[k] = a[k];
      for (float& v : x[k]) v = noise(rng);
    }
    y = x;
    std::vector<Biquad*> sections(count);
    std::vector<float*> planes(count);
    for (int k = 0; k < count; ++k) sections[k] = &a[k], planes[k] = x[k].data();
    RunResidualInterleaved(sections.data(), planes.data(), count, 300);
    for (int k = 0; k < count; ++k) {
      b[k].RunResidual(y[k].data(), 300);
      b[k].Sanitize();
      ASSERT_EQ(x[k], y[k]) << "count " << count << " plane " << k;
      ASSERT_EQ(a[k].s1, b[k].s1);
      ASSERT_EQ(a[k].s2, b[k].s2);
    }
  }
}

// The fast convolutions (runs of kFftMinimum samples and more) against the direct FIRs (shorter
// runs): the same surround shift and LFE low-pass to float rounding, across calls of any
// length, odd ones included (the LFE transform splits a run into two halves).
TEST(Preprocessor, FastConvolutionsMatchTheDirectFirs) {
  PreprocessSettings settings = AllOff();
  settings.phase_shift_90 = true;
  settings.surround_attenuation_3db = true;
  settings.lfe_lowpass = true;
  const size_t length = 5 * kFrame + 77;
  Slots input(length);
  std::mt19937 rng(17);
  std::uniform_real_distribution<float> noise(-0.5f, 0.5f);
  for (auto& plane : input.planes)
    for (float& v : plane) v = noise(rng);
  Slots direct = input;
  Preprocessor reference;
  reference.Reset(settings);
  direct.Run(&reference, kAllActive, Preprocessor::kFftMinimum - 1);  // direct FIRs only
  for (int call_size : {kFrame, 1001}) {
    Slots fast = input;
    Preprocessor p;
    p.Reset(settings);
    fast.Run(&p, kAllActive, call_size);
    for (int s : {3, 4, 5}) {
      double worst = 0;
      for (size_t i = 0; i < length; ++i)
        worst = std::max(worst, std::fabs(double{fast.planes[s][i]} - direct.planes[s][i]));
      EXPECT_LT(worst, 2e-6) << "slot " << s << ", calls of " << call_size;
    }
    EXPECT_EQ(fast.planes[0], direct.planes[0]);
  }
}

// The LFE low-pass is linear-phase around the common delay: the LFE keeps its phase against
// the other slots at every frequency it passes, so it stays aligned with them.
TEST(Preprocessor, LfeLowpassIs120HzAndKeepsTheCommonDelay) {
  struct Point {
    double hz;
    double low_db;
    double high_db;
  };
  const Point points[] = {{20, -0.02, 0.02}, {40, -0.05, 0.05}, {60, -0.2, 0.05},
                          {120, -3.6, -2.8}, {240, -200, -55},  {480, -200, -75}};
  for (int call_size : {kFrame, 100}) {
    for (const Point& point : points) {
      Preprocessor p;
      PreprocessSettings settings = AllOff();
      settings.lfe_lowpass = true;
      p.Reset(settings);
      const size_t length = 2 * kWindow;
      Slots data(length);
      data.planes[3] = Sine(point.hz, 0.5, length);
      data.planes[0] = data.planes[3];
      data.Run(&p, kAllActive, call_size);
      const Tone lfe = Measure(data.planes[3], point.hz, kWindow, length);
      const double lfe_db = Db(lfe.amplitude / 0.5);
      EXPECT_GE(lfe_db, point.low_db) << point.hz << " Hz, calls of " << call_size;
      EXPECT_LE(lfe_db, point.high_db) << point.hz << " Hz, calls of " << call_size;
      // The low-pass belongs to the LFE slot only, and leaves the LFE in phase with it.
      const Tone front = Measure(data.planes[0], point.hz, kWindow, length);
      EXPECT_NEAR(Db(front.amplitude / 0.5), 0.0, 1e-3);
      if (point.hz <= 120) {
        EXPECT_NEAR(std::remainder(lfe.phase - front.phase, 2 * kPi), 0.0, 1e-3) << point.hz;
      }
    }
  }
}

TEST(Preprocessor, SurroundsLagTheFrontsBy90DegreesAcrossTheBand) {
  for (double hz : {150.0, 200.0, 1000.0, 5000.0, 15000.0, 20000.0}) {
    Preprocessor p;
    PreprocessSettings settings = AllOff();
    settings.phase_shift_90 = true;
    p.Reset(settings);
    const size_t length = 2 * kWindow;
    Slots data(length);
    for (int s : {0, 1, 2, 4, 5}) data.planes[s] = Sine(hz, 0.5, length);
    data.Run(&p, kAllActive, kFrame);
    const Tone front = Measure(data.planes[0], hz, kWindow, length);
    for (int s : {4, 5}) {
      const Tone surround = Measure(data.planes[s], hz, kWindow, length);
      double lag = front.phase - surround.phase;
      lag = std::remainder(lag, 2 * kPi);
      EXPECT_NEAR(lag, kPi / 2, 1e-3) << hz << " Hz, slot " << s;
      EXPECT_NEAR(Db(surround.amplitude / front.amplitude), 0.0, 0.02) << hz << " Hz";
    }
    // The fronts are still exact delayed copies.
    EXPECT_EQ(data.planes[1][kDelay + 1000], static_cast<float>(Sine(hz, 0.5, 1001)[1000]));
  }
}

TEST(Preprocessor, SurroundAttenuationScalesOnlyLsAndRsBy3Db) {
  Preprocessor p;
  PreprocessSettings settings = AllOff();
  settings.surround_attenuation_3db = true;
  p.Reset(settings);
  Slots data(2 * kFrame);
  for (auto& plane : data.planes) plane = Sine(440, 0.9, 2 * kFrame);
  const std::vector<float> original = data.planes[0];
  data.Run(&p, kAllActive, kFrame);
  for (size_t i = kDelay; i < original.size(); ++i) {
    const float delayed = original[i - kDelay];
    ASSERT_EQ(data.planes[0][i], delayed);
    ASSERT_EQ(data.planes[6][i], delayed);
    ASSERT_EQ(data.planes[4][i], delayed * Preprocessor::kSurroundAttenuation);
    ASSERT_EQ(data.planes[5][i], delayed * Preprocessor::kSurroundAttenuation);
  }
  EXPECT_NEAR(Db(Preprocessor::kSurroundAttenuation), -3.0, 1e-6);
}

// What Lookahead tells after a call is what the next call outputs, attenuation and DC
// removal included; slots on a filter other than the delay have no lookahead.
TEST(Preprocessor, LookaheadIsTheNextOutput) {
  Preprocessor p;
  PreprocessSettings settings;  // DC removal and LFE low-pass on
  settings.surround_attenuation_3db = true;
  p.Reset(settings);
  std::mt19937 rng(7);
  std::uniform_real_distribution<float> noise(-0.5f, 0.5f);
  Slots first(kFrame), second(kFrame);
  for (Slots* data : {&first, &second})
    for (auto& plane : data->planes) for (float& x : plane) x = noise(rng);
  first.Run(&p, kAllActive, kFrame);
  std::vector<std::vector<float>> told(Preprocessor::kSlots, std::vector<float>(kDelay));
  for (int slot : {0, 2, 4, 6}) ASSERT_TRUE(p.Lookahead(slot, told[slot].data(), kDelay));
  float unused[1];
  EXPECT_FALSE(p.Lookahead(0, unused, kDelay + 1));
  EXPECT_FALSE(p.Lookahead(Preprocessor::kLfeSlot, unused, 1));
  second.Run(&p, kAllActive, kFrame);
  for (int slot : {0, 2, 4, 6})
    for (int i = 0; i < kDelay; ++i) ASSERT_EQ(told[slot][i], second.planes[slot][i]) << slot;

  settings.phase_shift_90 = true;
  p.Reset(settings);
  EXPECT_FALSE(p.Lookahead(4, unused, 1));
  EXPECT_TRUE(p.Lookahead(0, unused, 1));
}

TEST(Preprocessor, RecoversFromNonFiniteInputAndKeepsSilenceExactlyZero) {
  Preprocessor p;
  p.Reset({true, true, true, true});
  Slots bad(kFrame);
  for (auto& plane : bad.planes) {
    plane = Sine(300, 0.5, kFrame);
    plane[700] = std::nanf("");
    plane[701] = INFINITY;
  }
  bad.Run(&p, kAllActive, kFrame);
  Slots good(kFrame);
  for (auto& plane : good.planes) plane = Sine(300, 0.5, kFrame);
  good.Run(&p, kAllActive, kFrame);
  // Once the bad samples have left the history, output is finite again; a long stretch of
  // silence after the tone then decays to exact zeros instead of lingering in subnormals.
  for (int frame = 0; frame < 400; ++frame) {
    Slots silence(kFrame);
    silence.Run(&p, kAllActive, kFrame);
    for (int s = 0; s < Preprocessor::kSlots; ++s) {
      for (float v : silence.planes[s]) {
        ASSERT_TRUE(std::isfinite(v)) << "frame " << frame << " slot " << s;
        if (frame == 399) {
          ASSERT_EQ(v, 0.0f) << "slot " << s;
        }
      }
    }
  }
}

}  // namespace
}  // namespace ddpi::enc
