#include "enc_bit_allocation.h"

#include <algorithm>
#include <cstdlib>

#include "ac3_tables.h"

namespace ddpi::enc {
namespace {

using namespace ddpi::ac3;

int LogAdd(int a, int b) {
  const int c = a - b;
  const int address = std::min(std::abs(c) >> 1, 255);
  return c >= 0 ? a + kLogAdd[address] : b + kLogAdd[address];
}

int LowComp(int a, int b0, int b1, int bin) {
  if (bin < 7) {
    if (b0 + 256 == b1) a = 384;
    else if (b0 > b1) a = std::max(0, a - 64);
  } else if (bin < 20) {
    if (b0 + 256 == b1) a = 320;
    else if (b0 > b1) a = std::max(0, a - 64);
  } else {
    a = std::max(0, a - 128);
  }
  return a;
}

// Integrates the psd of bins [start, end) into bands.
void Integrate(const int16_t* psd, int start, int end, int* bndpsd) {
  int j = start;
  int k = kBinToBand[start];
  int lastbin;
  do {
    lastbin = std::min<int>(kBandStart[k + 1], end);
    int sum = psd[j++];
    for (; j < lastbin; ++j) sum = LogAdd(sum, psd[j]);
    bndpsd[k++] = sum;
  } while (end > lastbin);
}

// Excitation of bands [bndstrt, bndend) for start = 0 (section 7.2.2.4).
void Excitation(const int* bndpsd, int bndstrt, int bndend, int fgain,
                const BitAllocParams& p, int fleak, int sleak, int* excite) {
  const int sdecay = kSlowDecay[p.sdcycod];
  const int fdecay = kFastDecay[p.fdcycod];
  const int sgain = kSlowGain[p.sgaincod];
  int lowcomp = 0;
  // The coupling channel starts its leaks from cplfleak and cplsleak (section 7.2.2.4).
  int fastleak = fleak * 256 + 768, slowleak = sleak * 256 + 768;
  int begin = bndstrt;
  if (bndstrt == 0) {
    lowcomp = LowComp(lowcomp, bndpsd[0], bndpsd[1], 0);
    excite[0] = bndpsd[0] - fgain - lowcomp;
    lowcomp = LowComp(lowcomp, bndpsd[1], bndpsd[2], 1);
    excite[1] = bndpsd[1] - fgain - lowcomp;
    begin = 7;
    for (int bin = 2; bin < 7; ++bin) {
      if (bndend != 7 || bin != 6) lowcomp = LowComp(lowcomp, bndpsd[bin], bndpsd[bin + 1], bin);
      fastleak = bndpsd[bin] - fgain;
      slowleak = bndpsd[bin] - sgain;
      excite[bin] = fastleak - lowcomp;
      if (bndend != 7 || bin != 6) {
        if (bndpsd[bin] <= bndpsd[bin + 1]) {
          begin = bin + 1;
          break;
        }
      }
    }
    for (int bin = begin; bin < std::min(bndend, 22); ++bin) {
      if (bndend != 7 || bin != 6) lowcomp = LowComp(lowcomp, bndpsd[bin], bndpsd[bin + 1], bin);
      fastleak -= fdecay;
      fastleak = std::max(fastleak, bndpsd[bin] - fgain);
      slowleak -= sdecay;
      slowleak = std::max(slowleak, bndpsd[bin] - sgain);
      excite[bin] = std::max(fastleak - lowcomp, slowleak);
    }
    begin = 22;
  }
  for (int bin = begin; bin < bndend; ++bin) {
    fastleak -= fdecay;
    fastleak = std::max(fastleak, bndpsd[bin] - fgain);
    slowleak -= sdecay;
    slowleak = std::max(slowleak, bndpsd[bin] - sgain);
    excite[bin] = std::max(fastleak, slowleak);
  }
}

// Runs of equal psd that do not cross a band edge.
void FindRuns(Masking* m) {
  int runs = 0;
  for (int i = m->start; i < m->end;) {
    const int band = kBinToBand[i];
    const int band_end = std::min<int>(kBandStart[band + 1], m->end);
    int j = i + 1;
    while (j < band_end && m->psd[j] == m->psd[i]) ++j;
    m->run_psd[runs] = m->psd[i];
    m->run_band[runs] = static_cast<uint8_t>(band);
    m->run_length[runs] = static_cast<uint8_t>(j - i);
    ++runs;
    i = j;
  }
  m->runs = runs;
}

// The band's masking value after the offset and floor (section 7.2.2.7).
int OffsetMask(int mask, int snroffset, int floor) {
  mask -= snroffset + floor;
  if (mask < 0) mask = 0;
  return (mask & 0x1fe0) + floor;
}

}  // namespace

void ComputeMasking(const uint8_t* exp, int start, int end, int fgaincod,
                    const BitAllocParams& params, Masking* out, int fleak, int sleak,
                    const MaskDelta* delta) {
  out->start = start;
  out->end = end;
  for (int i = start; i < end; ++i) out->psd[i] = static_cast<int16_t>(3072 - (exp[i] << 7));
  int bndpsd[kBands + 1] = {};
  Integrate(out->psd, start, end, bndpsd);
  const int bndstrt = kBinToBand[start];
  const int bndend = kBinToBand[end - 1] + 1;
  int excite[kBands] = {};
  Excitation(bndpsd, bndstrt, bndend, kFastGain[fgaincod], params, fleak, sleak, excite);
  const int dbknee = kDbPerBit[params.dbpbcod];
  for (int band = bndstrt; band < bndend; ++band) {
    if (bndpsd[band] < dbknee) excite[band] += (dbknee - bndpsd[band]) >> 2;
    out->mask[band] = static_cast<int16_t>(std::max<int>(excite[band], kHearingThreshold48k[band]));
  }
  if (delta) ApplyMaskDelta(*delta, bndstrt, bndend, out->mask);
  FindRuns(out);
}

void ComputeBap(const Masking& m, int snroffset, const BitAllocParams& params, uint8_t* bap) {
  const int floor = kFloor[params.floorcod];
  int i = m.start;
  int j = kBinToBand[m.start];
  int lastbin;
  do {
    lastbin = std::min<int>(kBandStart[j + 1], m.end);
    const int mask = OffsetMask(m.mask[j], snroffset, floor);
    for (; i < lastbin; ++i) {
      const int address = std::clamp((m.psd[i] - mask) >> 5, 0, 63);
      bap[i] = kBapTab[address];
    }
    ++j;
  } while (m.end > lastbin);
}

void WeightsByAddress(const uint64_t by_bap[16], uint64_t by_address[64]) {
  for (int address = 0; address < 64; ++address) by_address[address] = by_bap[kBapTab[address]];
}

uint64_t SumBapWeights(const Masking& m, int snroffset, const BitAllocParams& params,
                       const uint64_t by_address[64]) {
  if (m.runs == 0) return 0;
  const int floor = kFloor[params.floorcod];
  int band_mask[kBands];
  const int first_band = m.run_band[0], last_band = m.run_band[m.runs - 1];
  for (int band = first_band; band <= last_band; ++band)
    band_mask[band] = OffsetMask(m.mask[band], snroffset, floor);
  uint64_t sum = 0;
  for (int r = 0; r < m.runs; ++r) {
    const int address = std::clamp((m.run_psd[r] - band_mask[m.run_band[r]]) >> 5, 0, 63);
    sum += by_address[address] * m.run_length[r];
  }
  return sum;
}

}  // namespace ddpi::enc
