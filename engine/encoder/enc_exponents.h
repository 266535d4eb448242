// Exponents (A/52 sections 7.1 and 8.2.6): extraction from the transform coefficients, the
// choice of a strategy per channel and block (new D15/D25/D45 or reuse of the previous
// block's), and their differential coding in groups of three.
#ifndef DDPI_ENGINE_ENCODER_ENC_EXPONENTS_H
#define DDPI_ENGINE_ENCODER_ENC_EXPONENTS_H

#include <cstdint>

namespace ddpi::enc {

enum ExpStrategy : uint8_t { kExpReuse = 0, kExpD15 = 1, kExpD25 = 2, kExpD45 = 3 };

constexpr int kMaxExponent = 24;

// exp[i] = number of left shifts that bring |coef[i]| into [0.5, 1), at most 24.
void ExtractExponents(const float* coef, int count, uint8_t* exp);

// Number of 7-bit exponent groups for `end` coded bins (the DC exponent is sent apart).
int ExponentGroups(int end, ExpStrategy strategy);

// Turns raw exponents into the exponents a decoder rebuilds for `strategy`: the minimum over
// each group of 1, 2 or 4 bins, then limited to steps of +-2 between groups and to 15 for the
// first, always by lowering (a lower exponent still holds the coefficient). In place, bins
// [0, end); bins beyond `end` that the last group reaches are set too.
void CodeExponents(uint8_t* exp, int end, ExpStrategy strategy);

// Group codes of exponents prepared by CodeExponents: absolute first exponent, then
// 25*d0 + 5*d1 + d2 per group with the differences offset by 2. Returns the group count.
int GroupExponents(const uint8_t* exp, int end, ExpStrategy strategy, uint8_t* absexp,
                   uint8_t* groups);

// Bits of one channel's exponent set: 4 (absolute) + 7 per group (+ 2 of gainrng for
// full-bandwidth channels).
int ExponentSetBits(int end, ExpStrategy strategy, bool lfe);

// Chooses the strategies of one channel over the 6 blocks of a frame. `raw[b]` are the raw
// exponents of block b, `short_block[b]` its block switch flag. A block starts a new exponent
// set when it is the first, when its transform length changes, or when its exponents differ
// from the current set's by more than `threshold` on average. A set shared by three or more
// blocks is grouped per bin (D15), one shared by two per pair of bins (D25), one used by a
// single block per four (D45), as its cost is not shared; but one used by a single block
// marked in `around_attack` keeps pairs, since its noise lies in the samples before the
// attack. `coarsen` moves every new set that many steps sparser (positive: the frame's
// exponent budget asks for it) or finer (negative: -2 keeps the LFE's every bin).
void ChooseStrategies(const uint8_t raw[][256], const bool* short_block,
                      const bool* around_attack, int blocks, int end, float threshold,
                      int coarsen, ExpStrategy* strategy);

// Replaces the raw exponents of each run of blocks sharing a set by their minimum, then codes
// them; afterwards exps[b] hold the decoder's exponents for every block.
void ShareAndCode(uint8_t exps[][256], const ExpStrategy* strategy, int blocks, int end);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_EXPONENTS_H
