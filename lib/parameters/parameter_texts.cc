// The name, tooltip and unit of each parameter.
#include "dolbydigital/parameters.h"
#include "parameters/key_names.h"
#include "parameters/localized_text.h"

namespace dolbydigital {
namespace {

using namespace tidemark;

// English defaults of the names, indexed by ParameterID.
constexpr const char* kNames[kParameterCount] = {
    "Codec Mode",
    "Channel Configuration",
    "Enable @0",
    "Data Rate",
    "Dialogue Normalization",
    "Bitstream Mode",
    "Copyright Bit",
    "Original Bitstream",
    "Dolby Surround Mode",
    "Dolby Digital Surround EX Mode",
    "Stereo Downmix Preference",
    "Lt/Rt Center Mix Level",
    "Lt/Rt Surround Mix Level",
    "Lo/Ro Center Mix Level",
    "Lo/Ro Surround Mix Level",
    "DC Highpass Filter",
    "LFE Lowpass Filter",
    "90#{deg} Phase Shift",
    "3 dB Attenuation",
    "Line Mode Profile",
    "RF Mode Profile",
    "A/D Converter Type",
    "Peak Mix Level",
    "Room Type",
};

// English defaults of the tooltips, indexed by ParameterID.
constexpr const char* kTooltips[kParameterCount] = {
    "Indicates the version of the bitstream.",
    "Indicates the actual channels to be reproduced. The configuration is determined based on "
    "the number of speakers in the system, or on the number of audio outputs needed for a "
    "particular listening situation, such as stereo for headphone listening.",
    "Indicates to an encoder whether an @1 channel is present within the bitstream. The audio "
    "coding mode determines whether the @0 channel parameter is allowed. At least three "
    "channels are required to enable the @0 channel.",
    "Selects the overall data rate of the encoded bitstream. Measured in @0.",
    "Represents a known dialogue reference level that is sent with each audio program "
    "delivered using Dolby Digital. When decoded, the process of dialogue normalization aligns "
    "the dialogue reference level to a specific reference output level, thus ensuring that the "
    "dialogue level of any program is played back at the same output level. This allows all "
    "programs to be reproduced at the same subjective loudness and avoid large changes in "
    "loudness between different sources and programs.",
    "Describes the audio service contained within the Dolby Digital bitstream.",
    "Indicates whether the encoded Dolby Digital bitstream is copyright protected. This "
    "parameter has no effect on Dolby Digital decoders, and its purpose is to provide "
    "information only.",
    "Indicates whether the encoded Dolby Digital bitstream is the master version or a copy. It "
    "has no effect on Dolby Digital decoders, and its purpose is to provide information only.",
    "Indicates to a decoder whether the two-channel encoded bitstream contains a Dolby Surround "
    "(@0/@1) program that requires Dolby Pro Logic decoding. A decoder can use the dsurmod flag "
    "to switch on Dolby Pro Logic decoding automatically as required.",
    "Used to identify the encoded audio as material encoded in Dolby Digital Surround EX. This "
    "parameter is used only if the encoded audio has two surround channels. An amplifier or "
    "receiver with Dolby Digital Surround EX decoding can use this parameter as a flag to "
    "switch the decoding on or off automatically. The behavior is similar to that of the Dolby "
    "Surround mode parameter.",
    "Allows the producer to select either the Lt/Rt or Lo/Ro downmix in a consumer decoder with "
    "stereo outputs. Consumer receivers are able to override this selection, but this "
    "parameter provides the opportunity for a 5.1-channel soundtrack to play in Lo/Ro mode "
    "without user intervention. This is especially useful on music content. Dolby Digital "
    "decoders not capable of producing a downmix compatible with Dolby Pro Logic II will "
    "perform an Lt/Rt downmix when a Dolby Pro Logic II downmix is requested.",
    "Indicates the level shift applied to the @0 channel when adding to the @1 and @2 outputs "
    "as a result of downmixing to an @1/@2 output.#{endl}#{endl}When the encoded audio has "
    "three front channels (@3, @0, @4) but the consumer has only two front speakers (@5 and "
    "@6), this parameter indicates the nominal downmix level for the @0 channel with respect "
    "to the @3 and @4 channels.",
    "indicates the level shift applied to the surround channels when downmixing to an @0/@1 "
    "output.#{endl}#{endl}When the encoded audio has one or more surround channels but the "
    "consumer does not have surround speakers, this parameter indicates the nominal downmix "
    "level for the surround channels with respect to the @2 and @3 channels",
    "Indicates the level shift applied to the @0 channel when adding to the @1 and @2 outputs "
    "as a result of downmixing to an Lo/Ro output.#{endl}#{endl}When the encoded audio has "
    "three front channels (@1, @0, @2) but the consumer has only two front speakers (@3 and "
    "@4), this parameter indicates the nominal downmix level for the @0 channel with respect "
    "to the @1 and @2 channels.",
    "Indicates the level shift applied to the surround channels when downmixing to an Lo/Ro "
    "output.#{endl}#{endl}When the encoded audio has one or more surround channels but the "
    "consumer does not have surround speakers, this parameter indicates the nominal downmix "
    "level for the surround channels with respect to the @0 and @1 channels",
    "Applies a highpass filter to the full-bandwidth channels prior to encoding.",
    "Applies a lowpass filter to the @0 channel prior to encoding.",
    "Applies a 90#{deg} phase shift to the surround channels prior to encoding.",
    "Applies a 3 dB attenuation to the surround channels prior to encoding.",
    "Line mode is intended for use in products providing line- or speaker-level outputs, and "
    "is applicable to the widest range of products. Products such as set-top boxes, DVD "
    "players, DTVs, A/V surround decoders, and outboard Dolby Digital decoders typically use "
    "this mode.",
    "RF mode is intended for products generating a downmixed signal for subsequent channel 3 "
    "RF modulation and transmission to, for example, a low-cost television receiver.",
    "Allows audio previously passed through a particular A/D conversion stage to be marked as "
    "such, so that a decoder may apply the complementary D/A process.",
    "Describes the peak sound pressure level (SPL) used during the final mixing session at the "
    "studio or on the dubbing stage. The parameter allows an amplifier to set its volume "
    "control such that the SPL in the replay environment matches that of the mixing room. This "
    "control operates in addition to the dialogue level control, and is best thought of as the "
    "final volume setting on the consumer's equipment.#{endl}#{endl}This value is determined by "
    "measuring the SPL of pink noise at studio reference level and then adding the amount of "
    "digital headroom above that level. For example, if 85 dB equates to a reference level of "
    "-20 dBFS, the mixing level is 105 dB (85 + 20).",
    "Describes the equalization used during the final mixing session at the studio or on the "
    "dubbing stage. A large room is a dubbing stage with the industry standard X-curve "
    "equalization; a small room has flat equalization. This parameter allows an amplifier to "
    "be set to the same equalization as heard in the final mixing environment.",
};

bool IsKnownParameter(ParameterID id) { return ParameterKeyNameAscii(id) != nullptr; }

// "kParameterID_<key name><suffix>=<English default>"
UTF8String TextKey(ParameterID id, const char* suffix, const char* englishDefault) {
  UTF8String key("kParameterID_");
  key += ParameterKeyNameAscii(id);
  key += suffix;
  key += '=';
  key += englishDefault;
  return key;
}

UTF16String Abbrev(AudioChannelLabel label) { return LabelAbbreviation(label); }
UTF16String Descr(AudioChannelLabel label) { return LabelDescription(label); }

}  // namespace

UTF16String GetParameterName(ParameterID id) {
  if (!IsKnownParameter(id))
    return LocalizedText("UnknownParameterID=Unknown Parameter ID: @0", {DecimalText(id)});
  const UTF8String key = TextKey(id, "", kNames[id]);
  if (id == kParameterID_EnableLFE)
    return LocalizedText(key, {Abbrev(kAudioChannelLabel_LFEScreen)});
  return LocalizedText(key);
}

UTF16String GetParameterTooltip(ParameterID id) {
  if (!IsKnownParameter(id)) return UTF16String();
  const UTF8String key = TextKey(id, "_TT", kTooltips[id]);
  switch (id) {
    case kParameterID_EnableLFE:
      // The text names "@1" where the channel belongs; it is filled with nothing, as the
      // shipped text has always read.
      return LocalizedText(key, {Abbrev(kAudioChannelLabel_LFEScreen), UTF16String()});
    case kParameterID_DataRate:
      return LocalizedText(key, {GetParameterUnit(kParameterID_DataRate)});
    case kParameterID_DolbySurroundMode:
      return LocalizedText(key, {Abbrev(kAudioChannelLabel_LeftTotal),
                                 Abbrev(kAudioChannelLabel_RightTotal)});
    case kParameterID_LtRt_CenterMixLevel:
      return LocalizedText(
          key, {Abbrev(kAudioChannelLabel_Center), Abbrev(kAudioChannelLabel_LeftTotal),
                Abbrev(kAudioChannelLabel_RightTotal), Abbrev(kAudioChannelLabel_Left),
                Abbrev(kAudioChannelLabel_Right), Descr(kAudioChannelLabel_Left),
                Descr(kAudioChannelLabel_Right)});
    case kParameterID_LtRt_SurroundMixLevel:
      return LocalizedText(key, {Abbrev(kAudioChannelLabel_LeftTotal),
                                 Abbrev(kAudioChannelLabel_RightTotal),
                                 Abbrev(kAudioChannelLabel_Left), Abbrev(kAudioChannelLabel_Right)});
    case kParameterID_LoRo_CenterMixLevel:
      return LocalizedText(
          key, {Abbrev(kAudioChannelLabel_Center), Abbrev(kAudioChannelLabel_Left),
                Abbrev(kAudioChannelLabel_Right), Descr(kAudioChannelLabel_Left),
                Descr(kAudioChannelLabel_Right)});
    case kParameterID_LoRo_SurroundMixLevel:
      return LocalizedText(key, {Abbrev(kAudioChannelLabel_Left), Abbrev(kAudioChannelLabel_Right)});
    case kParameterID_LFELowpassFilter:
      return LocalizedText(key, {Abbrev(kAudioChannelLabel_LFEScreen)});
    default:
      return LocalizedText(key);
  }
}

UTF16String GetParameterUnit(ParameterID id) {
  switch (id) {
    case kParameterID_DataRate: return LocalizedText("Unit_Datarate=kbps");
    case kParameterID_DialNorm: return LocalizedText("Unit_LevelFS=dBFS");
    case kParameterID_PeakMixLevel: return LocalizedText("Unit_LevelSPL=dB SPL");
    default: return UTF16String();
  }
}

}  // namespace dolbydigital
