// Size-class pools for small blocks. Each class keeps a free list threaded through its
// free blocks; empty lists are refilled by carving a fresh slab. Slabs are never handed
// back to the system: the pools live for the whole process, and containers that are
// destroyed during static destruction can still return their blocks.
#include "basalt/small_block_allocator.h"

#include <array>
#include <cstdlib>
#include <mutex>
#include <new>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#define BASALT_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define BASALT_ASAN 1
#endif
#endif

#ifdef BASALT_ASAN
#include <sanitizer/asan_interface.h>
#define BASALT_POISON(p, n) ASAN_POISON_MEMORY_REGION(p, n)
#define BASALT_UNPOISON(p, n) ASAN_UNPOISON_MEMORY_REGION(p, n)
#else
#define BASALT_POISON(p, n) ((void)(p), (void)(n))
#define BASALT_UNPOISON(p, n) ((void)(p), (void)(n))
#endif

namespace basalt {
namespace utility {
namespace {

// 16-byte granularity keeps every block aligned for any fundamental type.
constexpr std::size_t kGranule = alignof(std::max_align_t) > 16 ? alignof(std::max_align_t) : 16;
constexpr std::size_t kClassCount = (kMaxSmallBlock + kGranule - 1) / kGranule;
constexpr std::size_t kSlabBytes = 64 * 1024;

struct FreeBlock {
  FreeBlock* next;
};

class SizeClassPool {
 public:
  void Init(std::size_t block_bytes) { block_bytes_ = block_bytes; }

  void* Allocate() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (free_ == nullptr && !Refill()) throw std::bad_alloc();
    FreeBlock* block = free_;
    BASALT_UNPOISON(block, sizeof(FreeBlock));
    free_ = block->next;
    BASALT_UNPOISON(block, block_bytes_);
    return block;
  }

  void Free(void* p) noexcept {
    std::lock_guard<std::mutex> lock(mutex_);
    auto* block = static_cast<FreeBlock*>(p);
    block->next = free_;
    free_ = block;
    BASALT_POISON(block, block_bytes_);
  }

 private:
  // Carves a new slab into blocks and chains them onto the free list.
  bool Refill() {
    void* slab = std::malloc(kSlabBytes);
    if (slab == nullptr) return false;
    try {
      slabs_.push_back(slab);
    } catch (const std::bad_alloc&) {
      std::free(slab);
      return false;
    }
    auto* bytes = static_cast<unsigned char*>(slab);
    const std::size_t count = kSlabBytes / block_bytes_;
    for (std::size_t i = count; i-- > 0;) {
      auto* block = reinterpret_cast<FreeBlock*>(bytes + i * block_bytes_);
      block->next = free_;
      free_ = block;
    }
    BASALT_POISON(slab, kSlabBytes);
    return true;
  }

  std::mutex mutex_;
  std::size_t block_bytes_ = 0;
  FreeBlock* free_ = nullptr;
  // Every slab this pool owns. Free blocks are poisoned under AddressSanitizer, and its leak
  // checker ignores pointers in poisoned memory, so the free list alone would not keep them.
  std::vector<void*> slabs_;
};

class Pools {
 public:
  Pools() {
    for (std::size_t i = 0; i < kClassCount; ++i) pools_[i].Init((i + 1) * kGranule);
  }
  SizeClassPool& ForSize(std::size_t bytes) { return pools_[(bytes - 1) / kGranule]; }

 private:
  std::array<SizeClassPool, kClassCount> pools_;
};

// Deliberately never destroyed (see the file comment).
Pools& ThePools() {
  static Pools* pools = new Pools();
  return *pools;
}

}  // namespace

void* SmallBlockAllocate(std::size_t bytes) {
  if (bytes == 0) bytes = 1;
  if (bytes > kMaxSmallBlock) return ::operator new(bytes);
  return ThePools().ForSize(bytes).Allocate();
}

void SmallBlockFree(void* block, std::size_t bytes) noexcept {
  if (block == nullptr) return;
  if (bytes == 0) bytes = 1;
  if (bytes > kMaxSmallBlock) {
    ::operator delete(block);
    return;
  }
  ThePools().ForSize(bytes).Free(block);
}

}  // namespace utility
}  // namespace basalt
