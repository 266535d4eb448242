#include "enc_transient.h"

#include <algorithm>
#include <cmath>

namespace ddpi::enc {
namespace {

// Butterworth high-pass, fc = 8 kHz at 48 kHz (bilinear transform).
constexpr float kB0 = 0.46515308f, kB1 = -0.93030615f, kB2 = 0.46515308f;
constexpr float kA1 = -0.62020410f, kA2 = 0.24040821f;

// Peak ratio thresholds per level (256, 128, 64 samples) and the silence threshold.
constexpr float kThreshold[3] = {0.1f, 0.075f, 0.05f};
constexpr float kSilence = 100.0f / 32768.0f;

}  // namespace

void TransientDetector::Reset() {
  s1_ = s2_ = 0;
  std::fill(last_peak_, last_peak_ + kLevels, 0.0f);
}

float TransientDetector::HighPass(float x) {
  const float y = kB0 * x + s1_;
  s1_ = kB1 * x - kA1 * y + s2_;
  s2_ = kB2 * x - kA2 * y;
  return y;
}

bool TransientDetector::Detect(const float* block) {
  float filtered[256];
  for (int n = 0; n < 256; ++n) filtered[n] = HighPass(block[n]);
  if (!std::isfinite(s1_) || !std::isfinite(s2_) || std::fabs(s1_) < 1e-30f) s1_ = s2_ = 0;

  bool transient = false;
  for (int level = 0; level < kLevels; ++level) {
    const int segments = 1 << level;
    const int length = 256 >> level;
    float previous = last_peak_[level];
    for (int s = 0; s < segments; ++s) {
      float peak = 0;
      for (int n = 0; n < length; ++n) peak = std::max(peak, std::fabs(filtered[s * length + n]));
      if (peak > kSilence && peak * kThreshold[level] > previous) transient = true;
      previous = peak;
    }
    last_peak_[level] = previous;
  }
  return transient;
}

}  // namespace ddpi::enc
