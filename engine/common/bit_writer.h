// MSB-first bit writer over a caller-owned byte buffer (A/52 streams are written most
// significant bit first). Never allocates; writing past the end sets an overflow flag and
// drops the bits, so a caller checks overflowed() once after a whole frame.
#ifndef DDPI_ENGINE_COMMON_BIT_WRITER_H
#define DDPI_ENGINE_COMMON_BIT_WRITER_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ddpi {

class BitWriter {
 public:
  BitWriter(uint8_t* buffer, size_t size_bytes) : buf_(buffer), size_(size_bytes) {}
  // A writer without a buffer only counts bits.
  BitWriter() : buf_(nullptr), size_(0) {}

  // Appends the low `bits` bits of `value` (0 <= bits <= 32).
  void Put(uint32_t value, int bits) {
    // Fields of up to 24 bits span at most four bytes from the current one: read, merged and
    // stored as one big-endian word, without a branch per byte. The bytes past the field are
    // overwritten with zeros, which later fields replace.
    const size_t byte = pos_ >> 3;
    if (buf_ && bits > 0 && bits <= 24 && byte + 4 <= size_) {
      const int used = static_cast<int>(pos_ & 7);
      const uint32_t kept = used == 0 ? 0 : LoadBigEndian(buf_ + byte) & (~0u << (32 - used));
      const uint32_t v = (value & ((1u << bits) - 1)) << (32 - used - bits);
      StoreBigEndian(buf_ + byte, kept | v);
      pos_ += static_cast<size_t>(bits);
      return;
    }
    PutSlow(value, bits);
  }
  // Appends n fields, values[i] in widths[i] bits (at most 24, values[i] < 2^widths[i]),
  // exactly as n calls of Put would. Runs of short fields (mantissas) go through a 64-bit
  // accumulator: one store per 32 bits instead of a read-modify-write of the same bytes for
  // every field, whose loads would wait on the stores before them.
  void PutFields(const uint8_t* widths, const uint32_t* values, size_t n);
  // Appends zero bits up to absolute bit position `bit_position`.
  void PadTo(size_t bit_position);

  size_t position() const { return pos_; }
  bool overflowed() const { return overflow_; }

 private:
  void PutSlow(uint32_t value, int bits);
  static uint32_t LoadBigEndian(const uint8_t* p) {
    uint32_t word;
    std::memcpy(&word, p, 4);
    return FromBigEndian(word);
  }
  static void StoreBigEndian(uint8_t* p, uint32_t word) {
    word = FromBigEndian(word);  // the same swap both ways
    std::memcpy(p, &word, 4);
  }
  static uint32_t FromBigEndian(uint32_t word) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    return __builtin_bswap32(word);
#else
    return word;
#endif
  }

  uint8_t* buf_;
  size_t size_;
  size_t pos_ = 0;  // bits written
  bool overflow_ = false;
};

}  // namespace ddpi

#endif  // DDPI_ENGINE_COMMON_BIT_WRITER_H
