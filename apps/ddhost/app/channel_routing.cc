#include "channel_routing.h"

#include "speaker_positions.h"

namespace ddhost {
namespace {

int Find(const dolbydigital::ChannelLayout& layout, int label) {
  for (std::size_t i = 0; i < layout.size(); ++i)
    if (static_cast<int>(layout[i].label) == label) return static_cast<int>(i);
  return -1;
}

constexpr float kMinus3dB = 0.70710678f;

}  // namespace

SourceFold FoldFor(const dolbydigital::ChannelLayout& fileLayout,
                   const dolbydigital::ChannelLayout& streamLayout) {
  SourceFold fold;
  fold.into.assign(fileLayout.size(), -1);
  const int ls = Find(fileLayout, 104), rs = Find(fileLayout, 105);
  const int lrs = Find(fileLayout, 129), rrs = Find(fileLayout, 130);
  const bool streamHasRears = Find(streamLayout, 129) >= 0 && Find(streamLayout, 130) >= 0;
  fold.active = fileLayout.size() == 8 && ls >= 0 && rs >= 0 && lrs >= 0 && rrs >= 0 &&
                !streamHasRears;
  if (fold.active) {
    fold.into[lrs] = ls;
    fold.into[rrs] = rs;
    fold.note = "7.1 input: the rear surrounds are mixed into the surrounds (-3 dB each) and "
                "the programme is encoded as 5.1 (the settings give a stream without rear surrounds)";
  }
  for (std::size_t i = 0; i < fileLayout.size(); ++i) {
    if (fold.into[i] >= 0) continue;
    fold.kept.push_back(i);
    fold.layout.push_back(fileLayout[i]);
  }
  return fold;
}

void ApplyFold(const SourceFold& fold, std::vector<std::vector<float>>& planes, std::size_t frames) {
  if (!fold.active) return;
  for (std::size_t c = 0; c < fold.into.size(); ++c) {
    if (fold.into[c] < 0) continue;
    std::vector<float>& target = planes[static_cast<std::size_t>(fold.into[c])];
    const std::vector<float>& rear = planes[c];
    for (std::size_t i = 0; i < frames; ++i) target[i] = kMinus3dB * (target[i] + rear[i]);
  }
  std::vector<std::vector<float>> kept;
  for (std::size_t c : fold.kept) kept.push_back(std::move(planes[c]));
  planes = std::move(kept);
}

ChannelRoute RouteChannels(const dolbydigital::ChannelLayout& source,
                           const dolbydigital::ChannelLayout& encoder) {
  ChannelRoute route;
  std::vector<bool> used(source.size(), false);
  for (std::size_t e = 0; e < encoder.size(); ++e) {
    const int label = static_cast<int>(encoder[e].label);
    int from = label == 0 ? (e < source.size() ? static_cast<int>(e) : -1) : Find(source, label);
    // A mono file feeds the centre of any configuration that has one.
    if (from < 0 && source.size() == 1 && label == 102) from = 0;
    route.source.push_back(from);
    if (from >= 0) used[static_cast<std::size_t>(from)] = true;
    else route.notes.push_back("the configuration's " + LabelName(encoder[e].label) +
                               " channel has no channel in the file and stays silent");
  }
  for (std::size_t s = 0; s < source.size(); ++s)
    if (!used[s])
      route.notes.push_back("the file's " + LabelName(source[s].label) +
                            " channel is not part of the configuration and is left out");
  return route;
}

void ChannelRoute::Apply(const std::vector<std::vector<float>>& planes, std::size_t frames,
                         std::vector<std::vector<float>>& out) const {
  out.resize(source.size());
  for (std::size_t e = 0; e < source.size(); ++e) {
    if (source[e] >= 0) out[e].assign(planes[static_cast<std::size_t>(source[e])].begin(),
                                      planes[static_cast<std::size_t>(source[e])].begin() + frames);
    else out[e].assign(frames, 0.0f);
  }
}

}  // namespace ddhost
