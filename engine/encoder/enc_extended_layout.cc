#include "enc_extended_layout.h"

namespace ddpi::enc {
namespace {

// Channel-location bits (A/52 Table E2.5; the first location is the most significant bit).
constexpr int kLocL = 0x8000, kLocR = 0x2000, kLocLs = 0x1000, kLocRs = 0x0800;
constexpr int kLocLrsRrs = 0x0200, kLocCs = 0x0100, kLocVhlVhr = 0x0010;

// A dependent substream's channels take the set locations in order, pairs as two channels.
// 2/2 codes L R Ls Rs and 2/1 codes L R S, hence the orders below.
constexpr ExtendedLayout kLayouts[] = {
    // 3/2 + Vhl/Vhr: the heights fold into the front pair, which the dependent substream
    // carries again on its own.
    {19, 6, kLocL | kLocR | kLocVhlVhr, 4, {0, 1, kExtraSlot1, kExtraSlot2}, 2,
     {{0, kExtraSlot1}, {1, kExtraSlot2}}},
    // 7.1: the rear surrounds fold into the side surrounds.
    {21, 6, kLocLs | kLocRs | kLocLrsRrs, 4, {4, 5, kExtraSlot1, kExtraSlot2}, 2,
     {{4, kExtraSlot1}, {5, kExtraSlot2}}},
    // 6.1: the centre surround folds into both surrounds.
    {24, 4, kLocLs | kLocRs | kLocCs, 3, {4, 5, kExtraSlot1}, 2,
     {{4, kExtraSlot1}, {5, kExtraSlot1}}},
};

constexpr int kIndependentChannels = 5;

}  // namespace

const ExtendedLayout* ExtendedLayoutOf(int configuration) {
  for (const ExtendedLayout& l : kLayouts)
    if (l.configuration == configuration) return &l;
  return nullptr;
}

int IndependentShare(int kbps, const ExtendedLayout& layout) {
  const int total = kIndependentChannels + layout.dependent_channels;
  return (kbps * kIndependentChannels + total / 2) / total;
}

}  // namespace ddpi::enc
