// CRC-16 of A/52 streams: generator x^16 + x^15 + x^2 + 1 (0x8005), MSB first, initial value
// 0, no final xor (A/52 section 7.10.1).
#ifndef DDPI_ENGINE_COMMON_CRC16_H
#define DDPI_ENGINE_COMMON_CRC16_H

#include <cstddef>
#include <cstdint>

namespace ddpi {

// CRC of `size` bytes continuing from `crc`.
uint16_t Crc16(const uint8_t* data, size_t size, uint16_t crc = 0);

// The 16-bit word W that, placed in front of `size` bytes whose CRC is `crc_of_following`,
// makes the CRC over W and those bytes zero. AC-3's crc1 sits at the start of the region it
// protects, so it cannot simply be appended like crc2.
uint16_t Crc16LeadingWord(uint16_t crc_of_following, size_t size);

}  // namespace ddpi

#endif  // DDPI_ENGINE_COMMON_CRC16_H
