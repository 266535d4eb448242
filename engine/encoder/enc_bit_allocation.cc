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
                const BitAllocParams& p, int* excite) {
  const int sdecay = kSlowDecay[p.sdcycod];
  const int fdecay = kFastDecay[p.fdcycod];
  const int sgain = kSlowGain[p.sgaincod];
  int lowcomp = 0, fastleak = 0, slowleak = 0;
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

}  // namespace

void ComputeMasking(const uint8_t* exp, int start, int end, int fgaincod,
                    const BitAllocParams& params, Masking* out) {
  out->start = start;
  out->end = end;
  for (int i = start; i < end; ++i) out->psd[i] = static_cast<int16_t>(3072 - (exp[i] << 7));
  int bndpsd[kBands + 1] = {};
  Integrate(out->psd, start, end, bndpsd);
  const int bndstrt = kBinToBand[start];
  const int bndend = kBinToBand[end - 1] + 1;
  int excite[kBands] = {};
  Excitation(bndpsd, bndstrt, bndend, kFastGain[fgaincod], params, excite);
  const int dbknee = kDbPerBit[params.dbpbcod];
  for (int band = bndstrt; band < bndend; ++band) {
    if (bndpsd[band] < dbknee) excite[band] += (dbknee - bndpsd[band]) >> 2;
    out->mask[band] = static_cast<int16_t>(std::max<int>(excite[band], kHearingThreshold48k[band]));
  }
}

void ComputeBap(const Masking& m, int snroffset, const BitAllocParams& params, uint8_t* bap) {
  const int floor = kFloor[params.floorcod];
  int i = m.start;
  int j = kBinToBand[m.start];
  int lastbin;
  do {
    lastbin = std::min<int>(kBandStart[j + 1], m.end);
    int mask = m.mask[j] - snroffset - floor;
    if (mask < 0) mask = 0;
    mask &= 0x1fe0;
    mask += floor;
    for (; i < lastbin; ++i) {
      const int address = std::clamp((m.psd[i] - mask) >> 5, 0, 63);
      bap[i] = kBapTab[address];
    }
    ++j;
  } while (m.end > lastbin);
}

}  // namespace ddpi::enc
