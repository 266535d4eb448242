#include "enc_mdct.h"

#include <cmath>

#include "enc_fft.h"
#include "enc_fir_design.h"

namespace ddpi::enc {
namespace {

constexpr int kWindowLength = 512;
constexpr double kPi = 3.14159265358979323846;

// Kaiser-Bessel derived window, A/52 section 8.2.3 (alpha = 5, N = 512).
struct Window {
  float w[kWindowLength];
  Window() {
    constexpr int half = kWindowLength / 2;
    constexpr double alpha = 5.0;
    double kernel[half + 1];
    double total = 0;
    for (int n = 0; n <= half; ++n) {
      kernel[n] = KaiserWindow(n - half / 2, half / 2, kPi * alpha);
      total += kernel[n];
    }
    double running = 0;
    for (int n = 0; n < half; ++n) {
      running += kernel[n];
      w[n] = static_cast<float>(std::sqrt(running / total));
      w[kWindowLength - 1 - n] = w[n];
    }
  }
};

const Window& TheWindow() {
  static const Window window;
  return window;
}

// DCT-IV of length M through an M/2-point complex FFT (FftForwardFromBitReversed): the
// folded input goes in pre-twiddled and in bit-reversed order, the FFT's output is
// post-twiddled into the coefficients.
template <int M>
struct DctIv {
  static constexpr int kHalf = M / 2;
  float pre_re[kHalf], pre_im[kHalf];
  float post_re[kHalf], post_im[kHalf];
  int bitrev[kHalf];

  DctIv() {
    for (int p = 0; p < kHalf; ++p) {
      pre_re[p] = static_cast<float>(std::cos(-kPi * (p + 0.25) / M));
      pre_im[p] = static_cast<float>(std::sin(-kPi * (p + 0.25) / M));
      post_re[p] = static_cast<float>(std::cos(-kPi * p / M));
      post_im[p] = static_cast<float>(std::sin(-kPi * p / M));
    }
    int bits = 0;
    while ((1 << bits) < kHalf) ++bits;
    for (int i = 0; i < kHalf; ++i) {
      int r = 0;
      for (int b = 0; b < bits; ++b) r |= ((i >> b) & 1) << (bits - 1 - b);
      bitrev[i] = r;
    }
  }

  // out[k] = scale * sum_m u[m] cos(pi/M (m + 1/2)(k + 1/2))
  void Run(const float* u, float scale, float* out) const {
    float re[kHalf], im[kHalf];
    for (int p = 0; p < kHalf; ++p) {
      const float a = u[2 * p], b = u[M - 1 - 2 * p];
      re[bitrev[p]] = a * pre_re[p] - b * pre_im[p];
      im[bitrev[p]] = a * pre_im[p] + b * pre_re[p];
    }
    FftForwardFromBitReversed(re, im, kHalf);
    for (int q = 0; q < kHalf; ++q) {
      out[2 * q] = scale * (re[q] * post_re[q] - im[q] * post_im[q]);
      out[M - 1 - 2 * q] = -scale * (re[q] * post_im[q] + im[q] * post_re[q]);
    }
  }
};

// MDCT of length N (N/2 outputs) with phase n0 = N/4 + 1/2, through a fold into a DCT-IV:
//   u[m] = -x[3M/2-1-m] - x[3M/2+m]      m <  M/2
//   u[m] =  x[m-M/2]    - x[3M/2-1-m]    m >= M/2      (M = N/2)
template <int N>
void MdctStandard(const float* x, float scale, float* out) {
  constexpr int M = N / 2;
  static const DctIv<M> dct;
  float u[M];
  for (int m = 0; m < M / 2; ++m) u[m] = -x[3 * M / 2 - 1 - m] - x[3 * M / 2 + m];
  for (int m = M / 2; m < M; ++m) u[m] = x[m - M / 2] - x[3 * M / 2 - 1 - m];
  dct.Run(u, scale, out);
}

}  // namespace

const float* KbdWindow() { return TheWindow().w; }

void MdctLong(const float* in512, float* out256) {
  // Window and fold in one pass (see MdctStandard, M = 256).
  constexpr int M = 256;
  static const DctIv<M> dct;
  const float* w = KbdWindow();
  float u[M];
  for (int m = 0; m < M / 2; ++m) {
    const int a = 3 * M / 2 - 1 - m, b = 3 * M / 2 + m;
    u[m] = -in512[a] * w[a] - in512[b] * w[b];
  }
  for (int m = M / 2; m < M; ++m) {
    const int a = m - M / 2, b = 3 * M / 2 - 1 - m;
    u[m] = in512[a] * w[a] - in512[b] * w[b];
  }
  dct.Run(u, -2.0f / 512, out256);
}

void MdctShort(const float* in512, float* out256) {
  const float* w = KbdWindow();
  constexpr int N = 256, Q = N / 4;
  float x[512];
  for (int n = 0; n < 512; ++n) x[n] = in512[n] * w[n];
  // The phase offsets n0 = 1/2 (first half) and n0 = N/2 + 1/2 (second half) are the standard
  // offset N/4 + 1/2 moved by -N/4 and +N/4: rotate the input by a quarter, negating the
  // samples that wrap (cos(theta + pi(2k+1)) = -cos(theta)).
  float a[N], b[N];
  const float* first = x;
  const float* second = x + N;
  for (int m = 0; m < 3 * Q; ++m) a[m] = first[m + Q];
  for (int m = 3 * Q; m < N; ++m) a[m] = -first[m - 3 * Q];
  for (int m = 0; m < Q; ++m) b[m] = -second[m + 3 * Q];
  for (int m = Q; m < N; ++m) b[m] = second[m - Q];
  float c1[N / 2], c2[N / 2];
  MdctStandard<N>(a, -2.0f / N, c1);
  MdctStandard<N>(b, -2.0f / N, c2);
  for (int k = 0; k < N / 2; ++k) {
    out256[2 * k] = c1[k];
    out256[2 * k + 1] = c2[k];
  }
}

void MdctReference(const float* in512, bool short_blocks, double* out256) {
  const float* w = KbdWindow();
  if (!short_blocks) {
    constexpr int N = 512;
    for (int k = 0; k < N / 2; ++k) {
      double s = 0;
      for (int n = 0; n < N; ++n)
        s += in512[n] * w[n] *
             std::cos(2 * kPi / (4 * N) * (2 * n + 1) * (2 * k + 1) + kPi / 4 * (2 * k + 1));
      out256[k] = -2.0 / N * s;
    }
    return;
  }
  constexpr int N = 256;
  for (int half = 0; half < 2; ++half) {
    const double alpha = half == 0 ? -1.0 : 1.0;
    for (int k = 0; k < N / 2; ++k) {
      double s = 0;
      for (int n = 0; n < N; ++n)
        s += in512[half * N + n] * w[half * N + n] *
             std::cos(2 * kPi / (4 * N) * (2 * n + 1) * (2 * k + 1) +
                      kPi / 4 * (2 * k + 1) * (1 + alpha));
      out256[2 * k + half] = -2.0 / N * s;
    }
  }
}

}  // namespace ddpi::enc
