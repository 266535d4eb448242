// Where a programme's spectrum ends. Much material is band-limited well below the rate's
// bandwidth (an orchestral recording ending at 9.7 kHz, game music at 11 kHz, lossy sources at
// 16 kHz). The bins above its content cost exponents and coupling coordinates in every frame
// and carry nothing; the coded band can end where the content does.
//
// Per frame, the content ends after the highest bin whose power, in any channel and block,
// comes within kRangeDb of the frame's strongest bin. 60 dB cut the top of a game soundtrack
// (PEAQ -0.15 at AC-3 2.0 128k and 192k); 80 dB took an orchestral recording's noise floor
// above its band for content and lost 0.14 of the 0.32 that narrowing gains it.
// The edge the coder uses is the highest of the last kHoldFrames frames': the band widens at
// once when content reaches higher, and narrows only after a second without it, so that it
// does not flap with every frame's spectrum. Silent frames say nothing: they leave the edge
// where it was and do not count towards the second.
#ifndef DDPI_ENGINE_ENCODER_ENC_CONTENT_EDGE_H
#define DDPI_ENGINE_ENCODER_ENC_CONTENT_EDGE_H

namespace ddpi::enc {

class ContentEdgeTracker {
 public:
  static constexpr double kRangeDb = 70.0;
  static constexpr int kHoldFrames = 32;  // about 1 s at 48 kHz
  static constexpr int kBins = 256;

  void Reset() { *this = ContentEdgeTracker(); }
  // Takes one frame: `blocks` blocks of each of `channels` channels, coef[c * blocks + b]
  // pointing at kBins coefficients. Returns the bin after the content's held edge, or kBins
  // while no frame with signal has been seen.
  int Update(const float* const* coef, int channels, int blocks);

 private:
  int edges_[kHoldFrames] = {};  // per frame with signal, the bin after its content
  int next_ = 0;
  int seen_ = 0;
};

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_CONTENT_EDGE_H
