#include "enc_spx.h"

#include <algorithm>
#include <cmath>

#include "ac3_tables.h"

namespace ddpi::enc {
namespace {

constexpr int kSubbandBins = 12;

using ac3::SpxBeginSubband;
using ac3::SpxEndSubband;
using ac3::SpxSubbandBin;

// Largest gain the syntax carries: mantissa 7/8 at exponent 0, times 32.
constexpr float kMaxGain = 28.0f;

}  // namespace

bool MakeSpxLayout(int strtf, int begf, int endf, int min_band_bins, SpxLayout* l) {
  if (strtf < 0 || strtf > 3 || begf < 0 || begf > 7 || endf < 0 || endf > 7) return false;
  *l = SpxLayout();
  l->strtf = strtf;
  l->begf = begf;
  l->endf = endf;
  l->first_subband = SpxBeginSubband(begf);
  l->last_subband = SpxEndSubband(endf);
  l->copy_start = SpxSubbandBin(strtf);
  l->begin = SpxSubbandBin(l->first_subband);
  l->end = SpxSubbandBin(l->last_subband);
  if (l->first_subband >= l->last_subband || l->copy_start >= l->begin) return false;
  int band_bins = 0;
  for (int s = l->first_subband; s < l->last_subband; ++s) {
    const bool merge = s > l->first_subband && band_bins < min_band_bins;
    l->bndstrc[s] = merge ? 1 : 0;
    if (!merge) {
      l->band_edge[l->bands++] = SpxSubbandBin(s);
      band_bins = 0;
    }
    band_bins += kSubbandBins;
  }
  l->band_edge[l->bands] = l->end;
  int source[256];
  SpxSourceBins(*l, source);
  for (int k = l->begin; k < l->end; ++k)
    l->source[k - l->begin] = static_cast<uint8_t>(source[k - l->begin]);
  return true;
}

int SpxBeginCode(int begin_bin) {
  int code = 0;
  for (int c = 0; c < 8; ++c)
    if (SpxSubbandBin(SpxBeginSubband(c)) <= begin_bin) code = c;
  return code;
}

int SpxEndCode(int end_bin) {
  for (int c = 0; c < 8; ++c)
    if (SpxSubbandBin(SpxEndSubband(c)) >= end_bin) return c;
  return 7;
}

void SpxSourceBins(const SpxLayout& l, int* source) {
  int from = l.copy_start;
  int k = l.begin;
  for (int band = 0; band < l.bands; ++band) {
    const int size = l.band_edge[band + 1] - l.band_edge[band];
    if (from + size > l.begin) from = l.copy_start;
    for (int i = 0; i < size; ++i) {
      if (from == l.begin) from = l.copy_start;
      source[k++ - l.begin] = from++;
    }
  }
}

float SpxCoordValue(const SpxCoords& c, int bnd) {
  const float mant = c.exp[bnd] == 15 ? c.mant[bnd] / 4.0f : (4 + c.mant[bnd]) / 8.0f;
  return 32.0f * std::ldexp(mant, -(c.exp[bnd] + 3 * c.master));
}

void QuantizeSpxCoords(const float* value, int bands, SpxCoords* out) {
  // Each gain as (4 + mant) / 8 * 32 * 2^-shift with shift = exp + 3 * master. The master
  // code serves all bands: it takes what the quietest band needs beyond exponent 14, unless
  // that would leave the loudest band below exponent 0 (quiet bands matter less).
  int shift[kMaxSpxSubbands];
  int largest = 0, smallest = 40;
  for (int b = 0; b < bands; ++b) {
    const float v = std::clamp(value[b], 0.0f, kMaxGain);
    int s = 0;
    if (v <= 0) s = 40;
    else
      while (s < 40 && v * std::ldexp(1.0f, s) < 16.0f) ++s;  // v * 2^s in [16, 32)
    shift[b] = s;
    if (s < 40) largest = std::max(largest, s);
    smallest = std::min(smallest, s);
  }
  const int wanted = largest > 14 ? (largest - 14 + 2) / 3 : 0;
  out->master = static_cast<uint8_t>(std::clamp(std::min(wanted, smallest / 3), 0, 3));
  for (int b = 0; b < bands; ++b) {
    const float v = std::clamp(value[b], 0.0f, kMaxGain);
    const int exp = shift[b] - 3 * out->master;
    if (exp < 0) {  // louder than this master code allows: the largest it can say
      out->exp[b] = 0;
      out->mant[b] = 3;
    } else if (exp <= 14) {
      const float scaled = v * std::ldexp(1.0f, shift[b]) / 4.0f;  // in [4, 8)
      out->exp[b] = static_cast<uint8_t>(exp);
      out->mant[b] = static_cast<uint8_t>(std::clamp(std::lround(scaled) - 4, 0L, 3L));
    } else {  // exponent 15: mantissa m / 4 without the implied leading bit
      const float scaled = v * std::ldexp(1.0f, 15 + 3 * out->master) / 8.0f;
      out->exp[b] = 15;
      out->mant[b] = static_cast<uint8_t>(std::clamp(std::lround(scaled), 0L, 3L));
    }
  }
}

void SpxBandEnergies(const float* const* coef, int blocks, const SpxLayout& l, double* original,
                     double* copied) {
  for (int band = 0; band < l.bands; ++band) {
    const int first = l.band_edge[band], last = l.band_edge[band + 1];
    double from_copies = 0, own = 0;
    for (int b = 0; b < blocks; ++b) {
      const float* x = coef[b];
      if (copied) {
        float block = 0;
        for (int k = first; k < last; ++k) {
          const float from = x[l.source[k - l.begin]];
          block += from * from;
        }
        from_copies += block;
      }
      if (original) {
        float here = 0;
        for (int k = first; k < last; ++k) here += x[k] * x[k];
        own += here;
      }
    }
    if (copied) copied[band] = from_copies;
    if (original) original[band] = own;
  }
}

double SpxRangeOverCopy(const float* coef, const SpxLayout& layout) {
  double original[kMaxSpxSubbands], copied[kMaxSpxSubbands];
  SpxBandEnergies(&coef, 1, layout, original, copied);
  constexpr double kFloor = 1e-12;
  double range = kFloor, copy = kFloor;
  for (int band = 0; band < layout.bands; ++band) range += original[band], copy += copied[band];
  return range / copy;
}

void SpxGainsFromEnergies(const double* original, const double* copied, int bands, float* gain) {
  for (int band = 0; band < bands; ++band) {
    const double ratio = copied[band] > 0 ? std::sqrt(original[band] / copied[band]) : 0.0;
    gain[band] = static_cast<float>(std::min<double>(kMaxGain, ratio));
  }
}

void SpxGains(const float* const* coef, int blocks, const SpxLayout& l, float* gain) {
  double original[kMaxSpxSubbands], copied[kMaxSpxSubbands];
  SpxBandEnergies(coef, blocks, l, original, copied);
  SpxGainsFromEnergies(original, copied, l.bands, gain);
}

}  // namespace ddpi::enc
