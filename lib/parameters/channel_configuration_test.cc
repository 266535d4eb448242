#include <gtest/gtest.h>

#include "parameters/channel_configuration.h"
#include "parameters/parameter_test_support.h"

namespace dolbydigital {
namespace {

using namespace testing_support;
using std::vector;

AudioChannelConfiguration Cfg(int value) { return static_cast<AudioChannelConfiguration>(value); }

TEST(IsValidChannelConfig, ModesCarryTheirConfigurations) {
  EXPECT_FALSE(IsValidChannelConfig(kCodecMode_Bluray_Secondary, kAudioChannelConfiguration_Acmod_30));
  EXPECT_TRUE(IsValidChannelConfig(kCodecMode_Bluray_Secondary, kAudioChannelConfiguration_Acmod_32));
  EXPECT_TRUE(IsValidChannelConfig(kCodecMode_Bluray_Secondary, kAudioChannelConfiguration_Acmod_10));
  EXPECT_TRUE(IsValidChannelConfig(kCodecMode_DolbyDigitalPlus, Cfg(21)));
  EXPECT_TRUE(IsValidChannelConfig(kCodecMode_DolbyDigitalPlus, Cfg(24)));
  EXPECT_FALSE(IsValidChannelConfig(kCodecMode_DolbyDigitalPlus, Cfg(20)));
  EXPECT_FALSE(IsValidChannelConfig(kCodecMode_DolbyDigital, Cfg(21)));
  EXPECT_FALSE(IsValidChannelConfig(kCodecMode_Bluray_Primary, Cfg(8)));
  EXPECT_FALSE(IsValidChannelConfig(static_cast<CodecMode>(4), kAudioChannelConfiguration_Acmod_20));
}

TEST(IsValidChannelConfig, NegativeConfigurationsPassTheSignedTest) {
  EXPECT_TRUE(IsValidChannelConfig(kCodecMode_DolbyDigitalPlus, Cfg(-1)));
  EXPECT_TRUE(IsValidChannelConfig(kCodecMode_DolbyDigital, Cfg(-100)));
  EXPECT_FALSE(IsValidChannelConfig(kCodecMode_Bluray_Secondary, Cfg(-1)));
}

TEST(GetAudioChannelLayout, BuildsTheConfigurationsChannelsInOrder) {
  EXPECT_EQ(Labels(GetAudioChannelLayout(kAudioChannelConfiguration_Acmod_32, true)),
            (vector<int>{100, 101, 102, 103, 104, 105}));
  EXPECT_EQ(Labels(GetAudioChannelLayout(kAudioChannelConfiguration_Acmod_32, false)),
            (vector<int>{100, 101, 102, 104, 105}));
  EXPECT_EQ(Labels(GetAudioChannelLayout(kAudioChannelConfiguration_Acmod_11, true)),
            (vector<int>{0, 0}));
  EXPECT_EQ(Labels(GetAudioChannelLayout(kAudioChannelConfiguration_Acmod_10, true)),
            (vector<int>{102}));
  EXPECT_EQ(Labels(GetAudioChannelLayout(Cfg(22), true)),
            (vector<int>{100, 101, 102, 103, 104, 105, 111, 114}));
  EXPECT_EQ(Labels(GetAudioChannelLayout(Cfg(25), false)), (vector<int>{100, 101, 104, 105, 106, 111}));
  EXPECT_EQ(Labels(GetAudioChannelLayout(Cfg(4), true)), (vector<int>{100, 101, 103, 106}));
}

TEST(GetAudioChannelLayout, FrontOnlyConfigurationsNeverCarryLFE) {
  EXPECT_EQ(Labels(GetAudioChannelLayout(kAudioChannelConfiguration_Acmod_20, true)),
            (vector<int>{100, 101}));
}

TEST(GetAudioChannelLayout, UnknownConfigurationsAreEmpty) {
  EXPECT_TRUE(GetAudioChannelLayout(kAudioChannelConfiguration_Unknown, true).empty());
  EXPECT_TRUE(GetAudioChannelLayout(Cfg(-1), true).empty());
  EXPECT_TRUE(GetAudioChannelLayout(Cfg(1000), false).empty());
}

TEST(GetAudioChannelLayout, FromMapAssumesLFEWhenTheFlagIsAbsent) {
  ParameterMap map{{kParameterID_ChannelConfiguration, 7}};
  EXPECT_EQ(GetAudioChannelLayout(map).size(), 6u);
  map[kParameterID_EnableLFE] = 0;
  EXPECT_EQ(GetAudioChannelLayout(map).size(), 5u);
  map[kParameterID_EnableLFE] = -1;  // any non-zero value means LFE
  EXPECT_EQ(GetAudioChannelLayout(map).size(), 6u);
  EXPECT_TRUE(GetAudioChannelLayout(ParameterMap{{kParameterID_EnableLFE, 1}}).empty());
}

TEST(MatchChannelConfiguration, OneAndTwoChannels) {
  EXPECT_EQ(GetAudioChannelConfiguration(Layout({100})), kAudioChannelConfiguration_Acmod_10);
  EXPECT_EQ(GetAudioChannelConfiguration(Layout({0})), kAudioChannelConfiguration_Acmod_10);
  EXPECT_EQ(GetAudioChannelConfiguration(Layout({100, 101})), kAudioChannelConfiguration_Acmod_20);
  EXPECT_EQ(GetAudioChannelConfiguration(Layout({132, 133})), kAudioChannelConfiguration_Acmod_20);
  // Order matters for a pair: the left member comes first.
  EXPECT_EQ(GetAudioChannelConfiguration(Layout({101, 100})), kAudioChannelConfiguration_Acmod_11);
  EXPECT_EQ(GetAudioChannelConfiguration(Layout({100, 102})), kAudioChannelConfiguration_Acmod_11);
}

TEST(MatchChannelConfiguration, IgnoresOrderFromThreeChannelsAndReportsLFE) {
  AudioChannelConfiguration cfg;
  bool lfe = false;
  EXPECT_TRUE(MatchChannelConfiguration(Layout({105, 104, 103, 102, 101, 100}), cfg, lfe));
  EXPECT_EQ(cfg, kAudioChannelConfiguration_Acmod_32);
  EXPECT_TRUE(lfe);
  EXPECT_TRUE(MatchChannelConfiguration(Layout({100, 101, 104, 105}), cfg, lfe));
  EXPECT_EQ(cfg, kAudioChannelConfiguration_Acmod_22);
  EXPECT_FALSE(lfe);
  EXPECT_TRUE(MatchChannelConfiguration(Layout({100, 101, 102, 103, 104, 105, 106}), cfg, lfe));
  EXPECT_EQ(cfg, Cfg(24));
  EXPECT_TRUE(MatchChannelConfiguration(Layout({100, 101, 102, 103, 104, 105, 129, 130}), cfg, lfe));
  EXPECT_EQ(cfg, Cfg(21));
}

TEST(MatchChannelConfiguration, EveryConfigurationMatchesItsOwnLayout) {
  for (int c = 3; c < 28; ++c) {
    for (bool lfe : {false, true}) {
      const ChannelLayout layout = GetAudioChannelLayout(Cfg(c), lfe);
      if (layout.size() < 3) continue;
      AudioChannelConfiguration found;
      bool foundLfe;
      ASSERT_TRUE(MatchChannelConfiguration(layout, found, foundLfe)) << c;
      // Identical label sets are resolved by the candidate order, so compare the channels.
      EXPECT_TRUE(tidemark::ContainsSameChannelsIgnoreOrder(GetAudioChannelLayout(found, foundLfe), layout))
          << c << " lfe " << lfe;
      EXPECT_EQ(foundLfe, tidemark::HasLFEChannel(layout));
    }
  }
}

TEST(MatchChannelConfiguration, UnmatchedLayoutsGiveUnknown) {
  AudioChannelConfiguration cfg = kAudioChannelConfiguration_Acmod_20;
  bool lfe = true;
  EXPECT_FALSE(MatchChannelConfiguration(ChannelLayout(), cfg, lfe));
  EXPECT_EQ(cfg, kAudioChannelConfiguration_Unknown);
  EXPECT_FALSE(lfe);
  EXPECT_EQ(GetAudioChannelConfiguration(Layout({100, 101, 103})), kAudioChannelConfiguration_Unknown);
  EXPECT_EQ(GetAudioChannelConfiguration(Layout({100, 101, 102, 103, 104, 105, 106, 107, 108})),
            kAudioChannelConfiguration_Unknown);
  EXPECT_EQ(GetAudioChannelConfiguration(Layout({0, 0, 0})), kAudioChannelConfiguration_Unknown);
}

TEST(ConfigurationFitsLayout, LabelledAndUnlabelledLayouts) {
  const ChannelLayout surround = Layout({100, 101, 102, 103, 104, 105});
  EXPECT_TRUE(ConfigurationFitsLayout(7, true, surround));
  EXPECT_FALSE(ConfigurationFitsLayout(6, true, surround));
  // Unlabelled channels are read with the usual labels of their count.
  EXPECT_TRUE(ConfigurationFitsLayout(7, true, Layout({0, 0, 0, 0, 0, 0})));
  EXPECT_TRUE(ConfigurationFitsLayout(6, false, Layout({0, 0, 0, 0})));
  // A single channel is carried as 1/0 whatever its label.
  EXPECT_TRUE(ConfigurationFitsLayout(1, false, Layout({100})));
}

}  // namespace
}  // namespace dolbydigital
