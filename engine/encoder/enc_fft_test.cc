#include "enc_fft.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <random>
#include <vector>

namespace ddpi::enc {
namespace {

using Complex = std::complex<double>;

int BitReversed(int i, int size) {
  int r = 0;
  for (int bit = 1, top = size >> 1; bit < size; bit <<= 1, top >>= 1)
    if (i & bit) r |= top;
  return r;
}

// sum_n x[n] exp(sign 2 pi i n k / N), directly.
std::vector<Complex> Dft(const std::vector<Complex>& x, int sign) {
  const int n = static_cast<int>(x.size());
  std::vector<Complex> out(n);
  for (int k = 0; k < n; ++k)
    for (int m = 0; m < n; ++m)
      out[k] += x[m] * std::polar(1.0, sign * 2 * M_PI * static_cast<double>(m * k % n) / n);
  return out;
}

// Sizes with an odd and an even number of radix-2 stages, up to the largest.
const int kSizes[] = {8, 16, 64, 128, 256, 2048, 4096};

std::vector<Complex> RandomSignal(int size, unsigned seed) {
  std::mt19937 rng(seed);
  std::uniform_real_distribution<float> d(-1.0f, 1.0f);
  std::vector<Complex> x(size);
  for (Complex& v : x) v = Complex(d(rng), d(rng));
  return x;
}

// The largest error against the direct transform, relative to the largest output.
double WorstError(const std::vector<Complex>& want, const std::vector<float>& re,
                  const std::vector<float>& im, bool bit_reversed) {
  const int size = static_cast<int>(want.size());
  double peak = 0, worst = 0;
  for (int k = 0; k < size; ++k) {
    const int at = bit_reversed ? BitReversed(k, size) : k;
    peak = std::max(peak, std::abs(want[k]));
    worst = std::max(worst, std::abs(want[k] - Complex(re[at], im[at])));
  }
  return worst / peak;
}

TEST(Fft, EveryDirectionMatchesTheDirectTransform) {
  for (int size : kSizes) {
    SCOPED_TRACE(size);
    const std::vector<Complex> x = RandomSignal(size, static_cast<unsigned>(size));
    const std::vector<Complex> forward = Dft(x, -1), inverse = Dft(x, +1);
    std::vector<float> re(size), im(size);
    // Natural order in, bit-reversed out.
    for (int n = 0; n < size; ++n) re[n] = x[n].real(), im[n] = x[n].imag();
    FftForwardToBitReversed(re.data(), im.data(), size);
    EXPECT_LT(WorstError(forward, re, im, true), 1e-6);
    // Bit-reversed in, natural order out, both directions.
    for (int n = 0; n < size; ++n)
      re[BitReversed(n, size)] = x[n].real(), im[BitReversed(n, size)] = x[n].imag();
    std::vector<float> re2 = re, im2 = im;
    FftForwardFromBitReversed(re.data(), im.data(), size);
    EXPECT_LT(WorstError(forward, re, im, false), 1e-6);
    FftInverseFromBitReversed(re2.data(), im2.data(), size);
    EXPECT_LT(WorstError(inverse, re2, im2, false), 1e-6);
  }
}

}  // namespace
}  // namespace ddpi::enc
