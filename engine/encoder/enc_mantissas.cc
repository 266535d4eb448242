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
// Bits of the ungrouped quantisers by bap (0 for bap 0 and the grouped ones).
constexpr uint8_t kPlainBits[16] = {0, 0, 0, 3, 0, 4, 5, 6, 7, 8, 9, 10, 11, 12, 14, 16};

// 2^e for the exponents 0..24.
struct PowersOfTwo {
  float value[25];
  constexpr PowersOfTwo() : value() {
    float v = 1.0f;
    for (float& x : value) {
      x = v;
      v *= 2.0f;
    }
  }
  float operator[](int e) const { return value[e]; }
};
constexpr PowersOfTwo kPow2;

inline int Quantize(float coef, int exp, int bap) {
  if (bap == 0) return 0;
  const float m = coef * kPow2[exp];
  const int levels = kLevels[bap];
  if (levels) {
    // (m + 1) * levels / 2 is not negative: truncation is the floor.
    const int q = static_cast<int>((m + 1.0f) * levels * 0.5f);
    return std::clamp(q, 0, levels - 1);
  }
  const int bits = ac3::kMantissaBits[bap];
  const int scale = 1 << (bits - 1);
  const int q = static_cast<int>(std::lrint(m * static_cast<float>(scale)));
  return std::clamp(q, -scale, scale - 1);
}

}  // namespace

int QuantizeMantissa(float coef, int exp, int bap) { return Quantize(coef, exp, bap); }

void QuantizeMantissas(const float* coef, const uint8_t* exp, const uint8_t* bap, int start,
                       int end, int16_t* code) {
  for (int i = start; i < end; ++i)
    code[i] = static_cast<int16_t>(Quantize(coef[i], exp[i], bap[i]));
}

float DequantizeMantissa(int code, int bap) {
  if (bap == 0) return 0;
  const int levels = kLevels[bap];
  if (levels) return static_cast<float>(2 * code - (levels - 1)) / levels;
  return static_cast<float>(code) / (1 << (ac3::kMantissaBits[bap] - 1));
}

void MantissaCounter::Add(const uint8_t* bap, int start, int end) {
  // Sums in registers rather than a histogram in memory: runs of equal bap would otherwise
  // wait on their own increments.
  int n1 = 0, n2 = 0, n4 = 0, plain = 0;
  for (int i = start; i < end; ++i) {
    const int b = bap[i];
    n1 += b == 1;
    n2 += b == 2;
    n4 += b == 4;
    plain += kPlainBits[b];
  }
  grouped[0] += n1;
  grouped[1] += n2;
  grouped[2] += n4;
  plain_bits += plain;
}

int MantissaCounter::Bits() const {
  return (grouped[0] + 2) / 3 * 5 + (grouped[1] + 2) / 3 * 7 + (grouped[2] + 1) / 2 * 7 +
         plain_bits;
}

namespace {
constexpr uint64_t Packed(int bap) {
  return bap == 1   ? uint64_t{1} << 16
         : bap == 2 ? uint64_t{1} << 32
         : bap == 4 ? uint64_t{1} << 48
                    : uint64_t{kPlainBits[bap]};
}
}  // namespace

const uint64_t MantissaCounter::kPackedByBap[16] = {
    Packed(0),  Packed(1),  Packed(2),  Packed(3),  Packed(4),  Packed(5),  Packed(6),  Packed(7),
    Packed(8),  Packed(9),  Packed(10), Packed(11), Packed(12), Packed(13), Packed(14), Packed(15)};

int MantissaCounter::PackedBits(uint64_t packed) {
  MantissaCounter counter;
  counter.plain_bits = static_cast<int>(packed & 0xffff);
  for (int k = 0; k < 3; ++k)
    counter.grouped[k] = static_cast<int>((packed >> (16 * (k + 1))) & 0xffff);
  return counter.Bits();
}

void MantissaPacker::Begin() {
  std::fill(open_, open_ + 3, OpenGroup{});
  fields_ = 0;
}

void MantissaPacker::AddField(int bits, uint32_t value) {
  // A block never holds more; a bad caller loses fields rather than memory.
  if (fields_ == kMaxFields) return;
  widths_[fields_] = static_cast<uint8_t>(bits);
  values_[fields_++] = value;
}

void MantissaPacker::AddToGroup(int kind, int code) {
  OpenGroup& group = open_[kind];
  if (group.members == 0) {
    group.field = fields_;
    AddField(kGroupBits[kind], 0);
  }
  group.code = group.code * kGroupRadix[kind] + code;
  if (++group.members == kGroupSize[kind]) {
    if (group.field < fields_) values_[group.field] = static_cast<uint32_t>(group.code);
    group = OpenGroup{};
  }
}

void MantissaPacker::Add(int bap, int code) {
  const int plain = kPlainBits[bap];
  if (plain != 0) {
    AddField(plain, static_cast<uint32_t>(code) & ((1u << plain) - 1));
  } else if (bap != 0) {
    AddToGroup(KindOf(bap), code);
  }
}

void MantissaPacker::AddChannel(const uint8_t* bap, const int16_t* code, int end) {
  for (int i = 0; i < end; ++i) Add(bap[i], code[i]);
}

void MantissaPacker::Finish(BitWriter* bw) {
  // The zero level is the middle one of each quantiser.
  for (int kind = 0; kind < 3; ++kind)
    while (open_[kind].members != 0) AddToGroup(kind, kGroupRadix[kind] / 2);
  bw->PutFields(widths_, values_, static_cast<size_t>(fields_));
  fields_ = 0;
}

}  // namespace ddpi::enc
