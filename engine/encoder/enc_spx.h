// Spectral extension (E-AC-3, A/52 Annex E): above the extension begin frequency a channel
// carries no mantissas. The decoder fills the band by copying the channel's own coefficients
// from the copy region [copy start, begin) upwards, wrapping back to the copy start as often as
// needed, blends each band with noise and scales it by a coordinate the encoder sends, so the
// band gets back the original's energy envelope for a few bits.
#ifndef DDPI_ENGINE_ENCODER_ENC_SPX_H
#define DDPI_ENGINE_ENCODER_ENC_SPX_H

#include <cstdint>

namespace ddpi::enc {

constexpr int kMaxSpxSubbands = 17;

// The extension's frequency range and bands: sub-band s (of 12 bins) starts at bin 25 + 12 * s.
struct SpxLayout {
  int strtf = 0;  // spxstrtf, 0..3: copy start at sub-band strtf
  int begf = 0;   // spxbegf, 0..7: begin at sub-band 2..7, 9, 11
  int endf = 0;   // spxendf, 0..7: end at sub-band 5..7, 9, 11, 13, 15, 17
  int copy_start = 0;  // first bin the decoder copies from
  int begin = 0;       // first bin it fills (the extended channels' endmant)
  int end = 0;         // bin after the last it fills
  int first_subband = 0, last_subband = 0;  // [first, last) sub-bands of the range
  uint8_t bndstrc[kMaxSpxSubbands + 1] = {};  // 1 merges the sub-band into the band before it
  int bands = 0;
  int band_edge[kMaxSpxSubbands + 1] = {};  // first bin of each band, then `end`
  uint8_t source[256] = {};  // the bin copied into bin begin + i (see SpxSourceBins)
};

// Fills a layout from the three codes and bands of at least `min_band_bins` bins (whole
// sub-bands). Returns false if the codes give an empty or inverted range.
bool MakeSpxLayout(int strtf, int begf, int endf, int min_band_bins, SpxLayout* layout);

// Codes whose begin is the highest at or below `begin_bin` and whose end is the lowest at or
// above `end_bin` (both clamped to what the syntax can say).
int SpxBeginCode(int begin_bin);
int SpxEndCode(int end_bin);

// The bin the decoder copies into each bin of [begin, end), wrapping as it does: a band that
// would run past the copy region's end starts again at the copy start, and so does a copy that
// reaches the region's end inside a band. source[k - begin] for bin k.
void SpxSourceBins(const SpxLayout& layout, int* source);

// Quantized coordinates and noise blend of one channel (spxblnd, mstrspxco, spxcoexp,
// spxcomant).
struct SpxCoords {
  uint8_t blend = 0;   // 0..31: the noise share falls by blend / 32 at every frequency
  uint8_t master = 0;  // 0..3
  uint8_t exp[kMaxSpxSubbands] = {};
  uint8_t mant[kMaxSpxSubbands] = {};
};

// The gain a decoder applies to band `bnd` (copied signal and noise together).
float SpxCoordValue(const SpxCoords& coords, int bnd);

// Quantizes gains `value[bnd]` (0 .. 28, the largest the syntax carries) of `bands`.
void QuantizeSpxCoords(const float* value, int bands, SpxCoords* out);

// Energies per band, summed over a run of blocks (`coef[b]`: all 256 bins of block b), of the
// extended range itself (`original`) and of the bins the decoder copies there (`copied`);
// either may be null.
void SpxBandEnergies(const float* const* coef, int blocks, const SpxLayout& layout,
                     double* original, double* copied);

// In one block (`coef`: its 256 bins), the extended range's energy over that of the bins the
// decoder copies into it: the square of the gain a single coordinate for the whole range
// would need. Energies are floored at a tiny power, so a silent block measures 1.
double SpxRangeOverCopy(const float* coef, const SpxLayout& layout);

// Gains that give each band the original's energy: sqrt(original / copied), 0 where nothing
// is copied, at most the largest the syntax carries.
void SpxGainsFromEnergies(const double* original, const double* copied, int bands, float* gain);

// Both of the above on the original coefficients.
void SpxGains(const float* const* coef, int blocks, const SpxLayout& layout, float* gain);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_SPX_H
