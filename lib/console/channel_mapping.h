// Where a WAV file's channels end up in the stream the Encode command writes. The command
// takes a file's layout from its channel count alone (1: mono, 2: stereo, any other count:
// 5.1 L R C LFE Ls Rs) and hands its channels to the encoder in file order, where the
// stream's own layout places them: file channel i becomes the stream's channel i. Whatever
// the file says about its channels changes nothing in that; it only tells the user when
// channels land somewhere other than where the file means them to be.
#ifndef DOLBYDIGITAL_CONSOLE_CHANNEL_MAPPING_H
#define DOLBYDIGITAL_CONSOLE_CHANNEL_MAPPING_H

#include <string>
#include <vector>

#include "console/wav_reader.h"
#include "dolbydigital/types.h"

namespace dolbydigital {

// The channels the file says it has: the speakers of its extensible channel mask when the
// mask names every channel; otherwise the usual labels for the count.
ChannelLayout FileChannelLabels(const WavReader& reader);

// Warnings for the placement of the file's channels (`file`, as FileChannelLabels gives them)
// in file order on the stream's channels (`stream`, named `streamName` for the user): a file
// channel on a stream channel of another speaker, file channels left out, stream channels
// left silent. Nothing when every channel lands on its own speaker. Unlabelled stream
// channels (dual mono) take any channel.
std::vector<std::string> DescribeChannelPlacement(const WavReader& reader,
                                                  const ChannelLayout& file,
                                                  const ChannelLayout& stream,
                                                  const std::string& streamName);

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_CONSOLE_CHANNEL_MAPPING_H
