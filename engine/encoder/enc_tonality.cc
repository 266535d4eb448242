#include "enc_tonality.h"

#include <cmath>

namespace ddpi::enc {

double LocalFlatness(const float* const* coef, int blocks, int begin, int end) {
  constexpr int kRun = 16;
  constexpr double kFloor = 1e-14;  // keeps silence finite: equal powers, flatness 1
  double power[256] = {};
  for (int b = 0; b < blocks; ++b)
    for (int k = begin; k < end; ++k) power[k] += static_cast<double>(coef[b][k]) * coef[b][k];
  // One logarithm per run, of the product of its powers: each lies within [1e-14, 24] (six
  // blocks of coefficients under 2 in magnitude), so a product of 16 stays far from the
  // double's limits.
  double log_ratio = 0;
  int runs = 0;
  for (int first = begin; first + kRun <= end; first += kRun) {
    double sum = 0, product = 1;
    for (int k = first; k < first + kRun; ++k) {
      sum += power[k] + kFloor;
      product *= power[k] + kFloor;
    }
    log_ratio += std::log(product) / kRun - std::log(sum / kRun);
    ++runs;
  }
  return runs ? std::exp(log_ratio / runs) : 1.0;
}

namespace {

// Measured on the quality benchmark's items over the extended range of E-AC-3 at its low rates
// (about 8 to 19 kHz): pitch pipe, reed and glockenspiel settle below 0.2 and harpsichord near
// 0.3; rock, metal, drums, applause, speech and orchestral music stay above 0.5; a distorted
// guitar and electronic music sit between, at about 0.4.
constexpr double kSmoothing = 0.1;
constexpr double kTonalBelow = 0.3, kNoisyAbove = 0.4;
constexpr double kClearlyTonalBelow = 0.2, kNoLongerClearAbove = 0.3;

// A state that turns on below `on_below` and off only above `off_above`.
bool WithMargin(bool state, double value, double on_below, double off_above) {
  return state ? value <= off_above : value < on_below;
}

}  // namespace

bool TonalityTracker::Update(double local_flatness) {
  smoothed_ += kSmoothing * (local_flatness - smoothed_);
  tonal_ = WithMargin(tonal_, smoothed_, kTonalBelow, kNoisyAbove);
  clearly_tonal_ = WithMargin(clearly_tonal_, smoothed_, kClearlyTonalBelow, kNoLongerClearAbove);
  return tonal_;
}

}  // namespace ddpi::enc
