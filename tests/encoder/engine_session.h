// Drives the engine's encoder through its exported C functions for tests: one stream from
// planar input routed to engine slots, flushed so that every input sample comes out.
#ifndef DD_TESTS_ENCODER_ENGINE_SESSION_H
#define DD_TESTS_ENCODER_ENGINE_SESSION_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "ddpi/ddpi_enc.h"
#include "ffmpeg_tool.h"
#include "planar.h"

namespace ddenc_test {

struct EncodeRequest {
  int mode = DDPI_ENC_MODE_DD;
  std::vector<std::pair<int, int>> params;  // (engine id, value), sent in one setparams call
  ddtest::Planar input;                     // one channel per entry of slots
  std::vector<int> slots;                   // engine slot of each input channel
};

struct EncodeResult {
  int error = 0;            // first non-zero engine result
  std::vector<uint8_t> stream;
  int delay = 0;            // engine delay in samples
  int frames = 0;
  std::vector<std::string> messages;  // engine messages received
};

// A 2/0 input encoded at `kbps` without LFE or dynamic range compression (the input's two
// channels in the left and right slots) and decoded by FFmpeg with its checks.
struct StereoRoundTrip {
  std::string failure;  // empty when both went cleanly and every input sample came out
  EncodeResult enc;
  ddtest::DecodeResult dec;
};
StereoRoundTrip RoundTripStereo(int mode, int kbps, const ddtest::Planar& input,
                                const std::string& extension);

// Encodes the whole input plus enough silent frames to flush delay and tail.
EncodeResult EncodeWithEngine(const EncodeRequest& request);

// Top of the band the engine codes as a waveform at this rate: where spectral extension
// begins when the stream uses it (E-AC-3 at low rates), else 24 kHz. Above it the decoded
// signal is synthesized, so waveform comparisons stop there.
double WaveformBandHz(int kbps, int acmod, bool lfe, bool eac3);

// Top of the band the engine codes at all at this rate (waveform, coupled or extended).
double CodedBandHz(int kbps, int acmod, bool lfe, bool eac3);

}  // namespace ddenc_test

#endif  // DD_TESTS_ENCODER_ENGINE_SESSION_H
