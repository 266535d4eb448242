// From the channels of a sound file to the planes the encoder takes, in the order of the
// configuration's layout: each encoder channel takes the file's channel of the same label.
#ifndef DDHOST_CHANNEL_ROUTING_H
#define DDHOST_CHANNEL_ROUTING_H

#include <string>
#include <vector>

#include "dolbydigital/types.h"

namespace ddhost {

// A 7.1 file (L R C LFE Ls Rs Lrs Rrs) whose settings give a stream without rear surrounds
// (Dolby Digital, or a configuration pinned to 5.1) is encoded as 5.1: each rear surround is
// mixed into the surround on its side, both at -3 dB, so nothing is lost.
struct SourceFold {
  dolbydigital::ChannelLayout layout;  // the file's layout after folding
  std::vector<int> into;               // per file channel: the surround it goes into, or -1
  std::vector<std::size_t> kept;       // file channels that stay, in `layout` order
  bool active = false;
  std::string note;
};
// `streamLayout` is the layout the settings encode when given the file's own layout.
SourceFold FoldFor(const dolbydigital::ChannelLayout& fileLayout,
                   const dolbydigital::ChannelLayout& streamLayout);
void ApplyFold(const SourceFold& fold, std::vector<std::vector<float>>& planes, std::size_t frames);

struct ChannelRoute {
  std::vector<int> source;  // per encoder channel: the file channel feeding it, or -1 (silence)
  std::vector<std::string> notes;
  void Apply(const std::vector<std::vector<float>>& planes, std::size_t frames,
             std::vector<std::vector<float>>& out) const;
};

// Matches by label; an unlabelled channel (dual mono) takes the file channel at its own
// position. Notes name file channels that are left out and encoder channels left silent.
ChannelRoute RouteChannels(const dolbydigital::ChannelLayout& source,
                           const dolbydigital::ChannelLayout& encoder);

}  // namespace ddhost

#endif  // DDHOST_CHANNEL_ROUTING_H
