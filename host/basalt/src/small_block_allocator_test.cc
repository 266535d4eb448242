#include "basalt/small_block_allocator.h"

#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace basalt {
namespace utility {
namespace {

template <class T>
using Vector = std::vector<T, SmallBlockAllocator<T>>;
using String = std::basic_string<char, std::char_traits<char>, SmallBlockAllocator<char>>;
template <class K, class V>
using Map = std::map<K, V, std::less<K>, SmallBlockAllocator<std::pair<const K, V>>>;

TEST(SmallBlockAllocator, BlocksOfEverySizeAreAlignedAndDisjoint) {
  std::vector<std::pair<unsigned char*, std::size_t>> blocks;
  for (std::size_t size = 1; size <= kMaxSmallBlock + 64; ++size) {
    auto* block = static_cast<unsigned char*>(SmallBlockAllocate(size));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignof(std::max_align_t), 0u) << size;
    std::memset(block, static_cast<int>(size & 0xFF), size);
    blocks.emplace_back(block, size);
  }
  // Every block still holds its own pattern: no two overlap.
  for (const auto& block : blocks)
    for (std::size_t i = 0; i < block.second; ++i)
      ASSERT_EQ(block.first[i], static_cast<unsigned char>(block.second & 0xFF));
  for (const auto& block : blocks) SmallBlockFree(block.first, block.second);
}

TEST(SmallBlockAllocator, FreedBlocksAreReused) {
  void* first = SmallBlockAllocate(40);
  SmallBlockFree(first, 40);
  void* second = SmallBlockAllocate(40);
  EXPECT_EQ(first, second);
  SmallBlockFree(second, 40);
  SmallBlockFree(nullptr, 40);  // ignored
}

TEST(SmallBlockAllocator, ServesStandardContainers) {
  Map<String, Vector<int>> table;
  for (int i = 0; i < 2000; ++i) {
    String key = "key-" + String(std::to_string(i).c_str());
    Vector<int>& values = table[key];
    for (int k = 0; k < i % 97; ++k) values.push_back(i * k);  // sizes below and above 256 bytes
  }
  ASSERT_EQ(table.size(), 2000u);
  for (int i = 0; i < 2000; i += 37) {
    const Vector<int>& values = table.at("key-" + String(std::to_string(i).c_str()));
    ASSERT_EQ(values.size(), static_cast<std::size_t>(i % 97));
    for (int k = 0; k < i % 97; ++k) ASSERT_EQ(values[k], i * k);
  }
  String long_text(5000, 'x');
  long_text += "end";
  EXPECT_EQ(long_text.size(), 5003u);
}

TEST(SmallBlockAllocator, ConcurrentContainersStayIntact) {
  constexpr int kThreads = 4;
  std::vector<std::thread> threads;
  std::vector<int> intact(kThreads, 0);  // not vector<bool>: its bits share words
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t, &intact] {
      bool ok = true;
      for (int round = 0; round < 200; ++round) {
        Map<int, String> map;
        for (int i = 0; i < 100; ++i) map[i] = String(static_cast<std::size_t>((i * 7 + t) % 300), char('a' + t));
        for (int i = 0; i < 100; ++i) {
          const String& s = map[i];
          ok = ok && s.size() == static_cast<std::size_t>((i * 7 + t) % 300) &&
               s.find_first_not_of(char('a' + t)) == String::npos;
        }
      }
      intact[t] = ok;
    });
  }
  for (auto& thread : threads) thread.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_TRUE(intact[t]) << "thread " << t;
}

#if defined(__SANITIZE_ADDRESS__)
// Pooled blocks stay visible to AddressSanitizer: touching a freed block is reported.
TEST(SmallBlockAllocatorDeathTest, UseAfterFreeIsCaughtBySanitizer) {
  ::testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(
      {
        auto* block = static_cast<volatile char*>(SmallBlockAllocate(48));
        SmallBlockFree(const_cast<char*>(block), 48);
        block[40] = 1;
      },
      "use-after-poison");
}
#endif

TEST(SmallBlockAllocator, RejectsImpossibleArraySizes) {
  SmallBlockAllocator<std::uint64_t> allocator;
  EXPECT_THROW(allocator.allocate(static_cast<std::size_t>(-1) / 4), std::bad_array_new_length);
}

}  // namespace
}  // namespace utility
}  // namespace basalt
