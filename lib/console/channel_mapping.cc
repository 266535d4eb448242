#include "console/channel_mapping.h"

#include <algorithm>
#include <bitset>

namespace dolbydigital {
namespace {

using tidemark::AudioChannelLabel;

// WAVE_FORMAT_EXTENSIBLE speaker bits in their order. Back left/right are the surrounds of
// a 5.1 file; when side channels are present too, those are the surrounds and the back
// pair become the rear surrounds.
ChannelLayout LayoutFromMask(std::uint32_t mask) {
  const bool hasSides = (mask & 0x600) != 0;
  ChannelLayout layout;
  for (int bit = 0; bit < 18; ++bit) {
    if (!(mask & (1u << bit))) continue;
    switch (bit) {
      case 0:
        layout.push_back(tidemark::kAudioChannelLabel_Left);
        break;
      case 1:
        layout.push_back(tidemark::kAudioChannelLabel_Right);
        break;
      case 2:
        layout.push_back(tidemark::kAudioChannelLabel_Center);
        break;
      case 3:
        layout.push_back(tidemark::kAudioChannelLabel_LFEScreen);
        break;
      case 4:
        layout.push_back(hasSides ? tidemark::kAudioChannelLabel_RearSurroundLeft
                                  : tidemark::kAudioChannelLabel_LeftSurround);
        break;
      case 5:
        layout.push_back(hasSides ? tidemark::kAudioChannelLabel_RearSurroundRight
                                  : tidemark::kAudioChannelLabel_RightSurround);
        break;
      case 6:
        layout.push_back(tidemark::kAudioChannelLabel_LeftCenter);
        break;
      case 7:
        layout.push_back(tidemark::kAudioChannelLabel_RightCenter);
        break;
      case 8:
        layout.push_back(tidemark::kAudioChannelLabel_CenterSurround);
        break;
      case 9:
        layout.push_back(tidemark::kAudioChannelLabel_LeftSurround);
        break;
      case 10:
        layout.push_back(tidemark::kAudioChannelLabel_RightSurround);
        break;
      case 11:
        layout.push_back(tidemark::kAudioChannelLabel_TopCenterSurround);
        break;
      case 12:
        layout.push_back(tidemark::kAudioChannelLabel_VerticalHeightLeft);
        break;
      case 13:
        layout.push_back(tidemark::kAudioChannelLabel_VerticalHeightCenter);
        break;
      case 14:
        layout.push_back(tidemark::kAudioChannelLabel_VerticalHeightRight);
        break;
      default:
        layout.push_back(tidemark::kAudioChannelLabel_Discrete);
        break;
    }
  }
  return layout;
}

std::string Abbreviation(AudioChannelLabel label) {
  return basalt::ToStdString(tidemark::AudioChannelLabelAbbreviations(label));
}

std::string JoinNames(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& n : names) text += (text.empty() ? "" : " ") + n;
  return text;
}

int FindLabel(const ChannelLayout& layout, AudioChannelLabel label) {
  for (std::size_t i = 0; i < layout.size(); ++i)
    if (layout[i].GetLabel() == label) return static_cast<int>(i);
  return ChannelMapping::kSilent;
}

// When no label matches (a mono file into a stream without centre, a stereo file into a
// mono stream), the file's channels feed the stream's in their order, as an encoder fed
// planes in layout order does: a stream left wholly silent would help nobody.
ChannelMapping MapByPosition(const ChannelLayout& source, const ChannelLayout& stream) {
  ChannelMapping mapping;
  std::vector<std::string> fed, silent, unused;
  for (std::size_t j = 0; j < stream.size(); ++j) {
    const AudioChannelLabel label = stream[j].GetLabel();
    const std::string name = label ? Abbreviation(label) : "channel " + std::to_string(j + 1);
    if (j < source.size()) {
      mapping.sourceOf.push_back(static_cast<int>(j));
      fed.push_back(Abbreviation(source[j].GetLabel()) + "->" + name);
    } else {
      mapping.sourceOf.push_back(ChannelMapping::kSilent);
      silent.push_back(name);
    }
  }
  for (std::size_t i = stream.size(); i < source.size(); ++i)
    unused.push_back(Abbreviation(source[i].GetLabel()));
  mapping.warnings.push_back("no channel of the input matches a channel of the stream; they are "
                             "fed in order: " + JoinNames(fed));
  if (!silent.empty())
    mapping.warnings.push_back("the stream's " + JoinNames(silent) + " channel(s) stay silent");
  if (!unused.empty())
    mapping.warnings.push_back("the input's " + JoinNames(unused) +
                               " channel(s) have no place in the stream and are left out");
  return mapping;
}

}  // namespace

ChannelLayout SourceChannelLayout(const WavReader& reader) {
  const std::size_t channels = reader.GetChannelCount();
  if (reader.GetChannelLayout().size() == channels) return reader.GetChannelLayout();
  const std::uint32_t mask = reader.GetChannelMask();
  if (mask != 0 && std::bitset<32>(mask).count() == channels) return LayoutFromMask(mask);
  return tidemark::CreateMultichannelLayoutWithDefaultLabels(channels);
}

ChannelMapping MapChannels(const ChannelLayout& source, const ChannelLayout& stream) {
  ChannelMapping mapping;
  std::vector<bool> used(source.size(), false);
  std::vector<std::string> silent;
  for (std::size_t j = 0; j < stream.size(); ++j) {
    const AudioChannelLabel label = stream[j].GetLabel();
    int from = label == tidemark::kAudioChannelLabel_Discrete
                   ? (j < source.size() ? static_cast<int>(j) : ChannelMapping::kSilent)
                   : FindLabel(source, label);
    if (from != ChannelMapping::kSilent)
      used[from] = true;
    else
      silent.push_back(label ? Abbreviation(label) : "channel " + std::to_string(j + 1));
    mapping.sourceOf.push_back(from);
  }
  if (!source.empty() && std::none_of(mapping.sourceOf.begin(), mapping.sourceOf.end(),
                                      [](int from) { return from != ChannelMapping::kSilent; }))
    return MapByPosition(source, stream);
  std::vector<std::string> unused;
  for (std::size_t i = 0; i < source.size(); ++i)
    if (!used[i]) unused.push_back(Abbreviation(source[i].GetLabel()));
  if (!silent.empty())
    mapping.warnings.push_back("the stream's " + JoinNames(silent) +
                               " channel(s) have no counterpart in the input and stay silent");
  if (!unused.empty())
    mapping.warnings.push_back("the input's " + JoinNames(unused) +
                               " channel(s) have no place in the stream and are left out");
  return mapping;
}

}  // namespace dolbydigital
