#include "console/sync_frame_counter.h"

#include <gtest/gtest.h>

#include <vector>

namespace dolbydigital {
namespace {

// An AC-3 frame at 48 kHz: frmsizecod 30 is 448 kbps, 1792 bytes.
std::vector<std::uint8_t> Ac3Frame() {
  std::vector<std::uint8_t> f(1792, 0);
  f[0] = 0x0B, f[1] = 0x77, f[4] = 30, f[5] = 8 << 3;
  return f;
}

// An E-AC-3 frame: frmsiz 383 (768 bytes), fscod 0, six blocks; `dependent` sets strmtyp 1.
std::vector<std::uint8_t> Eac3Frame(bool dependent) {
  std::vector<std::uint8_t> f(768, 0);
  f[0] = 0x0B, f[1] = 0x77;
  f[2] = static_cast<std::uint8_t>((dependent ? 0x40 : 0x00) | (383 >> 8));
  f[3] = 383 & 0xFF;
  f[4] = 0x30;  // fscod 0, numblkscod 3
  f[5] = 16 << 3;
  return f;
}

TEST(SyncFrameCounter, CountsFramesFedInAnyPieces) {
  std::vector<std::uint8_t> stream;
  for (int i = 0; i < 3; ++i) {
    const auto f = Ac3Frame();
    stream.insert(stream.end(), f.begin(), f.end());
  }
  SyncFrameCounter counter;
  for (std::size_t at = 0; at < stream.size(); at += 1000)
    counter.Add(stream.data() + at, std::min<std::size_t>(1000, stream.size() - at));
  EXPECT_TRUE(counter.Consistent());
  EXPECT_EQ(counter.Frames(), 3u);
  EXPECT_EQ(counter.AudioBlocks(), 18u);
}

TEST(SyncFrameCounter, DependentSubstreamsBelongToTheirIndependentFrame) {
  SyncFrameCounter counter;
  for (bool dependent : {false, true, false, true}) {
    const auto f = Eac3Frame(dependent);
    counter.Add(f.data(), f.size());
  }
  EXPECT_TRUE(counter.Consistent());
  EXPECT_EQ(counter.Frames(), 2u);
  EXPECT_EQ(counter.AudioBlocks(), 12u);
}

TEST(SyncFrameCounter, NoticesAStreamThatDoesNotHoldTogether) {
  SyncFrameCounter counter;
  auto f = Ac3Frame();
  f.push_back(0x42);  // one stray byte after the frame
  counter.Add(f.data(), f.size());
  const auto next = Ac3Frame();
  counter.Add(next.data(), next.size());
  EXPECT_FALSE(counter.Consistent());
  EXPECT_EQ(counter.Frames(), 1u);
}

}  // namespace
}  // namespace dolbydigital
