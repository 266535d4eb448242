// The parametric bit allocation of A/52 section 7.2, as a decoder runs it: exponents to power
// spectral density, integration into the 50 bands, excitation with the fast and slow leaks and
// low-frequency compensation, masking curve against the hearing threshold, and finally the
// bit allocation pointers for an SNR offset.
#ifndef DDPI_ENGINE_ENCODER_ENC_BIT_ALLOCATION_H
#define DDPI_ENGINE_ENCODER_ENC_BIT_ALLOCATION_H

#include <cstdint>

#include "enc_delta_allocation.h"

namespace ddpi::enc {

struct BitAllocParams {
  int sdcycod = 2;   // the defaults E-AC-3 implies when bamode = 0
  int fdcycod = 1;
  int sgaincod = 1;
  int dbpbcod = 2;
  int floorcod = 7;

  bool IsDefault() const {
    return sdcycod == 2 && fdcycod == 1 && sgaincod == 1 && dbpbcod == 2 && floorcod == 7;
  }
};

// Everything of one channel's allocation that does not depend on the SNR offset.
struct Masking {
  int16_t psd[256];
  int16_t mask[50];  // masking curve per band before the offset and floor
  int start = 0;
  int end = 0;
  // The bins as runs of equal psd that stay within one band, in bin order. Every bin of a run
  // gets the same pointer whatever the offset; grouped exponents make runs long.
  int runs = 0;
  int16_t run_psd[256];
  uint8_t run_band[256];
  uint8_t run_length[256];
};

// psd, band integration, excitation and masking curve for bins [start, end) (start = 0:
// full-bandwidth and LFE channels; LFE has end = 7; the coupling channel starts at
// cplstrtmant and its leaks at cplfleak / cplsleak), with the delta bit allocation `delta`
// when there is one.
void ComputeMasking(const uint8_t* exp, int start, int end, int fgaincod,
                    const BitAllocParams& params, Masking* out, int fleak = 0, int sleak = 0,
                    const MaskDelta* delta = nullptr);

// snroffset = ((csnroffst - 15) << 4 + fsnroffst) << 2.
constexpr int SnrOffset(int csnroffst, int fsnroffst) {
  return (((csnroffst - 15) << 4) + fsnroffst) << 2;
}

// Bit allocation pointers for bins [start, end).
void ComputeBap(const Masking& masking, int snroffset, const BitAllocParams& params,
                uint8_t* bap);

// ComputeBap gives a bin the pointer of its address (psd - mask) >> 5, clamped to 0..63.
// WeightsByAddress turns a weight per pointer into a weight per address, for SumBapWeights.
void WeightsByAddress(const uint64_t by_bap[16], uint64_t by_address[64]);

// Sum over bins [start, end) of by_bap[bap] for the pointers ComputeBap would give at
// `snroffset`, without computing each bin: one step per run of equal psd. `by_address` comes
// from WeightsByAddress. Equal to summing over ComputeBap's output.
uint64_t SumBapWeights(const Masking& masking, int snroffset, const BitAllocParams& params,
                       const uint64_t by_address[64]);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_BIT_ALLOCATION_H
