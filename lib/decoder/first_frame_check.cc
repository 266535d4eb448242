#include "decoder/first_frame_check.h"

#include <algorithm>

#include "bitstream_info.h"

namespace dolbydigital {
namespace {

std::uint16_t crcTable[256];

}  // namespace

void BuildCrc16Table() {
  for (int byte = 0; byte < 256; ++byte) {
    std::uint16_t crc = static_cast<std::uint16_t>(byte << 8);
    for (int bit = 0; bit < 8; ++bit)
      crc = static_cast<std::uint16_t>(crc & 0x8000 ? (crc << 1) ^ 0x8005 : crc << 1);
    crcTable[byte] = crc;
  }
}

bool FirstFrameCheck::Feed(const std::uint8_t* bytes, std::size_t size) {
  if (checked_) return !failed_;
  // Short or odd reads cannot be followed reliably in either byte order: pass unchecked.
  if (size < 6 || size % 2 != 0) {
    checked_ = true;
    return true;
  }
  if (frameSize_ == 0 && !ReadHeader(bytes)) return !failed_;
  RunCrc(bytes, size);
  return !failed_;
}

// Reads sync word, bsid and frame size from the first read. False when the check ends here.
bool FirstFrameCheck::ReadHeader(const std::uint8_t* b) {
  if (b[0] == 0x77 && b[1] == 0x0B) {
    swapped_ = true;
  } else if (b[0] != 0x0B || b[1] != 0x77) {
    checked_ = failed_ = true;
    return false;
  }
  // Byte i of the frame in stream order; a swapped stream has every pair turned around.
  auto at = [&](int i) { return b[swapped_ ? i ^ 1 : i]; };
  const int bsid = at(5) >> 3;
  if (bsid >= 11 && bsid <= 16) {
    frameSize_ = (static_cast<std::size_t>(((at(2) & 0x07) << 8) | at(3)) + 1) * 2;
  } else if (bsid <= 8) {
    const int fscod = at(4) >> 6;
    const int frmsizecod = at(4) & 0x3F;
    frameSize_ = 2 * static_cast<std::size_t>(ddpi::bitstream::Ac3FrameWords(fscod, frmsizecod));
    if (frameSize_ == 0) checked_ = failed_ = true;
  } else {
    checked_ = true;  // other bitstream ids go to the engine unchecked
  }
  return !checked_;
}

void FirstFrameCheck::RunCrc(const std::uint8_t* bytes, std::size_t size) {
  const std::size_t take = std::min(size, frameSize_ - consumed_);
  // Bytes in stream order: pairs are turned around for a swapped stream (reads are even).
  for (std::size_t i = 0; i < take; ++i) {
    const std::size_t position = consumed_ + i;
    if (position < 2) continue;  // the sync word is not covered
    const std::uint8_t byte = swapped_ ? bytes[i ^ 1] : bytes[i];
    crc_ = static_cast<std::uint16_t>((crc_ << 8) ^ crcTable[((crc_ >> 8) ^ byte) & 0xFF]);
  }
  consumed_ += take;
  if (consumed_ >= frameSize_) {
    checked_ = true;
    failed_ = crc_ != 0;
  }
}

}  // namespace dolbydigital
