#include <gtest/gtest.h>

#include <stdexcept>

#include "parameters/parameter_test_support.h"

namespace dolbydigital {
namespace {

using namespace testing_support;

const ChannelLayout kStereo = Layout({100, 101});
const ChannelLayout kSurround51 = Layout({100, 101, 102, 103, 104, 105});

TEST(VerifyAndCorrectParameter, UnmatchedLayoutsLeaveTheMapAlone) {
  ParameterMap map = Defaults(kCodecMode_DolbyDigital);
  map[kParameterID_DataRate] = 12345;
  const ParameterMap before = map;
  EXPECT_FALSE(VerifyAndCorrectParameter(ChannelLayout(), map));
  EXPECT_FALSE(VerifyAndCorrectParameter(Layout({100, 101, 102, 103, 104, 105, 106, 107, 108}), map));
  EXPECT_FALSE(VerifyAndCorrectParameter(Layout({100, 101, 103}), map));
  EXPECT_EQ(map, before);
}

TEST(VerifyAndCorrectParameter, SurroundDefaultsCorrectedForStereo) {
  ParameterMap map = Defaults(kCodecMode_DolbyDigital);
  ASSERT_TRUE(VerifyAndCorrectParameter(kStereo, map));
  EXPECT_EQ(map[kParameterID_ChannelConfiguration], 2);
  EXPECT_EQ(map[kParameterID_EnableLFE], 0);
  for (ParameterID gone : {kParameterID_LtRt_CenterMixLevel, kParameterID_LtRt_SurroundMixLevel,
                           kParameterID_LoRo_CenterMixLevel, kParameterID_LoRo_SurroundMixLevel,
                           kParameterID_StereoDownmixPreference, kParameterID_LFELowpassFilter,
                           kParameterID_3dB_Attenuation, kParameterID_DolbyDigitalSurroundEXMode})
    EXPECT_EQ(map.count(gone), 0u) << gone;
  EXPECT_EQ(map[kParameterID_DolbySurroundMode], 0);
  EXPECT_EQ(map[kParameterID_DataRate], 192) << "192 is offered for 2/0 and is kept";
  EXPECT_EQ(map[kParameterID_CodecMode], kCodecMode_DolbyDigital);
}

TEST(VerifyAndCorrectParameter, TheLayoutWinsOverTheStoredConfiguration) {
  ParameterMap map = Defaults(kCodecMode_DolbyDigital);
  map[kParameterID_ChannelConfiguration] = 2;
  map[kParameterID_EnableLFE] = 0;
  map[kParameterID_DataRate] = 96;  // fine for stereo, below the 3/2 floor
  ASSERT_TRUE(VerifyAndCorrectParameter(kSurround51, map));
  EXPECT_EQ(map[kParameterID_ChannelConfiguration], 7);
  EXPECT_EQ(map[kParameterID_EnableLFE], 1);
  EXPECT_EQ(map[kParameterID_DataRate], 192) << "a rate outside the list takes the default";
}

TEST(VerifyAndCorrectParameter, ListValuesTakeTheDefaultAndRangesAreClamped) {
  ParameterMap map = Defaults(kCodecMode_DolbyDigital);
  map[kParameterID_LoRo_SurroundMixLevel] = 1;  // surround levels run 3..7
  map[kParameterID_DataRate] = 500;             // not an AC-3 rate, not the nearest either
  map[kParameterID_PeakMixLevel] = 200;
  map[kParameterID_DialNorm] = 5;
  ASSERT_TRUE(VerifyAndCorrectParameter(kSurround51, map));
  EXPECT_EQ(map[kParameterID_LoRo_SurroundMixLevel], 4);
  EXPECT_EQ(map[kParameterID_DataRate], 192);
  EXPECT_EQ(map[kParameterID_PeakMixLevel], 111);
  EXPECT_EQ(map[kParameterID_DialNorm], -1);
}

TEST(VerifyAndCorrectParameter, MissingParametersThatApplyAreAdded) {
  ParameterMap map{{kParameterID_CodecMode, kCodecMode_DolbyDigitalPlus}};
  ASSERT_TRUE(VerifyAndCorrectParameter(kSurround51, map));
  EXPECT_EQ(map[kParameterID_DataRate], 192);
  EXPECT_EQ(map[kParameterID_DialNorm], -31);
  EXPECT_EQ(map[kParameterID_LtRt_CenterMixLevel], 4);
  EXPECT_EQ(map.count(kParameterID_DolbySurroundMode), 0u);
}

TEST(VerifyAndCorrectParameter, LaterParametersSeeEarlierCorrections) {
  // The data rate is checked after the configuration: 48 kbps is below the 2/0 floor of
  // 64 but allowed for the 1/0 the mono source makes of the map.
  ParameterMap map = Defaults(kCodecMode_Bluray_Secondary);
  ASSERT_TRUE(VerifyAndCorrectParameter(kStereo, map));
  EXPECT_EQ(map[kParameterID_ChannelConfiguration], 2);
  EXPECT_EQ(map[kParameterID_DataRate], 192);
  map[kParameterID_DataRate] = 48;
  ASSERT_TRUE(VerifyAndCorrectParameter(Layout({102}), map));
  EXPECT_EQ(map[kParameterID_ChannelConfiguration], 1);
  EXPECT_EQ(map[kParameterID_DataRate], 48) << "1/0 allows rates from 32";
}

TEST(VerifyAndCorrectParameter, ACodecModeWithoutAnEngineModeLeavesNothingThatApplies) {
  // A stored setting from a newer or damaged file: the mode applies nowhere, so neither
  // does anything read for it. The correction removes them all instead of throwing.
  for (int mode : {6, 4, -1, -2}) {
    ParameterMap map = Defaults(kCodecMode_DolbyDigitalPlus);
    map[kParameterID_CodecMode] = mode;
    ASSERT_NO_THROW(EXPECT_TRUE(VerifyAndCorrectParameter(kStereo, map))) << mode;
    EXPECT_TRUE(map.empty()) << mode;
    ASSERT_NO_THROW(EXPECT_TRUE(VerifyAndCorrectParameter(kSurround51, map))) << mode;
    EXPECT_TRUE(map.empty()) << "a map without a mode stays without parameters";
  }
  // Asked directly, the domain of a map without a mode is still a checked lookup.
  ParameterValueSet values;
  int defaultValue, lowest, highest;
  EXPECT_THROW(GetParameterInfo(kParameterID_DataRate, ParameterMap(), values, defaultValue,
                                lowest, highest, kStereo),
               std::out_of_range);
}

TEST(GetParameterDependency, WhatToCheckAgainAfterAChange) {
  const ParameterIDSet fromConfiguration = GetParameterDependency(kParameterID_ChannelConfiguration);
  for (ParameterID id : {kParameterID_DataRate, kParameterID_LtRt_CenterMixLevel,
                         kParameterID_LoRo_SurroundMixLevel, kParameterID_StereoDownmixPreference,
                         kParameterID_EnableLFE, kParameterID_DolbySurroundMode})
    EXPECT_EQ(fromConfiguration.count(id), 1u) << id;
  EXPECT_EQ(GetParameterDependency(kParameterID_CodecMode).count(kParameterID_DataRate), 1u);
  EXPECT_EQ(GetParameterDependency(kParameterID_EnableLFE).count(kParameterID_DataRate), 1u);
  EXPECT_TRUE(GetParameterDependency(kParameterID_DialNorm).empty());
  EXPECT_TRUE(GetParameterDependency(static_cast<ParameterID>(24)).empty());
  EXPECT_TRUE(GetParameterDependency(static_cast<ParameterID>(-1)).empty());
}

}  // namespace
}  // namespace dolbydigital
