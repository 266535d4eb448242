// Complex FFT of up to 4096 points over split real and imaginary arrays, in radix-2^2 passes
// (two radix-2 stages at a time). For fast convolution, the forward transform takes natural
// order and leaves bit-reversed order (decimation in frequency), the inverse takes bit-reversed
// order and gives natural order (decimation in time): a pointwise product of two forward
// transforms needs no reordering. The MDCT, which loads its input in bit-reversed order, takes
// the forward transform in time.
#ifndef DDPI_ENGINE_ENCODER_ENC_FFT_H
#define DDPI_ENGINE_ENCODER_ENC_FFT_H

namespace ddpi::enc {

// The largest size; `size` below is a power of two from 8 up to it.
constexpr int kConvolutionFftSize = 4096;

// X[k] = sum_n x[n] exp(-2 pi i n k / N), left at index bitreverse(k), N = size.
void FftForwardToBitReversed(float* re, float* im, int size);
// X[k] = sum_n x[n] exp(-2 pi i n k / N) from x[n] at index bitreverse(n), in natural order.
void FftForwardFromBitReversed(float* re, float* im, int size);
// x[n] = sum_k X[k] exp(+2 pi i n k / N) from X[k] at index bitreverse(k); unscaled (N x).
void FftInverseFromBitReversed(float* re, float* im, int size);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_FFT_H
