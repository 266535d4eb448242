// Forward transforms of A/52 section 8.2.3 with the 512-point Kaiser-Bessel derived window
// (alpha 5, Table 7.33):
//   long block:   X[k] = -2/N sum_n x[n] w[n] cos(2pi/(4N) (2n+1)(2k+1) + pi/4 (2k+1)), N = 512
//   short blocks: the windowed 512 samples split into two halves of N = 256, transformed with
//                 the extra phase pi/4 (2k+1)(1 + alpha), alpha = -1 (first) and +1 (second),
//                 coefficients interleaved (first half at even, second at odd indices) as the
//                 decoder de-interleaves them (section 7.9.4.2).
// Computed through a DCT-IV of the folded input and a quarter-length complex FFT.
#ifndef DDPI_ENGINE_ENCODER_ENC_MDCT_H
#define DDPI_ENGINE_ENCODER_ENC_MDCT_H

namespace ddpi::enc {

// The 512-point window w[n], n = 0..511 (symmetric).
const float* KbdWindow();

// 512 input samples (previous block's 256 then this block's 256) to 256 coefficients.
void MdctLong(const float* in512, float* out256);
// The two halves meet at the block's centre, where the window is near one. There the first
// half's basis functions are even and the second half's odd: they all vanish at the centre.
// So whatever the signal holds at the centre reaches the second half's highest coefficients
// (for a steady tone about -31 dB of that half's energy lies above 17 kHz, against -65 dB in
// the first half). Bins past a channel's bandwidth are not sent, so a decoder rebuilds every
// short block's centre without that part. The result is a short burst above the coded band,
// as large as the signal at the centre. It is what the quality benchmark reports as energy
// above the band on stereo items with attacks; mixes of more than two channels keep long
// transforms for that reason (PlanForRate). It is not quantization noise: at 640 kbps the
// burst is the same, and with block switching off it is gone. Sending every bin up to 23.7
// kHz (bandwidth code 60) in frames with short blocks only lowers it: a castanet at AC-3 2.0
// 192k keeps 25-30 dB over an original that holds nothing above 20.5 kHz, 8 dB less than
// before, and the bits it takes cost the attacks (worst pre-echo over FFmpeg's, AC-3 2.0 192k
// +3.4 -> +4.6 dB, 128k +4.4 -> +7.2). A second short block after one with an attack has its
// centre inside the attack: keeping such blocks long took the burst from castanets, speech and
// glockenspiel at AC-3 2.0 192k (castanets 37.9 -> 1.5 dB over the original), not from items
// whose attacks sound over other content (harpsichord 42.5, applause 28), and cost PEAQ up to
// 0.015 and E-AC-3 2.0 96k's worst attack +5.2 -> +6.3 dB over FFmpeg's.
void MdctShort(const float* in512, float* out256);

// Direct O(N^2) evaluation of the formulas above, for tests.
void MdctReference(const float* in512, bool short_blocks, double* out256);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_MDCT_H
