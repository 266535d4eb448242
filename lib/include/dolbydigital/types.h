// The shared types of the Dolby Digital / Dolby Digital Plus library. Numeric values of the
// enumerations are persisted and exchanged: never renumber them.
#ifndef DOLBYDIGITAL_TYPES_H
#define DOLBYDIGITAL_TYPES_H

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <vector>

#include "basalt/small_block_allocator.h"
#include "basalt/string.h"
#include "tidemark/audio_channel.h"

namespace dolbydigital {

enum ParameterID : std::int32_t {
  kParameterID_CodecMode = 0,
  kParameterID_ChannelConfiguration = 1,
  kParameterID_EnableLFE = 2,
  kParameterID_DataRate = 3,
  kParameterID_DialNorm = 4,
  kParameterID_BitstreamMode = 5,
  kParameterID_CopyrightBit = 6,
  kParameterID_OriginalBit = 7,
  kParameterID_DolbySurroundMode = 8,
  kParameterID_DolbyDigitalSurroundEXMode = 9,
  kParameterID_StereoDownmixPreference = 10,
  kParameterID_LtRt_CenterMixLevel = 11,
  kParameterID_LtRt_SurroundMixLevel = 12,
  kParameterID_LoRo_CenterMixLevel = 13,
  kParameterID_LoRo_SurroundMixLevel = 14,
  kParameterID_DCHighpassFilter = 15,
  kParameterID_LFELowpassFilter = 16,
  kParameterID_90DegreePhaseShift = 17,
  kParameterID_3dB_Attenuation = 18,
  kParameterID_DynamicRangeControlLineMode = 19,
  kParameterID_DynamicRangeControlRFMode = 20,
  kParameterID_ADConverterType = 21,
  kParameterID_PeakMixLevel = 22,
  kParameterID_RoomType = 23
};

enum ParameterGroupID : std::int32_t {
  kParameterGroupID_Configuration = 0,
  kParameterGroupID_Preprocessing = 1,
  kParameterGroupID_DownmixMetadata = 2,
  kParameterGroupID_BitstreamInfo = 3,
  kParameterGroupID_DRC = 4,
  kParameterGroupID_ProductionInfo = 5
};

enum CodecMode : std::int32_t {
  kCodecMode_DolbyDigitalPlus = 0,
  kCodecMode_DolbyDigital = 1,
  kCodecMode_Bluray_Primary = 2,
  kCodecMode_Bluray_Secondary = 3
};

enum AudioChannelConfiguration : std::int32_t {
  kAudioChannelConfiguration_Acmod_11 = 0,
  kAudioChannelConfiguration_Acmod_10 = 1,
  kAudioChannelConfiguration_Acmod_20 = 2,
  kAudioChannelConfiguration_Acmod_30 = 3,
  kAudioChannelConfiguration_Acmod_21 = 4,
  kAudioChannelConfiguration_Acmod_31 = 5,
  kAudioChannelConfiguration_Acmod_22 = 6,
  kAudioChannelConfiguration_Acmod_32 = 7,
  kAudioChannelConfiguration_8 = 8,
  kAudioChannelConfiguration_9 = 9,
  kAudioChannelConfiguration_10 = 10,
  kAudioChannelConfiguration_11 = 11,
  kAudioChannelConfiguration_12 = 12,
  kAudioChannelConfiguration_13 = 13,
  kAudioChannelConfiguration_14 = 14,
  kAudioChannelConfiguration_15 = 15,
  kAudioChannelConfiguration_16 = 16,
  kAudioChannelConfiguration_17 = 17,
  kAudioChannelConfiguration_18 = 18,
  kAudioChannelConfiguration_19 = 19,
  kAudioChannelConfiguration_20 = 20,
  kAudioChannelConfiguration_21 = 21,
  kAudioChannelConfiguration_22 = 22,
  kAudioChannelConfiguration_23 = 23,
  kAudioChannelConfiguration_24 = 24,
  kAudioChannelConfiguration_25 = 25,
  kAudioChannelConfiguration_26 = 26,
  kAudioChannelConfiguration_27 = 27,
  kAudioChannelConfiguration_Unknown = 28
};

template <class T>
using Allocator = basalt::utility::SmallBlockAllocator<T>;

// ParameterID -> value, in ascending ParameterID order.
using ParameterMap =
    std::map<ParameterID, std::int32_t, std::less<ParameterID>,
             Allocator<std::pair<const ParameterID, std::int32_t>>>;
using ParameterValueSet = std::set<int, std::less<int>, Allocator<int>>;
using ParameterIDSet = std::set<ParameterID, std::less<ParameterID>, Allocator<ParameterID>>;
using ParameterGroups =
    std::map<ParameterGroupID, ParameterIDSet, std::less<ParameterGroupID>,
             Allocator<std::pair<const ParameterGroupID, ParameterIDSet>>>;

using ChannelLayout = tidemark::AudioChannelLayout;
using UTF16String = basalt::UTF16String;
using UTF8String = basalt::UTF8String;
using ByteVector = std::vector<std::uint8_t, Allocator<std::uint8_t>>;

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_TYPES_H
