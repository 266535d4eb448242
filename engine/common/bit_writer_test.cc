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

// A run of fields lands exactly where single writes would put it, from any bit position, in a
// dirty buffer, and also where the buffer's end leaves no room for whole words.
TEST(BitWriter, FieldRunsMatchSingleWrites) {
  std::mt19937 rng(12);
  for (int trial = 0; trial < 40; ++trial) {
    uint8_t runs[96], single[96];
    std::fill(runs, runs + sizeof runs, 0x5a);
    std::fill(single, single + sizeof single, 0xc3);
    BitWriter a(runs, sizeof runs), b(single, sizeof single);
    const int lead = static_cast<int>(rng() % 13);  // bits written before the run
    a.Put(0x1abc, lead);
    b.Put(0x1abc, lead);
    std::vector<uint8_t> widths;
    std::vector<uint32_t> values;
    size_t total = lead;
    while (true) {
      const int bits = static_cast<int>(rng() % 25);
      // Some trials fill the buffer to its last bit.
      if (total + bits > (trial % 2 ? 8 * sizeof runs : 8 * sizeof runs - 100)) break;
      widths.push_back(static_cast<uint8_t>(bits));
      values.push_back(bits == 0 ? 0 : rng() & ((1u << bits) - 1));
      total += bits;
    }
    a.PutFields(widths.data(), values.data(), widths.size());
    for (size_t i = 0; i < widths.size(); ++i) b.Put(values[i], widths[i]);
    a.Put(0x5, 3);  // and writing goes on from the right place
    b.Put(0x5, 3);
    ASSERT_EQ(a.position(), b.position());
    ASSERT_EQ(a.overflowed(), b.overflowed());
    for (size_t i = 0; i < a.position(); ++i)
      ASSERT_EQ((runs[i >> 3] >> (7 - (i & 7))) & 1, (single[i >> 3] >> (7 - (i & 7))) & 1)
          << "trial " << trial << ", bit " << i;
  }
}

}  // namespace
}  // namespace ddpi
