// Channel coupling (A/52 sections 5.4.3, 7.4 and Annex E): above the coupling begin frequency
// the full-bandwidth channels share one coupling channel, and each channel keeps only a
// coordinate per coupling band that scales the coupling channel back to the channel's energy
// (decoder: coef[ch][bin] = cplcoef[bin] * cplco[ch][bnd] * 8, section 7.4.3).
#ifndef DDPI_ENGINE_ENCODER_ENC_COUPLING_H
#define DDPI_ENGINE_ENCODER_ENC_COUPLING_H

#include <cstdint>

#include "ac3_tables.h"
#include "enc_exponents.h"

namespace ddpi::enc {

constexpr int kMaxCplSubbands = 18;
constexpr int kMaxCplChannels = 5;
constexpr int kCplBlocks = 6;

// The coupling frequency range and its bands: sub-band s (of 12 bins) starts at bin
// 37 + 12 * s; cplbndstrc[k] = 1 merges sub-band cplbegf + k into the band before it.
struct CouplingLayout {
  int begf = 0;    // cplbegf, 0..15
  int endf = 0;    // cplendf, 0..15; the range ends at sub-band endf + 3
  int start = 0;   // cplstrtmant = 37 + 12 * cplbegf
  int end = 0;     // cplendmant = 37 + 12 * (cplendf + 3)
  int subbands = 0;                       // ncplsubnd
  uint8_t bndstrc[kMaxCplSubbands] = {};  // [0] unused
  int bands = 0;                          // ncplbnd
  int band_edge[kMaxCplSubbands + 1] = {};  // first bin of each band, then `end`
};

// cplendmant: the bin where a coupling range ending with code endf stops.
constexpr int CouplingEndMant(int endf) { return ac3::CouplingSubbandBin(endf + 3); }
// The narrowest coupling end code whose range still reaches bin `end`; not limited to the
// syntax's range (below 0 when `end` lies under the lowest possible end).
constexpr int CouplingEndCodeReaching(int end) { return (end - 37 + 11) / 12 - 3; }

// Fills a layout for sub-bands [begf, endf + 3): bands of 12 bins below bin 133, of 24 above.
// Returns false if the range is empty or out of the syntax's bounds.
bool MakeCouplingLayout(int begf, int endf, CouplingLayout* layout);

// Quantized coupling coordinates of one channel (section 5.4.3.14 ff.).
struct CouplingCoords {
  uint8_t mstrcplco = 0;
  uint8_t exp[kMaxCplSubbands] = {};
  uint8_t mant[kMaxCplSubbands] = {};
};

// Quantizes coordinates `value[bnd]` (the factor a decoder applies, 0 .. 7.75) of `bands`.
void QuantizeCoords(const float* value, int bands, CouplingCoords* out);

// The factor a decoder applies for band `bnd`: cplco * 8.
float CoordValue(const CouplingCoords& c, int bnd);

// Coupling channel of one block: the mean of the channels' coefficients over the range.
void FormCouplingChannel(const float* const* coef, int channels, const CouplingLayout& layout,
                         float* cpl);

// Adds each band's energy of `coef` to energy[bnd].
void AddBandEnergy(const float* coef, const CouplingLayout& layout, double* energy);

// Adds each band's sum of a[i] * b[i] to cross[bnd].
void AddBandCross(const float* a, const float* b, const CouplingLayout& layout, double* cross);

// Coordinate values from band sums: a blend of the energy-preserving sqrt(channel / coupling)
// (weight 1 - `fit`) and the least-squares max(0, cross) / coupling (weight `fit`, smallest
// waveform error), at most the largest the syntax carries; 0 where the coupling channel is
// silent.
void CoordsFromEnergy(const double* channel, const double* cross, const double* coupling,
                      int bands, float fit, float* value);

// Exponents of the coupling channel (section 7.1.3): decoded values of groups of 1, 2 or 4
// bins from bin `start`, limited to steps of +-2 by lowering; the first is sent as cplabsexp
// = first / 2 and a difference of 0 or 1. In place over [start, end).
void CodeCouplingExponents(uint8_t* exp, int start, int end, ExpStrategy strategy);

// Groups prepared exponents: cplabsexp and 7-bit group codes. Returns the group count.
int GroupCouplingExponents(const uint8_t* exp, int start, int end, ExpStrategy strategy,
                           uint8_t* absexp, uint8_t* groups);

// Bits of a coupling exponent set: 4 + 7 per group.
int CouplingExponentBits(int start, int end, ExpStrategy strategy);

// Strategies of the coupling channel over a frame like ChooseStrategies, over [start, end).
void ChooseCouplingStrategies(const uint8_t raw[][256], const bool* short_block, int start,
                              int end, float threshold, int coarsen, ExpStrategy* strategy);

// Shares exponents over runs of reused blocks and codes them, as ShareAndCode.
void ShareAndCodeCoupling(uint8_t exps[][256], const ExpStrategy* strategy, int start, int end);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_COUPLING_H
