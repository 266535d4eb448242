#include "parameters/key_names.h"

#include <cstdio>

namespace dolbydigital {
namespace {

constexpr const char* kKeyNames[kParameterCount] = {
    "CodecMode",
    "ChannelConfiguration",
    "EnableLFE",
    "DataRate",
    "DialNorm",
    "BitstreamMode",
    "CopyrightBit",
    "OriginalBit",
    "DolbySurroundMode",
    "DolbyDigitalSurroundEXMode",
    "StereoDownmixPreference",
    "LtRt_CenterMixLevel",
    "LtRt_SurroundMixLevel",
    "LoRo_CenterMixLevel",
    "LoRo_SurroundMixLevel",
    "DCHighpassFilter",
    "LFELowpassFilter",
    "90DegreePhaseShift",
    "3dB_Attenuation",
    "DynamicRangeControlLineMode",
    "DynamicRangeControlRFMode",
    "ADConverterType",
    "PeakMixLevel",
    "RoomType",
};

}  // namespace

const char* ParameterKeyNameAscii(ParameterID id) {
  const int index = id;
  return index >= 0 && index < kParameterCount ? kKeyNames[index] : nullptr;
}

UTF16String ParameterKeyName(ParameterID id) {
  if (const char* name = ParameterKeyNameAscii(id)) return basalt::AsciiToUTF16(name);
  char unknown[32];
  std::snprintf(unknown, sizeof unknown, "UnknownID_%i", static_cast<int>(id));
  return basalt::AsciiToUTF16(unknown);
}

}  // namespace dolbydigital
