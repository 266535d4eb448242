#include "enc_band_limit.h"

#include "enc_fir_design.h"

namespace ddpi::enc {
namespace {

// Kaiser window shape: stopband below -70 dB.
constexpr double kKaiserBeta = 8.0;

}  // namespace

void BandLimiter::Design(double top_hz) {
  active_ = top_hz > 0 && top_hz < kCeilingHz;
  if (active_) DesignWindowedSincLowpass(top_hz - kMarginHz, kHalfTaps, kKaiserBeta, taps_);
}

void BandLimiter::Apply(const float* __restrict centre, float* __restrict out, int n) const {
  // Four taps per pass over the output: the loop over samples vectorizes.
  static_assert(kHalfTaps % 4 == 0, "taps are consumed four at a time");
  for (int i = 0; i < n; ++i) out[i] = taps_[0] * centre[i];
  for (int m = 1; m <= kHalfTaps; m += 4) {
    const float t1 = taps_[m], t2 = taps_[m + 1], t3 = taps_[m + 2], t4 = taps_[m + 3];
    const float* __restrict past = centre - m;
    const float* __restrict future = centre + m;
    for (int i = 0; i < n; ++i) {
      out[i] += t1 * (past[i] + future[i]) + t2 * (past[i - 1] + future[i + 1]) +
                t3 * (past[i - 2] + future[i + 2]) + t4 * (past[i - 3] + future[i + 3]);
    }
  }
}

}  // namespace ddpi::enc
