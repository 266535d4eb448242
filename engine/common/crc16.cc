#include "crc16.h"

#include <array>

namespace ddpi {
namespace {

constexpr uint32_t kPoly = 0x8005;

constexpr std::array<uint16_t, 256> MakeTable() {
  std::array<uint16_t, 256> t{};
  for (uint32_t i = 0; i < 256; ++i) {
    uint32_t c = i << 8;
    for (int b = 0; b < 8; ++b) c = (c & 0x8000) ? ((c << 1) ^ kPoly) : (c << 1);
    t[i] = static_cast<uint16_t>(c & 0xffff);
  }
  return t;
}

constexpr std::array<uint16_t, 256> kTable = MakeTable();

// Product of two residues modulo the generator polynomial, in GF(2)[x].
uint16_t MulMod(uint16_t a, uint16_t b) {
  uint32_t r = 0;
  for (int i = 15; i >= 0; --i) {
    r <<= 1;
    if (r & 0x10000) r ^= 0x10000 | kPoly;
    if ((b >> i) & 1) r ^= a;
  }
  return static_cast<uint16_t>(r);
}

// x^-1 modulo x^16 + x^15 + x^2 + 1: x * (x^15 + x^14 + x) = generator + 1.
constexpr uint16_t kInverseX = 0xC002;

uint16_t PowMod(uint16_t base, uint64_t e) {
  uint16_t result = 1;
  while (e) {
    if (e & 1) result = MulMod(result, base);
    base = MulMod(base, base);
    e >>= 1;
  }
  return result;
}

}  // namespace

uint16_t Crc16(const uint8_t* data, size_t size, uint16_t crc) {
  for (size_t i = 0; i < size; ++i)
    crc = static_cast<uint16_t>((crc << 8) ^ kTable[((crc >> 8) ^ data[i]) & 0xff]);
  return crc;
}

uint16_t Crc16LeadingWord(uint16_t crc_of_following, size_t size) {
  // CRC(W || M) = W * x^(8*size + 16) + CRC(M) (mod G); solve for W.
  return MulMod(crc_of_following, PowMod(kInverseX, 8 * static_cast<uint64_t>(size) + 16));
}

}  // namespace ddpi
