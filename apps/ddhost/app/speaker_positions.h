// Host channel labels and the speaker positions of sound files (libsndfile's channel map,
// behind a WAV file's channel mask and a CAF file's channel layout), in both directions.
#ifndef DDHOST_SPEAKER_POSITIONS_H
#define DDHOST_SPEAKER_POSITIONS_H

#include <string>
#include <vector>

#include "dolbydigital/types.h"

namespace ddhost {

// A file's channels in the order they are stored: `positions[i]` is the libsndfile channel
// map value of stored channel i, `source[i]` the index of the host channel that goes there.
struct StoredOrder {
  bool hasPositions = false;  // false: some channel has no speaker position (e.g. dual mono)
  std::vector<int> positions;
  std::vector<std::size_t> source;
};

// The order to store a decoded layout in: by ascending WAV channel-mask bit, which is the
// order a WAVE_FORMAT_EXTENSIBLE mask prescribes. Without positions, the layout's own order.
StoredOrder StoredOrderFor(const dolbydigital::ChannelLayout& layout);

// Host labels for a file's channel map. Side and back surrounds both become Ls/Rs when the
// file has only one of the two pairs, and the back pair becomes Lrs/Rrs when it has both.
// A position with no host label gives an empty result and names it in `error`.
bool LabelsForPositions(const std::vector<int>& positions, dolbydigital::ChannelLayout& layout,
                        std::string& error);

// The default speaker order of a file without a channel map (the WAV default masks):
// 1 C; 2 L R; 3 L R C; 4 L R Ls Rs; 5 L R C Ls Rs; 6 L R C LFE Ls Rs; 7 L R C LFE Cs Ls Rs;
// 8 L R C LFE Lrs Rrs Ls Rs. Empty for other counts.
std::vector<int> DefaultPositions(int channels);

// "L", "Ls", ... for messages.
std::string LabelName(tidemark::AudioChannelLabel label);
std::string PositionName(int position);

}  // namespace ddhost

#endif  // DDHOST_SPEAKER_POSITIONS_H
