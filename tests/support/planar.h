// Planar float audio for tests, and the standard test programme made of the alsa-utils speech
// recordings, each naming its own loudspeaker.
#ifndef DD_TESTS_SUPPORT_PLANAR_H
#define DD_TESTS_SUPPORT_PLANAR_H

#include <cstddef>
#include <string>
#include <vector>

namespace ddtest {

struct Planar {
  int rate = 48000;
  std::vector<std::vector<float>> channels;

  size_t frames() const { return channels.empty() ? 0 : channels[0].size(); }
  // Interleaved copy (frame-major), as written to files and pipes.
  std::vector<float> Interleaved() const;
  static Planar FromInterleaved(const float* samples, size_t frames, int channel_count,
                                int rate = 48000);
};

// Directory of the recordings; DD_ALSA_SOUNDS overrides /usr/share/sounds/alsa.
std::string AlsaSoundsDir();

// One channel per name ("Front_Left", "Rear_Center", "Noise", ...), each the named recording
// zero-padded or trimmed to `frames`. Aborts the test (gtest fatal failure) when a file is
// missing or is not 48 kHz mono.
Planar LoadAlsaSpeech(const std::vector<std::string>& names, size_t frames);

// Engine slots (0 L, 1 R, 2 C, 3 LFE, 4 Ls/S, 5 Rs) that an audio coding mode uses, ascending.
// acmod 0 (1+1) uses slots 0 and 1; the single surround of 2/1 and 3/1 uses slot 4.
std::vector<int> SlotsForLayout(int acmod, bool lfe);

// The speech programme for an audio coding mode, one channel per slot of SlotsForLayout in the
// same order: each channel the recording that names it; LFE a low 40 + 70 Hz tone with a slow
// envelope.
Planar SpeechForLayout(int acmod, bool lfe, size_t frames);

}  // namespace ddtest

#endif  // DD_TESTS_SUPPORT_PLANAR_H
