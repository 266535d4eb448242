// Where a channel's spectrum ends. Much material is band-limited well below the rate's
// bandwidth (an orchestral recording ending at 9.7 kHz, game music at 11 kHz, lossy sources at
// 16 kHz), and in multichannel mixes channels end apart (a film's fronts carrying that
// orchestral recording, its centre and surrounds reaching 20 kHz). The bins above a channel's
// content cost exponents, coupling coordinates and extension coordinates in every frame and
// carry nothing; its coded band can end where its content does.
//
// Per frame, a channel's content ends after its highest bin, in any block, whose power comes
// within kRangeDb of the programme's strongest bin in that frame (ContentFloor): a channel
// holding only what lies far below the rest of the mix holds nothing audible. 60 dB cut the
// top of a game soundtrack (PEAQ -0.15 at AC-3 2.0 128k and 192k); 80 dB took an orchestral
// recording's noise floor above its band for content and lost 0.14 of the 0.32 that
// narrowing gains it.
// The edge the coder uses is the highest of the last kHoldFrames frames': the band widens at
// once when content reaches higher, and narrows only after a second without it, so that it
// does not flap with every frame's spectrum. Frames where the whole programme is silent say
// nothing: they leave the edge where it was and do not count towards the second.
#ifndef DDPI_ENGINE_ENCODER_ENC_CONTENT_EDGE_H
#define DDPI_ENGINE_ENCODER_ENC_CONTENT_EDGE_H

namespace ddpi::enc {

class ContentEdgeTracker {
 public:
  static constexpr double kRangeDb = 70.0;
  static constexpr int kHoldFrames = 32;  // about 1 s at 48 kHz
  static constexpr int kBins = 256;

  void Reset() { *this = ContentEdgeTracker(); }
  // Takes one frame of the channel, `blocks` blocks of kBins coefficients, and the programme's
  // ContentFloor for that frame (0: the programme is silent). Returns the bin after the
  // channel's held edge, or kBins while the programme has not been heard yet.
  int Update(const float* const* coef, int blocks, float floor);

 private:
  int edges_[kHoldFrames] = {};  // per frame with signal, the bin after the channel's content
  int next_ = 0;
  int seen_ = 0;
};

// The power kRangeDb below the strongest bin of `count` blocks of kBins coefficients (all
// blocks of all channels of a frame); 0 if they are all silent.
float ContentFloor(const float* const* coef, int count);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_CONTENT_EDGE_H
