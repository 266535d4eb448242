#include "tidemark/audio_channel.h"

#include <gtest/gtest.h>

namespace tidemark {
namespace {

std::vector<int> Labels(const AudioChannelLayout& layout) {
  std::vector<int> labels;
  for (const auto& description : layout) labels.push_back(description.GetLabel());
  return labels;
}

TEST(LayoutFactories, EachNameListsItsLabelsInOrder) {
  EXPECT_EQ(Labels(CreateMonoChannelLayout()), (std::vector<int>{102}));
  EXPECT_EQ(Labels(CreateStereoChannelLayout()), (std::vector<int>{100, 101}));
  EXPECT_EQ(Labels(Create_L_R_C_LFE_ChannelLayout()), (std::vector<int>{100, 101, 102, 103}));
  EXPECT_EQ(Labels(Create_L_R_LFE_Cs_ChannelLayout()), (std::vector<int>{100, 101, 103, 106}));
  EXPECT_EQ(Labels(Create_L_R_C_LFE_Cs_ChannelLayout()), (std::vector<int>{100, 101, 102, 103, 106}));
  EXPECT_EQ(Labels(Create_L_R_LFE_Ls_Rs_ChannelLayout()), (std::vector<int>{100, 101, 103, 104, 105}));
  EXPECT_EQ(Labels(CreateBroadcast51ChannelLayout()), (std::vector<int>{100, 101, 102, 103, 104, 105}));
  EXPECT_EQ(Labels(Create_L_R_LFE_Ls_Rs_Lsd_Rsd_ChannelLayout()),
            (std::vector<int>{100, 101, 103, 104, 105, 109, 110}));
  EXPECT_EQ(Labels(Create_L_R_C_LFE_Ls_Rs_Lsd_Rsd_ChannelLayout()),
            (std::vector<int>{100, 101, 102, 103, 104, 105, 109, 110}));
  EXPECT_EQ(Labels(Create_L_R_C_LFE_Ls_Rs_Cs_ChannelLayout()),
            (std::vector<int>{100, 101, 102, 103, 104, 105, 106}));
}

TEST(LayoutFactories, DefaultLabelsForAPlainChannelCount) {
  EXPECT_EQ(Labels(CreateMultichannelLayoutWithDefaultLabels(1)), (std::vector<int>{102}));
  EXPECT_EQ(Labels(CreateMultichannelLayoutWithDefaultLabels(4)), (std::vector<int>{100, 101, 104, 105}));
  EXPECT_EQ(Labels(CreateMultichannelLayoutWithDefaultLabels(6)), Labels(CreateBroadcast51ChannelLayout()));
  EXPECT_EQ(Labels(CreateMultichannelLayoutWithDefaultLabels(8)),
            (std::vector<int>{100, 101, 102, 103, 104, 105, 129, 130}));
  EXPECT_EQ(Labels(CreateMultichannelLayoutWithDefaultLabels(0)), std::vector<int>{});
  EXPECT_EQ(Labels(CreateMultichannelLayoutWithDefaultLabels(9)), std::vector<int>(9, 0));
}

TEST(LayoutPredicates, LabelsAndLabeling) {
  const AudioChannelLayout surround = CreateBroadcast51ChannelLayout();
  EXPECT_TRUE(HasLFEChannel(surround));
  EXPECT_FALSE(HasLFEChannel(CreateStereoChannelLayout()));
  EXPECT_FALSE(HasLFEChannel(AudioChannelLayout{kAudioChannelLabel_LFE2}));  // only label 103 counts
  EXPECT_TRUE(HasChannelLabel(surround, kAudioChannelLabel_RightSurround));
  EXPECT_FALSE(HasChannelLabel(surround, kAudioChannelLabel_CenterSurround));
  EXPECT_TRUE(HasChannelLabeling(surround));
  EXPECT_FALSE(HasChannelLabeling(CreateMultichannelLayoutWithDefaultLabels(10)));
  EXPECT_FALSE(HasChannelLabeling(AudioChannelLayout()));
}

TEST(LayoutPredicates, StereoPairsAreOrdered) {
  EXPECT_TRUE(IsStereoPair(kAudioChannelLabel_Left, kAudioChannelLabel_Right));
  EXPECT_TRUE(IsStereoPair(kAudioChannelLabel_LeftTotal, kAudioChannelLabel_RightTotal));
  EXPECT_TRUE(IsStereoPair(kAudioChannelLabel_RearSurroundLeft, kAudioChannelLabel_RearSurroundRight));
  EXPECT_FALSE(IsStereoPair(kAudioChannelLabel_Right, kAudioChannelLabel_Left));
  EXPECT_FALSE(IsStereoPair(kAudioChannelLabel_Left, kAudioChannelLabel_RightSurround));
  EXPECT_FALSE(IsStereoPair(kAudioChannelLabel_Discrete, kAudioChannelLabel_Discrete));
  EXPECT_FALSE(IsStereoPair(kAudioChannelLabel_Center, kAudioChannelLabel_LFEScreen));
}

TEST(LayoutPredicates, SameChannelsIgnoringOrderCountsRepeats) {
  const AudioChannelLayout a = CreateBroadcast51ChannelLayout();
  AudioChannelLayout b(a.rbegin(), a.rend());
  EXPECT_TRUE(ContainsSameChannelsIgnoreOrder(a, b));
  EXPECT_FALSE(ContainsSameChannelsIgnoreOrder(a, Create_L_R_LFE_Ls_Rs_ChannelLayout()));
  const AudioChannelLayout twice_left{kAudioChannelLabel_Left, kAudioChannelLabel_Left};
  const AudioChannelLayout left_right{kAudioChannelLabel_Left, kAudioChannelLabel_Right};
  EXPECT_FALSE(ContainsSameChannelsIgnoreOrder(twice_left, left_right));
  EXPECT_TRUE(ContainsSameChannelsIgnoreOrder(AudioChannelLayout(), AudioChannelLayout()));
}

TEST(LabelTexts, AbbreviationsAndDescriptions) {
  const std::pair<AudioChannelLabel, const char*> abbreviations[] = {
      {kAudioChannelLabel_Discrete, "Mono"}, {kAudioChannelLabel_Left, "L"},
      {kAudioChannelLabel_LFEScreen, "LFE"}, {kAudioChannelLabel_LeftSurroundDirect, "Lsd"},
      {kAudioChannelLabel_TopCenterSurround, "Ts"}, {kAudioChannelLabel_VerticalHeightCenter, "Vhc"},
      {kAudioChannelLabel_RightWide, "Rw"}, {kAudioChannelLabel_RearSurroundLeft, "Lrs"},
      {kAudioChannelLabel_LFE2, "LFE2"}, {kAudioChannelLabel_RightTotal, "Rt"},
  };
  for (const auto& entry : abbreviations)
    EXPECT_EQ(basalt::ToStdString(AudioChannelLabelAbbreviations(entry.first)), entry.second);
  EXPECT_EQ(basalt::ToStdString(AudioChannelLabelAbbreviations(static_cast<AudioChannelLabel>(999))), "?");

  EXPECT_EQ(basalt::ToStdString(AudioChannelLabelDescription(kAudioChannelLabel_Left, false)), "Left");
  EXPECT_EQ(basalt::ToStdString(AudioChannelLabelDescription(kAudioChannelLabel_Left, true)), "Left Front");
  EXPECT_EQ(basalt::ToStdString(AudioChannelLabelDescription(kAudioChannelLabel_LFEScreen, false)),
            "Low Frequency Effects");
  EXPECT_EQ(basalt::ToStdString(AudioChannelLabelDescription(kAudioChannelLabel_LeftSurround, false)),
            "Left Surround");
  EXPECT_EQ(basalt::ToStdString(AudioChannelLabelDescription(kAudioChannelLabel_LeftTotal, false)),
            "Left Total");
  EXPECT_EQ(basalt::ToStdString(AudioChannelLabelDescription(static_cast<AudioChannelLabel>(999), true)),
            "Unknown");
}

}  // namespace
}  // namespace tidemark
