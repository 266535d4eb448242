#include "enc_preprocess.h"

#include <cmath>
#include <cstring>

#include "enc_fir_design.h"

namespace ddpi::enc {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kSampleRate = 48000.0;
// Filter state below this is inaudible (-300 dB) and is dropped: it would otherwise linger for
// many seconds in the slow DC removal and end up subnormal.
constexpr double kStateFloor = 1e-15;
// Kaiser window shape of the Hilbert FIR: about 1e-3 passband ripple (0.01 dB).
constexpr double kKaiserBeta = 5.65;
// Kaiser window shape of the LFE low-pass: stopband below -55 dB.
constexpr double kLfeKaiserBeta = 7.0;

void ClearIfNegligible(double* state) {
  if (!std::isfinite(*state) || std::fabs(*state) < kStateFloor) *state = 0.0;
}

// One pass of a section over the samples, writing its output or, for kResidual, the input
// minus its output.
template <bool kResidual>
void RunSection(Biquad& q, float* samples, int n) {
  double z1 = q.s1, z2 = q.s2;
  for (int i = 0; i < n; ++i) {
    const double x = samples[i];
    const double y = q.b0 * x + z1;
    z1 = q.b1 * x - q.a1 * y + z2;
    z2 = q.b2 * x - q.a2 * y;
    samples[i] = static_cast<float>(kResidual ? x - y : y);
  }
  q.s1 = z1;
  q.s2 = z2;
}

}  // namespace

void Biquad::Run(float* samples, int n) { RunSection<false>(*this, samples, n); }

void Biquad::RunResidual(float* samples, int n) { RunSection<true>(*this, samples, n); }

namespace {

// Two lanes of double: one SSE2 register on x86-64, plain pairs of doubles elsewhere.
using Double2 = double __attribute__((vector_size(16)));

// Biquad::RunResidual of P pairs of sections side by side, each pair in one register. Each
// section's recursion waits on its own previous output; running the planes together lets
// those waits overlap, and pairing them halves the instructions. The arithmetic is the scalar
// section's, lane by lane, so the results are the same to the bit.
template <int P>
void RunResidualPairs(Biquad* const* sections, float* const* planes, int n) {
  Double2 z1[P], z2[P], b0[P], b1[P], b2[P], a1[P], a2[P];
  for (int k = 0; k < P; ++k) {
    const Biquad& l = *sections[2 * k];
    const Biquad& r = *sections[2 * k + 1];
    z1[k] = Double2{l.s1, r.s1}, z2[k] = Double2{l.s2, r.s2};
    b0[k] = Double2{l.b0, r.b0}, b1[k] = Double2{l.b1, r.b1}, b2[k] = Double2{l.b2, r.b2};
    a1[k] = Double2{l.a1, r.a1}, a2[k] = Double2{l.a2, r.a2};
  }
  for (int i = 0; i < n; ++i) {
    for (int k = 0; k < P; ++k) {
      float* const left = planes[2 * k];
      float* const right = planes[2 * k + 1];
      const Double2 x = {left[i], right[i]};
      const Double2 y = b0[k] * x + z1[k];
      z1[k] = b1[k] * x - a1[k] * y + z2[k];
      z2[k] = b2[k] * x - a2[k] * y;
      const Double2 residual = x - y;
      left[i] = static_cast<float>(residual[0]);
      right[i] = static_cast<float>(residual[1]);
    }
  }
  for (int k = 0; k < P; ++k)
    for (int lane = 0; lane < 2; ++lane) {
      Biquad* q = sections[2 * k + lane];
      q->s1 = z1[k][lane];
      q->s2 = z2[k][lane];
    }
}

}  // namespace

void RunResidualInterleaved(Biquad* const* sections, float* const* planes, int count, int n) {
  constexpr int kPairs = 3;
  for (int first = 0; first < count; first += 2 * kPairs) {
    const int lanes = count - first < 2 * kPairs ? count - first : 2 * kPairs;
    // An odd lane is paired with a copy of itself: the copy computes the same outputs and
    // writes them to the same plane, and its state is thrown away.
    Biquad copy = *sections[first + lanes - 1];
    Biquad* s[2 * kPairs];
    float* p[2 * kPairs];
    for (int k = 0; k < lanes; ++k) s[k] = sections[first + k], p[k] = planes[first + k];
    if (lanes % 2 != 0) s[lanes] = &copy, p[lanes] = p[lanes - 1];
    switch ((lanes + 1) / 2) {
      case 1: RunResidualPairs<1>(s, p, n); break;
      case 2: RunResidualPairs<2>(s, p, n); break;
      default: RunResidualPairs<3>(s, p, n); break;
    }
    for (int k = 0; k < lanes; ++k) s[k]->Sanitize();
  }
}

