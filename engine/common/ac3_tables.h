// Constant tables of ATSC A/52 shared by encoding and parsing: bit allocation (section 7.2,
// Tables 7.6 to 7.16), frame sizes (Table 5.18) and channel counts (Table 5.8).
#ifndef DDPI_ENGINE_COMMON_AC3_TABLES_H
#define DDPI_ENGINE_COMMON_AC3_TABLES_H

#include <array>
#include <cstdint>

namespace ddpi::ac3 {

constexpr int kBlocksPerFrame = 6;
constexpr int kBlockSamples = 256;
constexpr int kFrameSamples = kBlocksPerFrame * kBlockSamples;
constexpr int kBands = 50;
constexpr int kMaxCoefs = 256;
constexpr int kMaxFbwChannels = 5;
constexpr int kMaxChannels = 6;  // full-bandwidth channels plus LFE
constexpr int kLfeEndMant = 7;
// Width of a transform bin at 48 kHz: 48000 / 512 Hz.
constexpr double kBinHz = 93.75;
// First bin past an uncoupled channel's band for its bandwidth code (A/52 section 7.1.3).
constexpr int ChannelEndMant(int chbwcod) { return 73 + 3 * chbwcod; }
// The narrowest bandwidth code whose band still reaches bin `end` (code 0 for ends below it).
constexpr int BandwidthCodeReaching(int end) {
  const int code = (end - 73 + 2) / 3;
  return code < 0 ? 0 : code > 60 ? 60 : code;
}

// Coupling: sub-bands of 12 bins from bin 37; the range of begin code cplbegf starts at
// sub-band cplbegf, that of end code cplendf ends at sub-band cplendf + 3.
constexpr int CouplingSubbandBin(int subband) { return 37 + 12 * subband; }

// Spectral extension (E-AC-3): sub-bands of 12 bins from bin 25, and the sub-bands that its
// 3-bit begin and end codes (spxbegf, spxendf) name.
constexpr int SpxSubbandBin(int subband) { return 25 + 12 * subband; }
constexpr int SpxBeginSubband(int begf) { return begf < 6 ? begf + 2 : 2 * begf - 3; }
constexpr int SpxEndSubband(int endf) { return endf < 3 ? endf + 5 : 2 * endf + 3; }

// Number of full-bandwidth channels per acmod (Table 5.8).
extern const uint8_t kFbwChannels[8];
// Data rates of the frame-size codes, kbps (frmsizecod / 2).
extern const uint16_t kFrameSizeRates[19];

// Bit allocation tables.
extern const uint8_t kSlowDecay[4];
extern const uint8_t kFastDecay[4];
extern const uint16_t kSlowGain[4];
extern const uint16_t kDbPerBit[4];
extern const int16_t kFloor[8];
extern const uint16_t kFastGain[8];
extern const uint8_t kLogAdd[260];            // latab
extern const uint16_t kHearingThreshold48k[kBands];  // hth, fscod 0
extern const uint8_t kBapTab[64];

// Mantissa bits per bap (bap 1, 2 and 4 give the per-mantissa share of a group; see
// enc_mantissas for exact counting).
extern const uint8_t kMantissaBits[16];

// First bin of each bit allocation band (bndtab), plus the end.
inline constexpr uint8_t kBandStart[kBands + 1] = {
    0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12,  13,  14,  15,  16,
    17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 31,  34,  37,  40,  43,
    46, 49, 55, 61, 67, 73, 79, 85, 97, 109, 121, 133, 157, 181, 205, 229, 253};

constexpr std::array<uint8_t, kMaxCoefs> MakeBinToBand() {
  std::array<uint8_t, kMaxCoefs> t{};
  int band = 0;
  for (int bin = 0; bin < kMaxCoefs; ++bin) {
    while (band < kBands - 1 && bin >= kBandStart[band + 1]) ++band;
    t[bin] = static_cast<uint8_t>(band);
  }
  return t;
}

// Band of each bin (masktab).
inline constexpr std::array<uint8_t, kMaxCoefs> kBinToBand = MakeBinToBand();

// Frame size in 16-bit words at 48 kHz for a rate in kbps (1536 samples per frame).
constexpr int FrameWords48k(int kbps) { return kbps * 2; }

}  // namespace ddpi::ac3

#endif  // DDPI_ENGINE_COMMON_AC3_TABLES_H
