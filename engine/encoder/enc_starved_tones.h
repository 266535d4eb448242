// Steady tones the rate starves: a channel whose spectrum holds from frame to frame (a reed, a
// pitch pipe, an organ) in a stream whose offset search leaves its noise well above the masking
// curve. Such a channel is heard through the noise between its partials more than through the
// top of its band, so it ends its band lower and gives those bits to the partials (see
// EndStarvedSteadyChannels).
#ifndef DDPI_ENGINE_ENCODER_ENC_STARVED_TONES_H
#define DDPI_ENGINE_ENCODER_ENC_STARVED_TONES_H

namespace ddpi::enc {

// Follows how much a channel's spectrum changes from one frame to the next: the mean absolute
// natural logarithm of the ratio of its power in 4-bin groups (six blocks summed) to the same
// group's power in the frame before, over groups within 50 dB of the frame's strongest,
// smoothed over about ten frames. Stationary noise cannot read much under 0.3, as each group's
// 24 coefficients fluctuate by about that much; stable partials read 0.1 to 0.2, a distorted
// guitar about 0.33, dense music 0.5 to 0.7, speech and plucked strings over 1. A margin
// between the levels that turn the decision each way keeps the band from changing at every
// frame.
class SteadinessTracker {
 public:
  void Reset() { *this = SteadinessTracker(); }
  // Takes one frame's six blocks of coefficients (`coef[b]`: all 256 bins of block b) over
  // bins [begin, end); returns whether the channel now counts as steady.
  bool Update(const float* const* coef, int blocks, int begin, int end);
  bool steady() const { return steady_; }

 private:
  static constexpr int kGroupBins = 4, kMaxGroups = 64;
  float previous_[kMaxGroups] = {};
  int previous_groups_ = 0;  // 0 before the first frame
  double smoothed_ = -1;     // negative until a change has been measured
  bool steady_ = false;
};

// Follows whether the offset search leaves a stream's noise well above the masking curve: its
// SNR index (csnroffst * 16 + fsnroffst; 240 puts the noise on the curve, each step below
// raises it by 0.19 dB) smoothed over about ten frames, starved below 216 (4.5 dB above the
// curve) and no longer above 232 (1.5 dB).
class StarvationTracker {
 public:
  void Reset() { *this = StarvationTracker(); }
  // Takes the last frame's SNR index (0 before the first frame, which changes nothing).
  bool Update(int snr_index);
  bool starved() const { return starved_; }

 private:
  double smoothed_ = 0;  // 0 until a frame has been allocated
  bool starved_ = false;
};

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_STARVED_TONES_H
