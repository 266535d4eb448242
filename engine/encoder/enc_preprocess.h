// Input conditioning applied to every frame before analysis: DC removal, LFE band limiting,
// a 90 degree phase shift of the surround pair and a 3 dB surround attenuation.
//
// Every slot goes through the same fixed delay (kDelaySamples) whatever the settings, so the
// encoder's overall delay never depends on them and, with every option off, the output is a
// bit-exact delayed copy of the input. The delay is the group delay of the linear-phase FIRs
// that perform the phase shift and the LFE low-pass; other slots run through a plain delay
// line of that length, so every channel leaves at the same lag.
//
// Fixed-size state only (the object lives inside the engine's memory pool); Process may be
// called with any block length, state carries over from one call to the next.
#ifndef DDPI_ENGINE_ENCODER_ENC_PREPROCESS_H
#define DDPI_ENGINE_ENCODER_ENC_PREPROCESS_H

#include "enc_fft.h"

namespace ddpi::enc {

struct PreprocessSettings {
  bool dc_highpass = true;               // DC removal on full-bandwidth slots (see kDcCutoffHz)
  bool lfe_lowpass = true;               // linear-phase low-pass at 120 Hz on slot 3
  bool phase_shift_90 = false;           // Ls and Rs lag the other slots by 90 degrees
  bool surround_attenuation_3db = false; // Ls and Rs scaled by 10^(-3/20)
};

// Second-order section in transposed direct form II. Coefficients and state are double: the DC
// high-pass has its poles within 4e-4 of the unit circle, where float coefficients and state
// would add audible low-frequency rounding noise.
struct Biquad {
  double b0 = 1, b1 = 0, b2 = 0, a1 = 0, a2 = 0;
  double s1 = 0, s2 = 0;

  void Clear() { s1 = s2 = 0; }
  void Run(float* samples, int n);
  // Replaces each sample by itself minus the section's output: a low-pass section turns into
  // the complementary high-pass.
  void RunResidual(float* samples, int n);
  // Zeroes state that has decayed towards the subnormal range or become non-finite, so that
  // silence after a signal never runs at subnormal speed and a bad input cannot stick.
  void Sanitize();
};

// Biquad::RunResidual of count sections, each over its own plane of n samples.
void RunResidualInterleaved(Biquad* const* sections, float* const* planes, int count, int n);

class Preprocessor {
 public:
  static constexpr int kSlots = 11;
  static constexpr int kLfeSlot = 3;
  static constexpr int kLeftSurroundSlot = 4;
  static constexpr int kRightSurroundSlot = 5;

  // Odd-length antisymmetric (type III) FIR: 90 degree shift from about 100 Hz up to 23.9 kHz.
  static constexpr int kHilbertTaps = 1023;
  static constexpr int kDelaySamples = (kHilbertTaps - 1) / 2;  // 511, for every slot

  // DC removal subtracts a critically damped 2nd-order low-pass at this corner from the input.
  // Unlike a high-pass of the same order, whose phase error above the corner falls only as
  // fc / f, the difference from the input is the low-pass output itself, falling as
  // (fc / f)^2: under 0.01 dB at 20 Hz, -70 dB at 40 Hz, so the audio band passes untouched.
  // The corner sits well below the audio band so that little sub-sonic content is taken
  // either; an offset decays with a time constant of 0.32 s.
  static constexpr double kDcCutoffHz = 0.5;
  // The LFE low-pass: a Kaiser-windowed sinc of kHilbertTaps taps centred on kDelaySamples,
  // so it delays the LFE exactly as much as the other slots are delayed. Its half-amplitude
  // point sits at kLfeSincCutoffHz, which puts the -3 dB point at about 120 Hz; it is flat
  // within 0.15 dB to 60 Hz and below -55 dB from 240 Hz on.
  static constexpr double kLfeSincCutoffHz = 140.0;
  static constexpr float kSurroundAttenuation = 0.70794578f;  // -3 dB

  // The LFE low-pass by overlap-save runs on a transform half the size of the phase shift's:
  // the first half of a run's outputs go in as its real part, the second half as its
  // imaginary part (the FIR is real, so the two halves never mix).
  static constexpr int kLfeFftSize = kConvolutionFftSize / 2;

  // Runs at least this long shift the surround pair by fast convolution (ShiftPairFft); shorter
  // ones, and a slot whose partner is inactive, take the direct FIR (DelayOrShift). Both give
  // the same output to float rounding.
  static constexpr int kFftMinimum = 256;

  // Clears all history (delay lines and filter states) and takes the new settings.
  void Reset(const PreprocessSettings& settings);

  // slots[0..10] (0 L, 1 R, 2 C, 3 LFE, 4 Ls, 5 Rs, 6..10 extra), processed in place, n samples
  // each. Slots not marked active are left untouched; their history is not advanced.
  void Process(float* const slots[kSlots], const bool active[kSlots], int n);

  const PreprocessSettings& settings() const { return settings_; }

  // The next `count` (at most kDelaySamples) samples a slot will output, known already from
  // its delay line. Only for slots on the plain delay: false for the phase-shifted surrounds
  // and the low-passed LFE.
  bool Lookahead(int slot, float* out, int count) const;

 private:
  static constexpr int kChunk = 1536;             // longest run handled in one pass
  static constexpr int kHistory = kHilbertTaps - 1;
  static constexpr int kHalfTaps = (kDelaySamples + 1) / 2;  // non-zero taps on one side

  void ProcessChunk(float* const slots[kSlots], const bool active[kSlots], int offset, int n);
  void DelayOrShift(int slot, float* samples, int n, bool shift);
  // The phase shift of both surround slots at once by overlap-save: Ls as the real and Rs as
  // the imaginary part of one complex transform (the FIR is real). A null plane is inactive.
  void ShiftPairFft(float* left, float* right, int n);
  // The LFE low-pass in place, centred on kDelaySamples, by overlap-save for long runs and by
  // the direct symmetric FIR for short ones; keeps the slot's history like DelayOrShift.
  void LowpassLfe(float* samples, int n);
  void KeepHistory(int slot, const float* samples, int n);
  void DesignHilbert();
  static void DesignDcLowpass(Biquad* section);
  void DesignLfeLowpass();
  // Spectrum of a kHilbertTaps-long FIR (taps[k] weighs input[i + k - kDelaySamples] in output
  // i) laid out for the correlation of overlap-save: conjugated, bit-reversed, scaled by 1/N
  // (N = size).
  static void TransformTaps(const float* taps, int size, float* spectrum_re, float* spectrum_im);

  PreprocessSettings settings_;
  Biquad dc_filter_[kSlots];
  // LFE low-pass taps from the centre outwards (lfe_taps_[m] at offsets -m and +m) and its
  // spectrum for overlap-save.
  float lfe_taps_[kDelaySamples + 1];
  float lfe_re_[kLfeFftSize];
  float lfe_im_[kLfeFftSize];
  // Hilbert taps for odd offsets 1, 3, 5, ... from the centre (the even ones are zero).
  float hilbert_[kHalfTaps];
  // Conjugate spectrum of the FIR laid out for correlation with the window (history then
  // chunk), in the forward transform's bit-reversed order, scaled by 1/N for the inverse.
  float hilbert_re_[kConvolutionFftSize];
  float hilbert_im_[kConvolutionFftSize];
  float fft_re_[kConvolutionFftSize];
  float fft_im_[kConvolutionFftSize];
  // Last kHistory input samples of each slot, oldest first.
  float history_[kSlots][kHistory];
  // History followed by the current chunk: the window the FIR and the delay line read from.
  float window_[kHistory + kChunk];
};

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_PREPROCESS_H
