#include "speaker_positions.h"

#include <sndfile.h>

#include <algorithm>

#include "basalt/string.h"

namespace ddhost {
namespace {

using tidemark::AudioChannelLabel;

// WAV channel-mask bit of each libsndfile position (the order of stored channels).
int MaskBit(int position) {
  switch (position) {
    case SF_CHANNEL_MAP_LEFT: case SF_CHANNEL_MAP_FRONT_LEFT: return 0;
    case SF_CHANNEL_MAP_RIGHT: case SF_CHANNEL_MAP_FRONT_RIGHT: return 1;
    case SF_CHANNEL_MAP_MONO: case SF_CHANNEL_MAP_CENTER: case SF_CHANNEL_MAP_FRONT_CENTER: return 2;
    case SF_CHANNEL_MAP_LFE: return 3;
    case SF_CHANNEL_MAP_REAR_LEFT: return 4;
    case SF_CHANNEL_MAP_REAR_RIGHT: return 5;
    case SF_CHANNEL_MAP_FRONT_LEFT_OF_CENTER: return 6;
    case SF_CHANNEL_MAP_FRONT_RIGHT_OF_CENTER: return 7;
    case SF_CHANNEL_MAP_REAR_CENTER: return 8;
    case SF_CHANNEL_MAP_SIDE_LEFT: return 9;
    case SF_CHANNEL_MAP_SIDE_RIGHT: return 10;
    case SF_CHANNEL_MAP_TOP_CENTER: return 11;
    case SF_CHANNEL_MAP_TOP_FRONT_LEFT: return 12;
    case SF_CHANNEL_MAP_TOP_FRONT_CENTER: return 13;
    case SF_CHANNEL_MAP_TOP_FRONT_RIGHT: return 14;
    case SF_CHANNEL_MAP_TOP_REAR_LEFT: return 15;
    case SF_CHANNEL_MAP_TOP_REAR_CENTER: return 16;
    case SF_CHANNEL_MAP_TOP_REAR_RIGHT: return 17;
    default: return 64;
  }
}

// Positions a decoded channel may take, best first. The surrounds of a 5.1 stream are side
// speakers (as in a 7.1 mask 0x63F, whose back pair is the rear surrounds).
std::vector<int> Candidates(AudioChannelLabel label) {
  switch (static_cast<int>(label)) {
    case 100: case 132: return {SF_CHANNEL_MAP_FRONT_LEFT};
    case 101: case 133: return {SF_CHANNEL_MAP_FRONT_RIGHT};
    case 102: return {SF_CHANNEL_MAP_FRONT_CENTER};
    case 103: return {SF_CHANNEL_MAP_LFE};
    case 104: case 109: return {SF_CHANNEL_MAP_SIDE_LEFT, SF_CHANNEL_MAP_REAR_LEFT};
    case 105: case 110: return {SF_CHANNEL_MAP_SIDE_RIGHT, SF_CHANNEL_MAP_REAR_RIGHT};
    case 106: return {SF_CHANNEL_MAP_REAR_CENTER};
    case 107: case 118: return {SF_CHANNEL_MAP_FRONT_LEFT_OF_CENTER};
    case 108: case 119: return {SF_CHANNEL_MAP_FRONT_RIGHT_OF_CENTER};
    case 111: return {SF_CHANNEL_MAP_TOP_CENTER};
    case 112: return {SF_CHANNEL_MAP_TOP_FRONT_LEFT};
    case 113: return {SF_CHANNEL_MAP_TOP_FRONT_RIGHT};
    case 114: return {SF_CHANNEL_MAP_TOP_FRONT_CENTER};
    case 129: return {SF_CHANNEL_MAP_REAR_LEFT};
    case 130: return {SF_CHANNEL_MAP_REAR_RIGHT};
    default: return {};
  }
}

bool Has(const std::vector<int>& positions, int position) {
  return std::find(positions.begin(), positions.end(), position) != positions.end();
}

}  // namespace

StoredOrder StoredOrderFor(const dolbydigital::ChannelLayout& layout) {
  StoredOrder order;
  order.source.resize(layout.size());
  for (std::size_t i = 0; i < layout.size(); ++i) order.source[i] = i;
  if (layout.size() == 1 && layout[0].label == 102) {  // a lone centre is plain mono
    order.hasPositions = true;
    order.positions = {SF_CHANNEL_MAP_MONO};
    return order;
  }
  // Unlabelled channels (dual mono) are stored as players expect two channels: left, right.
  bool unlabelled = true;
  for (const auto& channel : layout) unlabelled = unlabelled && channel.label == 0;
  if (unlabelled && layout.size() == 2) {
    order.hasPositions = true;
    order.positions = {SF_CHANNEL_MAP_FRONT_LEFT, SF_CHANNEL_MAP_FRONT_RIGHT};
    return order;
  }
  std::vector<int> taken;
  for (const auto& channel : layout) {
    int chosen = SF_CHANNEL_MAP_INVALID;
    for (int position : Candidates(channel.label))
      if (!Has(taken, position)) {
        chosen = position;
        break;
      }
    if (chosen == SF_CHANNEL_MAP_INVALID) return order;
    taken.push_back(chosen);
  }
  std::stable_sort(order.source.begin(), order.source.end(), [&](std::size_t a, std::size_t b) {
    return MaskBit(taken[a]) < MaskBit(taken[b]);
  });
  order.hasPositions = true;
  for (std::size_t i : order.source) order.positions.push_back(taken[i]);
  return order;
}

bool LabelsForPositions(const std::vector<int>& positions, dolbydigital::ChannelLayout& layout,
                        std::string& error) {
  layout.clear();
  const bool bothSurroundPairs =
      (Has(positions, SF_CHANNEL_MAP_SIDE_LEFT) || Has(positions, SF_CHANNEL_MAP_SIDE_RIGHT)) &&
      (Has(positions, SF_CHANNEL_MAP_REAR_LEFT) || Has(positions, SF_CHANNEL_MAP_REAR_RIGHT));
  for (std::size_t i = 0; i < positions.size(); ++i) {
    int label = -1;
    switch (positions[i]) {
      case SF_CHANNEL_MAP_MONO: label = positions.size() == 1 ? 102 : -1; break;
      case SF_CHANNEL_MAP_LEFT: case SF_CHANNEL_MAP_FRONT_LEFT: label = 100; break;
      case SF_CHANNEL_MAP_RIGHT: case SF_CHANNEL_MAP_FRONT_RIGHT: label = 101; break;
      case SF_CHANNEL_MAP_CENTER: case SF_CHANNEL_MAP_FRONT_CENTER: label = 102; break;
      case SF_CHANNEL_MAP_LFE: label = 103; break;
      case SF_CHANNEL_MAP_SIDE_LEFT: label = 104; break;
      case SF_CHANNEL_MAP_SIDE_RIGHT: label = 105; break;
      case SF_CHANNEL_MAP_REAR_LEFT: label = bothSurroundPairs ? 129 : 104; break;
      case SF_CHANNEL_MAP_REAR_RIGHT: label = bothSurroundPairs ? 130 : 105; break;
      case SF_CHANNEL_MAP_REAR_CENTER: label = 106; break;
      case SF_CHANNEL_MAP_FRONT_LEFT_OF_CENTER: label = 107; break;
      case SF_CHANNEL_MAP_FRONT_RIGHT_OF_CENTER: label = 108; break;
      case SF_CHANNEL_MAP_TOP_CENTER: label = 111; break;
      case SF_CHANNEL_MAP_TOP_FRONT_LEFT: label = 112; break;
      case SF_CHANNEL_MAP_TOP_FRONT_RIGHT: label = 113; break;
      case SF_CHANNEL_MAP_TOP_FRONT_CENTER: label = 114; break;
      default: break;
    }
    if (label < 0) {
      error = "channel " + std::to_string(i + 1) + " (" + PositionName(positions[i]) +
              ") has no place in any channel configuration";
      layout.clear();
      return false;
    }
    tidemark::AudioChannelDescription description;
    description.label = static_cast<AudioChannelLabel>(label);
    layout.push_back(description);
  }
  return true;
}

std::vector<int> DefaultPositions(int channels) {
  constexpr int L = SF_CHANNEL_MAP_FRONT_LEFT, R = SF_CHANNEL_MAP_FRONT_RIGHT,
                C = SF_CHANNEL_MAP_FRONT_CENTER, LFE = SF_CHANNEL_MAP_LFE,
                BL = SF_CHANNEL_MAP_REAR_LEFT, BR = SF_CHANNEL_MAP_REAR_RIGHT,
                BC = SF_CHANNEL_MAP_REAR_CENTER, SL = SF_CHANNEL_MAP_SIDE_LEFT,
                SR = SF_CHANNEL_MAP_SIDE_RIGHT;
  switch (channels) {
    case 1: return {SF_CHANNEL_MAP_MONO};
    case 2: return {L, R};
    case 3: return {L, R, C};
    case 4: return {L, R, BL, BR};
    case 5: return {L, R, C, BL, BR};
    case 6: return {L, R, C, LFE, BL, BR};
    case 7: return {L, R, C, LFE, BC, SL, SR};
    case 8: return {L, R, C, LFE, BL, BR, SL, SR};
    default: return {};
  }
}

std::string LabelName(AudioChannelLabel label) {
  return basalt::ToStdString(tidemark::AudioChannelLabelAbbreviations(label));
}

std::string PositionName(int position) {
  static const char* const kNames[] = {
      "invalid", "mono", "left", "right", "center", "front left", "front right", "front center",
      "back center", "back left", "back right", "LFE", "front left of center",
      "front right of center", "side left", "side right", "top center", "top front left",
      "top front right", "top front center", "top back left", "top back right", "top back center",
      "ambisonic W", "ambisonic X", "ambisonic Y", "ambisonic Z"};
  if (position >= 0 && position < static_cast<int>(sizeof kNames / sizeof *kNames))
    return kNames[position];
  return "position " + std::to_string(position);
}

}  // namespace ddhost
