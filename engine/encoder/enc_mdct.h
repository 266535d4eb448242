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
void MdctShort(const float* in512, float* out256);

// Direct O(N^2) evaluation of the formulas above, for tests.
void MdctReference(const float* in512, bool short_blocks, double* out256);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_MDCT_H
