#include "bit_writer.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace ddpi
