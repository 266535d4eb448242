#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <typeinfo>

#include "basalt/json.h"
#include "dolbydigital/parameters.h"
#include "dolbydigital/persistence.h"

namespace dolbydigital {
namespace {

ParameterMap Defaults(CodecMode mode) {
  ParameterMap map;
  GetDefaults(mode, map);
  return map;
}

ParameterMap Read(const char* json) {
  ParameterMap map;
  EXPECT_TRUE(DeSerializeParameterMap(UTF8String(json), false, map)) << json;
  return map;
}

bool Refused(const UTF8String& text, bool encoded) {
  ParameterMap map{{kParameterID_DialNorm, -12}};
  const ParameterMap before = map;
  const bool read = DeSerializeParameterMap(text, encoded, map);
  EXPECT_EQ(map, before) << "a refused text must leave the map untouched";
  return !read;
}

TEST(SerializeParameterMap, RoundTripsInBothForms) {
  ParameterMap map = Defaults(kCodecMode_DolbyDigital);
  map[kParameterID_DataRate] = 448;
  map[kParameterID_DialNorm] = -24;
  map[kParameterID_CopyrightBit] = 1;
  for (bool encoded : {false, true}) {
    UTF8String text;
    ASSERT_TRUE(SerializeParameterMap(map, encoded, text));
    ParameterMap back;
    ASSERT_TRUE(DeSerializeParameterMap(text, encoded, back)) << text;
    EXPECT_EQ(back, map) << (encoded ? "encoded" : "plain");
  }
}

TEST(SerializeParameterMap, EmptyMapIsTheEmptyObjectAndReadsBackAsDefaults) {
  UTF8String text;
  ASSERT_TRUE(SerializeParameterMap(ParameterMap(), false, text));
  EXPECT_EQ(text, "{}");
  const ParameterMap back = Read("{}");
  EXPECT_EQ(back.size(), 24u);
  EXPECT_EQ(back, Defaults(kCodecMode_DolbyDigitalPlus));
}

TEST(SerializeParameterMap, WritesSignedValuesAndUnknownIds) {
  const ParameterMap map{{kParameterID_DialNorm, -1}, {static_cast<ParameterID>(30), 5}};
  UTF8String text;
  ASSERT_TRUE(SerializeParameterMap(map, false, text));
  EXPECT_EQ(text, "{\"DialNorm\":-1,\"UnknownID_30\":5}");
  EXPECT_EQ(Read(text.c_str()).count(static_cast<ParameterID>(30)), 0u) << "unknown keys are not read back";
}

TEST(SerializeParameterMap, EncodedTextIsNotJSON) {
  UTF8String encoded;
  ASSERT_TRUE(SerializeParameterMap(Defaults(kCodecMode_DolbyDigital), true, encoded));
  EXPECT_FALSE(basalt::JSONParse(encoded));
}

TEST(DeSerializeParameterMap, RefusesWhatItCannotRead) {
  EXPECT_TRUE(Refused("", false));
  EXPECT_TRUE(Refused("", true));
  EXPECT_TRUE(Refused("{\"DialNorm\": ", false));
  EXPECT_TRUE(Refused("not json at all", false));
  EXPECT_TRUE(Refused("[1, 2, 3]", false));
  EXPECT_TRUE(Refused("42", false));
  EXPECT_TRUE(Refused("{\"DialNorm\": \"31\"}", false));
  EXPECT_TRUE(Refused("{\"DialNorm\": 31.0}", false));
  EXPECT_TRUE(Refused("{\"DialNorm\": true}", false));
  EXPECT_TRUE(Refused("{\"DialNorm\": null}", false));
  EXPECT_TRUE(Refused("{\"DialNorm\": {}}", false));
  EXPECT_TRUE(Refused("{\"DialNorm\": [31]}", false));
  EXPECT_TRUE(Refused("\xff\xfe{", true));
}

TEST(DeSerializeParameterMap, ArbitraryBytesNeverEscapeAsExceptions) {
  std::uint32_t state = 12345;
  const auto next = [&state] { return state = state * 1664525u + 1013904223u; };
  for (int round = 0; round < 500; ++round) {
    UTF8String text;
    const std::size_t length = next() % 64;
    for (std::size_t i = 0; i < length; ++i) text += static_cast<char>(next() >> 24);
    if (round % 2) text = "{\"DataRate\":" + text;  // half start like a configuration
    for (bool encoded : {false, true}) {
      ParameterMap map;
      EXPECT_NO_THROW(DeSerializeParameterMap(text, encoded, map));
    }
  }
  ParameterMap map;
  EXPECT_TRUE(Refused(UTF8String(10000, '[') + UTF8String(10000, ']'), false));
  EXPECT_TRUE(DeSerializeParameterMap(UTF8String("{\"DataRate\": -2147483648}"), false, map));
  EXPECT_EQ(map.at(kParameterID_DataRate), -2147483648LL);
}

TEST(DeSerializeParameterMap, EachFormNeedsItsOwnFlag) {
  const ParameterMap map = Defaults(kCodecMode_Bluray_Primary);
  UTF8String plain, encoded;
  ASSERT_TRUE(SerializeParameterMap(map, false, plain));
  ASSERT_TRUE(SerializeParameterMap(map, true, encoded));
  EXPECT_TRUE(Refused(plain, true));
  EXPECT_TRUE(Refused(encoded, false));
}

TEST(DeSerializeParameterMap, IntegersKeepTheirLow32Bits) {
  // 2^32 + 1 reads as 1, which is a valid copyright flag.
  EXPECT_EQ(Read("{\"CopyrightBit\": 4294967297}")[kParameterID_CopyrightBit], 1);
  // 2^32 - 1 reads as -1; negative values are not corrected.
  EXPECT_EQ(Read("{\"CopyrightBit\": 4294967295}")[kParameterID_CopyrightBit], -1);
  // Above INT64_MAX the parser hands over an unsigned integer.
  EXPECT_EQ(Read("{\"OriginalBit\": 18446744073709551615}")[kParameterID_OriginalBit], -1);
}

TEST(DeSerializeParameterMap, NegativeValuesSurviveAndModeAndConfigurationAreTakenAsRead) {
  const ParameterMap map = Read("{\"CodecMode\": -4, \"ChannelConfiguration\": 99, \"RoomType\": -7}");
  EXPECT_EQ(map.at(kParameterID_CodecMode), -4);
  EXPECT_EQ(map.at(kParameterID_ChannelConfiguration), 99);
  EXPECT_EQ(map.at(kParameterID_RoomType), -7);
}

TEST(DeSerializeParameterMap, AModeFromANewerVersionIsReadAndThenCorrectedWithoutThrowing) {
  // The mode is taken as read; correcting the map for a stereo source must not throw.
  ParameterMap map = Read("{\"CodecMode\": 6}");
  EXPECT_EQ(map.at(kParameterID_CodecMode), 6);
  ChannelLayout stereo;
  stereo.push_back(tidemark::AudioChannelDescription(static_cast<tidemark::AudioChannelLabel>(100)));
  stereo.push_back(tidemark::AudioChannelDescription(static_cast<tidemark::AudioChannelLabel>(101)));
  bool corrected = false;
  EXPECT_NO_THROW(corrected = VerifyAndCorrectParameter(stereo, map));
  EXPECT_TRUE(corrected);
}

TEST(DeSerializeParameterMap, OutOfDomainValuesAreCorrected) {
  const ParameterMap map =
      Read("{\"CodecMode\": 1, \"DataRate\": 500, \"LoRo_CenterMixLevel\": 12, \"PeakMixLevel\": 300, "
           "\"DialNorm\": 4, \"Unrelated\": \"ignored\"}");
  EXPECT_EQ(map.at(kParameterID_DataRate), 192) << "not the nearest rate: the default";
  EXPECT_EQ(map.at(kParameterID_LoRo_CenterMixLevel), 4);
  EXPECT_EQ(map.at(kParameterID_PeakMixLevel), 111) << "ranges are clamped";
  EXPECT_EQ(map.at(kParameterID_DialNorm), -1);
}

TEST(DeSerializeParameterMap, ParametersThatDoNotApplyAreClampedToTheBoundsTheyReport) {
  // Whether a parameter applies is not asked: a list parameter that does not apply reports
  // bounds 0..0, and an extended configuration pins the downmix preference to 0.
  EXPECT_EQ(Read("{\"ChannelConfiguration\": 2, \"LtRt_CenterMixLevel\": 5}")
                .at(kParameterID_LtRt_CenterMixLevel),
            0);
  EXPECT_EQ(Read("{\"ChannelConfiguration\": 9, \"StereoDownmixPreference\": 2}")
                .at(kParameterID_StereoDownmixPreference),
            0);
}

TEST(DeSerializeParameterMap, CorrectionSeesEarlierCorrectedValues) {
  // The data rate is checked against the configuration read from the same text: 96 kbps
  // is allowed for 2/0 (floor 64) but not for 3/2 (floor 192).
  const ParameterMap map = Read("{\"CodecMode\": 1, \"ChannelConfiguration\": 2, \"DataRate\": 96}");
  EXPECT_EQ(map.at(kParameterID_DataRate), 96);
  const ParameterMap surround = Read("{\"CodecMode\": 1, \"ChannelConfiguration\": 7, \"DataRate\": 96}");
  EXPECT_EQ(surround.at(kParameterID_DataRate), 192);
}

TEST(ParameterFromJSON, ThrowsBadCastForWrongTypes) {
  EXPECT_THROW(ParameterFromJSON(boost::any(std::int64_t(3))), boost::bad_any_cast);
  try {
    ParameterFromJSON(boost::any());
    FAIL() << "expected a bad cast";
  } catch (const std::bad_cast& e) {
    EXPECT_STREQ(e.what(), "bad cast");
  }
  boost::any object = basalt::JSONObject();
  basalt::AddToObject(object, "DialNorm", boost::any(2.5));
  EXPECT_THROW(ParameterFromJSON(object), std::bad_cast);
}

TEST(ParameterToJSON, ValuesAreSigned64BitIntegers) {
  const boost::any json = ParameterToJSON({{kParameterID_DialNorm, -31}});
  const auto& object = boost::any_cast<const basalt::JSONObject&>(json);
  const basalt::JSONValuePtr value = basalt::GetVariantInObject(object, "DialNorm");
  ASSERT_TRUE(value);
  EXPECT_EQ(boost::any_cast<std::int64_t>(*value), -31);
}

}  // namespace
}  // namespace dolbydigital
