#include "bit_writer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace ddpi {
namespace {

TEST(BitWriter, WritesMsbFirstAcrossBytes) {
  uint8_t buf[4] = {0xff, 0xff, 0xff, 0xff};
  BitWriter bw(buf, sizeof buf);
  bw.Put(0x0B77, 16);
  bw.Put(0x5, 3);
  bw.Put(0x1, 1);
  bw.Put(0xA, 4);
  EXPECT_EQ(bw.position(), 24u);
  EXPECT_EQ(buf[0], 0x0B);
  EXPECT_EQ(buf[1], 0x77);
  EXPECT_EQ(buf[2], 0xBA);
  bw.PadTo(32);
  EXPECT_EQ(buf[3], 0x00);
  EXPECT_FALSE(bw.overflowed());
}

TEST(BitWriter, OverflowIsFlaggedNotWritten) {
  uint8_t buf[2] = {};
  BitWriter bw(buf, sizeof buf);
  bw.Put(0xffff, 16);
  bw.Put(1, 1);
  EXPECT_TRUE(bw.overflowed());
  EXPECT_EQ(bw.position(), 16u);
}

TEST(BitWriter, CountingWriterOnlyCounts) {
  BitWriter counter;
  counter.Put(0, 7);
  counter.Put(0xffffffff, 32);
  EXPECT_EQ(counter.position(), 39u);
  EXPECT_FALSE(counter.overflowed());
}

// Random fields of every width against a bit-by-bit model, into a buffer that starts dirty:
// the whole-field path and the bytewise path must both write exactly these bits.
TEST(BitWriter, MatchesABitByBitModel) {
  std::mt19937 rng(11);
  uint8_t buf[512];
  std::fill(buf, buf + sizeof buf, 0xa5);
  std::vector<int> model;
  BitWriter bw(buf, sizeof buf);
  while (true) {
    const int bits = 1 + static_cast<int>(rng() % 32);
    if (model.size() + bits > 8 * sizeof buf) break;
    const uint32_t value = rng();
    bw.Put(value, bits);
    for (int i = bits - 1; i >= 0; --i) model.push_back((value >> i) & 1);
  }
  ASSERT_EQ(bw.position(), model.size());
  for (size_t i = 0; i < model.size(); ++i)
    ASSERT_EQ((buf[i >> 3] >> (7 - (i & 7))) & 1, model[i]) << "bit " << i;
}

}  // namespace
}  // namespace ddpi
