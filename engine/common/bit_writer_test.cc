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

// Fields reserved as zeros and filled in later (as grouped mantissas are) end up exactly where a
// direct write would have put them, whatever was written after them and in a dirty buffer.
TEST(BitWriter, FilledInFieldsMatchDirectWrites) {
  std::mt19937 rng(12);
  uint8_t filled[256], direct[256];
  std::fill(filled, filled + sizeof filled, 0x5a);
  std::fill(direct, direct + sizeof direct, 0xc3);
  BitWriter a(filled, sizeof filled), b(direct, sizeof direct);
  struct Reserved {
    size_t position;
    uint32_t value;
    int bits;
  };
  std::vector<Reserved> open;
  while (a.position() + 24 <= 8 * sizeof filled) {
    const int bits = 1 + static_cast<int>(rng() % 24);
    const uint32_t value = rng() & ((1u << bits) - 1);
    if (rng() % 3 == 0) {
      open.push_back({a.position(), value, bits});
      a.Put(0, bits);
    } else {
      a.Put(value, bits);
    }
    b.Put(value, bits);
    if (!open.empty() && rng() % 4 == 0) {
      a.OrAt(open.front().position, open.front().value, open.front().bits);
      open.erase(open.begin());
    }
  }
  for (const Reserved& r : open) a.OrAt(r.position, r.value, r.bits);
  ASSERT_EQ(a.position(), b.position());
  for (size_t i = 0; i < a.position(); ++i)
    ASSERT_EQ((filled[i >> 3] >> (7 - (i & 7))) & 1, (direct[i >> 3] >> (7 - (i & 7))) & 1)
        << "bit " << i;
}

}  // namespace
}  // namespace ddpi
