#include "enc_coupling.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace ddpi::enc {
namespace {

int GroupSize(ExpStrategy s) { return s == kExpD15 ? 1 : (s == kExpD25 ? 2 : 4); }

// The largest factor a coordinate carries: cplcoexp 0, cplcomant 15 -> 31/32 * 8.
constexpr float kMaxCoord = 7.75f;

}  // namespace

bool MakeCouplingLayout(int begf, int endf, CouplingLayout* l) {
  if (begf < 0 || begf > 15 || endf < 0 || endf > 15 || begf >= endf + 3) return false;
  l->begf = begf;
  l->endf = endf;
  l->start = ac3::CouplingSubbandBin(begf);
  l->end = CouplingEndMant(endf);
  l->subbands = endf + 3 - begf;
  l->bands = 0;
  for (int k = 0; k < l->subbands; ++k) {
    const int s = begf + k;
    // Above bin 133 (sub-band 8) pairs of sub-bands share a band.
    l->bndstrc[k] = k > 0 && s >= 8 && (s - 8) % 2 == 1;
    if (!l->bndstrc[k]) l->band_edge[l->bands++] = ac3::CouplingSubbandBin(s);
  }
  l->band_edge[l->bands] = l->end;
  return true;
}

void QuantizeCoords(const float* value, int bands, CouplingCoords* out) {
  // v = value / 8 = m * 2^-e with m in [0.5, 1) for e = cplcoexp + 3 * mstrcplco. The master
  // exponent follows the largest non-zero coordinate; zero ones (exponent 15, mantissa 0) are
  // zero whatever it is, so silence codes with mstrcplco 0.
  int e[kMaxCplSubbands];
  int smallest = 45;
  for (int b = 0; b < bands; ++b) {
    const float v = std::min(value[b], kMaxCoord) / 8.0f;
    int ex = 45;
    if (v > 0) {
      std::frexp(v, &ex);
      ex = std::min(-ex, 45);
      smallest = std::min(smallest, ex);
    }
    e[b] = std::max(ex, 0);
  }
  out->mstrcplco = static_cast<uint8_t>(smallest >= 45 ? 0 : std::min(3, smallest / 3));
  const int shift = 3 * out->mstrcplco;
  for (int b = 0; b < bands; ++b) {
    const double v = std::min(value[b], kMaxCoord) / 8.0;
    const int ce = e[b] - shift;
    if (ce < 15) {
      // Normal: cplco = (mant + 16) / 32 * 2^-(ce + shift).
      const long m = std::lround(std::ldexp(v, ce + shift) * 32.0) - 16;
      out->exp[b] = static_cast<uint8_t>(ce);
      out->mant[b] = static_cast<uint8_t>(std::clamp<long>(m, 0, 15));
    } else {
      // Denormal: cplco = mant / 16 * 2^-(15 + shift).
      const long m = std::lround(std::ldexp(v, 15 + shift) * 16.0);
      out->exp[b] = 15;
      out->mant[b] = static_cast<uint8_t>(std::clamp<long>(m, 0, 15));
    }
  }
}

float CoordValue(const CouplingCoords& c, int bnd) {
  const int e = c.exp[bnd];
  const float temp = e == 15 ? c.mant[bnd] / 16.0f : (c.mant[bnd] + 16) / 32.0f;
  return std::ldexp(temp, -(e + 3 * c.mstrcplco)) * 8.0f;
}

void FormCouplingChannel(const float* const* coef, int channels, const CouplingLayout& l,
                         float* cpl) {
  const float scale = 1.0f / channels;
  for (int i = l.start; i < l.end; ++i) {
    float sum = 0;
    for (int c = 0; c < channels; ++c) sum += coef[c][i];
    cpl[i] = sum * scale;
  }
}

void AddBandEnergy(const float* coef, const CouplingLayout& l, double* energy) {
  for (int b = 0; b < l.bands; ++b) {
    double e = 0;
    for (int i = l.band_edge[b]; i < l.band_edge[b + 1]; ++i) e += double(coef[i]) * coef[i];
    energy[b] += e;
  }
}

