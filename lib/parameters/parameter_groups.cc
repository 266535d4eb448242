// The fixed grouping of the parameters for display, and the groups' names.
#include "dolbydigital/parameters.h"
#include "parameters/localized_text.h"

namespace dolbydigital {
namespace {

// What GetGroupForParameter answers for an identifier no group holds.
constexpr ParameterGroupID kNoGroup = static_cast<ParameterGroupID>(6);

}  // namespace

ParameterGroups GetParameterGroups() {
  ParameterGroups groups;
  groups[kParameterGroupID_Configuration] = {
      kParameterID_CodecMode, kParameterID_ChannelConfiguration, kParameterID_EnableLFE,
      kParameterID_DataRate, kParameterID_DialNorm};
  groups[kParameterGroupID_Preprocessing] = {
      kParameterID_DCHighpassFilter, kParameterID_LFELowpassFilter,
      kParameterID_90DegreePhaseShift, kParameterID_3dB_Attenuation};
  groups[kParameterGroupID_DownmixMetadata] = {
      kParameterID_StereoDownmixPreference, kParameterID_LtRt_CenterMixLevel,
      kParameterID_LtRt_SurroundMixLevel, kParameterID_LoRo_CenterMixLevel,
      kParameterID_LoRo_SurroundMixLevel};
  groups[kParameterGroupID_BitstreamInfo] = {
      kParameterID_BitstreamMode, kParameterID_CopyrightBit, kParameterID_OriginalBit,
      kParameterID_DolbySurroundMode, kParameterID_DolbyDigitalSurroundEXMode};
  groups[kParameterGroupID_DRC] = {kParameterID_DynamicRangeControlLineMode,
                                   kParameterID_DynamicRangeControlRFMode};
  groups[kParameterGroupID_ProductionInfo] = {
      kParameterID_ADConverterType, kParameterID_PeakMixLevel, kParameterID_RoomType};
  return groups;
}

ParameterGroupID GetGroupForParameter(ParameterID id) {
  ParameterGroupID found = kNoGroup;
  for (const auto& group : GetParameterGroups())
    if (group.second.count(id)) found = group.first;
  return found;
}

UTF16String GetParameterGroupName(ParameterGroupID group) {
  switch (group) {
    case kParameterGroupID_Configuration:
      return LocalizedText("kParameterGroupID_Configuration=Configuration");
    case kParameterGroupID_Preprocessing:
      return LocalizedText("kParameterGroupID_Preprocessing=Pre-Processing");
    case kParameterGroupID_DownmixMetadata:
      return LocalizedText("kParameterGroupID_DownmixMetadata=Downmix Metadata");
    case kParameterGroupID_BitstreamInfo:
      return LocalizedText("kParameterGroupID_BitstreamInfo=Bitstream Information");
    case kParameterGroupID_DRC:
      return LocalizedText("kParameterGroupID_DRC=Dynamic Range Control");
    case kParameterGroupID_ProductionInfo:
      return LocalizedText("kParameterGroupID_ProductionInfo=Audio Production Information");
    default:
      return LocalizedText("UnknownParameterGroupID=Unknown Parameter Group ID: @0",
                           {DecimalText(group)});
  }
}

}  // namespace dolbydigital
