#include <gtest/gtest.h>

#include <stdexcept>

#include "parameters/parameter_test_support.h"

namespace dolbydigital {
namespace {

using namespace testing_support;
using std::vector;

const vector<int> kAc3RatesFrom192 = {192, 224, 256, 320, 384, 448, 512, 576, 640};

ParameterMap WithConfiguration(CodecMode mode, int cfg, int lfe = 1) {
  ParameterMap map = Defaults(mode);
  map[kParameterID_ChannelConfiguration] = cfg;
  map[kParameterID_EnableLFE] = lfe;
  return map;
}

TEST(GetDefaults, DolbyDigitalReplacesTheWholeMap) {
  ParameterMap map{{kParameterID_DialNorm, -5}, {static_cast<ParameterID>(40), 1}};
  GetDefaults(kCodecMode_DolbyDigital, map);
  ASSERT_EQ(map.size(), 24u);
  int expectedKey = 0;
  for (const auto& entry : map) EXPECT_EQ(entry.first, expectedKey++);
  EXPECT_EQ(map[kParameterID_CodecMode], kCodecMode_DolbyDigital);
  EXPECT_EQ(map[kParameterID_ChannelConfiguration], 7);
  EXPECT_EQ(map[kParameterID_EnableLFE], 1);
  EXPECT_EQ(map[kParameterID_DataRate], 192);
  EXPECT_EQ(map[kParameterID_DialNorm], -31);
  EXPECT_EQ(map[kParameterID_PeakMixLevel], 105);
}

TEST(GetDefaults, WithoutModeIsDolbyDigitalPlus) {
  ParameterMap plain{{kParameterID_DialNorm, 3}};
  GetDefaults(plain);
  EXPECT_EQ(plain, Defaults(kCodecMode_DolbyDigitalPlus));
  EXPECT_EQ(plain[kParameterID_CodecMode], 0);
}

TEST(GetDefaults, ParametersThatDoNotApplyStillGetADefault) {
  // Dolby Surround mode only applies to 2/0; a 3/2 default still stores it.
  const ParameterMap map = Defaults(kCodecMode_DolbyDigital);
  EXPECT_FALSE(InfoFor(kParameterID_DolbySurroundMode, map).applies);
  EXPECT_EQ(map.at(kParameterID_DolbySurroundMode), 0);
}

TEST(GetDefaults, EveryModeHasTwentyFourParameters) {
  for (CodecMode mode : {kCodecMode_DolbyDigitalPlus, kCodecMode_DolbyDigital,
                         kCodecMode_Bluray_Primary, kCodecMode_Bluray_Secondary})
    EXPECT_EQ(Defaults(mode).size(), 24u) << mode;
}

TEST(GetParameterInfo, DolbyDigitalDataRatesAreTheAc3RatesAboveTheFloor) {
  const Info info = InfoFor(kParameterID_DataRate, Defaults(kCodecMode_DolbyDigital));
  EXPECT_TRUE(info.applies);
  EXPECT_EQ(info.defaultValue, 192);
  EXPECT_EQ(Values(info.values), kAc3RatesFrom192);
}

TEST(GetParameterInfo, DataRateFloorsFollowTheConfiguration) {
  const Info mono = InfoFor(kParameterID_DataRate, WithConfiguration(kCodecMode_DolbyDigital, 1, 0));
  EXPECT_EQ(mono.defaultValue, 64);
  EXPECT_EQ(*mono.values.begin(), 32);
  const Info stereo = InfoFor(kParameterID_DataRate, WithConfiguration(kCodecMode_DolbyDigital, 2, 0));
  EXPECT_EQ(stereo.defaultValue, 128);
  EXPECT_EQ(*stereo.values.begin(), 64);
  const Info quad = InfoFor(kParameterID_DataRate, WithConfiguration(kCodecMode_DolbyDigital, 6));
  EXPECT_EQ(quad.defaultValue, 192);
  EXPECT_EQ(*quad.values.begin(), 160);
}

TEST(GetParameterInfo, DolbyDigitalPlusOffersTheFullRateTableUpTo1024) {
  const Info info = InfoFor(kParameterID_DataRate, Defaults(kCodecMode_DolbyDigitalPlus));
  EXPECT_EQ(*info.values.begin(), 192);
  EXPECT_EQ(*info.values.rbegin(), 1024);
  EXPECT_TRUE(info.values.count(200));
  EXPECT_TRUE(info.values.count(1008));
  EXPECT_FALSE(info.values.count(1152));
  const Info secondary = InfoFor(kParameterID_DataRate, Defaults(kCodecMode_Bluray_Secondary));
  EXPECT_EQ(*secondary.values.rbegin(), 256);
}

TEST(GetParameterInfo, ExtendedConfigurationRates) {
  const Info c24 = InfoFor(kParameterID_DataRate, WithConfiguration(kCodecMode_DolbyDigitalPlus, 24));
  EXPECT_EQ(*c24.values.begin(), 640);
  const Info c19 = InfoFor(kParameterID_DataRate, WithConfiguration(kCodecMode_DolbyDigitalPlus, 19));
  EXPECT_EQ(Values(c19.values), (vector<int>{384, 448, 640, 704, 768, 832, 896, 960, 1008, 1024}));
  EXPECT_EQ(c19.defaultValue, 384);
}

TEST(GetParameterInfo, DialNormIsANegativeRange) {
  const Info info = InfoFor(kParameterID_DialNorm, Defaults(kCodecMode_DolbyDigitalPlus));
  EXPECT_TRUE(info.applies);
  EXPECT_TRUE(info.values.empty());
  EXPECT_EQ(info.lowest, -31);
  EXPECT_EQ(info.highest, -1);
  EXPECT_EQ(info.defaultValue, -31);
}

TEST(GetParameterInfo, ModeWithoutEngineModeGivesNothing) {
  ParameterMap map = Defaults(kCodecMode_DolbyDigital);
  map[kParameterID_CodecMode] = 7;
  for (int id = 0; id < 24; ++id) {
    ParameterValueSet values{42};
    int def = 9, lo = 9, hi = 9;
    EXPECT_FALSE(GetParameterInfo(static_cast<ParameterID>(id), map, values, def, lo, hi, ChannelLayout()));
    EXPECT_EQ(def, 0);
    EXPECT_EQ(Values(values), vector<int>{42}) << "values are left as the caller passed them";
  }
}

TEST(GetParameterInfo, UnknownIdentifierDoesNotApply) {
  const Info info = InfoFor(static_cast<ParameterID>(24), Defaults(kCodecMode_DolbyDigital));
  EXPECT_FALSE(info.applies);
  EXPECT_EQ(info.defaultValue, 0);
}

TEST(GetParameterInfo, MissingModeOrConfigurationIsACheckedLookupError) {
  ParameterMap noMode = Defaults(kCodecMode_DolbyDigital);
  noMode.erase(kParameterID_CodecMode);
  ParameterValueSet values;
  int d, l, h;
  try {
    GetParameterInfo(kParameterID_DataRate, noMode, values, d, l, h, ChannelLayout());
    FAIL() << "expected out_of_range";
  } catch (const std::out_of_range& e) {
    EXPECT_STREQ(e.what(), "invalid map<K, T> key");
  }
  ParameterMap noConfiguration = Defaults(kCodecMode_DolbyDigital);
  noConfiguration.erase(kParameterID_ChannelConfiguration);
  EXPECT_THROW(GetParameterInfo(kParameterID_DataRate, noConfiguration, values, d, l, h, ChannelLayout()),
               std::out_of_range);
}

TEST(GetParameterInfo, MixLevelsApplyOnlyWithTheirChannels) {
  const auto applies = [](ParameterID id, int cfg) {
    return InfoFor(id, WithConfiguration(kCodecMode_DolbyDigital, cfg)).applies;
  };
  for (int cfg : {3, 5, 7}) EXPECT_TRUE(applies(kParameterID_LoRo_CenterMixLevel, cfg)) << cfg;
  for (int cfg : {0, 1, 2, 4, 6}) EXPECT_FALSE(applies(kParameterID_LtRt_CenterMixLevel, cfg)) << cfg;
  for (int cfg : {4, 5, 6, 7}) EXPECT_TRUE(applies(kParameterID_LtRt_SurroundMixLevel, cfg)) << cfg;
  for (int cfg : {0, 1, 2, 3}) EXPECT_FALSE(applies(kParameterID_LoRo_SurroundMixLevel, cfg)) << cfg;
  EXPECT_FALSE(applies(kParameterID_3dB_Attenuation, 3));
  EXPECT_TRUE(applies(kParameterID_3dB_Attenuation, 4));
  EXPECT_TRUE(applies(kParameterID_DolbySurroundMode, 2));
  EXPECT_FALSE(applies(kParameterID_DolbySurroundMode, 0));
  EXPECT_TRUE(applies(kParameterID_DolbyDigitalSurroundEXMode, 6));
  EXPECT_FALSE(applies(kParameterID_DolbyDigitalSurroundEXMode, 5));
}

TEST(GetParameterInfo, StereoDownmixPreferenceDependsOnMode) {
  EXPECT_EQ(InfoFor(kParameterID_StereoDownmixPreference, Defaults(kCodecMode_DolbyDigital)).highest, 2);
  EXPECT_EQ(InfoFor(kParameterID_StereoDownmixPreference, Defaults(kCodecMode_DolbyDigitalPlus)).highest, 3);
  EXPECT_FALSE(InfoFor(kParameterID_StereoDownmixPreference,
                       WithConfiguration(kCodecMode_DolbyDigitalPlus, 2)).applies);
  const Info extended = InfoFor(kParameterID_StereoDownmixPreference,
                                WithConfiguration(kCodecMode_DolbyDigitalPlus, 24));
  EXPECT_EQ(extended.defaultValue, 0);
  EXPECT_EQ(extended.lowest, 0);
  EXPECT_EQ(extended.highest, 0);
}

TEST(GetParameterInfo, StereoDownmixPreferenceIsPinnedForExtendedConfigurationsEvenWhereItDoesNotApply) {
  // Configuration 9 carries no downmix preference; as an extended configuration its
  // default and bounds are still 0, which is what a caller clamping to them relies on.
  const Info c9 = InfoFor(kParameterID_StereoDownmixPreference,
                          WithConfiguration(kCodecMode_DolbyDigitalPlus, 9));
  EXPECT_FALSE(c9.applies);
  EXPECT_EQ(c9.defaultValue, 0);
  EXPECT_EQ(c9.lowest, 0);
  EXPECT_EQ(c9.highest, 0);
}

TEST(GetParameterInfo, BitstreamModeSevenIsNotForDualMono) {
  const Info dual = InfoFor(kParameterID_BitstreamMode, WithConfiguration(kCodecMode_DolbyDigital, 0, 0));
  EXPECT_EQ(dual.highest, 6);
  EXPECT_FALSE(dual.values.count(7));
  EXPECT_TRUE(InfoFor(kParameterID_BitstreamMode, Defaults(kCodecMode_DolbyDigital)).values.count(7));
}

TEST(GetParameterInfo, LFEFlagAndFilterFollowTheConfiguration) {
  const Info stereoLfe = InfoFor(kParameterID_EnableLFE, WithConfiguration(kCodecMode_DolbyDigital, 2, 0));
  EXPECT_EQ(stereoLfe.defaultValue, 0);
  EXPECT_EQ(InfoFor(kParameterID_EnableLFE, Defaults(kCodecMode_DolbyDigital)).defaultValue, 1);
  EXPECT_TRUE(InfoFor(kParameterID_LFELowpassFilter, Defaults(kCodecMode_DolbyDigital)).applies);
  EXPECT_FALSE(InfoFor(kParameterID_LFELowpassFilter, WithConfiguration(kCodecMode_DolbyDigital, 7, 0)).applies);
  ParameterMap noFlag = Defaults(kCodecMode_DolbyDigital);
  noFlag.erase(kParameterID_EnableLFE);
  EXPECT_FALSE(InfoFor(kParameterID_LFELowpassFilter, noFlag).applies);
}

TEST(GetParameterInfo, LFEWithFewerThanFourSourceChannelsIsOff) {
  const Info info = InfoFor(kParameterID_EnableLFE, Defaults(kCodecMode_DolbyDigital), Layout({100, 101}));
  EXPECT_EQ(info.defaultValue, 0);
  EXPECT_EQ(info.lowest, 0);
  EXPECT_EQ(info.highest, 0);
}

TEST(GetParameterInfo, ChannelConfigurationsNarrowToModeAndLayout) {
  EXPECT_EQ(Values(InfoFor(kParameterID_ChannelConfiguration, Defaults(kCodecMode_Bluray_Secondary)).values),
            (vector<int>{1, 2, 7}));
  const Info stereo = InfoFor(kParameterID_ChannelConfiguration, Defaults(kCodecMode_DolbyDigital),
                              Layout({100, 101}));
  EXPECT_EQ(Values(stereo.values), vector<int>{2});
  EXPECT_EQ(stereo.defaultValue, 2);
  const Info surround = InfoFor(kParameterID_ChannelConfiguration, Defaults(kCodecMode_DolbyDigital),
                                Layout({100, 101, 102, 103, 104, 105}));
  EXPECT_EQ(Values(surround.values), vector<int>{7});
}

TEST(GetParameterInfo, CodecModeOffersEveryModeTheEngineServes) {
  const Info info = InfoFor(kParameterID_CodecMode, Defaults(kCodecMode_DolbyDigital));
  EXPECT_EQ(Values(info.values), (vector<int>{0, 1, 2, 3}));
  EXPECT_EQ(info.defaultValue, 1);
}

TEST(GetParameterInfo, ConverterTypeAlwaysOffersStandardAndHDCD) {
  const Info info = InfoFor(kParameterID_ADConverterType, Defaults(kCodecMode_Bluray_Primary));
  EXPECT_EQ(Values(info.values), (vector<int>{0, 1}));
  EXPECT_EQ(info.highest, 1);
}

}  // namespace
}  // namespace dolbydigital
