#include "metrics.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <utility>

namespace ddtest {
namespace {

constexpr double kPi = 3.14159265358979323846;
using Complex = std::complex<double>;

size_t NextPowerOfTwo(size_t n) {
  size_t p = 1;
  while (p < n) p <<= 1;
  return p;
}

double Bark(double hz) {
  return 13.0 * std::atan(0.00076 * hz) + 3.5 * std::atan((hz / 7500.0) * (hz / 7500.0));
}

double PowerDb(double power) {
  return power > 0 ? 10.0 * std::log10(power) : -std::numeric_limits<double>::infinity();
}

}  // namespace

void Fft(std::vector<Complex>* data, bool inverse) {
  std::vector<Complex>& a = *data;
  const size_t n = a.size();
  for (size_t i = 1, j = 0; i < n; ++i) {
    size_t bit = n >> 1;
    for (; j & bit; bit >>= 1) j ^= bit;
    j ^= bit;
    if (i < j) std::swap(a[i], a[j]);
  }
  for (size_t length = 2; length <= n; length <<= 1) {
    const double angle = 2 * kPi / length * (inverse ? 1 : -1);
    const Complex step(std::cos(angle), std::sin(angle));
    for (size_t start = 0; start < n; start += length) {
      Complex w(1, 0);
      for (size_t k = 0; k < length / 2; ++k) {
        const Complex u = a[start + k];
        const Complex v = a[start + k + length / 2] * w;
        a[start + k] = u + v;
        a[start + k + length / 2] = u - v;
        w *= step;
      }
    }
  }
}

double SnrDb(const std::vector<float>& ref, const std::vector<float>& test, size_t ref_begin,
             size_t test_begin, size_t count) {
  if (ref_begin < ref.size()) count = std::min(count, ref.size() - ref_begin);
  else count = 0;
  if (test_begin < test.size()) count = std::min(count, test.size() - test_begin);
  else count = 0;
  double signal = 0, noise = 0;
  for (size_t i = 0; i < count; ++i) {
    const double r = ref[ref_begin + i];
    const double e = test[test_begin + i] - r;
    signal += r * r;
    noise += e * e;
  }
  if (signal == 0) return -std::numeric_limits<double>::infinity();
  if (noise == 0) return std::numeric_limits<double>::infinity();
  return 10.0 * std::log10(signal / noise);
}

int BestLag(const std::vector<float>& ref, const std::vector<float>& test, int max_lag,
            size_t window) {
  const size_t n = std::min(ref.size(), window);
  const size_t m = std::min(test.size(), n + static_cast<size_t>(max_lag));
  const size_t size = NextPowerOfTwo(n + m + static_cast<size_t>(max_lag));
  std::vector<Complex> a(size), b(size);
  for (size_t i = 0; i < n; ++i) a[i] = ref[i];
  for (size_t i = 0; i < m; ++i) b[i] = test[i];
  Fft(&a, false);
  Fft(&b, false);
  for (size_t k = 0; k < size; ++k) a[k] = std::conj(a[k]) * b[k];
  Fft(&a, true);  // a[L] = sum ref[i] test[i + L], negative L wrapped to the top
  int best = 0;
  double best_value = -std::numeric_limits<double>::infinity();
  for (int lag = -max_lag; lag <= max_lag; ++lag) {
    const double value = a[lag >= 0 ? lag : size + lag].real();
    if (value > best_value) {
      best_value = value;
      best = lag;
    }
  }
  return best;
}

double NormalizedCorrelation(const std::vector<float>& a, const std::vector<float>& b, int lag) {
  double ab = 0, aa = 0, bb = 0;
  for (size_t i = 0; i < a.size(); ++i) {
    const long j = static_cast<long>(i) + lag;
    if (j < 0) continue;
    if (static_cast<size_t>(j) >= b.size()) break;
    ab += static_cast<double>(a[i]) * b[j];
    aa += static_cast<double>(a[i]) * a[i];
    bb += static_cast<double>(b[j]) * b[j];
  }
  return aa > 0 && bb > 0 ? ab / std::sqrt(aa * bb) : 0.0;
}

namespace {

// The spectrum of x zero-padded to a power of two at least twice its length.
std::vector<Complex> PaddedSpectrum(const std::vector<float>& x) {
  std::vector<Complex> spectrum(NextPowerOfTwo(std::max<size_t>(2, 2 * x.size())));
  std::copy(x.begin(), x.end(), spectrum.begin());
  Fft(&spectrum, false);
  return spectrum;
}

// Index range [first, last) of the bins of an n-point spectrum within [lo_hz, hi_hz).
std::pair<size_t, size_t> BinRange(size_t n, double lo_hz, double hi_hz, int rate) {
  auto bin = [&](double hz) {
    return std::min(n / 2, static_cast<size_t>(std::ceil(std::max(0.0, hz) * n / rate)));
  };
  return {bin(lo_hz), bin(hi_hz)};
}

}  // namespace

std::vector<float> LowPass(const std::vector<float>& x, double hz, int rate) {
  std::vector<Complex> spectrum = PaddedSpectrum(x);
  const size_t n = spectrum.size();
  const size_t cut = std::max<size_t>(1, BinRange(n, 0, hz, rate).second);
  for (size_t k = cut; k <= n - cut; ++k) spectrum[k] = 0;  // both halves of the spectrum
  Fft(&spectrum, true);
  std::vector<float> y(x.size());
  for (size_t i = 0; i < y.size(); ++i) y[i] = static_cast<float>(spectrum[i].real() / n);
  return y;
}

double BandEnergyDb(const std::vector<float>& x, double lo_hz, double hi_hz, int rate) {
  const std::vector<Complex> spectrum = PaddedSpectrum(x);
  const auto [first, last] = BinRange(spectrum.size(), lo_hz, hi_hz, rate);
  double energy = 0;
  for (size_t k = first; k < last; ++k) energy += std::norm(spectrum[k]);
  return PowerDb(energy);
}

double BandEnergyRatioDb(const std::vector<float>& ref, const std::vector<float>& test,
                         double lo_hz, double hi_hz, int rate) {
  const size_t length = std::min(ref.size(), test.size());
  return BandEnergyDb({test.begin(), test.begin() + length}, lo_hz, hi_hz, rate) -
         BandEnergyDb({ref.begin(), ref.begin() + length}, lo_hz, hi_hz, rate);
}

double RmsDb(const std::vector<float>& x) {
  double sum = 0;
  for (float v : x) sum += static_cast<double>(v) * v;
  return x.empty() ? -std::numeric_limits<double>::infinity() : PowerDb(sum / x.size());
}

double PeakDb(const std::vector<float>& x) {
  double peak = 0;
  for (float v : x) peak = std::max(peak, std::fabs(static_cast<double>(v)));
  return 2.0 * PowerDb(peak);
}

double NoiseToMaskDb(const std::vector<float>& ref, const std::vector<float>& test, int rate) {
  constexpr size_t kSize = 2048;
  constexpr size_t kHop = kSize / 2;
  constexpr double kMaskOffsetDb = 12.0;
  constexpr double kAbsoluteThresholdDb = -100.0;
  constexpr double kSilenceGateDb = -70.0;
  constexpr double kTopHz = 20000.0;

  // Bins grouped into one-Bark-wide bands.
  const size_t top_bin = std::min(kSize / 2, static_cast<size_t>(kTopHz * kSize / rate));
  std::vector<int> band_of(top_bin + 1);
  int bands = 0;
  for (size_t k = 1; k <= top_bin; ++k) {
    band_of[k] = static_cast<int>(Bark(static_cast<double>(k) * rate / kSize));
    bands = std::max(bands, band_of[k] + 1);
  }
  // Window scaled so that a full-scale sine reads about 0 dB in its band.
  std::vector<double> window(kSize);
  double window_sum = 0;
  for (size_t i = 0; i < kSize; ++i) {
    window[i] = 0.5 - 0.5 * std::cos(2 * kPi * i / kSize);
    window_sum += window[i];
  }
  const double scale = 4.0 / (window_sum * window_sum);
  const double floor = std::pow(10.0, kAbsoluteThresholdDb / 10);
  const double offset = std::pow(10.0, -kMaskOffsetDb / 10);

  std::vector<double> spread(2 * bands + 1);  // indexed by target - masker + bands
  for (int distance = -bands; distance <= bands; ++distance) {
    const double spread_db = distance >= 0 ? -10.0 * distance : 25.0 * distance;
    spread[distance + bands] = std::pow(10.0, spread_db / 10);
  }

  const size_t length = std::min(ref.size(), test.size());
  double nmr_db_sum = 0;
  int frames = 0;
  std::vector<Complex> r(kSize), e(kSize);
  std::vector<double> ref_band(bands), err_band(bands);
  for (size_t start = 0; start + kSize <= length; start += kHop) {
    double frame_power = 0;
    for (size_t i = 0; i < kSize; ++i) {
      const double x = ref[start + i];
      frame_power += x * x;
      r[i] = x * window[i];
      e[i] = (test[start + i] - x) * window[i];
    }
    if (PowerDb(2.0 * frame_power / kSize) < kSilenceGateDb) continue;
    Fft(&r, false);
    Fft(&e, false);
    std::fill(ref_band.begin(), ref_band.end(), 0.0);
    std::fill(err_band.begin(), err_band.end(), 0.0);
    for (size_t k = 1; k <= top_bin; ++k) {
      ref_band[band_of[k]] += std::norm(r[k]) * scale;
      err_band[band_of[k]] += std::norm(e[k]) * scale;
    }
    double ratio_sum = 0;
    for (int target = 0; target < bands; ++target) {
      double mask = 0;
      for (int masker = 0; masker < bands; ++masker) {
        mask += ref_band[masker] * spread[target - masker + bands];
      }
      mask = std::max(mask * offset, floor);
      ratio_sum += err_band[target] / mask;
    }
    // An error-free frame counts as -100 dB rather than minus infinity.
    nmr_db_sum += PowerDb(std::max(ratio_sum / bands, 1e-10));
    ++frames;
  }
  return frames > 0 ? nmr_db_sum / frames : -std::numeric_limits<double>::infinity();
}

}  // namespace ddtest
