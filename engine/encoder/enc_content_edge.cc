#include "enc_content_edge.h"

#include <algorithm>
#include <cmath>

namespace ddpi::enc {

int ContentEdgeTracker::Update(const float* const* coef, int channels, int blocks) {
  float power[kBins] = {};
  for (int i = 0; i < channels * blocks; ++i)
    for (int k = 0; k < kBins; ++k) power[k] = std::max(power[k], coef[i][k] * coef[i][k]);
  const float strongest = *std::max_element(power, power + kBins);
  if (strongest > 0) {
    const float floor = strongest * static_cast<float>(std::pow(10.0, -kRangeDb / 10));
    int edge = kBins;
    while (power[edge - 1] <= floor) --edge;
    edges_[next_] = edge;
    next_ = (next_ + 1) % kHoldFrames;
    seen_ = std::min(seen_ + 1, kHoldFrames);
  }
  return seen_ ? *std::max_element(edges_, edges_ + seen_) : kBins;
}

}  // namespace ddpi::enc
