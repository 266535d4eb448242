// MSB-first reader over a byte range. Reading past the end yields zero bits and marks the
// reader overrun, so parsers can read a whole syntax block and check once at the end.
#ifndef DDPI_ENGINE_COMMON_BIT_READER_H
#define DDPI_ENGINE_COMMON_BIT_READER_H

#include <cstddef>
#include <cstdint>

namespace ddpi {

class BitReader {
 public:
  BitReader(const std::uint8_t* data, std::size_t size) : data_(data), bits_(size * 8) {}

  // Up to 32 bits.
  std::uint32_t Read(int count) {
    std::uint32_t value = 0;
    for (int i = 0; i < count; ++i) value = (value << 1) | NextBit();
    return value;
  }
  int ReadInt(int count) { return static_cast<int>(Read(count)); }
  bool ReadFlag() { return NextBit() != 0; }
  void Skip(std::size_t count) {
    position_ += count;
    if (position_ > bits_) overrun_ = true;
  }
  bool Overrun() const { return overrun_; }
  std::size_t Position() const { return position_; }

 private:
  std::uint32_t NextBit() {
    if (position_ >= bits_) {
      overrun_ = true;
      ++position_;
      return 0;
    }
    const std::uint32_t bit = (data_[position_ >> 3] >> (7 - (position_ & 7))) & 1u;
    ++position_;
    return bit;
  }

  const std::uint8_t* data_;
  std::size_t bits_;
  std::size_t position_ = 0;
  bool overrun_ = false;
};

}  // namespace ddpi

#endif  // DDPI_ENGINE_COMMON_BIT_READER_H
