#include "enc_fir_design.h"

#include <cmath>
#include <vector>

namespace ddpi::enc {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kSampleRate = 48000.0;

// Zeroth-order modified Bessel function of the first kind, by its power series.
double BesselI0(double x) {
  double sum = 1.0, term = 1.0;
  const double quarter_x2 = x * x / 4.0;
  for (int k = 1; k < 64 && term > sum * 1e-17; ++k) {
    term *= quarter_x2 / (static_cast<double>(k) * k);
    sum += term;
  }
  return sum;
}

}  // namespace

double KaiserWindow(int offset, int half_length, double beta) {
  const double r = static_cast<double>(offset) / half_length;
  return BesselI0(beta * std::sqrt(1.0 - r * r)) / BesselI0(beta);
}

void DesignWindowedSincLowpass(double cutoff_hz, int half_taps, double beta, float* taps) {
  const double x = 2.0 * cutoff_hz / kSampleRate;
  std::vector<double> ideal(half_taps + 1);
  double sum = 0;
  for (int m = 0; m <= half_taps; ++m) {
    const double sinc = m == 0 ? x : std::sin(kPi * x * m) / (kPi * m);
    ideal[m] = sinc * KaiserWindow(m, half_taps + 1, beta);
    sum += m == 0 ? ideal[m] : 2 * ideal[m];
  }
  for (int m = 0; m <= half_taps; ++m) taps[m] = static_cast<float>(ideal[m] / sum);
}

}  // namespace ddpi::enc
