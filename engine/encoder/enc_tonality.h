// Whether a channel's upper band holds stable partials (a reed, a pitch pipe, struck bars)
// rather than noise or dense music. Two decisions depend on it: spectral extension leaves such
// a channel out (ChooseExtendedChannels), and a clearly tonal channel ends at a narrower band
// (plan.tonal_chbwcod with the extension, the rate's own band without it; see
// EndClearlyTonalChannels).
#ifndef DDPI_ENGINE_ENCODER_ENC_TONALITY_H
#define DDPI_ENGINE_ENCODER_ENC_TONALITY_H

namespace ddpi::enc {

// How peaked bins [begin, end) are over a run of blocks (`coef[b]`: all 256 bins of block b):
// the power per bin summed over the blocks, then the geometric over the arithmetic mean
// within each run of 16 bins, averaged as logarithms over the range. Summing the blocks evens
// out how a stable partial's coefficient swings from block to block, and judging 16 bins at a
// time leaves the spectrum's overall slope out. A few stable partials per 16 bins measure
// about 0.05 to 0.3, noise 0.6 to 0.85; silence and a range shorter than 16 bins measure 1.
double LocalFlatness(const float* const* coef, int blocks, int begin, int end);

// Follows, frame by frame, whether a channel's upper band holds stable partials, from its
// LocalFlatness smoothed over about ten frames, with a margin between the levels that turn
// the decision each way: a band coded one way and then the other from frame to frame is
// modulated, which is heard (and graded) as worse than either.
class TonalityTracker {
 public:
  void Reset() { *this = TonalityTracker(); }
  // Takes one frame's LocalFlatness; returns whether the channel now counts as tonal.
  bool Update(double local_flatness);
  bool tonal() const { return tonal_; }
  // Tonal, and peaked well beyond the level that turned it so: few stable partials with
  // little between them (a reed, a pitch pipe, struck bars), not a dense or distorted tone.
  // It too takes a margin to turn back.
  bool clearly_tonal() const { return clearly_tonal_; }

 private:
  double smoothed_ = 1.0;
  bool tonal_ = false;
  bool clearly_tonal_ = false;
};

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_TONALITY_H
