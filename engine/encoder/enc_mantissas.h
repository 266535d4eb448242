// Mantissa quantisation (A/52 sections 7.3 and 8.2.10): symmetric quantisers with 3, 5, 7, 11
// and 15 levels for bap 1..5, two's complement (asymmetric) quantisers of 5..16 bits for bap
// 6..15. Levels of bap 1, 2 and 4 are sent in groups (3 in 5 bits, 3 in 7 bits, 2 in 7 bits)
// that run across all channels of an audio block.
#ifndef DDPI_ENGINE_ENCODER_ENC_MANTISSAS_H
#define DDPI_ENGINE_ENCODER_ENC_MANTISSAS_H

#include <cstddef>
#include <cstdint>

#include "bit_writer.h"

namespace ddpi::enc {

// Quantises coef * 2^exp (a value in (-1, 1)) for `bap`: the level index (symmetric) or the
// two's complement code (asymmetric), before grouping.
int QuantizeMantissa(float coef, int exp, int bap);

// QuantizeMantissa over bins [start, end) of one channel's block; bins of bap 0 get code 0.
void QuantizeMantissas(const float* coef, const uint8_t* exp, const uint8_t* bap, int start,
                       int end, int16_t* code);

// The value a decoder reconstructs for a level/code (before the 2^-exp scaling), for tests.
float DequantizeMantissa(int code, int bap);

// Counts mantissas of one audio block to give its exact bit cost with grouping: the grouped
// quantisers (bap 1, 2, 4) by number, the others by their bits.
struct MantissaCounter {
  int grouped[3] = {};  // bap 1, 2 and 4
  int plain_bits = 0;
  void Add(const uint8_t* bap, int start, int end);
  int Bits() const;

  // The same count as one 64-bit word per mantissa, summed by plain addition: the bits of
  // the ungrouped quantisers in bits 0..15, the numbers of bap 1, 2 and 4 in bits 16..31,
  // 32..47 and 48..63 (one audio block holds at most 6 * 256 mantissas of 16 bits, so no
  // field overflows). kPackedByBap gives each bap's word.
  static const uint64_t kPackedByBap[16];
  static int PackedBits(uint64_t packed);
};

// Packs the mantissas of one audio block channel by channel, forming the groups of bap 1, 2
// and 4 across channels: a group's code goes out where its first member sits. Mantissas are
// collected as fields (a group's field is filled in once the group is complete) and go out
// together at Finish, which completes groups left open at the end of the block with the zero
// level.
class MantissaPacker {
 public:
  // Starts an audio block: nothing collected, no group open.
  void Begin();
  void Add(int bap, int code);
  // Add over one channel's bins [0, end).
  void AddChannel(const uint8_t* bap, const int16_t* code, int end);
  // Writes everything collected since Begin.
  void Finish(BitWriter* bw);

  // Fields of one block at most: five full-bandwidth channels, the LFE and the coupling
  // channel, each mantissa one field at most.
  static constexpr int kMaxFields = 7 * 256;

 private:
  struct OpenGroup {
    int field = 0;    // index of the group's field
    int code = 0;     // levels so far, most significant first
    int members = 0;  // 0: no group open
  };
  void AddToGroup(int kind, int code);
  void AddField(int bits, uint32_t value);

  OpenGroup open_[3];  // per grouped bap (1, 2, 4 -> 0, 1, 2)
  int fields_ = 0;
  uint8_t widths_[kMaxFields];
  uint32_t values_[kMaxFields];
};

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_MANTISSAS_H
