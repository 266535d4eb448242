#include "enc_mantissas.h"

#include <algorithm>
#include <cmath>

#include "ac3_tables.h"

namespace ddpi::enc {
namespace {

// Levels of the symmetric quantisers by bap (0 where the bap is asymmetric).
constexpr int kLevels[16] = {0, 3, 5, 7, 11, 15, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};

int KindOf(int bap) { return bap == 1 ? 0 : (bap == 2 ? 1 : (bap == 4 ? 2 : -1)); }
constexpr int kGroupSize[3] = {3, 3, 2};
constexpr int kGroupBits[3] = {5, 7, 7};
constexpr int kGroupRadix[3] = {3, 5, 11};

}  // namespace

int QuantizeMantissa(float coef, int exp, int bap) {
  if (bap == 0) return 0;
  const float m = std::ldexp(coef, exp);
  const int levels = kLevels[bap];
  if (levels) {
    const int q = static_cast<int>(std::floor((m + 1.0f) * levels * 0.5f));
    return std::clamp(q, 0, levels - 1);
  }
  const int bits = ac3::kMantissaBits[bap];
  const int scale = 1 << (bits - 1);
  const int q = static_cast<int>(std::lround(m * scale));
  return std::clamp(q, -scale, scale - 1);
}

float DequantizeMantissa(int code, int bap) {
  if (bap == 0) return 0;
  const int levels = kLevels[bap];
  if (levels) return static_cast<float>(2 * code - (levels - 1)) / levels;
  return static_cast<float>(code) / (1 << (ac3::kMantissaBits[bap] - 1));
}

int MantissaCounter::Bits() const {
  int bits = (count[1] + 2) / 3 * 5 + (count[2] + 2) / 3 * 7 + (count[4] + 1) / 2 * 7;
  for (int b = 3; b < 16; ++b)
    if (b != 4) bits += count[b] * ac3::kMantissaBits[b];
  return bits;
}

void MantissaPacker::Begin() {
  std::fill(filled_, filled_ + 3, 0);
  std::fill(groups_, groups_ + 3, 0);
}

void MantissaPacker::Push(int kind, int code) {
  if (filled_[kind] == 0) codes_[kind][groups_[kind]++] = 0;
  uint16_t& group = codes_[kind][groups_[kind] - 1];
  group = static_cast<uint16_t>(group * kGroupRadix[kind] + code);
  if (++filled_[kind] == kGroupSize[kind]) filled_[kind] = 0;
}

void MantissaPacker::Add(int bap, int code) {
  const int kind = KindOf(bap);
  if (kind >= 0) Push(kind, code);
}

void MantissaPacker::StartWriting() {
  // Complete the open groups with the zero level (the middle one of each quantiser).
  for (int kind = 0; kind < 3; ++kind)
    while (filled_[kind] != 0) Push(kind, kGroupRadix[kind] / 2);
  std::fill(cursor_, cursor_ + 3, 0);
}

void MantissaPacker::Write(BitWriter* bw, int bap, int code) {
  if (bap == 0) return;
  const int kind = KindOf(bap);
  if (kind < 0) {
    const int bits = ac3::kMantissaBits[bap];
    bw->Put(static_cast<uint32_t>(code) & ((1u << bits) - 1), bits);
    return;
  }
  if (cursor_[kind] % kGroupSize[kind] == 0)
    bw->Put(codes_[kind][cursor_[kind] / kGroupSize[kind]], kGroupBits[kind]);
  ++cursor_[kind];
}

}  // namespace ddpi::enc
