#include "encoder/channel_routing.h"

#include <gtest/gtest.h>

#include "dolbydigital/parameters.h"

namespace dolbydigital {
namespace {

// Channel i of the configuration's layout reads buffer i; returns which buffer each slot
// reads (-1 for silence).
std::vector<int> SlotSources(int configuration, bool lfe) {
  const auto cfg = static_cast<AudioChannelConfiguration>(configuration);
  const ChannelLayout layout = GetAudioChannelLayout(cfg, lfe);
  std::vector<std::vector<float>> storage(layout.size(), std::vector<float>(1));
  std::vector<const float*> buffers;
  for (auto& b : storage) buffers.push_back(b.data());
  const EngineSlots slots = RouteChannels(layout, configuration, GetAudioChannelLayout(cfg, true),
                                          buffers.data(), buffers.size());
  std::vector<int> sources;
  for (const float* slot : slots) {
    int source = -1;
    for (std::size_t i = 0; i < buffers.size(); ++i)
      if (slot == buffers[i]) source = static_cast<int>(i);
    if (source < 0) {
      EXPECT_EQ(slot, SilentFrame());
    }
    sources.push_back(source);
  }
  return sources;
}

TEST(ChannelRouting, StandardLayoutsFillTheirSlots) {
  EXPECT_EQ(SlotSources(kAudioChannelConfiguration_Acmod_32, true),
            (std::vector<int>{0, 1, 2, 3, 4, 5, -1, -1, -1, -1, -1}));
  // Without LFE the surrounds still reach slots 4 and 5.
  EXPECT_EQ(SlotSources(kAudioChannelConfiguration_Acmod_32, false),
            (std::vector<int>{0, 1, 2, -1, 3, 4, -1, -1, -1, -1, -1}));
  EXPECT_EQ(SlotSources(kAudioChannelConfiguration_Acmod_10, false),
            (std::vector<int>{-1, -1, 0, -1, -1, -1, -1, -1, -1, -1, -1}));
  // Dual mono: two unlabelled channels go to the first two slots.
  EXPECT_EQ(SlotSources(kAudioChannelConfiguration_Acmod_11, false),
            (std::vector<int>{0, 1, -1, -1, -1, -1, -1, -1, -1, -1, -1}));
}

TEST(ChannelRouting, CentreSurroundSlotDependsOnTheConfiguration) {
  // 2/1 (L R LFE Cs): the single surround takes slot 4.
  EXPECT_EQ(SlotSources(kAudioChannelConfiguration_Acmod_21, true),
            (std::vector<int>{0, 1, -1, 2, 3, -1, -1, -1, -1, -1, -1}));
  // 3/3 (L R C LFE Ls Rs Cs): the back centre has slot 6.
  EXPECT_EQ(SlotSources(kAudioChannelConfiguration_24, true),
            (std::vector<int>{0, 1, 2, 3, 4, 5, 6, -1, -1, -1, -1}));
}

TEST(ChannelRouting, ExtraLabelsTakeTheirPositionInTheFullLayout) {
  // 19: 5.1 plus Vhl Vhr, at positions 6 and 7.
  EXPECT_EQ(SlotSources(kAudioChannelConfiguration_19, true),
            (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, -1, -1, -1}));
  const ChannelLayout full = GetAudioChannelLayout(kAudioChannelConfiguration_19, true);
  EXPECT_EQ(EngineSlotForChannel(tidemark::kAudioChannelLabel_LeftWide, 6, 19, full), 0u);
  EXPECT_EQ(EngineSlotForChannel(tidemark::kAudioChannelLabel_CenterSurround, 0, 7, full), 0u);
}

TEST(ChannelRouting, ALaterChannelOnATakenSlotReplacesTheEarlierOne) {
  const ChannelLayout layout{tidemark::kAudioChannelLabel_Left, tidemark::kAudioChannelLabel_Left};
  const float a[1] = {}, b[1] = {};
  const float* buffers[] = {a, b};
  const EngineSlots slots =
      RouteChannels(layout, kAudioChannelConfiguration_Acmod_20, layout, buffers, 2);
  EXPECT_EQ(slots[0], b);
  // Only as many channels as there are buffers are routed.
  const EngineSlots one =
      RouteChannels(layout, kAudioChannelConfiguration_Acmod_20, layout, buffers, 1);
  EXPECT_EQ(one[0], a);
}

}  // namespace
}  // namespace dolbydigital
