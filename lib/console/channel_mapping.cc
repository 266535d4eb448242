#include "console/channel_mapping.h"

#include <algorithm>
#include <bitset>
#include <cstdio>

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

std::string Abbreviation(const ChannelLayout& layout, std::size_t i) {
  const AudioChannelLabel label = layout[i].GetLabel();
  const std::string name = basalt::ToStdString(tidemark::AudioChannelLabelAbbreviations(label));
  return label == tidemark::kAudioChannelLabel_Discrete || name.empty()
             ? "channel " + std::to_string(i + 1)
             : name;
}

// Names channels from..to-1; a header may declare thousands of channels, so a long run is
// cut short with a count of the rest rather than printed in full.
std::string Names(const ChannelLayout& layout, std::size_t from, std::size_t to) {
  constexpr std::size_t kMostNamed = 16;
  const std::size_t named = std::min(to - from, kMostNamed);
  std::string text;
  for (std::size_t i = from; i < from + named; ++i)
    text += (text.empty() ? "" : " ") + Abbreviation(layout, i);
  if (to - from > named) text += " and " + std::to_string(to - from - named) + " more";
  return text;
}

bool SameSpeaker(const ChannelLayout& file, const ChannelLayout& stream, std::size_t i) {
  const AudioChannelLabel label = stream[i].GetLabel();
  return label == tidemark::kAudioChannelLabel_Discrete || label == file[i].GetLabel();
}

// Where the labels of the file's channels come from, for the user.
std::string LabelSource(const WavReader& reader, const ChannelLayout& file) {
  const std::uint32_t mask = reader.GetChannelMask();
  char hex[16];
  std::snprintf(hex, sizeof hex, "0x%X", mask);
  if (mask != 0 && std::bitset<32>(mask).count() == file.size())
    return "by its channel mask " + std::string(hex);
  if (mask != 0) return "by their count; its channel mask " + std::string(hex) + " does not fit";
  return "by their count";
}

}  // namespace

ChannelLayout FileChannelLabels(const WavReader& reader) {
  const std::size_t channels = reader.GetChannelCount();
  const std::uint32_t mask = reader.GetChannelMask();
  if (mask != 0 && std::bitset<32>(mask).count() == channels) return LayoutFromMask(mask);
  return tidemark::CreateMultichannelLayoutWithDefaultLabels(channels);
}

std::vector<std::string> DescribeChannelPlacement(const WavReader& reader,
                                                  const ChannelLayout& file,
                                                  const ChannelLayout& stream,
                                                  const std::string& streamName) {
  std::vector<std::string> warnings;
  const std::size_t fed = std::min(file.size(), stream.size());
  bool misplaced = false;
  for (std::size_t i = 0; i < fed; ++i) misplaced = misplaced || !SameSpeaker(file, stream, i);
  if (misplaced) {
    std::string placement;
    for (std::size_t i = 0; i < stream.size(); ++i)
      placement += (i ? ", " : "") + Abbreviation(stream, i) + " = " +
                   (i < fed ? "file " + Abbreviation(file, i) : std::string("silence"));
    warnings.push_back(
        "the file's channels are " + Names(file, 0, file.size()) + " (" + LabelSource(reader, file) +
        "), but this command takes 1 channel as mono, 2 as stereo and any other count as 5.1 "
        "(L R C LFE Ls Rs) and feeds them to the stream in file order: the stream (" +
        streamName + ") gets " + placement);
  } else if (fed < stream.size()) {
    warnings.push_back("the stream (" + streamName + ") has more channels than the file: its " +
                       Names(stream, fed, stream.size()) + " stay silent");
  }
  if (fed < file.size())
    warnings.push_back("the file's " + Names(file, fed, file.size()) +
                       " have no place in the stream (" + streamName + ") and are left out");
  return warnings;
}

}  // namespace dolbydigital
