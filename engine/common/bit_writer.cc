#include "bit_writer.h"

namespace ddpi {

void BitWriter::Put(uint32_t value, int bits) {
  if (bits <= 0) return;
  if (!buf_) {  // counting only
    pos_ += static_cast<size_t>(bits);
    return;
  }
  if (pos_ + static_cast<size_t>(bits) > size_ * 8) {
    overflow_ = true;
    return;
  }
  for (int i = bits - 1; i >= 0; --i) {
    const size_t byte = pos_ >> 3;
    const int shift = 7 - static_cast<int>(pos_ & 7);
    if (shift == 7) buf_[byte] = 0;
    buf_[byte] |= static_cast<uint8_t>(((value >> i) & 1u) << shift);
    ++pos_;
  }
}

void BitWriter::PadTo(size_t bit_position) {
  while (pos_ < bit_position && !overflow_) {
    const int chunk = bit_position - pos_ > 32 ? 32 : static_cast<int>(bit_position - pos_);
    Put(0, chunk);
  }
}

}  // namespace ddpi
