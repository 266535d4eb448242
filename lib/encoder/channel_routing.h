// Routing of the host's channels to the engine's eleven input slots. The engine takes a
// fixed slot per loudspeaker position; the host's layout says, by label, which position
// each of its channels feeds.
#ifndef DOLBYDIGITAL_ENCODER_CHANNEL_ROUTING_H
#define DOLBYDIGITAL_ENCODER_CHANNEL_ROUTING_H

#include <array>
#include <cstddef>

#include "ddpi/ddpi_enc.h"
#include "dolbydigital/types.h"

namespace dolbydigital {

using EngineSlots = std::array<const float*, DDPI_ENC_NUM_SLOTS>;

// 1536 zeros, read by every slot no channel feeds.
const float* SilentFrame();

// The slot of the channel at `index` with `label` in a stream of `configuration`.
// `fullLayout` is the configuration's layout with LFE; labels without a fixed slot take their
// position in it. The result may be 11 or more for a position the engine has no slot for.
std::size_t EngineSlotForChannel(tidemark::AudioChannelLabel label, std::size_t index,
                                 int configuration, const ChannelLayout& fullLayout);

// Slot table for one engine call: channel i of `layout` reads `buffers[i]`; every other slot
// reads SilentFrame(). A later channel that lands on a taken slot replaces the earlier one.
// `fullLayout` as for EngineSlotForChannel; the caller keeps it so that no frame allocates.
EngineSlots RouteChannels(const ChannelLayout& layout, int configuration,
                          const ChannelLayout& fullLayout, const float* const* buffers,
                          std::size_t bufferCount);

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_ENCODER_CHANNEL_ROUTING_H
