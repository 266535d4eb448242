#include "enc_content_edge.h"

#include <algorithm>
#include <cmath>

namespace ddpi::enc {
namespace {

// kRangeDb as a power ratio.
const float kRangePower = static_cast<float>(std::pow(10.0, -ContentEdgeTracker::kRangeDb / 10));

}  // namespace

float ContentFloor(const float* const* coef, int count) {
  // Eight running maxima of the magnitude, which the compiler keeps in one vector register.
  constexpr int kLanes = 8;
  float lanes[kLanes] = {};
  for (int i = 0; i < count; ++i)
    for (int k = 0; k < ContentEdgeTracker::kBins; k += kLanes)
      for (int l = 0; l < kLanes; ++l) lanes[l] = std::max(lanes[l], std::fabs(coef[i][k + l]));
  const float strongest = *std::max_element(lanes, lanes + kLanes);
  return strongest * strongest * kRangePower;
}

int ContentEdgeTracker::Update(const float* const* coef, int blocks, float floor) {
  if (floor > 0) {
    int edge = 0;
    for (int b = 0; b < blocks; ++b)
      for (int k = kBins; k > edge; --k)
        if (coef[b][k - 1] * coef[b][k - 1] > floor) {
          edge = k;
          break;
        }
    edges_[next_] = edge;
    next_ = (next_ + 1) % kHoldFrames;
    seen_ = std::min(seen_ + 1, kHoldFrames);
  }
  return seen_ ? *std::max_element(edges_, edges_ + seen_) : kBins;
}

}  // namespace ddpi::enc
