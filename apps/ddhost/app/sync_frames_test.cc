#include "sync_frames.h"

#include <gtest/gtest.h>

namespace ddhost {
namespace {

// A sync frame of the right size whose header says so; the payload is filler.
std::vector<std::uint8_t> Ac3Frame() {  // 48 kHz, frmsizecod 30 (448 kbps): 1792 bytes
  std::vector<std::uint8_t> f(1792, 0xAA);
  f[0] = 0x0B, f[1] = 0x77, f[4] = 30, f[5] = 8 << 3;
  return f;
}

std::vector<std::uint8_t> Eac3Frame(int strmtyp, int numblkscod, std::size_t bytes) {
  std::vector<std::uint8_t> f(bytes, 0x55);
  const int frmsiz = static_cast<int>(bytes / 2 - 1);
  f[0] = 0x0B, f[1] = 0x77;
  f[2] = static_cast<std::uint8_t>((strmtyp << 6) | (frmsiz >> 8));
  f[3] = static_cast<std::uint8_t>(frmsiz & 0xFF);
  f[4] = static_cast<std::uint8_t>(numblkscod << 4);
  f[5] = 16 << 3;
  return f;
}

TEST(SyncFrameSplitter, CutsWholeFramesWhateverTheChunksAre) {
  std::vector<std::uint8_t> stream;
  for (int i = 0; i < 3; ++i) {
    const std::vector<std::uint8_t> f = Ac3Frame();
    stream.insert(stream.end(), f.begin(), f.end());
  }
  SyncFrameSplitter splitter;
  std::vector<AccessUnit> units;
  std::string error;
  for (std::size_t at = 0; at < stream.size(); at += 1000)
    ASSERT_TRUE(splitter.Add(stream.data() + at, std::min<std::size_t>(1000, stream.size() - at), units, error));
  ASSERT_TRUE(splitter.Finish(units, error)) << error;
  ASSERT_EQ(units.size(), 3u);
  for (const AccessUnit& u : units) {
    EXPECT_EQ(u.bytes.size(), 1792u);
    EXPECT_EQ(u.samples, 1536);
  }
}

TEST(SyncFrameSplitter, KeepsDependentFramesWithTheirIndependentFrame) {
  std::vector<std::uint8_t> stream;
  for (const auto& f : {Eac3Frame(0, 3, 768), Eac3Frame(1, 3, 512), Eac3Frame(0, 1, 256)})
    stream.insert(stream.end(), f.begin(), f.end());
  SyncFrameSplitter splitter;
  std::vector<AccessUnit> units;
  std::string error;
  ASSERT_TRUE(splitter.Add(stream.data(), stream.size(), units, error));
  ASSERT_TRUE(splitter.Finish(units, error));
  ASSERT_EQ(units.size(), 2u);
  EXPECT_EQ(units[0].bytes.size(), 768u + 512u);
  EXPECT_EQ(units[0].samples, 1536);
  EXPECT_EQ(units[1].samples, 512);  // two blocks
}

TEST(SyncFrameSplitter, RefusesWhatIsNoStream) {
  SyncFrameSplitter splitter;
  std::vector<AccessUnit> units;
  std::string error;
  const std::vector<std::uint8_t> junk(100, 0x42);
  EXPECT_FALSE(splitter.Add(junk.data(), junk.size(), units, error));
  SyncFrameSplitter cut;
  const std::vector<std::uint8_t> f = Ac3Frame();
  ASSERT_TRUE(cut.Add(f.data(), 1000, units, error));
  EXPECT_FALSE(cut.Finish(units, error));
}

}  // namespace
}  // namespace ddhost
