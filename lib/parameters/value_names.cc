// The readable name of each value a parameter can take.
#include "dolbydigital/parameters.h"
#include "parameters/channel_names.h"
#include "parameters/checked_lookup.h"
#include "parameters/localized_text.h"

namespace dolbydigital {
namespace {

constexpr int kNotAvailable = -1;

// Names of the values 0..count-1 of one kind of parameter; keys after the library prefix.
struct ValueNames {
  const char* const* keys;
  int count;
  bool hasNotAvailable;  // -1 reads "Not available"
};

constexpr const char* kOnOff[] = {"Disabled=Disabled", "Enabled=Enabled"};
constexpr const char* kCodecModes[] = {
    "kCodecMode_DolbyDigitalPlus=Dolby Digital Plus", "kCodecMode_DolbyDigital=Dolby Digital",
    "kCodecMode_Bluray_Primary=Blu-ray-compliant primary stream",
    "kCodecMode_Bluray_Secondary=Blu-ray-compliant secondary audio stream"};
// 7 depends on the configuration; see BitstreamModeName.
constexpr const char* kBitstreamModes[] = {
    "kBitstreamMode_CM=Complete Main",     "kBitstreamMode_ME=Music and Effects",
    "kBitstreamMode_VI=Visually Impaired", "kBitstreamMode_HI=Hearing Impaired",
    "kBitstreamMode_D=Dialogue",           "kBitstreamMode_C=Commentary",
    "kBitstreamMode_E=Emergency"};
constexpr const char* kSurroundModes[] = {"kSurroundMode_NotIndicated=Not Indicated",
                                          "kSurroundMode_Disabled=Disabled",
                                          "kSurroundMode_Enabled=Enabled"};
constexpr const char* kDownmixPreferences[] = {
    "kStereoDownmixPreference_NotIndicated=Not Indicated",
    "kStereoDownmixPreference_ProLogicDownmix=Pro Logic downmix preferred",
    "kStereoDownmixPreference_StereoDownmix=Stereo downmix preferred",
    "kStereoDownmixPreference_ProLogicIIDownmix=Pro Logic II downmix preferred"};
// Indices, +3 dB down to minus infinity in 1.5 dB steps.
constexpr const char* kMixLevels[] = {
    "kDownmixLevel_3_0=+3.0 dB",       "kDownmixLevel_1_5=+1.5 dB",
    "kDownmixLevel_0=0.0 dB",          "kDownmixLevel_neg1_5=-1.5 dB",
    "kDownmixLevel_neg3_0=-3.0 dB",    "kDownmixLevel_neg4_5=-4.5 dB",
    "kDownmixLevel_neg6_0=-6.0 dB",    "kDownmixLevel_negInf=-#{U+221E} dB"};
constexpr const char* kCompressionProfiles[] = {
    "kDynamicRangeControlProfile_None=None",
    "kDynamicRangeControlProfile_FilmStandard=Film Standard Compression",
    "kDynamicRangeControlProfile_FilmLight=Film Light Compression",
    "kDynamicRangeControlProfile_MusicStandard=Music Standard Compression",
    "kDynamicRangeControlProfile_MusicLight=Music Light Compression",
    "kDynamicRangeControlProfile_Speech=Speech Compression"};
constexpr const char* kConverterTypes[] = {"kADConverterType_Standard=Standard",
                                           "kADConverterType_HDCD=HDCD"};
constexpr const char* kRoomTypes[] = {"ROOMTYP_NI=Not Indicated",
                                      "ROOMTYP_LG=Large Room, X curve monitor",
                                      "ROOMTYP_SM=Small room, flat monitor"};

template <std::size_t N>
constexpr ValueNames Names(const char* const (&keys)[N], bool hasNotAvailable) {
  return ValueNames{keys, static_cast<int>(N), hasNotAvailable};
}

// The value names of a parameter with a fixed list of them; count 0 for the others.
ValueNames NamesOf(ParameterID id) {
  switch (id) {
    case kParameterID_CodecMode: return Names(kCodecModes, false);
    case kParameterID_EnableLFE:
    case kParameterID_CopyrightBit:
    case kParameterID_OriginalBit:
    case kParameterID_DCHighpassFilter:
    case kParameterID_LFELowpassFilter:
    case kParameterID_90DegreePhaseShift:
    case kParameterID_3dB_Attenuation: return Names(kOnOff, true);
    case kParameterID_BitstreamMode: return Names(kBitstreamModes, false);
    case kParameterID_DolbySurroundMode:
    case kParameterID_DolbyDigitalSurroundEXMode: return Names(kSurroundModes, true);
    case kParameterID_StereoDownmixPreference: return Names(kDownmixPreferences, true);
    case kParameterID_LtRt_CenterMixLevel:
    case kParameterID_LtRt_SurroundMixLevel:
    case kParameterID_LoRo_CenterMixLevel:
    case kParameterID_LoRo_SurroundMixLevel: return Names(kMixLevels, true);
    case kParameterID_DynamicRangeControlLineMode:
    case kParameterID_DynamicRangeControlRFMode: return Names(kCompressionProfiles, true);
    case kParameterID_ADConverterType: return Names(kConverterTypes, true);
    case kParameterID_RoomType: return Names(kRoomTypes, true);
    default: return ValueNames{nullptr, 0, false};
  }
}

bool IsPlainNumber(ParameterID id) {
  return id == kParameterID_DataRate || id == kParameterID_DialNorm ||
         id == kParameterID_PeakMixLevel;
}

// An absent LFE flag (or -1) counts as LFE present.
UTF16String ChannelConfigurationValueName(int value, const ParameterMap& map) {
  const auto lfe = map.find(kParameterID_EnableLFE);
  return GetChannelConfigurationName(static_cast<AudioChannelConfiguration>(value),
                                     lfe == map.end() || lfe->second != 0);
}

// Service 7 is a voice-over for a mono programme and karaoke otherwise.
UTF16String BitstreamModeSevenName(const ParameterMap& map) {
  if (CheckedValue(map, kParameterID_ChannelConfiguration) == kAudioChannelConfiguration_Acmod_10)
    return LocalizedText("kBitstreamMode_VO=Voice Over");
  return LocalizedText("kBitstreamMode_KO=Karaoke");
}

}  // namespace

UTF16String GetNameForValue(ParameterID id, int value, const ParameterMap& map) {
  if (id == kParameterID_ChannelConfiguration) return ChannelConfigurationValueName(value, map);
  if (IsPlainNumber(id)) return DecimalText(value);
  if (id == kParameterID_BitstreamMode && value == 7) return BitstreamModeSevenName(map);
  const ValueNames names = NamesOf(id);
  if (value >= 0 && value < names.count) return LocalizedText(names.keys[value]);
  if (value == kNotAvailable && names.hasNotAvailable)
    return LocalizedText("ValueNotAvailable=Not available");
  return LocalizedText("UnknownValue=Unknown Value: @0", {DecimalText(value)});
}

}  // namespace dolbydigital
