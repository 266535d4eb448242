// The engine's output channel modes (0..27, numbered like the library's channel
// configurations: the eight audio coding modes, then the extended configurations) and the
// channel-location map bits of the channels each carries.
#ifndef DDPI_ENGINE_DECODER_OUTPUT_CHANNEL_MODES_H
#define DDPI_ENGINE_DECODER_OUTPUT_CHANNEL_MODES_H

#include <cstdint>

namespace ddpi::udc {

constexpr int kNoOutputMode = -1;

// The output mode whose channels are exactly those of `channel_map` (the LFE bit and the
// unused bit 0x0004 aside), or kNoOutputMode.
int OutputModeOfChannelMap(std::uint16_t channel_map);

}  // namespace ddpi::udc

#endif  // DDPI_ENGINE_DECODER_OUTPUT_CHANNEL_MODES_H
