// Which channel of the input file feeds which channel of the stream being encoded. Channels
// are matched by their labels, so a file whose channels are not those of the configured
// stream still has each channel land where it belongs; what cannot be matched is reported.
#ifndef DOLBYDIGITAL_CONSOLE_CHANNEL_MAPPING_H
#define DOLBYDIGITAL_CONSOLE_CHANNEL_MAPPING_H

#include <string>
#include <vector>

#include "console/wav_reader.h"
#include "dolbydigital/types.h"

namespace dolbydigital {

// The labels of the file's channels: the reader's layout when it has as many channels as
// the file; otherwise the extensible speaker mask when it names every channel; otherwise
// the usual labels for the channel count.
ChannelLayout SourceChannelLayout(const WavReader& reader);

struct ChannelMapping {
  static constexpr int kSilent = -1;
  std::vector<int> sourceOf;  // per stream channel: the file channel feeding it, or kSilent
  std::vector<std::string> warnings;
};

// Stream channels with a label take the file channel of the same label; unlabelled stream
// channels (dual mono) take the file channel at their own position. When no label matches at
// all, the file's channels feed the stream's in order instead of leaving the stream silent.
ChannelMapping MapChannels(const ChannelLayout& source, const ChannelLayout& stream);

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_CONSOLE_CHANNEL_MAPPING_H
