// What the frame-analysis stage tests share: a reproducible noise, the kinds of attack
// transient detection reports, and an empty frame.
#ifndef DDPI_ENGINE_ENCODER_ENC_FRAME_TEST_UTIL_H
#define DDPI_ENGINE_ENCODER_ENC_FRAME_TEST_UTIL_H

#include <cstdint>
#include <memory>

#include "enc_frame.h"

namespace ddpi::enc {

// The next sample of a reproducible uniform noise in [-0.5, 0.5).
inline float Noise(uint32_t* seed) {
  *seed = *seed * 1664525u + 1013904223u;
  return static_cast<float>((*seed >> 8) / 16777216.0 - 0.5);
}

// An attack far above what came before it (a clap after a pause), landing in the last quarter
// of its block's new samples; the same landing in the first quarter; and one that rises only a
// few times over ringing content (a pluck).
constexpr BlockAttack kExposedAttack = {true, 30.0f, 3};
constexpr BlockAttack kEarlyExposedAttack = {true, 30.0f, 0};
constexpr BlockAttack kSilentAttack = {true, 300.0f, 3};  // out of near silence
constexpr BlockAttack kMaskedAttack = {true, 3.0f};

// An empty frame of the full-bandwidth channels of `acmod`, without LFE.
inline std::unique_ptr<FrameData> NewFrame(int acmod) {
  auto f = std::make_unique<FrameData>();
  f->acmod = acmod;
  f->nfch = f->channels = FbwChannels(acmod);
  return f;
}

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_FRAME_TEST_UTIL_H
