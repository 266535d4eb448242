// Checks the first frame of a stream before it reaches the engine: a sync word in either
// byte order, a possible frame size, and a CRC-16 (x^16 + x^15 + x^2 + 1, MSB first,
// initial value 0) over everything after the sync word that must come out zero. The frame
// may span several reads; the check follows it across them.
#ifndef DOLBYDIGITAL_DECODER_FIRST_FRAME_CHECK_H
#define DOLBYDIGITAL_DECODER_FIRST_FRAME_CHECK_H

#include <cstddef>
#include <cstdint>

namespace dolbydigital {

// Builds the 256-entry CRC table; called once per process, under the decoder's once-guard.
void BuildCrc16Table();

class FirstFrameCheck {
 public:
  // Takes the next read. False when the first frame fails the check.
  bool Feed(const std::uint8_t* bytes, std::size_t size);
  bool Checked() const { return checked_; }

 private:
  bool ReadHeader(const std::uint8_t* bytes);
  void RunCrc(const std::uint8_t* bytes, std::size_t size);

  bool checked_ = false;
  bool failed_ = false;
  bool swapped_ = false;
  std::size_t frameSize_ = 0;
  std::size_t consumed_ = 0;
  std::uint16_t crc_ = 0;
};

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_DECODER_FIRST_FRAME_CHECK_H
