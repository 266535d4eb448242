// Self-checks of the default configurations the parameter model builds.
#include "dolbydigital/parameters.h"
#include "unittests/self_check_list.h"

namespace dolbydigital {
namespace selfcheck {

void DefaultsOfEveryMode(proofbench::TestContext& t) {
  for (CodecMode mode : {kCodecMode_DolbyDigitalPlus, kCodecMode_DolbyDigital,
                         kCodecMode_Bluray_Primary, kCodecMode_Bluray_Secondary}) {
    ParameterMap map{{static_cast<ParameterID>(50), 1}};
    GetDefaults(mode, map);
    SELF_CHECK(t, map.size() == 24);
    SELF_CHECK(t, map.count(static_cast<ParameterID>(50)) == 0);
    SELF_CHECK(t, GetParameter(kParameterID_CodecMode, map) == mode);
    SELF_CHECK(t, GetParameter(kParameterID_ChannelConfiguration, map) == 7);
    SELF_CHECK(t, GetParameter(kParameterID_EnableLFE, map) == 1);
    SELF_CHECK(t, GetParameter(kParameterID_DialNorm, map) == -31);
    SELF_CHECK(t, GetParameter(kParameterID_DataRate, map) == 192);
  }
}

void DolbyDigitalDataRates(proofbench::TestContext& t) {
  ParameterMap map;
  GetDefaults(kCodecMode_DolbyDigital, map);
  ParameterValueSet rates;
  int defaultRate = 0, lowest = 0, highest = 0;
  SELF_CHECK(t, GetParameterInfo(kParameterID_DataRate, map, rates, defaultRate, lowest, highest,
                                 ChannelLayout()));
  SELF_CHECK(t, rates == (ParameterValueSet{192, 224, 256, 320, 384, 448, 512, 576, 640}));
  SELF_CHECK(t, defaultRate == 192);
}

}  // namespace selfcheck
}  // namespace dolbydigital
