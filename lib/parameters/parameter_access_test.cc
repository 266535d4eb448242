#include <gtest/gtest.h>

#include "parameters/engine_mapping.h"
#include "parameters/key_names.h"
#include "parameters/parameter_test_support.h"

namespace dolbydigital {
namespace {

using namespace testing_support;

TEST(GetParameter, AbsentKeysReadAsMinusTwoWithoutBeingAdded) {
  const ParameterMap empty;
  EXPECT_EQ(GetParameter(kParameterID_DialNorm, empty), -2);
  ParameterMap map{{kParameterID_DialNorm, -2}, {kParameterID_DataRate, 448}};
  EXPECT_EQ(GetParameter(kParameterID_DialNorm, map), -2);
  EXPECT_EQ(GetParameter(kParameterID_DataRate, map), 448);
  EXPECT_EQ(GetParameter(static_cast<ParameterID>(99), map), -2);
  EXPECT_EQ(map.size(), 2u);
}

TEST(SetParameter, NeverAddsAKey) {
  ParameterMap map;
  EXPECT_FALSE(SetParameter(kParameterID_ChannelConfiguration, map, 2));
  EXPECT_TRUE(map.empty());
}

TEST(SetParameter, AnUnchangedValueIsNoChange) {
  ParameterMap map{{kParameterID_ChannelConfiguration, 7}};
  EXPECT_FALSE(SetParameter(kParameterID_ChannelConfiguration, map, 7));
  EXPECT_EQ(map[kParameterID_ChannelConfiguration], 7);
}

TEST(SetParameter, TrueOnlyWhenOthersDependButTheValueIsStoredEitherWay) {
  ParameterMap map = Defaults(kCodecMode_DolbyDigital);
  EXPECT_TRUE(SetParameter(kParameterID_ChannelConfiguration, map, 2));
  EXPECT_EQ(map[kParameterID_ChannelConfiguration], 2);
  EXPECT_TRUE(SetParameter(kParameterID_CodecMode, map, 0));
  EXPECT_TRUE(SetParameter(kParameterID_EnableLFE, map, 0));
  EXPECT_FALSE(SetParameter(kParameterID_DialNorm, map, -20));
  EXPECT_EQ(map[kParameterID_DialNorm], -20);
  EXPECT_FALSE(SetParameter(kParameterID_RoomType, map, 2));
  EXPECT_EQ(map[kParameterID_RoomType], 2);
}

TEST(GetExtension, ByMode) {
  EXPECT_STREQ(GetExtension(kCodecMode_DolbyDigitalPlus), "ec3");
  EXPECT_STREQ(GetExtension(kCodecMode_Bluray_Secondary), "ec3");
  EXPECT_STREQ(GetExtension(kCodecMode_DolbyDigital), "ac3");
  EXPECT_STREQ(GetExtension(kCodecMode_Bluray_Primary), "ac3");
  EXPECT_STREQ(GetExtension(static_cast<CodecMode>(7)), "ac3");
  EXPECT_STREQ(GetExtension(static_cast<CodecMode>(-1)), "ac3");
}

TEST(ParameterKeyName, KnownAndUnknownIdentifiers) {
  EXPECT_EQ(Text(ParameterKeyName(kParameterID_CodecMode)), "CodecMode");
  EXPECT_EQ(Text(ParameterKeyName(kParameterID_90DegreePhaseShift)), "90DegreePhaseShift");
  EXPECT_EQ(Text(ParameterKeyName(kParameterID_RoomType)), "RoomType");
  EXPECT_EQ(Text(ParameterKeyName(static_cast<ParameterID>(24))), "UnknownID_24");
  EXPECT_EQ(Text(ParameterKeyName(static_cast<ParameterID>(-5))), "UnknownID_-5");
}

TEST(EngineMapping, ModesAndIds) {
  EXPECT_EQ(EngineModeFromCodecMode(kCodecMode_Bluray_Primary), 3);
  EXPECT_EQ(EngineModeFromCodecMode(kCodecMode_Bluray_Secondary), 4);
  EXPECT_EQ(EngineModeFromCodecMode(4), kNoEngineMode);
  EXPECT_EQ(EngineModeFromCodecMode(-1), kNoEngineMode);
  for (int mode = 0; mode < 4; ++mode)
    EXPECT_EQ(CodecModeFromEngineMode(EngineModeFromCodecMode(mode)), mode);
  EXPECT_EQ(CodecModeFromEngineMode(2), kUnknownCodecMode);
  EXPECT_EQ(EngineParameterId(kParameterID_ChannelConfiguration), 4);
  EXPECT_EQ(EngineParameterId(kParameterID_DialNorm), 18);
  EXPECT_EQ(EngineParameterId(kParameterID_RoomType), 36);
  EXPECT_EQ(EngineParameterId(static_cast<ParameterID>(24)), 0);
  EXPECT_EQ(EngineParameterId(static_cast<ParameterID>(-1)), 0);
}

TEST(EngineMapping, ValuesConvertBothWays) {
  EXPECT_EQ(ParameterValueToEngine(kParameterID_DialNorm, -27), 27);
  EXPECT_EQ(EngineValueToParameter(18, 31), -31);
  EXPECT_EQ(ParameterValueToEngine(kParameterID_CodecMode, kCodecMode_Bluray_Primary), 3);
  EXPECT_EQ(EngineValueToParameter(1, 4), kCodecMode_Bluray_Secondary);
  EXPECT_EQ(ParameterValueToEngine(kParameterID_DataRate, 448), 448);
  EXPECT_EQ(EngineValueToParameter(3, 448), 448);
  // The most negative level must not overflow.
  EXPECT_EQ(ParameterValueToEngine(kParameterID_DialNorm, INT32_MIN), INT32_MIN);
}

}  // namespace
}  // namespace dolbydigital
