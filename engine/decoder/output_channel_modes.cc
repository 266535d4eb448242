#include "output_channel_modes.h"

namespace ddpi::udc {
namespace {

// Channel-location map bits (A/52 Annex E, chanmap), most significant first.
enum : std::uint16_t {
  kL = 0x8000, kC = 0x4000, kR = 0x2000, kLs = 0x1000, kRs = 0x0800,
  kLcRc = 0x0400, kLrsRrs = 0x0200, kCs = 0x0100, kTs = 0x0080, kLsdRsd = 0x0040,
  kLwRw = 0x0020, kVhlVhr = 0x0010, kVhc = 0x0008,
  kLfe = 0x0001, kUnused = 0x0004
};

constexpr std::uint16_t k50 = kL | kC | kR | kLs | kRs;
constexpr std::uint16_t k40 = kL | kR | kLs | kRs;

// Indexed by output mode. Dual mono's two channels sit in the L and C positions.
constexpr std::uint16_t kModeMaps[] = {
    kL | kC, kC, kL | kR, kL | kC | kR, kL | kR | kLs, kL | kC | kR | kLs, k40, k50,  // 0..7
    kL | kC | kR | kVhc,  // 8
    k40 | kTs,            // 9
    k50 | kTs,            // 10
    k50 | kVhc,           // 11
    kL | kC | kR | kLcRc, // 12
    k40 | kLwRw,          // 13
    k40 | kVhlVhr,        // 14
    k40 | kLsdRsd,        // 15
    k40 | kLrsRrs,        // 16
    k50 | kLcRc,          // 17
    k50 | kLwRw,          // 18
    k50 | kVhlVhr,        // 19
    k50 | kLsdRsd,        // 20
    k50 | kLrsRrs,        // 21
    k50 | kTs | kVhc,     // 22
    k40 | kCs,            // 23
    k50 | kCs,            // 24
    k40 | kCs | kTs,      // 25
    k50 | kCs | kVhc,     // 26
    k50 | kCs | kTs,      // 27
};

}  // namespace

int OutputModeOfChannelMap(std::uint16_t channel_map) {
  const std::uint16_t channels = channel_map & ~(kLfe | kUnused);
  for (int mode = 0; mode < static_cast<int>(sizeof kModeMaps / sizeof kModeMaps[0]); ++mode)
    if (kModeMaps[mode] == channels) return mode;
  return kNoOutputMode;
}

}  // namespace ddpi::udc
