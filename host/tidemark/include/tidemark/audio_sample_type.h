#ifndef TIDEMARK_AUDIO_SAMPLE_TYPE_H
#define TIDEMARK_AUDIO_SAMPLE_TYPE_H

#include <cstdint>

namespace tidemark {

enum AudioSampleType : std::int32_t {
  kAudioSampleType_Unknown = 0,
  kAudioSampleType_8BitInt = 8,
  kAudioSampleType_16BitInt = 16,
  kAudioSampleType_24BitInt = 24,
  kAudioSampleType_32BitInt = 32,
  kAudioSampleType_32BitFloat = 40,
  kAudioSampleType_64BitFloat = 48
};

}  // namespace tidemark

#endif  // TIDEMARK_AUDIO_SAMPLE_TYPE_H
