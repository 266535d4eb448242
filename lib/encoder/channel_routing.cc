#include "encoder/channel_routing.h"

#include <algorithm>

namespace dolbydigital {
namespace {

// The centre surround shares the left-surround slot in the 2/1 and 3/1 coding modes (the
// single surround channel of the bitstream) and has a slot of its own in the extended
// configurations that carry it beside Ls/Rs.
std::size_t CenterSurroundSlot(int configuration) {
  if (configuration == kAudioChannelConfiguration_Acmod_21 ||
      configuration == kAudioChannelConfiguration_Acmod_31)
    return 4;
  if (configuration >= kAudioChannelConfiguration_23 &&
      configuration <= kAudioChannelConfiguration_27)
    return 6;
  return 0;
}

std::size_t PositionInLayout(tidemark::AudioChannelLabel label, const ChannelLayout& layout) {
  for (std::size_t i = 0; i < layout.size(); ++i)
    if (layout[i].GetLabel() == label) return i;
  return 0;
}

}  // namespace

const float* SilentFrame() {
  static const float zeros[DDPI_ENC_FRAME_SAMPLES] = {};
  return zeros;
}

std::size_t EngineSlotForChannel(tidemark::AudioChannelLabel label, std::size_t index,
                                 int configuration, const ChannelLayout& fullLayout) {
  switch (label) {
    case tidemark::kAudioChannelLabel_Discrete:
      return index == 1 ? 1 : 0;
    case tidemark::kAudioChannelLabel_Left:
      return 0;
    case tidemark::kAudioChannelLabel_Right:
      return 1;
    case tidemark::kAudioChannelLabel_Center:
      return 2;
    case tidemark::kAudioChannelLabel_LFEScreen:
      return 3;
    case tidemark::kAudioChannelLabel_LeftSurround:
      return 4;
    case tidemark::kAudioChannelLabel_RightSurround:
      return 5;
    case tidemark::kAudioChannelLabel_CenterSurround:
      return CenterSurroundSlot(configuration);
    default:
      return PositionInLayout(label, fullLayout);
  }
}

EngineSlots RouteChannels(const ChannelLayout& layout, int configuration,
                          const ChannelLayout& fullLayout, const float* const* buffers,
                          std::size_t bufferCount) {
  EngineSlots slots;
  slots.fill(SilentFrame());
  const std::size_t routed = std::min(bufferCount, layout.size());
  for (std::size_t i = 0; i < routed; ++i) {
    const std::size_t slot =
        EngineSlotForChannel(layout[i].GetLabel(), i, configuration, fullLayout);
    if (slot < slots.size()) slots[slot] = buffers[i];
  }
  return slots;
}

}  // namespace dolbydigital
