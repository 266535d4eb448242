#include "bit_writer.h"

namespace ddpi {

void BitWriter::PutSlow(uint32_t value, int bits) {
  if (bits <= 0) return;
  if (!buf_) {  // counting only
    pos_ += static_cast<size_t>(bits);
    return;
  }
  if (pos_ + static_cast<size_t>(bits) > size_ * 8) {
    overflow_ = true;
    return;
  }
  // Fill the current byte, then whole bytes, most significant bits first.
  if (bits < 32) value &= (1u << bits) - 1;
  while (bits > 0) {
    const size_t byte = pos_ >> 3;
    const int free_bits = 8 - static_cast<int>(pos_ & 7);
    const int take = bits < free_bits ? bits : free_bits;
    const uint32_t chunk = (value >> (bits - take)) & ((1u << take) - 1);
    const uint8_t placed = static_cast<uint8_t>(chunk << (free_bits - take));
    buf_[byte] = free_bits == 8 ? placed : static_cast<uint8_t>(buf_[byte] | placed);
    pos_ += static_cast<size_t>(take);
    bits -= take;
  }
}

void BitWriter::PutFields(const uint8_t* widths, const uint32_t* values, size_t n) {
  size_t total = 0;
  for (size_t i = 0; i < n; ++i) total += widths[i];
  // Counting, or close to the end of the buffer: field by field.
  if (!buf_ || pos_ + total + 32 > size_ * 8) {
    for (size_t i = 0; i < n; ++i) Put(values[i], widths[i]);
    return;
  }
  size_t byte = pos_ >> 3;
  int count = static_cast<int>(pos_ & 7);  // bits in the accumulator, not yet stored
  uint64_t acc = count == 0 ? 0 : buf_[byte] >> (8 - count);
  for (size_t i = 0; i < n; ++i) {
    acc = (acc << widths[i]) | values[i];
    count += widths[i];
    if (count >= 32) {
      StoreBigEndian(buf_ + byte, static_cast<uint32_t>(acc >> (count - 32)));
      byte += 4;
      count -= 32;
    }
  }
  // The rest left-aligned in one more word, zeros after it as Put leaves them.
  if (count != 0) StoreBigEndian(buf_ + byte, static_cast<uint32_t>(acc << (32 - count)));
  pos_ = byte * 8 + static_cast<size_t>(count);
}

void BitWriter::PadTo(size_t bit_position) {
  while (pos_ < bit_position && !overflow_) {
    const int chunk = bit_position - pos_ > 32 ? 32 : static_cast<int>(bit_position - pos_);
    Put(0, chunk);
  }
}

}  // namespace ddpi