void AddBandCross(const float* a, const float* b, const CouplingLayout& l, double* cross) {
  for (int k = 0; k < l.bands; ++k) {
    double e = 0;
    for (int i = l.band_edge[k]; i < l.band_edge[k + 1]; ++i) e += double(a[i]) * b[i];
    cross[k] += e;
  }
}

void CoordsFromEnergy(const double* channel, const double* cross, const double* coupling,
                      int bands, float fit, float* value) {
  for (int b = 0; b < bands; ++b) {
    if (coupling[b] <= 1e-30) {
      value[b] = 0;
      continue;
    }
    const double energy = std::sqrt(channel[b] / coupling[b]);
    const double ls = std::max(0.0, cross[b]) / coupling[b];
    const double v = (1.0 - fit) * energy + fit * ls;
    value[b] = static_cast<float>(std::min<double>(kMaxCoord, v));
  }
}

void CodeCouplingExponents(uint8_t* exp, int start, int end, ExpStrategy strategy) {
  const int size = GroupSize(strategy);
  const int count = (end - start) / size;
  uint8_t value[256];
  for (int g = 0; g < count; ++g) {
    uint8_t m = kMaxExponent;
    for (int k = 0; k < size; ++k) m = std::min(m, exp[start + g * size + k]);
    value[g] = m;
  }
  for (int g = 1; g < count; ++g) value[g] = std::min<int>(value[g], value[g - 1] + 2);
  for (int g = count - 2; g >= 0; --g) value[g] = std::min<int>(value[g], value[g + 1] + 2);
  for (int g = 0; g < count; ++g)
    for (int k = 0; k < size; ++k) exp[start + g * size + k] = value[g];
}

int GroupCouplingExponents(const uint8_t* exp, int start, int end, ExpStrategy strategy,
                           uint8_t* absexp, uint8_t* groups) {
  const int size = GroupSize(strategy);
  const int count = (end - start) / (3 * size);
  *absexp = static_cast<uint8_t>(exp[start] >> 1);
  int previous = *absexp * 2;
  for (int g = 0; g < count; ++g) {
    int d[3];
    for (int k = 0; k < 3; ++k) {
      const int v = exp[start + (3 * g + k) * size];
      d[k] = v - previous + 2;
      previous = v;
    }
    groups[g] = static_cast<uint8_t>(25 * d[0] + 5 * d[1] + d[2]);
  }
  return count;
}

int CouplingExponentBits(int start, int end, ExpStrategy strategy) {
  return 4 + 7 * ((end - start) / (3 * GroupSize(strategy)));
}

void ChooseCouplingStrategies(const uint8_t raw[][256], const bool* short_block, int start,
                              int end, float threshold, int coarsen, ExpStrategy* strategy) {
  int reference = 0;
  for (int b = 0; b < kCplBlocks; ++b) {
    bool fresh = b == 0 || short_block[b] != short_block[reference];
    if (!fresh) {
      long diff = 0;
      for (int i = start; i < end; ++i) diff += std::abs(raw[b][i] - raw[reference][i]);
      fresh = diff > threshold * (end - start);
    }
    if (fresh) reference = b;
    strategy[b] = fresh ? kExpD15 : kExpReuse;
  }
  for (int b = 0; b < kCplBlocks; ++b) {
    if (strategy[b] == kExpReuse) continue;
    int run = 1;
    while (b + run < kCplBlocks && strategy[b + run] == kExpReuse) ++run;
    const int level = std::clamp((run >= 3 ? 0 : 1) + coarsen, 0, 2);
    strategy[b] = static_cast<ExpStrategy>(kExpD15 + level);
  }
}

void ShareAndCodeCoupling(uint8_t exps[][256], const ExpStrategy* strategy, int start,
                          int end) {
  for (int b = 0; b < kCplBlocks;) {
    int run = 1;
    while (b + run < kCplBlocks && strategy[b + run] == kExpReuse) ++run;
    for (int r = 1; r < run; ++r)
      for (int i = start; i < end; ++i) exps[b][i] = std::min(exps[b][i], exps[b + r][i]);
    CodeCouplingExponents(exps[b], start, end, strategy[b]);
    for (int r = 1; r < run; ++r) std::copy(exps[b] + start, exps[b] + end, exps[b + r] + start);
    b += run;
  }
}

}  // namespace ddpi::enc
