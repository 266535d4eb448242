#include "decoder/channel_map_layout.h"

#include <algorithm>

#include "dolbydigital/parameters.h"

namespace dolbydigital {
namespace {

using tidemark::AudioChannelLabel;

struct MapBit {
  std::uint16_t bit;
  AudioChannelLabel labels[2];
  int count;
};

// Map bits from the most significant down, with the host labels each one stands for.
const MapBit kMapBits[] = {
    {0x8000, {tidemark::kAudioChannelLabel_Left}, 1},
    {0x4000, {tidemark::kAudioChannelLabel_Center}, 1},
    {0x2000, {tidemark::kAudioChannelLabel_Right}, 1},
    {0x1000, {tidemark::kAudioChannelLabel_LeftSurround}, 1},
    {0x0800, {tidemark::kAudioChannelLabel_RightSurround}, 1},
    {0x0400, {tidemark::kAudioChannelLabel_LeftCenter, tidemark::kAudioChannelLabel_RightCenter}, 2},
    {0x0200,
     {tidemark::kAudioChannelLabel_RearSurroundLeft, tidemark::kAudioChannelLabel_RearSurroundRight},
     2},
    {0x0100, {tidemark::kAudioChannelLabel_CenterSurround}, 1},
    {0x0080, {tidemark::kAudioChannelLabel_TopCenterSurround}, 1},
    {0x0040,
     {tidemark::kAudioChannelLabel_LeftSurroundDirect,
      tidemark::kAudioChannelLabel_RightSurroundDirect},
     2},
    {0x0020, {tidemark::kAudioChannelLabel_LeftWide, tidemark::kAudioChannelLabel_RightWide}, 2},
    {0x0010,
     {tidemark::kAudioChannelLabel_VerticalHeightLeft,
      tidemark::kAudioChannelLabel_VerticalHeightRight},
     2},
    {0x0008, {tidemark::kAudioChannelLabel_VerticalHeightCenter}, 1},
    {0x0002, {tidemark::kAudioChannelLabel_LFE2}, 1},
};

bool Contains(const ChannelLayout& layout, AudioChannelLabel label) {
  return std::any_of(layout.begin(), layout.end(),
                     [label](const tidemark::AudioChannelDescription& d) { return d.label == label; });
}

void MakeLoneSurroundCentre(ChannelLayout& layout) {
  if (!Contains(layout, tidemark::kAudioChannelLabel_LeftSurround) ||
      Contains(layout, tidemark::kAudioChannelLabel_RightSurround))
    return;
  for (tidemark::AudioChannelDescription& d : layout)
    if (d.label == tidemark::kAudioChannelLabel_LeftSurround)
      d.label = tidemark::kAudioChannelLabel_CenterSurround;
}

}  // namespace

StreamChannels ChannelsFromMap(std::uint16_t channelMap, std::int32_t outputMode) {
  ChannelLayout labels;
  for (const MapBit& entry : kMapBits)
    if (channelMap & entry.bit)
      for (int i = 0; i < entry.count; ++i) labels.push_back(entry.labels[i]);
  if (outputMode == 4 || outputMode == 5) MakeLoneSurroundCentre(labels);

  StreamChannels result;
  result.channelConfiguration = GetAudioChannelConfiguration(labels);
  result.outputMode = result.channelConfiguration < 8 ? result.channelConfiguration : 21;
  result.hasLFE = (channelMap & 0x0001) != 0;
  result.channelLayout =
      result.hasLFE ? GetAudioChannelLayout(result.channelConfiguration, true) : labels;
  return result;
}

int EngineChannelFor(AudioChannelLabel label, std::size_t position,
                     AudioChannelConfiguration configuration) {
  switch (label) {
    case tidemark::kAudioChannelLabel_Left: return 0;
    case tidemark::kAudioChannelLabel_Right: return 2;
    case tidemark::kAudioChannelLabel_Center: return 1;
    case tidemark::kAudioChannelLabel_LFEScreen: return 5;
    case tidemark::kAudioChannelLabel_LeftSurround: return 3;
    case tidemark::kAudioChannelLabel_RightSurround: return 4;
    case tidemark::kAudioChannelLabel_CenterSurround:
      if (configuration == 4 || configuration == 5) return 3;
      if (configuration >= 23 && configuration <= 27) return 6;
      return 0;
    case tidemark::kAudioChannelLabel_VerticalHeightLeft:
    case tidemark::kAudioChannelLabel_RearSurroundLeft: return 6;
    case tidemark::kAudioChannelLabel_VerticalHeightRight:
    case tidemark::kAudioChannelLabel_RearSurroundRight: return 7;
    case tidemark::kAudioChannelLabel_Discrete: return position == 1 ? 2 : 0;
    default:
      // A label the configuration itself names has no engine channel of its own; a foreign
      // label falls back to the first channel.
      return Contains(GetAudioChannelLayout(configuration, true), label) ? -1 : 0;
  }
}

}  // namespace dolbydigital
