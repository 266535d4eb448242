#include "enc_rematrix.h"

#include <algorithm>
#include <cmath>

#include "ac3_tables.h"

namespace ddpi::enc {
namespace {

// Band edges without coupling (A/52 Table 7.25); the last band runs to the channels' end.
constexpr int kBandEdges[kRematrixBands + 1] = {13, 25, 37, 61, 253};

// Groups of bins over which the relief is measured and given, on bit allocation band edges:
// the rematrixing bands, the last split four ways, as a pair's balance moves with frequency.
// Seven groups take at most seven segments of delta bit allocation.
constexpr int kReliefGroupEdges[] = {13, 25, 37, 61, 97, 133, 181, 253};
constexpr int kReliefGroups = sizeof kReliefGroupEdges / sizeof kReliefGroupEdges[0] - 1;
constexpr int kMaxReliefSteps = 4;

// How much more compact than left and right the sum and difference must be (see
// RematrixFrame): two channels of equal level need to correlate by more than 0.55.
constexpr double kCompactionMargin = 0.7;

// Energies of left, right, their half sum and their half difference over a band.
struct PairEnergies {
  double left = 0, right = 0, sum = 0, difference = 0;
  PairEnergies& operator+=(const PairEnergies& o) {
    left += o.left, right += o.right, sum += o.sum, difference += o.difference;
    return *this;
  }
  bool SumAndDifferencePay() const {
    return 4 * sum * difference < kCompactionMargin * left * right;
  }
};

PairEnergies BandPairEnergies(const float* left, const float* right, int lo, int hi) {
  PairEnergies e;
  for (int i = lo; i < hi; ++i) {
    const double s = 0.5 * (left[i] + right[i]), d = 0.5 * (left[i] - right[i]);
    e.left += static_cast<double>(left[i]) * left[i];
    e.right += static_cast<double>(right[i]) * right[i];
    e.sum += s * s;
    e.difference += d * d;
  }
  return e;
}

}  // namespace

void RematrixMaskRelief(const int16_t* const* first, const int16_t* const* second,
                        const uint8_t (*flags)[kRematrixBands], int blocks, int end,
                        MaskDelta relief[2]) {
  relief[0] = relief[1] = MaskDelta();
  for (int g = 0; g < kReliefGroups; ++g) {
    const int lo = kReliefGroupEdges[g], hi = std::min(kReliefGroupEdges[g + 1], end);
    if (hi <= lo) break;
    const int rematrix_band = RematrixBandOf(lo);
    bool throughout = true;
    for (int b = 0; b < blocks; ++b) throughout &= flags[b][rematrix_band] != 0;
    if (!throughout) continue;
    // Mean height of the first channel's curve over the second's.
    const int first_band = ac3::kBinToBand[lo], end_band = ac3::kBinToBand[hi - 1] + 1;
    double above = 0;
    for (int b = 0; b < blocks; ++b)
      for (int band = first_band; band < end_band; ++band)
        above += first[b][band] - second[b][band];
    above /= blocks * (end_band - first_band);
    const int weaker = above > 0 ? 1 : 0;
    const int steps =
        std::min(kMaxReliefSteps, static_cast<int>(std::fabs(above) / kMaskStepUnits));
    if (steps == 0) continue;
    for (int band = first_band; band < end_band; ++band)
      relief[weaker].step[band] = static_cast<int8_t>(steps);
  }
}

void RematrixFrame(float* const* left, float* const* right, int blocks, int end,
                   const bool* alone, uint8_t (*flags)[kRematrixBands]) {
  for (int band = 0; band < kRematrixBands; ++band) {
    const int lo = kBandEdges[band];
    const int hi = std::min(kBandEdges[band + 1], end);
    PairEnergies frame;
    for (int b = 0; b < blocks; ++b)
      if (!alone[b]) frame += BandPairEnergies(left[b], right[b], lo, hi);
    for (int b = 0; b < blocks; ++b) {
      const bool pays = alone[b]
                            ? BandPairEnergies(left[b], right[b], lo, hi).SumAndDifferencePay()
                            : frame.SumAndDifferencePay();
      flags[b][band] = hi > lo && pays;
      if (!flags[b][band]) continue;
      for (int i = lo; i < hi; ++i) {
        const float s = 0.5f * (left[b][i] + right[b][i]);
        const float d = 0.5f * (left[b][i] - right[b][i]);
        left[b][i] = s;
        right[b][i] = d;
      }
    }
  }
}

int RematrixBandOf(int bin) {
  for (int band = kRematrixBands - 1; band >= 0; --band)
    if (bin >= kBandEdges[band]) return band;
  return -1;
}

}  // namespace ddpi::enc
