// Transient detection for block switching (after A/52 section 8.2.2). The 256 new samples of
// each block go through a high-pass filter and are cut into a hierarchy of segments (one of
// 256, two of 128, four of 64). A segment whose peak exceeds the loudest peak of 256 earlier
// samples by the level's ratio, above a silence threshold, marks an attack: the
// block is then coded with two short transforms so that the quantisation noise stays within
// 256 samples of the attack. Judging against 256 samples rather than the one segment before
// keeps periodic pulses (a buzzy reed, a low voice: a pulse every 2-10 ms) on long blocks,
// whose frequency resolution such tones need, while an attack after a quieter stretch still
// switches. The attack must also rise above the full-band peak of those 256 samples: a cymbal
// or a bow's scrape that only shows in the high band under loud lower content stays on long
// blocks. Short transforms leak: every coefficient of a tone spreads over the whole band 35-60
// dB below its peak, so their quantisation noise lands in bands where the signal is empty, and
// under loud content such a block costs far more than the pre-echo it saves.
// Those 256 samples end one quarter (64 samples) before the segment. A hand clap or a
// castanet often rises for a few dozen samples before its peak; where that rise falls at the
// end of the block before, it would count in the clap's own reference and hide it (applause:
// claps 8 times louder than that rise but 50 times louder than what came before stayed on long
// blocks, with 18 dB of pre-echo).
#ifndef DDPI_ENGINE_ENCODER_ENC_TRANSIENT_H
#define DDPI_ENGINE_ENCODER_ENC_TRANSIENT_H

namespace ddpi::enc {

class TransientDetector {
 public:
  void Reset();
  // `block` holds the 256 samples that enter the transform for the first time.
  bool Detect(const float* block);

  // The same decision in two steps, for many channels at once: HighPassChannels filters n
  // samples of each detector's channel (the channels' filters run interleaved, so that one
  // channel's recursion does not wait on itself), then DetectFiltered judges each block of
  // 256 filtered samples in order. Detect(block) equals HighPass of the block followed by
  // DetectFiltered(filtered, block).
  static void HighPassChannels(TransientDetector* const* detectors, const float* const* in,
                               float* const* out, int channels, int n);
  bool DetectFiltered(const float* filtered, const float* block);

  // How far the last judged block's attack rises above what came before it: over the segments
  // that mark it, the largest ratio of the segment's full-band peak to the full-band peak of
  // the 256 samples before it (after silence, to the silence threshold); 0 for a block
  // without an attack. A pluck over ringing strings rises a few times, a clap or a castanet
  // after a pause tens to hundreds of times.
  float rise() const { return rise_; }
  // Which 64-sample quarter (0..3) of the last judged block's new samples holds its highest
  // high-passed peak: where an attack in that block lands.
  int peak_quarter() const { return peak_quarter_; }

 private:
  static constexpr int kLevels = 3;
  static constexpr int kMaxInterleaved = 8;

  // Second-order high-pass (8 kHz) in direct form II transposed.
  float s1_ = 0, s2_ = 0;
  // Peaks of the 64-sample quarters of the two previous blocks, oldest first, high-passed
  // and full-band.
  float quarters_before_[8] = {};
  float full_quarters_before_[8] = {};
  float rise_ = 0;
  int peak_quarter_ = 0;
};

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_TRANSIENT_H
