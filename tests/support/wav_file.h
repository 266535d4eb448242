// Minimal WAV reader and writer for test fixtures, independent of the library's own reader.
#ifndef DD_TESTS_SUPPORT_WAV_FILE_H
#define DD_TESTS_SUPPORT_WAV_FILE_H

#include <cstdint>
#include <string>

#include "planar.h"

namespace ddtest {

enum class WavFormat { kPcm16, kPcm24, kPcm32, kFloat32 };

// Writes WAVE_FORMAT_PCM / WAVE_FORMAT_IEEE_FLOAT for 1-2 channels and WAVE_FORMAT_EXTENSIBLE
// above (channel_mask 0 picks the default mask for the count: 6 = L R C LFE Ls Rs, 0x60F).
// PCM samples are clipped and rounded. Returns false with a message on failure.
bool WriteWav(const std::string& path, const Planar& audio, WavFormat format,
              uint32_t channel_mask = 0, std::string* error = nullptr);

struct WavInfo {
  WavFormat format = WavFormat::kPcm16;
  bool extensible = false;
  uint32_t channel_mask = 0;
};

// Reads PCM 16/24/32 and float 32, plain or extensible. Samples are scaled to [-1, 1).
bool ReadWav(const std::string& path, Planar* audio, WavInfo* info = nullptr,
             std::string* error = nullptr);

}  // namespace ddtest

#endif  // DD_TESTS_SUPPORT_WAV_FILE_H