void Biquad::Sanitize() {
  ClearIfNegligible(&s1);
  ClearIfNegligible(&s2);
}

void Preprocessor::Reset(const PreprocessSettings& settings) {
  settings_ = settings;
  for (Biquad& section : dc_filter_) DesignDcLowpass(&section);
  DesignLfeLowpass();
  DesignHilbert();
  std::memset(history_, 0, sizeof(history_));
}

// Critically damped (Q = 1/2) 2nd-order low-pass by the bilinear transform (prewarped corner);
// its DC gain is exactly one, so the residual removes an offset completely.
void Preprocessor::DesignDcLowpass(Biquad* section) {
  const double k = std::tan(kPi * kDcCutoffHz / kSampleRate);
  const double q = 0.5;
  const double norm = 1.0 / (1.0 + k / q + k * k);
  section->b0 = k * k * norm;
  section->b1 = 2.0 * section->b0;
  section->b2 = section->b0;
  section->a1 = 2.0 * (k * k - 1.0) * norm;
  section->a2 = (1.0 - k / q + k * k) * norm;
  section->Clear();
}

// Windowed ideal low-pass: sin(2 pi fc m) / (pi m) at offset m, Kaiser-windowed over the
// same span as the Hilbert FIR, normalized to unit gain at 0 Hz. Being symmetric, it only
// delays (by exactly kDelaySamples) and never shifts one frequency against another.
void Preprocessor::DesignLfeLowpass() {
  DesignWindowedSincLowpass(kLfeSincCutoffHz, kDelaySamples, kLfeKaiserBeta, lfe_taps_);
  for (int k = 0; k < kHilbertTaps; ++k)
    fft_re_[k] = lfe_taps_[k < kDelaySamples ? kDelaySamples - k : k - kDelaySamples];
  TransformTaps(fft_re_, kLfeFftSize, lfe_re_, lfe_im_);
}

void Preprocessor::TransformTaps(const float* taps, int size, float* spectrum_re,
                                 float* spectrum_im) {
  float re[kConvolutionFftSize] = {};
  float im[kConvolutionFftSize] = {};
  std::memcpy(re, taps, sizeof(float) * kHilbertTaps);
  FftForwardToBitReversed(re, im, size);
  const float scale = 1.0f / static_cast<float>(size);
  for (int k = 0; k < size; ++k) {
    spectrum_re[k] = re[k] * scale;
    spectrum_im[k] = -im[k] * scale;
  }
}

// Ideal discrete Hilbert transformer 2/(pi m) at odd offsets m, Kaiser-windowed. Its phase is
// exactly -90 degrees at every frequency once the group delay is taken out; the window only
// shapes how the magnitude rolls off towards 0 Hz and 24 kHz.
void Preprocessor::DesignHilbert() {
  for (int j = 0; j < kHalfTaps; ++j) {
    const int m = 2 * j + 1;
    const double window = KaiserWindow(m, kDelaySamples + 1, kKaiserBeta);
    hilbert_[j] = static_cast<float>(2.0 / (kPi * m) * window);
  }
  // Output i = sum_k window[i + k] g[k] with g[delay - m] = tap, g[delay + m] = -tap: the
  // direct form below as a correlation, whose transform is W conj(G).
  std::memset(fft_re_, 0, sizeof(float) * kHilbertTaps);
  for (int j = 0; j < kHalfTaps; ++j) {
    const int m = 2 * j + 1;
    fft_re_[kDelaySamples - m] = hilbert_[j];
    fft_re_[kDelaySamples + m] = -hilbert_[j];
  }
  TransformTaps(fft_re_, kConvolutionFftSize, hilbert_re_, hilbert_im_);
}

