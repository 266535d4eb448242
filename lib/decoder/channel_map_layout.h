// From the engine's 16-bit channel-location map to the host's view of the stream (channel
// configuration, LFE flag, channel layout), and from a host channel label back to the
// engine output channel that carries it.
#ifndef DOLBYDIGITAL_DECODER_CHANNEL_MAP_LAYOUT_H
#define DOLBYDIGITAL_DECODER_CHANNEL_MAP_LAYOUT_H

#include <cstddef>
#include <cstdint>

#include "dolbydigital/types.h"

namespace dolbydigital {

struct StreamChannels {
  std::int32_t outputMode = 21;
  AudioChannelConfiguration channelConfiguration = kAudioChannelConfiguration_21;
  bool hasLFE = true;
  ChannelLayout channelLayout;
};

// `outputMode` on entry is the mode the engine reported for the slice; a lone surround of a
// 2/1 or 3/1 stream becomes the centre surround.
StreamChannels ChannelsFromMap(std::uint16_t channelMap, std::int32_t outputMode);

// The engine output channel (0..7) for the channel at `position` of a layout of
// `configuration`; -1 when no engine channel carries it.
int EngineChannelFor(tidemark::AudioChannelLabel label, std::size_t position,
                     AudioChannelConfiguration configuration);

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_DECODER_CHANNEL_MAP_LAYOUT_H
