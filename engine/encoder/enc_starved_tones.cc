#include "enc_starved_tones.h"

#include <algorithm>
#include <cmath>

namespace ddpi::enc {
namespace {

constexpr double kSmoothing = 0.1;

// Steady below 0.25 and no longer above 0.3: under what stationary noise can read, above the
// 0.17-0.2 of a held reed or pitch pipe, and clear of a distorted guitar's 0.33, which loses
// 0.44 (basic) as mono at 64 kbps when its band is narrowed.
constexpr double kSteadyBelow = 0.25, kUnsteadyAbove = 0.3;
// Groups more than 50 dB under the frame's strongest in both frames are left out: their
// power is the transform's leakage, not the signal's. The floor keeps a group that appears
// or vanishes finite.
constexpr double kGroupFloor = 1e-5, kRatioFloor = 1e-6;
// A frame with nothing to compare (silence) counts as a change this large.
constexpr double kChangeWithoutSignal = 3.0;

// Starved below 216 (noise 4.5 dB above the masking curve). Narrowing a steady channel's band
// itself lowers its noise by about 2 dB (10 to 12 steps of the index), so the state turns back
// only above 232 (1.5 dB above the curve): with the release at 224, a pitch pipe at AC-3 2.0
// 128k changed its band five times in 10 s, at 232 once.
constexpr int kStarvedBelow = 216, kNoLongerStarvedAbove = 232;

// A state that turns on below `on_below` and off only above `off_above`.
bool WithMargin(bool state, double value, double on_below, double off_above) {
  return state ? value <= off_above : value < on_below;
}

}  // namespace

bool SteadinessTracker::Update(const float* const* coef, int blocks, int begin, int end) {
  const int groups = std::clamp((end - begin) / kGroupBins, 0, kMaxGroups);
  const int bins = groups * kGroupBins;
  // Bin by bin over the blocks first, so that the loop runs over contiguous bins.
  float bin_power[kMaxGroups * kGroupBins] = {};
  for (int b = 0; b < blocks; ++b) {
    const float* x = coef[b] + begin;
    for (int k = 0; k < bins; ++k) bin_power[k] += x[k] * x[k];
  }
  float power[kMaxGroups] = {};
  double strongest = 0;
  for (int g = 0; g < groups; ++g) {
    for (int k = g * kGroupBins; k < (g + 1) * kGroupBins; ++k) power[g] += bin_power[k];
    strongest = std::max(strongest, double{power[g]});
  }
  // A first frame, or a band that changed its width, has nothing to compare with.
  if (groups > 0 && groups == previous_groups_) {
    // The sum of |log ratio| is the logarithm of the product of each ratio taken at or above
    // one, which needs a logarithm only when the product grows large. Group powers lie between
    // a float's smallest and about 100, so no ratio reaches 1e60 and 1e150 leaves room for it.
    double change = 0, product = 1;
    int counted = 0;
    const double floor = kRatioFloor * strongest;
    for (int g = 0; g < groups && strongest > 0; ++g) {
      if (power[g] < kGroupFloor * strongest && previous_[g] < kGroupFloor * strongest) continue;
      const double ratio = (power[g] + floor) / (previous_[g] + floor);
      product *= ratio >= 1 ? ratio : 1 / ratio;
      if (product > 1e150) {
        change += std::log(product);
        product = 1;
      }
      ++counted;
    }
    change += std::log(product);
    const double mean = counted ? change / counted : kChangeWithoutSignal;
    smoothed_ = smoothed_ < 0 ? mean : smoothed_ + kSmoothing * (mean - smoothed_);
    steady_ = WithMargin(steady_, smoothed_, kSteadyBelow, kUnsteadyAbove);
  }
  std::copy(power, power + groups, previous_);
  previous_groups_ = groups;
  return steady_;
}

bool StarvationTracker::Update(int snr_index) {
  if (snr_index <= 0) return starved_;
  smoothed_ = smoothed_ == 0 ? snr_index : smoothed_ + kSmoothing * (snr_index - smoothed_);
  starved_ = WithMargin(starved_, smoothed_, kStarvedBelow, kNoLongerStarvedAbove);
  return starved_;
}

}  // namespace ddpi::enc