void Preprocessor::Process(float* const slots[kSlots], const bool active[kSlots], int n) {
  for (int offset = 0; offset < n; offset += kChunk) {
    const int length = n - offset < kChunk ? n - offset : kChunk;
    ProcessChunk(slots, active, offset, length);
  }
}

void Preprocessor::ProcessChunk(float* const slots[kSlots], const bool active[kSlots], int offset,
                                int n) {
  // DC removal of every full-bandwidth slot in one interleaved pass.
  Biquad* sections[kSlots];
  float* planes[kSlots];
  int count = 0;
  for (int slot = 0; slot < kSlots; ++slot) {
    if (!active[slot] || slots[slot] == nullptr) continue;
    if (slot != kLfeSlot && settings_.dc_highpass) {
      sections[count] = &dc_filter_[slot];
      planes[count++] = slots[slot] + offset;
    }
  }
  RunResidualInterleaved(sections, planes, count, n);

  auto plane = [&](int slot) {
    return active[slot] && slots[slot] != nullptr ? slots[slot] + offset : nullptr;
  };
  float* const left = plane(kLeftSurroundSlot);
  float* const right = plane(kRightSurroundSlot);
  const bool pair_fft = settings_.phase_shift_90 && n >= kFftMinimum && left && right;

  for (int slot = 0; slot < kSlots; ++slot) {
    if (!active[slot] || slots[slot] == nullptr) continue;
    float* samples = slots[slot] + offset;
    const bool surround = slot == kLeftSurroundSlot || slot == kRightSurroundSlot;
    if (surround && pair_fft) continue;  // below, both at once

    if (slot == kLfeSlot && settings_.lfe_lowpass) {
      LowpassLfe(samples, n);
      continue;
    }
    DelayOrShift(slot, samples, n, surround && settings_.phase_shift_90);

    if (surround && settings_.surround_attenuation_3db) {
      for (int i = 0; i < n; ++i) samples[i] *= kSurroundAttenuation;
    }
  }
  if (pair_fft) {
    ShiftPairFft(left, right, n);
    if (settings_.surround_attenuation_3db) {
      for (int i = 0; i < n; ++i) left[i] *= kSurroundAttenuation;
      for (int i = 0; i < n; ++i) right[i] *= kSurroundAttenuation;
    }
  }
}

bool Preprocessor::Lookahead(int slot, float* out, int count) const {
  const bool surround = slot == kLeftSurroundSlot || slot == kRightSurroundSlot;
  if ((surround && settings_.phase_shift_90) || (slot == kLfeSlot && settings_.lfe_lowpass) ||
      count > kDelaySamples)
    return false;
  // The history holds the last kHistory inputs; the newest kDelaySamples of them have yet to
  // come out.
  const float* next = history_[slot] + kHistory - kDelaySamples;
  const float gain = surround && settings_.surround_attenuation_3db ? kSurroundAttenuation : 1.0f;
  for (int i = 0; i < count; ++i) out[i] = next[i] * gain;
  return true;
}

void Preprocessor::KeepHistory(int slot, const float* samples, int n) {
  float* h = history_[slot];
  if (n >= kHistory) {
    std::memcpy(h, samples + n - kHistory, sizeof(float) * kHistory);
  } else {
    std::memmove(h, h + n, sizeof(float) * (kHistory - n));
    std::memcpy(h + kHistory - n, samples, sizeof(float) * n);
  }
}

void Preprocessor::ShiftPairFft(float* left, float* right, int n) {
  static_assert(kHistory + kChunk <= kConvolutionFftSize, "one transform holds a whole window");
  float* re = fft_re_;
  float* im = fft_im_;
  std::memcpy(re, history_[kLeftSurroundSlot], sizeof(float) * kHistory);
  std::memcpy(re + kHistory, left, sizeof(float) * n);
  std::memset(re + kHistory + n, 0, sizeof(float) * (kConvolutionFftSize - kHistory - n));
  std::memcpy(im, history_[kRightSurroundSlot], sizeof(float) * kHistory);
  std::memcpy(im + kHistory, right, sizeof(float) * n);
  std::memset(im + kHistory + n, 0, sizeof(float) * (kConvolutionFftSize - kHistory - n));
  KeepHistory(kLeftSurroundSlot, left, n);
  KeepHistory(kRightSurroundSlot, right, n);

  FftForwardToBitReversed(re, im, kConvolutionFftSize);
  for (int k = 0; k < kConvolutionFftSize; ++k) {
    const float xr = re[k], xi = im[k];
    re[k] = xr * hilbert_re_[k] - xi * hilbert_im_[k];
    im[k] = xr * hilbert_im_[k] + xi * hilbert_re_[k];
  }
  FftInverseFromBitReversed(re, im, kConvolutionFftSize);
  // Outputs 0..n-1 reach at most window index n - 1 + 2 * delay: no circular wrap.
  std::memcpy(left, re, sizeof(float) * n);
  std::memcpy(right, im, sizeof(float) * n);
}

