// Band limiting around attacks. Content above the coded band is dropped by the transform either
// way, and in blocks of long transforms that is all it does. In a block of two short
// transforms, though, the dropped part of an attack takes with it the time-domain aliasing that
// the transforms' overlap would have cancelled, leaving an image of the attack's top octave up
// to 5 ms ahead of it: pre-echo just below the band edge, 50 dB above what the original holds
// there. Low-passing the frames that hold short blocks before they are transformed leaves
// nothing there to drop.
//
// The filter is a Kaiser-windowed sinc of 2 * kHalfTaps + 1 taps, linear phase, its half
// amplitude kMarginHz below the top of the coded band: flat within 0.1 dB to 1 kHz below the
// top, 14 dB down at it, under -70 dB from 700 Hz above it. It is short, so that it rings for
// little more than a millisecond around the attack itself; the 1023 taps of the LFE filter,
// 200 Hz steep, rang for 5 ms.
// Filtering whole frames with an attack keeps every pair of overlapping transforms on the same
// samples: where filtered and plain frames meet, the block across the boundary sees each half
// as its neighbour did.
// Pre-echo over the quality benchmark's 102 attacks, median / 90th percentile / worst against
// FFmpeg's: AC-3 2.0 192k 3.2 / 7.9 / +4.9 -> 2.8 / 7.0 / +5.0 dB, 5.1 448k 3.4 / 8.7 / +7.7 ->
// 2.7 / 7.6 / +2.6 dB, 384k 3.8 / 9.9 / +2.1 -> 3.7 / 9.5 / +1.9 dB; PEAQ within 0.01.
// Filtering every frame did no better on attacks and cost 0.01-0.02 of PEAQ (the model hears
// the top few hundred hertz go) and a fifth of the encoding time; a cut 300 Hz lower gained
// 0.1-0.5 dB more and lost 0.02-0.04 more.
#ifndef DDPI_ENGINE_ENCODER_ENC_BAND_LIMIT_H
#define DDPI_ENGINE_ENCODER_ENC_BAND_LIMIT_H

namespace ddpi::enc {

class BandLimiter {
 public:
  static constexpr int kHalfTaps = 64;
  static constexpr double kMarginHz = 270.0;
  // Bands reaching this high are left alone: nothing audible lies above them.
  static constexpr double kCeilingHz = 22000.0;

  // Designs the filter for a coded band ending at `top_hz` (48 kHz sampling).
  void Design(double top_hz);
  // False when the band needs no limit.
  bool active() const { return active_; }
  // out[i] = the filtered signal at centre[i], for i in [0, n); reads centre[-kHalfTaps] to
  // centre[n - 1 + kHalfTaps]. out must not overlap centre.
  void Apply(const float* centre, float* out, int n) const;

 private:
  bool active_ = false;
  float taps_[kHalfTaps + 1] = {};  // from the centre outwards: taps_[m] at offsets -m and +m
};

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_BAND_LIMIT_H
