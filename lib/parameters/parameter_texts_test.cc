#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>

#include "basalt/localization.h"
#include "parameters/channel_names.h"
#include "parameters/parameter_test_support.h"

namespace dolbydigital {
namespace {

using namespace testing_support;

ParameterID Id(int value) { return static_cast<ParameterID>(value); }

TEST(ParameterGroups, FixedGroupingInDisplayOrder) {
  const ParameterGroups groups = GetParameterGroups();
  ASSERT_EQ(groups.size(), 6u);
  int members = 0;
  for (const auto& group : groups) members += static_cast<int>(group.second.size());
  EXPECT_EQ(members, 24);
  EXPECT_EQ(GetGroupForParameter(kParameterID_RoomType), kParameterGroupID_ProductionInfo);
  EXPECT_EQ(GetGroupForParameter(kParameterID_StereoDownmixPreference), kParameterGroupID_DownmixMetadata);
  EXPECT_EQ(GetGroupForParameter(kParameterID_DialNorm), kParameterGroupID_Configuration);
  EXPECT_EQ(GetGroupForParameter(Id(24)), 6);
  EXPECT_EQ(GetGroupForParameter(Id(-1)), 6);
}

TEST(ParameterGroups, Names) {
  EXPECT_EQ(Text(GetParameterGroupName(kParameterGroupID_Preprocessing)), "Pre-Processing");
  EXPECT_EQ(Text(GetParameterGroupName(kParameterGroupID_ProductionInfo)), "Audio Production Information");
  EXPECT_EQ(Text(GetParameterGroupName(static_cast<ParameterGroupID>(9))), "Unknown Parameter Group ID: 9");
}

TEST(ParameterTexts, NamesAndUnits) {
  EXPECT_EQ(Text(GetParameterName(kParameterID_EnableLFE)), "Enable LFE");
  EXPECT_EQ(Text(GetParameterName(kParameterID_DialNorm)), "Dialogue Normalization");
  EXPECT_EQ(Text(GetParameterName(kParameterID_90DegreePhaseShift)), "90\u00B0 Phase Shift");
  EXPECT_EQ(Text(GetParameterName(Id(99))), "Unknown Parameter ID: 99");
  EXPECT_EQ(Text(GetParameterName(Id(-3))), "Unknown Parameter ID: -3");
  EXPECT_EQ(Text(GetParameterUnit(kParameterID_PeakMixLevel)), "dB SPL");
  EXPECT_EQ(Text(GetParameterUnit(kParameterID_DataRate)), "kbps");
  EXPECT_EQ(Text(GetParameterUnit(kParameterID_DialNorm)), "dBFS");
  EXPECT_TRUE(GetParameterUnit(kParameterID_CodecMode).empty());
}

TEST(ParameterTexts, TooltipsFillTheirChannels) {
  EXPECT_EQ(Text(GetParameterTooltip(kParameterID_DataRate)),
            "Selects the overall data rate of the encoded bitstream. Measured in kbps.");
  const std::string lfe = Text(GetParameterTooltip(kParameterID_EnableLFE));
  EXPECT_EQ(lfe.rfind("Indicates to an encoder whether an  channel is present", 0), 0u) << lfe;
  EXPECT_NE(lfe.find("whether the LFE channel parameter"), std::string::npos);
  const std::string centre = Text(GetParameterTooltip(kParameterID_LtRt_CenterMixLevel));
  EXPECT_NE(centre.find("applied to the C channel when adding to the Lt and Rt outputs"), std::string::npos);
  EXPECT_NE(centre.find("Lt/Rt output.\n\nWhen"), std::string::npos);
  EXPECT_NE(centre.find("(L, C, R)"), std::string::npos);
  EXPECT_NE(centre.find("(Left and Right)"), std::string::npos);
  const std::string surround = Text(GetParameterTooltip(kParameterID_LtRt_SurroundMixLevel));
  EXPECT_EQ(surround.rfind("indicates the level shift", 0), 0u);
  EXPECT_EQ(surround.back(), 's') << "the text ends without a full stop";
  EXPECT_TRUE(GetParameterTooltip(Id(24)).empty());
  EXPECT_TRUE(GetParameterTooltip(Id(-1)).empty());
}

TEST(ValueNames, NumbersAreBare) {
  const ParameterMap map;
  EXPECT_EQ(Text(GetNameForValue(kParameterID_DialNorm, -31, map)), "-31");
  EXPECT_EQ(Text(GetNameForValue(kParameterID_DataRate, 448, map)), "448");
  EXPECT_EQ(Text(GetNameForValue(kParameterID_PeakMixLevel, -1, map)), "-1");
}

TEST(ValueNames, ListsNotAvailableAndFallback) {
  const ParameterMap map;
  EXPECT_EQ(Text(GetNameForValue(kParameterID_CodecMode, 3, map)),
            "Blu-ray-compliant secondary audio stream");
  EXPECT_EQ(Text(GetNameForValue(kParameterID_CodecMode, -1, map)), "Unknown Value: -1");
  EXPECT_EQ(Text(GetNameForValue(kParameterID_CopyrightBit, -1, map)), "Not available");
  EXPECT_EQ(Text(GetNameForValue(kParameterID_CopyrightBit, 1, map)), "Enabled");
  EXPECT_EQ(Text(GetNameForValue(kParameterID_LoRo_CenterMixLevel, 7, map)), "-\u221E dB");
  EXPECT_EQ(Text(GetNameForValue(kParameterID_LoRo_CenterMixLevel, 8, map)), "Unknown Value: 8");
  EXPECT_EQ(Text(GetNameForValue(kParameterID_StereoDownmixPreference, 3, map)),
            "Pro Logic II downmix preferred");
  EXPECT_EQ(Text(GetNameForValue(kParameterID_DynamicRangeControlRFMode, 5, map)), "Speech Compression");
  EXPECT_EQ(Text(GetNameForValue(kParameterID_RoomType, 1, map)), "Large Room, X curve monitor");
  EXPECT_EQ(Text(GetNameForValue(Id(24), 1, map)), "Unknown Value: 1");
}

TEST(ValueNames, BitstreamModeSevenDependsOnTheConfiguration) {
  EXPECT_EQ(Text(GetNameForValue(kParameterID_BitstreamMode, 7, {{kParameterID_ChannelConfiguration, 1}})),
            "Voice Over");
  EXPECT_EQ(Text(GetNameForValue(kParameterID_BitstreamMode, 7, {{kParameterID_ChannelConfiguration, 2}})),
            "Karaoke");
  EXPECT_EQ(Text(GetNameForValue(kParameterID_BitstreamMode, -1, {})), "Unknown Value: -1");
  EXPECT_EQ(Text(GetNameForValue(kParameterID_BitstreamMode, 8, {})), "Unknown Value: 8");
  try {
    GetNameForValue(kParameterID_BitstreamMode, 7, ParameterMap());
    FAIL() << "expected out_of_range";
  } catch (const std::out_of_range& e) {
    EXPECT_STREQ(e.what(), "invalid map<K, T> key");
  }
}

TEST(ValueNames, ChannelConfigurations) {
  EXPECT_EQ(Text(GetNameForValue(kParameterID_ChannelConfiguration, 7, {{kParameterID_EnableLFE, 0}})),
            "3/2 (L R C Ls Rs)");
  EXPECT_EQ(Text(GetNameForValue(kParameterID_ChannelConfiguration, 7, {})), "3/2 (L R C LFE Ls Rs)");
  EXPECT_EQ(Text(GetNameForValue(kParameterID_ChannelConfiguration, 7, {{kParameterID_EnableLFE, -1}})),
            "3/2 (L R C LFE Ls Rs)");
  EXPECT_EQ(Text(GetNameForValue(kParameterID_ChannelConfiguration, 1, {})), "1/0 (C)");
  EXPECT_EQ(Text(GetNameForValue(kParameterID_ChannelConfiguration, 19, {{kParameterID_EnableLFE, 0}})),
            "3/4 (L R C Ls Rs Vhl Vhr)");
  EXPECT_EQ(Text(GetNameForValue(kParameterID_ChannelConfiguration, 8, {})), "Configuration 8 (L R C LFE Vhc)");
  EXPECT_EQ(Text(GetNameForValue(kParameterID_ChannelConfiguration, 28, {})),
            "Unknown Audio Channel Configuration: 28 (0 Channels)");
}

TEST(ValueNames, LayoutNamesByChannelCount) {
  EXPECT_EQ(Text(GetChannelLayoutName(Layout({103}))), "LFE");
  EXPECT_EQ(Text(GetChannelLayoutName(Layout({100, 101, 102, 103, 104, 105, 129, 130}))),
            "L R C LFE Ls Rs Lrs Rrs");
  EXPECT_EQ(Text(GetChannelLayoutName(Layout({0, 0, 0, 0, 0, 0, 0, 0, 0}))), "9 Channels");
  EXPECT_EQ(Text(GetChannelLayoutName(ChannelLayout())), "0 Channels");
}

// A host's string table replaces the English default of a text, arguments still filled.
class LoadedStringTable : public ::testing::Test {
 protected:
  void TearDown() override {
    basalt::config::Localizer::Get().Clear();
    std::remove(path_.c_str());
  }
  bool Load(const std::string& lines) {
    std::ofstream(path_) << lines;
    return basalt::config::Localizer::Get().LoadTable(basalt::UTF8to16(path_.c_str()));
  }
  std::string path_ = ::testing::TempDir() + "parameter_texts_strings.txt";
};

TEST_F(LoadedStringTable, OverridesTheEnglishDefault) {
  ASSERT_TRUE(Load("corvexa/dolbydigital/kParameterID_DialNorm=Dialognormalisierung\n"
                   "corvexa/dolbydigital/kParameterID_EnableLFE=@0 aktivieren\n"
                   "corvexa/dolbydigital/UnknownValue=Unbekannter Wert: @0\n"));
  EXPECT_EQ(Text(GetParameterName(kParameterID_DialNorm)), "Dialognormalisierung");
  EXPECT_EQ(Text(GetParameterName(kParameterID_EnableLFE)), "LFE aktivieren");
  EXPECT_EQ(Text(GetNameForValue(kParameterID_RoomType, 9, {})), "Unbekannter Wert: 9");
  EXPECT_EQ(Text(GetParameterName(kParameterID_DataRate)), "Data Rate") << "untranslated texts keep English";
}

}  // namespace
}  // namespace dolbydigital
