// Programmes beyond 5.1: channel configurations 19 (3/2 + front heights Vhl/Vhr), 21 (3/2 +
// rear surrounds Lrs/Rrs, 7.1) and 24 (3/2 + centre surround Cs, 6.1), each with or without
// LFE. Every frame holds an independent substream with a complete 5.1 (or 5.0) programme that
// a decoder of five channels plays on its own, followed by a dependent substream (A/52 Annex
// E) with the extra channels and the channels of the independent programme they replace.
// This file says what goes where; ProgramEncoder does the coding.
#ifndef DDPI_ENGINE_ENCODER_ENC_EXTENDED_LAYOUT_H
#define DDPI_ENGINE_ENCODER_ENC_EXTENDED_LAYOUT_H

namespace ddpi::enc {

// Input slots of an extended programme: 0 L, 1 R, 2 C, 3 LFE, 4 Ls, 5 Rs, then its extra
// channels in the order of its host layout (Lrs Rrs, Vhl Vhr, or Cs).
constexpr int kExtraSlot1 = 6;
constexpr int kExtraSlot2 = 7;
constexpr int kExtendedSlots = 8;

// One channel the independent programme cannot carry, mixed into one it carries.
struct Fold {
  int into_slot;
  int from_slot;
};

struct ExtendedLayout {
  int configuration;
  int dependent_acmod;       // coding mode of the dependent substream
  int chanmap;               // 16-bit channel-location map of the dependent substream
  int dependent_channels;    // its full-bandwidth channels
  int dependent_source[5];   // input slot of each of them, in bitstream order
  int fold_count;
  Fold folds[2];
};

// The layout of an extended configuration, or null for the configurations 0..7 that one
// substream carries.
const ExtendedLayout* ExtendedLayoutOf(int configuration);

// Gain of a folded channel in the independent programme: -3 dB, so that a channel folded
// into one output keeps most of its level without doubling that of a shared source.
constexpr float kFoldGain = 0.70710678f;

// Lowest total rate (kbps) of an extended programme: the independent 5.1 and the dependent
// channels each keep at least the rate the encoder needs for them on their own.
constexpr int kExtendedMinimumRate = 384;

// The independent substream's share of `kbps`, in proportion to the full-bandwidth channels
// each substream codes, those the dependent substream replaces counting half (the LFE channel
// costs too little to count); the dependent substream takes the rest. 7.1 at 384 kbps: 192
// and 192.
int IndependentShare(int kbps, const ExtendedLayout& layout);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_EXTENDED_LAYOUT_H
