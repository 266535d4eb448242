// Working-memory blocks with a small header in front that records the block's size class.
// Recycled blocks wait in per-class lists and are handed out again for any request of the
// same class. The cache is capped in blocks per class and in total bytes, so a burst of
// different sizes cannot pin an unbounded amount of memory.
#include "basalt/memory_recycler.h"

#include <cstdint>
#include <cstdlib>
#include <map>
#include <mutex>
#include <vector>

namespace basalt {
namespace utility {
namespace {

constexpr std::size_t kAlignment = 32;
constexpr std::size_t kHeaderBytes = kAlignment;  // keeps the payload 32-byte aligned
constexpr std::size_t kMaxCachedPerClass = 8;
constexpr std::size_t kMaxCachedBytes = std::size_t{256} << 20;  // 256 MiB

struct BlockHeader {
  std::size_t capacity;  // payload bytes, a size class
};
static_assert(sizeof(BlockHeader) <= kHeaderBytes, "header must fit in front of the payload");

// Classes: multiples of 256 bytes up to 64 KiB, then eight steps per power of two, so a
// reused block wastes at most an eighth of its size.
std::size_t SizeClassOf(std::size_t bytes) {
  constexpr std::size_t kSmallStep = 256;
  constexpr std::size_t kSmallLimit = 64 * 1024;
  if (bytes == 0) bytes = 1;
  if (bytes <= kSmallLimit) return (bytes + kSmallStep - 1) / kSmallStep * kSmallStep;
  std::size_t power = kSmallLimit;
  while (power <= bytes / 2) power *= 2;  // now power <= bytes < 2 * power
  const std::size_t step = power / 8;
  if (bytes > static_cast<std::size_t>(-1) - step) return 0;
  return (bytes + step - 1) / step * step;
}

BlockHeader* HeaderOf(void* block) {
  return reinterpret_cast<BlockHeader*>(static_cast<unsigned char*>(block) - kHeaderBytes);
}

void* PayloadOf(void* raw) { return static_cast<unsigned char*>(raw) + kHeaderBytes; }

class Cache {
 public:
  void* Take(std::size_t capacity) {
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = blocks_.find(capacity);
    if (it == blocks_.end() || it->second.empty()) return nullptr;
    void* block = it->second.back();
    it->second.pop_back();
    cached_bytes_ -= capacity;
    --cached_count_;
    return block;
  }

  // False when the cache is full; the caller then frees the block.
  bool Keep(void* block, std::size_t capacity) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (cached_bytes_ + capacity > kMaxCachedBytes) return false;
    auto& list = blocks_[capacity];
    if (list.size() >= kMaxCachedPerClass) return false;
    list.push_back(block);
    cached_bytes_ += capacity;
    ++cached_count_;
    return true;
  }

  std::size_t Count() {
    std::lock_guard<std::mutex> lock(mutex_);
    return cached_count_;
  }
  std::size_t Bytes() {
    std::lock_guard<std::mutex> lock(mutex_);
    return cached_bytes_;
  }

  void Release() {
    std::map<std::size_t, std::vector<void*>> blocks;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      blocks.swap(blocks_);
      cached_bytes_ = 0;
      cached_count_ = 0;
    }
    for (auto& entry : blocks)
      for (void* block : entry.second) std::free(HeaderOf(block));
  }

 private:
  std::mutex mutex_;
  std::map<std::size_t, std::vector<void*>> blocks_;
  std::size_t cached_bytes_ = 0;
  std::size_t cached_count_ = 0;
};

// Never destroyed: engines may give blocks back from static destructors.
Cache& TheCache() {
  static Cache* cache = new Cache();
  return *cache;
}

}  // namespace

void* MemoryRecycler::Allocate(std::size_t bytes) {
  const std::size_t capacity = SizeClassOf(bytes);
  if (capacity == 0 || capacity > static_cast<std::size_t>(-1) - kHeaderBytes) return nullptr;
  if (void* block = TheCache().Take(capacity)) return block;
  void* raw = std::aligned_alloc(kAlignment, kHeaderBytes + capacity);
  if (raw == nullptr) {
    // Cached blocks of other sizes may be what stands in the way.
    TheCache().Release();
    raw = std::aligned_alloc(kAlignment, kHeaderBytes + capacity);
    if (raw == nullptr) return nullptr;
  }
  static_cast<BlockHeader*>(raw)->capacity = capacity;
  return PayloadOf(raw);
}

void MemoryRecycler::Recycle(void* block) {
  if (block == nullptr) return;
  const std::size_t capacity = HeaderOf(block)->capacity;
  if (!TheCache().Keep(block, capacity)) std::free(HeaderOf(block));
}

std::size_t MemoryRecycler::CachedBlockCount() { return TheCache().Count(); }
std::size_t MemoryRecycler::CachedBytes() { return TheCache().Bytes(); }
void MemoryRecycler::ReleaseCache() { TheCache().Release(); }

}  // namespace utility
}  // namespace basalt
