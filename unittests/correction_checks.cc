// Self-checks of the correction of a configuration against the source's channels.
#include "dolbydigital/parameters.h"
#include "unittests/self_check_list.h"

namespace dolbydigital {
namespace selfcheck {

void StereoCorrection(proofbench::TestContext& t) {
  ParameterMap map;
  GetDefaults(kCodecMode_DolbyDigital, map);
  SELF_CHECK(t, VerifyAndCorrectParameter(tidemark::CreateStereoChannelLayout(), map));
  SELF_CHECK(t, GetParameter(kParameterID_ChannelConfiguration, map) == kAudioChannelConfiguration_Acmod_20);
  SELF_CHECK(t, GetParameter(kParameterID_EnableLFE, map) == 0);
  SELF_CHECK(t, map.count(kParameterID_LtRt_CenterMixLevel) == 0);
  SELF_CHECK(t, map.count(kParameterID_LoRo_CenterMixLevel) == 0);
  SELF_CHECK(t, map.count(kParameterID_LtRt_SurroundMixLevel) == 0);
  SELF_CHECK(t, map.count(kParameterID_LoRo_SurroundMixLevel) == 0);
  SELF_CHECK(t, map.count(kParameterID_DolbySurroundMode) == 1);
}

void UnmatchedLayoutIsRefused(proofbench::TestContext& t) {
  ParameterMap map;
  GetDefaults(kCodecMode_DolbyDigitalPlus, map);
  const ParameterMap before = map;
  SELF_CHECK(t, !VerifyAndCorrectParameter(ChannelLayout(), map));
  SELF_CHECK(t, !VerifyAndCorrectParameter(ChannelLayout(9), map));
  SELF_CHECK(t, map == before);
}

void OutOfDomainValuesAreCorrected(proofbench::TestContext& t) {
  ParameterMap map;
  GetDefaults(kCodecMode_DolbyDigital, map);
  SELF_CHECK(t, SetParameter(kParameterID_ChannelConfiguration, map, 2));  // others depend on it
  SELF_CHECK(t, !SetParameter(kParameterID_PeakMixLevel, map, 500));       // nothing depends on it
  SetParameter(kParameterID_DataRate, map, 333);
  SELF_CHECK(t, VerifyAndCorrectParameter(tidemark::CreateBroadcast51ChannelLayout(), map));
  SELF_CHECK(t, GetParameter(kParameterID_ChannelConfiguration, map) == 7);
  SELF_CHECK(t, GetParameter(kParameterID_PeakMixLevel, map) == 111);  // clamped
  SELF_CHECK(t, GetParameter(kParameterID_DataRate, map) == 192);      // back to the default
}

}  // namespace selfcheck
}  // namespace dolbydigital
