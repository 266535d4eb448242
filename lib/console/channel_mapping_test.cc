#include "console/channel_mapping.h"

#include <gtest/gtest.h>

#include "dolbydigital/parameters.h"

namespace dolbydigital {
namespace {

using tidemark::AudioChannelLabel;

TEST(ChannelMapping, MatchingLayoutsMapOneToOne) {
  const ChannelLayout layout = tidemark::CreateBroadcast51ChannelLayout();
  const ChannelMapping m = MapChannels(layout, layout);
  EXPECT_EQ(m.sourceOf, (std::vector<int>{0, 1, 2, 3, 4, 5}));
  EXPECT_TRUE(m.warnings.empty());
}

TEST(ChannelMapping, ChannelsFollowTheirLabelsAndWhatIsLeftIsReported) {
  // A 5.1 file into a 3/2 stream without LFE: the LFE is left out, the surrounds still land
  // on the surrounds.
  const ChannelMapping m =
      MapChannels(tidemark::CreateBroadcast51ChannelLayout(),
                  GetAudioChannelLayout(kAudioChannelConfiguration_Acmod_32, false));
  EXPECT_EQ(m.sourceOf, (std::vector<int>{0, 1, 2, 4, 5}));
  ASSERT_EQ(m.warnings.size(), 1u);
  EXPECT_NE(m.warnings[0].find("LFE"), std::string::npos);

  // A stereo file into 3/2: centre and surrounds stay silent.
  const ChannelMapping up =
      MapChannels(tidemark::CreateStereoChannelLayout(),
                  GetAudioChannelLayout(kAudioChannelConfiguration_Acmod_32, false));
  EXPECT_EQ(up.sourceOf, (std::vector<int>{0, 1, -1, -1, -1}));
  ASSERT_EQ(up.warnings.size(), 1u);
  EXPECT_NE(up.warnings[0].find("silent"), std::string::npos);
}

TEST(ChannelMapping, WithoutAnyMatchingLabelTheChannelsFeedTheStreamInOrder) {
  // A mono file (its channel is the centre) into a 2/0 stream: left carries it.
  const ChannelMapping mono = MapChannels(
      tidemark::CreateMonoChannelLayout(),
      GetAudioChannelLayout(kAudioChannelConfiguration_Acmod_20, false));
  EXPECT_EQ(mono.sourceOf, (std::vector<int>{0, -1}));
  ASSERT_FALSE(mono.warnings.empty());
  EXPECT_NE(mono.warnings[0].find("in order"), std::string::npos);

  // A stereo file into a 1/0 stream: the centre carries the left channel, right is left out.
  const ChannelMapping stereo = MapChannels(
      tidemark::CreateStereoChannelLayout(),
      GetAudioChannelLayout(kAudioChannelConfiguration_Acmod_10, false));
  EXPECT_EQ(stereo.sourceOf, (std::vector<int>{0}));
  EXPECT_NE(stereo.warnings.back().find("left out"), std::string::npos);
}

TEST(ChannelMapping, DualMonoTakesTheFilesChannelsByPosition) {
  const ChannelMapping m =
      MapChannels(tidemark::CreateStereoChannelLayout(),
                  GetAudioChannelLayout(kAudioChannelConfiguration_Acmod_11, false));
  EXPECT_EQ(m.sourceOf, (std::vector<int>{0, 1}));
  EXPECT_TRUE(m.warnings.empty());
}

}  // namespace
}  // namespace dolbydigital
