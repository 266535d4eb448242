// Self-checks of the texts shown for groups, parameters and values.
#include "dolbydigital/parameters.h"
#include "unittests/self_check_list.h"

namespace dolbydigital {
namespace selfcheck {

void GroupAndParameterTexts(proofbench::TestContext& t) {
  SELF_CHECK(t, GetParameterGroups().size() == 6);
  SELF_CHECK(t, GetGroupForParameter(kParameterID_RoomType) == kParameterGroupID_ProductionInfo);
  SELF_CHECK(t, GetGroupForParameter(static_cast<ParameterID>(24)) == 6);
  SELF_CHECK(t, Reads(GetParameterGroupName(kParameterGroupID_DRC), "Dynamic Range Control"));
  SELF_CHECK(t, Reads(GetParameterName(kParameterID_EnableLFE), "Enable LFE"));
  SELF_CHECK(t, Reads(GetParameterName(static_cast<ParameterID>(99)), "Unknown Parameter ID: 99"));
  SELF_CHECK(t, Reads(GetParameterUnit(kParameterID_PeakMixLevel), "dB SPL"));
  SELF_CHECK(t, GetParameterUnit(kParameterID_CodecMode).empty());
  SELF_CHECK(t, !GetParameterTooltip(kParameterID_DialNorm).empty());
  SELF_CHECK(t, GetParameterTooltip(static_cast<ParameterID>(24)).empty());
}

void ValueNames(proofbench::TestContext& t) {
  const ParameterMap mono{{kParameterID_ChannelConfiguration, 1}};
  const ParameterMap noLfe{{kParameterID_EnableLFE, 0}};
  SELF_CHECK(t, Reads(GetNameForValue(kParameterID_DialNorm, -31, mono), "-31"));
  SELF_CHECK(t, Reads(GetNameForValue(kParameterID_BitstreamMode, 7, mono), "Voice Over"));
  SELF_CHECK(t, Reads(GetNameForValue(kParameterID_BitstreamMode, -1, mono), "Unknown Value: -1"));
  SELF_CHECK(t, Reads(GetNameForValue(kParameterID_LoRo_CenterMixLevel, 8, mono), "Unknown Value: 8"));
  SELF_CHECK(t, Reads(GetNameForValue(kParameterID_CopyrightBit, -1, mono), "Not available"));
  SELF_CHECK(t, Reads(GetNameForValue(kParameterID_ChannelConfiguration, 7, noLfe), "3/2 (L R C Ls Rs)"));
}

}  // namespace selfcheck
}  // namespace dolbydigital
