#include "crc16.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace ddpi {
namespace {

TEST(Crc16, KnownVectors) {
  // CRC-16 with generator 0x8005, no reflection, init 0 ("CRC-16/UMTS"): check value 0xFEE8.
  const char* check = "123456789";
  EXPECT_EQ(Crc16(reinterpret_cast<const uint8_t*>(check), 9), 0xFEE8);
  const uint8_t one[1] = {0x01};
  EXPECT_EQ(Crc16(one, 1), 0x8005);
  EXPECT_EQ(Crc16(nullptr, 0), 0);
}

TEST(Crc16, AppendedCrcChecksToZeroAndContinues) {
  std::vector<uint8_t> data(100);
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<uint8_t>(i * 37 + 11);
  const uint16_t whole = Crc16(data.data(), data.size());
  EXPECT_EQ(Crc16(data.data() + 40, 60, Crc16(data.data(), 40)), whole);
  data.push_back(static_cast<uint8_t>(whole >> 8));
  data.push_back(static_cast<uint8_t>(whole));
  EXPECT_EQ(Crc16(data.data(), data.size()), 0);
}

TEST(Crc16, LeadingWordMakesRegionCheckToZero) {
  for (size_t size : {1u, 2u, 77u, 1000u, 2395u}) {
    std::vector<uint8_t> region(size + 2);
    for (size_t i = 0; i < region.size(); ++i) region[i] = static_cast<uint8_t>(i * 101 + size);
    const uint16_t w = Crc16LeadingWord(Crc16(region.data() + 2, size), size);
    region[0] = static_cast<uint8_t>(w >> 8);
    region[1] = static_cast<uint8_t>(w);
    EXPECT_EQ(Crc16(region.data(), region.size()), 0) << "size " << size;
  }
}

}  // namespace
}  // namespace ddpi
