#include "enc_fft.h"

#include <cmath>

namespace ddpi::enc {
namespace {

constexpr int kN = kConvolutionFftSize;

// The quarters a radix-2^2 pass reads and writes never overlap, but GCC cannot prove it of
// four pointers into one array: it gives up on the run-time checks and leaves the pass
// scalar (the encode took 20% more instructions). Clang, which builds only the fuzzers here,
// goes without the hint: forcing it there fails under the sanitizers with a warning.
#if defined(__GNUC__) && !defined(__clang__)
#define DDPI_INDEPENDENT_ITERATIONS _Pragma("GCC ivdep")
#else
#define DDPI_INDEPENDENT_ITERATIONS
#endif

// Twiddles, each stage's contiguous: w1 at index h + j is exp(-i pi j / h), the twiddle of the
// radix-2 stage joining halves of h points; w3 at index h + j is exp(-3 i pi j / (2h)). A
// radix-2^2 stage over groups of 4q points (two radix-2 stages, halves of 2q then q, or the
// reverse) needs W, W^2 and W^3 for W = exp(-i pi j / (2q)): w1[2q + j], w1[q + j], w3[q + j].
// None depends on the transform's size.
struct Twiddles {
  float w1_re[kN], w1_im[kN];
  float w3_re[kN / 2], w3_im[kN / 2];
  Twiddles() {
    constexpr double kPi = 3.14159265358979323846;
    w1_re[0] = 1, w1_im[0] = 0;
    for (int h = 1; h < kN; h <<= 1)
      for (int j = 0; j < h; ++j) {
        w1_re[h + j] = static_cast<float>(std::cos(kPi * j / h));
        w1_im[h + j] = static_cast<float>(-std::sin(kPi * j / h));
      }
    w3_re[0] = 1, w3_im[0] = 0;
    for (int h = 1; h < kN / 2; h <<= 1)
      for (int j = 0; j < h; ++j) {
        w3_re[h + j] = static_cast<float>(std::cos(3 * kPi * j / (2 * h)));
        w3_im[h + j] = static_cast<float>(-std::sin(3 * kPi * j / (2 * h)));
      }
  }
};

const Twiddles& TheTwiddles() {
  static const Twiddles twiddles;
  return twiddles;
}

// How many radix-2 stages a transform of `size` points has.
int StageCount(int size) {
  int stages = 0;
  while ((1 << stages) < size) ++stages;
  return stages;
}

// W, W^2 and W^3 of a radix-2^2 pass over groups of 4q points, for j = 0 .. q - 1.
struct Radix4Twiddles {
  const float *w_re, *w_im, *w2_re, *w2_im, *w3_re, *w3_im;
  explicit Radix4Twiddles(int q) {
    const Twiddles& tw = TheTwiddles();
    w_re = tw.w1_re + 2 * q, w_im = tw.w1_im + 2 * q;
    w2_re = tw.w1_re + q, w2_im = tw.w1_im + q;
    w3_re = tw.w3_re + q, w3_im = tw.w3_im + q;
  }
};

// The two halves (a, b) of the group of 2h points at `start`.
struct Halves {
  float *ar, *ai, *br, *bi;
  Halves(float* re, float* im, int start, int h)
      : ar(re + start), ai(im + start), br(ar + h), bi(ai + h) {}
};

// The four quarters (a, b, c, d) of the group of 4q points at `start`.
struct Quarters {
  float *ar, *ai, *br, *bi, *cr, *ci, *dr, *di;
  Quarters(float* re, float* im, int start, int q)
      : ar(re + start), ai(im + start), br(ar + q), bi(ai + q), cr(ar + 2 * q), ci(ai + 2 * q),
        dr(ar + 3 * q), di(ai + 3 * q) {}
};

// Decimation in time, stages of halves of 1 and 2 points at once: their twiddles are 1 and
// -i (+i when conjugated), no multiplications.
template <bool kConjugate>
void DitFirstTwoStages(float* re, float* im, int size) {
  for (int s = 0; s < size; s += 4) {
    const float b0r = re[s] + re[s + 1], b0i = im[s] + im[s + 1];
    const float b1r = re[s] - re[s + 1], b1i = im[s] - im[s + 1];
    const float b2r = re[s + 2] + re[s + 3], b2i = im[s + 2] + im[s + 3];
    const float b3r = re[s + 2] - re[s + 3], b3i = im[s + 2] - im[s + 3];
    // t = (-i) b3, or (+i) b3 when conjugated.
    const float tr = kConjugate ? -b3i : b3i, ti = kConjugate ? b3r : -b3r;
    re[s] = b0r + b2r, im[s] = b0i + b2i;
    re[s + 2] = b0r - b2r, im[s + 2] = b0i - b2i;
    re[s + 1] = b1r + tr, im[s + 1] = b1i + ti;
    re[s + 3] = b1r - tr, im[s + 3] = b1i - ti;
  }
}

// Decimation in time, the stages joining halves of q and 2q points as one radix-2^2 pass:
// with W = exp(-i pi j / (2q)) (conjugated when asked) and a, b, c, d at j, j + q, j + 2q,
// j + 3q of each group, B = b W^2, C = c W, D = d W^3, the outputs are a + B + C + D,
// a - B -+ i (C - D), a + B - C - D, a - B +- i (C - D): three multiplications where two
// radix-2 stages take four, and one pass over the data instead of two.
template <bool kConjugate>
void DitRadix4Stage(float* re, float* im, int size, int q) {
  const float sign = kConjugate ? -1.0f : 1.0f;
  const Radix4Twiddles w(q);
  for (int start = 0; start < size; start += 4 * q) {
    const auto [ar, ai, br, bi, cr, ci, dr, di] = Quarters(re, im, start, q);
    DDPI_INDEPENDENT_ITERATIONS
    for (int j = 0; j < q; ++j) {
      const float wi = sign * w.w_im[j], wi2 = sign * w.w2_im[j], wi3 = sign * w.w3_im[j];
      const float Br = br[j] * w.w2_re[j] - bi[j] * wi2, Bi = br[j] * wi2 + bi[j] * w.w2_re[j];
      const float Cr = cr[j] * w.w_re[j] - ci[j] * wi, Ci = cr[j] * wi + ci[j] * w.w_re[j];
      const float Dr = dr[j] * w.w3_re[j] - di[j] * wi3, Di = dr[j] * wi3 + di[j] * w.w3_re[j];
      const float sr = ar[j] + Br, si = ai[j] + Bi;
      const float tr = ar[j] - Br, ti = ai[j] - Bi;
      const float ur = Cr + Dr, ui = Ci + Di;
      // v = -i (C - D), or +i (C - D) when conjugated.
      const float vr = sign * (Ci - Di), vi = sign * (Dr - Cr);
      ar[j] = sr + ur, ai[j] = si + ui;
      cr[j] = sr - ur, ci[j] = si - ui;
      br[j] = tr + vr, bi[j] = ti + vi;
      dr[j] = tr - vr, di[j] = ti - vi;
    }
  }
}

// Decimation in time, one radix-2 stage joining halves of h points.
template <bool kConjugate>
void DitRadix2Stage(float* re, float* im, int size, int h) {
  const float sign = kConjugate ? -1.0f : 1.0f;
  const float* wr = TheTwiddles().w1_re + h;
  const float* wi = TheTwiddles().w1_im + h;
  for (int start = 0; start < size; start += 2 * h) {
    const auto [ar, ai, br, bi] = Halves(re, im, start, h);
    for (int j = 0; j < h; ++j) {
      const float w_im = sign * wi[j];
      const float tr = br[j] * wr[j] - bi[j] * w_im;
      const float ti = br[j] * w_im + bi[j] * wr[j];
      br[j] = ar[j] - tr;
      bi[j] = ai[j] - ti;
      ar[j] += tr;
      ai[j] += ti;
    }
  }
}

template <bool kConjugate>
void FftFromBitReversed(float* re, float* im, int size) {
  DitFirstTwoStages<kConjugate>(re, im, size);
  // Stages joining halves of 4, 8, ... size / 2 points, two at a time; an odd one out last.
  int h = 4;
  for (int left = StageCount(size) - 2; left >= 2; left -= 2, h *= 4)
    DitRadix4Stage<kConjugate>(re, im, size, h);
  if (h < size) DitRadix2Stage<kConjugate>(re, im, size, h);
}

// Decimation in frequency, the stages splitting groups of 4q points into halves of 2q, then
// of q, as one radix-2^2 pass: with W = exp(-i pi j / (2q)) and a, b, c, d at j, j + q,
// j + 2q, j + 3q of each group, s = a + c, t = a - c, u = b + d, v = b - d, the outputs are
// s + u, (s - u) W^2, (t - i v) W, (t + i v) W^3.
void DifRadix4Stage(float* re, float* im, int size, int q) {
  const Radix4Twiddles w(q);
  for (int start = 0; start < size; start += 4 * q) {
    const auto [ar, ai, br, bi, cr, ci, dr, di] = Quarters(re, im, start, q);
    DDPI_INDEPENDENT_ITERATIONS
    for (int j = 0; j < q; ++j) {
      const float sr = ar[j] + cr[j], si = ai[j] + ci[j];
      const float tr = ar[j] - cr[j], ti = ai[j] - ci[j];
      const float ur = br[j] + dr[j], ui = bi[j] + di[j];
      const float vr = br[j] - dr[j], vi = bi[j] - di[j];
      const float xr = sr - ur, xi = si - ui;  // times W^2
      const float yr = tr + vi, yi = ti - vr;  // t - i v, times W
      const float zr = tr - vi, zi = ti + vr;  // t + i v, times W^3
      ar[j] = sr + ur, ai[j] = si + ui;
      br[j] = xr * w.w2_re[j] - xi * w.w2_im[j], bi[j] = xr * w.w2_im[j] + xi * w.w2_re[j];
      cr[j] = yr * w.w_re[j] - yi * w.w_im[j], ci[j] = yr * w.w_im[j] + yi * w.w_re[j];
      dr[j] = zr * w.w3_re[j] - zi * w.w3_im[j], di[j] = zr * w.w3_im[j] + zi * w.w3_re[j];
    }
  }
}

// Decimation in frequency, one radix-2 stage splitting groups of 2h points into halves.
void DifRadix2Stage(float* re, float* im, int size, int h) {
  const float* wr = TheTwiddles().w1_re + h;
  const float* wi = TheTwiddles().w1_im + h;
  for (int start = 0; start < size; start += 2 * h) {
    const auto [ar, ai, br, bi] = Halves(re, im, start, h);
    for (int j = 0; j < h; ++j) {
      const float dr = ar[j] - br[j], di = ai[j] - bi[j];
      ar[j] += br[j];
      ai[j] += bi[j];
      br[j] = dr * wr[j] - di * wi[j];
      bi[j] = dr * wi[j] + di * wr[j];
    }
  }
}

}  // namespace

void FftForwardToBitReversed(float* re, float* im, int size) {
  // Stages splitting into halves of size / 2, size / 4, ... 4 points, two at a time; an odd
  // one out (halves of 4) after them.
  int q = size / 4;
  for (int left = StageCount(size) - 2; left >= 2; left -= 2, q /= 4)
    DifRadix4Stage(re, im, size, q);
  if (q == 2) DifRadix2Stage(re, im, size, 4);
  // The last two stages together: their twiddles are 1 and -i, no multiplications.
  for (int s = 0; s < size; s += 4) {
    const float a0r = re[s] + re[s + 2], a0i = im[s] + im[s + 2];
    const float a2r = re[s] - re[s + 2], a2i = im[s] - im[s + 2];
    const float a1r = re[s + 1] + re[s + 3], a1i = im[s + 1] + im[s + 3];
    const float dr = re[s + 1] - re[s + 3], di = im[s + 1] - im[s + 3];
    const float a3r = di, a3i = -dr;  // (-i) d
    re[s] = a0r + a1r, im[s] = a0i + a1i;
    re[s + 1] = a0r - a1r, im[s + 1] = a0i - a1i;
    re[s + 2] = a2r + a3r, im[s + 2] = a2i + a3i;
    re[s + 3] = a2r - a3r, im[s + 3] = a2i - a3i;
  }
}

void FftForwardFromBitReversed(float* re, float* im, int size) {
  FftFromBitReversed<false>(re, im, size);
}

void FftInverseFromBitReversed(float* re, float* im, int size) {
  FftFromBitReversed<true>(re, im, size);
}

}  // namespace ddpi::enc
