// Transient detection for block switching (after A/52 section 8.2.2). The 256 new samples of
// each block go through a high-pass filter and are cut into a hierarchy of segments (one of
// 256, two of 128, four of 64). A segment whose peak exceeds the loudest peak of 256 earlier
// samples by the level's ratio (the 256-sample level's at every level where the full band
// rises as far as an exposed attack), above a silence threshold, marks an attack: the
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

// An attack is exposed when it rises at least this many times over the full-band peak of the
// 256 samples before it (TransientDetector::rise); only exposed attacks get finer quantization
// (MarkAttackBlocks in enc_attack_blocks.cc). Below that, what came before is loud enough to
// mask the pre-echo at the frame's own offset, and the boost only takes bits from the rest of the
// frame: harpsichord plucks over ringing strings rise 2-9 times, claps, castanets and speech
// onsets 10 to several hundred times. PEAQ, ours minus FFmpeg, basic / advanced: E-AC-3 2.0
// 128k +0.36 / +0.13 -> +0.38 / +0.13 (harpsichord +0.21 / +0.07), 5.1 256k +0.47 / +0.26 ->
// +0.48 / +0.26, AC-3 5.1 384k +0.28 -> +0.29 basic, the other settings within 0.01;
// harpsichord +0.03 at AC-3 2.0 128k, no item lower by more than 0.03 but one drum
// recording's advanced grade (-0.06). Pre-echo over the 102 attacks: medians within 0.5 dB
// (E-AC-3 2.0 96k 5.4 -> 5.1 dB, 5.1 192k 6.6 -> 6.1, 256k 4.8 -> 5.0), 90th percentiles and
// the worst attack against FFmpeg's within 0.1 dB. A bound of 20 raised the worst attack at
// E-AC-3 by 0.3-0.5 dB; 5 graded as 10.
constexpr float kExposedAttackRise = 10;

// An attack that is not exposed stays on long transforms where the block's spectrum is tonal:
// its long transform's spectral flatness over 1.9-16 kHz (TonalBlock) under this. What rings
// before such an onset masks its pre-echo, while two short transforms would smear its
// partials' quantization noise over the band: a glockenspiel's strikes over ringing bars
// (flatness 0.001-0.05), where claps and plucks with a noisy edge lie at 0.2-0.4. PEAQ, ours
// minus FFmpeg, basic / advanced: AC-3 2.0 192k +0.09 / +0.19 -> +0.10 / +0.19, 128k +0.31 /
// +0.19 -> +0.32 / +0.20, E-AC-3 2.0 96k +1.03 / +1.36 -> +1.04 / +1.37, 128k +0.45 / +0.19
// -> +0.47 / +0.20 (glockenspiel +0.16 to +0.23 basic, harpsichord +0.06 to +0.15 advanced),
// 5.1 within 0.01; the held-out music and the pre-echo medians and 90th percentiles
// unchanged. At 0.05 the harpsichord gains less; at 0.2 it loses again.
constexpr double kTonalBlockFlatness = 0.1;
// Whether the 512 samples a block transforms are tonal in that sense.
bool TonalBlock(const float* in512);

// How far the 512 samples a block transforms rise within them: the energy of the loudest
// 64-sample quarter of the new 256 samples, times four, against the energy of the 256 old
// ones, or against the detector's silence level where they are quieter. Large where an onset
// lands in a block the detector leaves on long transforms.
float WindowRise(const float* in512);
// WindowRise of `blocks` (at most kMaxWindowRiseBlocks) consecutive blocks at once: samples
// holds 256 * (blocks + 1) samples, block b transforming samples[256 b .. 256 b + 512).
constexpr int kMaxWindowRiseBlocks = 6;
void WindowRises(const float* samples, int blocks, float* rises);

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
