// Signal comparisons for round trips and quality figures.
#ifndef DD_TESTS_SUPPORT_METRICS_H
#define DD_TESTS_SUPPORT_METRICS_H

#include <complex>
#include <cstddef>
#include <vector>

namespace ddtest {

// In-place iterative radix-2 FFT; the size must be a power of two. inverse skips the 1/N
// scaling.
void Fft(std::vector<std::complex<double>>* data, bool inverse);

// 10 log10(sum ref^2 / sum (test - ref)^2) over ref[ref_begin + i], test[test_begin + i],
// i < count (clamped to what both hold). +inf for identical signals, -inf for silent ref.
double SnrDb(const std::vector<float>& ref, const std::vector<float>& test, size_t ref_begin,
             size_t test_begin, size_t count);

// The lag L in [-max_lag, max_lag] that maximises sum ref[i] * test[i + L]: a positive L means
// test runs L samples late. Computed by FFT over at most the first `window` samples of ref.
int BestLag(const std::vector<float>& ref, const std::vector<float>& test, int max_lag,
            size_t window = 1 << 20);

// sum a b / sqrt(sum a^2 sum b^2) over a[i], b[i + lag] where both exist; 0 if either is silent.
double NormalizedCorrelation(const std::vector<float>& a, const std::vector<float>& b,
                             int lag = 0);

// x without its content at and above `hz` (an ideal low-pass, by FFT over the whole signal
// padded against wrap-around): compares the waveform-coded band of streams whose upper band is
// synthesized.
std::vector<float> LowPass(const std::vector<float>& x, double hz, int rate = 48000);

// Energy of x within [lo_hz, hi_hz) in dB (whole-signal FFT; only differences mean anything).
double BandEnergyDb(const std::vector<float>& x, double lo_hz, double hi_hz, int rate = 48000);

// Energy of `test` over that of `ref` in dB within [lo_hz, hi_hz), over their common length.
double BandEnergyRatioDb(const std::vector<float>& ref, const std::vector<float>& test,
                         double lo_hz, double hi_hz, int rate = 48000);

double RmsDb(const std::vector<float>& x);   // dB re amplitude 1.0; -inf when silent
double PeakDb(const std::vector<float>& x);

// Mean noise-to-mask ratio in dB of test against ref (aligned, same rate), from a simple
// Bark-band masking model: 2048-point Hann frames with 50% overlap; power in critical bands
// up to 20 kHz; the reference's band powers spread across bands (falling 25 dB per Bark
// towards lower bands, 10 dB per Bark towards higher ones) and lowered by a fixed 12 dB masking offset, floored
// at an absolute threshold of -100 dB re full scale per band. Per frame the ratio of error
// power to mask is averaged over bands; frames whose reference is below -70 dBFS are skipped;
// the result is the mean over frames in dB. Lower is better; below 0 dB the error is masked.
double NoiseToMaskDb(const std::vector<float>& ref, const std::vector<float>& test,
                     int rate = 48000);

}  // namespace ddtest

#endif  // DD_TESTS_SUPPORT_METRICS_H
