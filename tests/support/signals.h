// Deterministic test signals, 48 kHz float, full scale = 1.0.
#ifndef DD_TESTS_SUPPORT_SIGNALS_H
#define DD_TESTS_SUPPORT_SIGNALS_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ddtest {

std::vector<float> Silence(size_t frames);
std::vector<float> DcOffset(size_t frames, float value);
std::vector<float> Sine(size_t frames, double hz, double amplitude, double phase = 0,
                        int rate = 48000);
// Uniform white noise with the given RMS (so levels compare with tones by RMS).
std::vector<float> WhiteNoise(size_t frames, double rms, uint32_t seed = 1);
// 1/f noise (white noise through a sum of first-order low-passes an octave apart), given RMS.
std::vector<float> PinkNoise(size_t frames, double rms, uint32_t seed = 1);
// Single-sample clicks of `amplitude` every `interval` samples, the first at `interval / 2`.
std::vector<float> Clicks(size_t frames, size_t interval, float amplitude);
// Castanet-like bursts: every `interval` samples a noise burst with an instant attack, decaying
// by 60 dB over ~15 ms, on a silent background. The classic pre-echo test item.
std::vector<float> CastanetBursts(size_t frames, size_t interval, float peak, uint32_t seed = 1);
// Music-like material: a few sustained harmonic notes changing every `note_frames` samples.
std::vector<float> ToneChords(size_t frames, size_t note_frames, double amplitude,
                              uint32_t seed = 1);

// Adds b into a (sizes must match, extra samples of b are ignored).
void MixInto(std::vector<float>* a, const std::vector<float>& b, float gain = 1.0f);

}  // namespace ddtest

#endif  // DD_TESTS_SUPPORT_SIGNALS_H
