#include "enc_rematrix.h"

#include <algorithm>

namespace ddpi::enc {
namespace {

// Band edges without coupling (A/52 Table 7.25); the last band runs to the channels' end.
constexpr int kBandEdges[kRematrixBands + 1] = {13, 25, 37, 61, 253};

}  // namespace

void RematrixBlock(float* left, float* right, int end, uint8_t flags[kRematrixBands]) {
  for (int band = 0; band < kRematrixBands; ++band) {
    const int lo = kBandEdges[band];
    const int hi = std::min(kBandEdges[band + 1], end);
    double el = 0, er = 0, es = 0, ed = 0;
    for (int i = lo; i < hi; ++i) {
      const double s = 0.5 * (left[i] + right[i]);
      const double d = 0.5 * (left[i] - right[i]);
      el += left[i] * left[i];
      er += right[i] * right[i];
      es += s * s;
      ed += d * d;
    }
    flags[band] = hi > lo && std::min(es, ed) < std::min(el, er);
    if (!flags[band]) continue;
    for (int i = lo; i < hi; ++i) {
      const float s = 0.5f * (left[i] + right[i]);
      const float d = 0.5f * (left[i] - right[i]);
      left[i] = s;
      right[i] = d;
    }
  }
}

int RematrixBandOf(int bin) {
  for (int band = kRematrixBands - 1; band >= 0; --band)
    if (bin >= kBandEdges[band]) return band;
  return -1;
}

}  // namespace ddpi::enc
