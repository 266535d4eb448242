// MSB-first bit writer over a caller-owned byte buffer (A/52 streams are written most
// significant bit first). Never allocates; writing past the end sets an overflow flag and
// drops the bits, so a caller checks overflowed() once after a whole frame.
#ifndef DDPI_ENGINE_COMMON_BIT_WRITER_H
#define DDPI_ENGINE_COMMON_BIT_WRITER_H

#include <cstddef>
#include <cstdint>

namespace ddpi {

class BitWriter {
 public:
  BitWriter(uint8_t* buffer, size_t size_bytes) : buf_(buffer), size_(size_bytes) {}
  // A writer without a buffer only counts bits.
  BitWriter() : buf_(nullptr), size_(0) {}

  // Appends the low `bits` bits of `value` (0 <= bits <= 32).
  void Put(uint32_t value, int bits);
  // Appends zero bits up to absolute bit position `bit_position`.
  void PadTo(size_t bit_position);

  size_t position() const { return pos_; }
  bool overflowed() const { return overflow_; }

 private:
  uint8_t* buf_;
  size_t size_;
  size_t pos_ = 0;  // bits written
  bool overflow_ = false;
};

}  // namespace ddpi

#endif  // DDPI_ENGINE_COMMON_BIT_WRITER_H
