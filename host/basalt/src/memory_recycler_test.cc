#include "basalt/memory_recycler.h"

#include <cstdint>
#include <cstring>
#include <set>
#include <vector>

#include <gtest/gtest.h>

namespace basalt {
namespace utility {
namespace {

class MemoryRecyclerTest : public ::testing::Test {
 protected:
  void SetUp() override { MemoryRecycler::ReleaseCache(); }
  void TearDown() override { MemoryRecycler::ReleaseCache(); }
};

TEST_F(MemoryRecyclerTest, BlocksAre32ByteAlignedAndWritable) {
  for (std::size_t size : {1u, 31u, 32u, 1000u, 65536u, 65537u, 3000000u}) {
    void* block = MemoryRecycler::Allocate(size);
    ASSERT_NE(block, nullptr) << size;
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 32, 0u) << size;
    std::memset(block, 0xA5, size);
    MemoryRecycler::Recycle(block);
  }
}

TEST_F(MemoryRecyclerTest, RecycledBlockComesBackForTheSameSize) {
  void* first = MemoryRecycler::Allocate(100000);
  MemoryRecycler::Recycle(first);
  EXPECT_EQ(MemoryRecycler::CachedBlockCount(), 1u);
  EXPECT_GE(MemoryRecycler::CachedBytes(), 100000u);
  void* second = MemoryRecycler::Allocate(100000);
  EXPECT_EQ(second, first);
  EXPECT_EQ(MemoryRecycler::CachedBlockCount(), 0u);
  MemoryRecycler::Recycle(second);
}

TEST_F(MemoryRecyclerTest, SlightlySmallerRequestReusesTheBlockOfItsClass) {
  void* first = MemoryRecycler::Allocate(300000);
  MemoryRecycler::Recycle(first);
  void* second = MemoryRecycler::Allocate(299000);
  EXPECT_EQ(second, first);
  MemoryRecycler::Recycle(second);
}

TEST_F(MemoryRecyclerTest, DifferentClassesAreNotMixed) {
  void* small = MemoryRecycler::Allocate(1024);
  MemoryRecycler::Recycle(small);
  void* large = MemoryRecycler::Allocate(1 << 20);
  EXPECT_NE(large, small);
  std::memset(large, 0, 1 << 20);  // a reused small block would overflow here
  MemoryRecycler::Recycle(large);
  EXPECT_EQ(MemoryRecycler::CachedBlockCount(), 2u);
}

TEST_F(MemoryRecyclerTest, CacheIsCappedPerClass) {
  std::vector<void*> blocks;
  for (int i = 0; i < 100; ++i) blocks.push_back(MemoryRecycler::Allocate(4096));
  EXPECT_EQ(std::set<void*>(blocks.begin(), blocks.end()).size(), blocks.size());
  for (void* block : blocks) MemoryRecycler::Recycle(block);
  EXPECT_GT(MemoryRecycler::CachedBlockCount(), 0u);
  EXPECT_LT(MemoryRecycler::CachedBlockCount(), 100u);
}

TEST_F(MemoryRecyclerTest, ReleaseCacheEmptiesItAndNullIsIgnored) {
  MemoryRecycler::Recycle(nullptr);
  MemoryRecycler::Recycle(MemoryRecycler::Allocate(5000));
  MemoryRecycler::ReleaseCache();
  EXPECT_EQ(MemoryRecycler::CachedBlockCount(), 0u);
  EXPECT_EQ(MemoryRecycler::CachedBytes(), 0u);
}

TEST_F(MemoryRecyclerTest, ImpossibleSizeGivesNull) {
  EXPECT_EQ(MemoryRecycler::Allocate(static_cast<std::size_t>(-1) - 8), nullptr);
}

}  // namespace
}  // namespace utility
}  // namespace basalt