void Preprocessor::LowpassLfe(float* samples, int n) {
  std::memcpy(window_, history_[kLfeSlot], sizeof(float) * kHistory);
  std::memcpy(window_ + kHistory, samples, sizeof(float) * n);
  std::memcpy(history_[kLfeSlot], window_ + n, sizeof(float) * kHistory);
  if (n >= kFftMinimum) {
    // Outputs [0, first) read window[0, kHistory + first), outputs [first, n) read
    // window[first, kHistory + n): each fits the transform without a circular wrap.
    static_assert(kHistory + (kChunk + 1) / 2 <= kLfeFftSize, "half a run fits one transform");
    const int first = (n + 1) / 2, second = n - first;
    float* re = fft_re_;
    float* im = fft_im_;
    std::memcpy(re, window_, sizeof(float) * (kHistory + first));
    std::memset(re + kHistory + first, 0, sizeof(float) * (kLfeFftSize - kHistory - first));
    std::memcpy(im, window_ + first, sizeof(float) * (kHistory + second));
    std::memset(im + kHistory + second, 0, sizeof(float) * (kLfeFftSize - kHistory - second));
    FftForwardToBitReversed(re, im, kLfeFftSize);
    for (int k = 0; k < kLfeFftSize; ++k) {
      const float xr = re[k], xi = im[k];
      re[k] = xr * lfe_re_[k] - xi * lfe_im_[k];
      im[k] = xr * lfe_im_[k] + xi * lfe_re_[k];
    }
    FftInverseFromBitReversed(re, im, kLfeFftSize);
    std::memcpy(samples, re, sizeof(float) * first);
    std::memcpy(samples + first, im, sizeof(float) * second);
    return;
  }
  const float* centre = window_ + kDelaySamples;
  for (int i = 0; i < n; ++i) {
    float sum = lfe_taps_[0] * centre[i];
    for (int m = 1; m <= kDelaySamples; ++m) sum += lfe_taps_[m] * (centre[i - m] + centre[i + m]);
    samples[i] = sum;
  }
}

// Writes the slot's input delayed by kDelaySamples, or its Hilbert transform centred on that
// same delay, back into samples, and keeps the last kHistory inputs for the next call.
void Preprocessor::DelayOrShift(int slot, float* samples, int n, bool shift) {
  std::memcpy(window_, history_[slot], sizeof(float) * kHistory);
  std::memcpy(window_ + kHistory, samples, sizeof(float) * n);
  const float* __restrict centre = window_ + kDelaySamples;  // centre[i] = input[i - delay]
  float* __restrict out = samples;

  if (!shift) {
    std::memcpy(out, centre, sizeof(float) * n);
  } else {
    // Four taps per pass over the output: a quarter of the loads and stores of out[].
    static_assert(kHalfTaps % 4 == 0, "taps are consumed four at a time");
    std::memset(out, 0, sizeof(float) * n);
    for (int j = 0; j < kHalfTaps; j += 4) {
      const float t0 = hilbert_[j], t1 = hilbert_[j + 1];
      const float t2 = hilbert_[j + 2], t3 = hilbert_[j + 3];
      const int m = 2 * j + 1;  // offsets m, m + 2, m + 4, m + 6
      const float* __restrict past = centre - m;
      const float* __restrict future = centre + m;
      for (int i = 0; i < n; ++i) {
        out[i] += t0 * (past[i] - future[i]) + t1 * (past[i - 2] - future[i + 2]) +
                  t2 * (past[i - 4] - future[i + 4]) + t3 * (past[i - 6] - future[i + 6]);
      }
    }
  }
  std::memcpy(history_[slot], window_ + n, sizeof(float) * kHistory);
}

}  // namespace ddpi::enc
