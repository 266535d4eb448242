#include "enc_fft.h"

#include <cmath>

namespace ddpi::enc {
namespace {

constexpr int kN = kConvolutionFftSize;

// Twiddles of the stage joining halves of h points start at index h: exp(-i pi j / h), so
// that each stage reads them contiguously. They do not depend on the transform's size.
struct Twiddles {
  float re[kN], im[kN];
  Twiddles() {
    constexpr double kPi = 3.14159265358979323846;
    re[0] = 1, im[0] = 0;
    for (int h = 1; h < kN; h <<= 1)
      for (int j = 0; j < h; ++j) {
        re[h + j] = static_cast<float>(std::cos(kPi * j / h));
        im[h + j] = static_cast<float>(-std::sin(kPi * j / h));
      }
  }
};

const Twiddles& TheTwiddles() {
  static const Twiddles twiddles;
  return twiddles;
}

}  // namespace

void FftForwardToBitReversed(float* re, float* im, int size) {
  const Twiddles& tw = TheTwiddles();
  for (int h = size / 2; h >= 4; h >>= 1) {
    const float* __restrict wr = tw.re + h;
    const float* __restrict wi = tw.im + h;
    for (int start = 0; start < size; start += 2 * h) {
      float* __restrict ar = re + start;
      float* __restrict ai = im + start;
      float* __restrict br = re + start + h;
      float* __restrict bi = im + start + h;
      for (int j = 0; j < h; ++j) {
        const float dr = ar[j] - br[j], di = ai[j] - bi[j];
        ar[j] += br[j];
        ai[j] += bi[j];
        br[j] = dr * wr[j] - di * wi[j];
        bi[j] = dr * wi[j] + di * wr[j];
      }
    }
  }
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

void FftInverseFromBitReversed(float* re, float* im, int size) {
  const Twiddles& tw = TheTwiddles();
  // The first two stages together: their conjugate twiddles are 1 and +i.
  for (int s = 0; s < size; s += 4) {
    const float b0r = re[s] + re[s + 1], b0i = im[s] + im[s + 1];
    const float b1r = re[s] - re[s + 1], b1i = im[s] - im[s + 1];
    const float b2r = re[s + 2] + re[s + 3], b2i = im[s + 2] + im[s + 3];
    const float b3r = re[s + 2] - re[s + 3], b3i = im[s + 2] - im[s + 3];
    const float t1r = -b3i, t1i = b3r;  // (+i) b3
    re[s] = b0r + b2r, im[s] = b0i + b2i;
    re[s + 2] = b0r - b2r, im[s + 2] = b0i - b2i;
    re[s + 1] = b1r + t1r, im[s + 1] = b1i + t1i;
    re[s + 3] = b1r - t1r, im[s + 3] = b1i - t1i;
  }
  for (int h = 4; h < size; h <<= 1) {
    const float* __restrict wr = tw.re + h;
    const float* __restrict wi = tw.im + h;
    for (int start = 0; start < size; start += 2 * h) {
      float* __restrict ar = re + start;
      float* __restrict ai = im + start;
      float* __restrict br = re + start + h;
      float* __restrict bi = im + start + h;
      for (int j = 0; j < h; ++j) {
        // b times the conjugate twiddle.
        const float tr = br[j] * wr[j] + bi[j] * wi[j];
        const float ti = bi[j] * wr[j] - br[j] * wi[j];
        br[j] = ar[j] - tr;
        bi[j] = ai[j] - ti;
        ar[j] += tr;
        ai[j] += ti;
      }
    }
  }
}

}  // namespace ddpi::enc
