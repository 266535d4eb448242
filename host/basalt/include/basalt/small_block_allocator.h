// The host's small-block allocator: every container of the library allocates through it.
// Requests up to kMaxSmallBlock bytes are served from per-size free lists carved out of
// larger slabs; bigger requests go straight to the system heap.
#ifndef BASALT_SMALL_BLOCK_ALLOCATOR_H
#define BASALT_SMALL_BLOCK_ALLOCATOR_H

#include <cstddef>
#include <new>

namespace basalt {
namespace utility {

constexpr std::size_t kMaxSmallBlock = 256;

// Untyped entry points behind SmallBlockAllocator. Thread-safe.
void* SmallBlockAllocate(std::size_t bytes);
void SmallBlockFree(void* block, std::size_t bytes) noexcept;

template <class T>
class SmallBlockAllocator {
 public:
  using value_type = T;

  SmallBlockAllocator() noexcept = default;
  template <class U>
  SmallBlockAllocator(const SmallBlockAllocator<U>&) noexcept {}

  T* allocate(std::size_t n) {
    if (n > static_cast<std::size_t>(-1) / sizeof(T)) throw std::bad_array_new_length();
    return static_cast<T*>(SmallBlockAllocate(n * sizeof(T)));
  }
  void deallocate(T* p, std::size_t n) noexcept { SmallBlockFree(p, n * sizeof(T)); }

  template <class U>
  bool operator==(const SmallBlockAllocator<U>&) const noexcept { return true; }
  template <class U>
  bool operator!=(const SmallBlockAllocator<U>&) const noexcept { return false; }
};

}  // namespace utility
}  // namespace basalt

#endif  // BASALT_SMALL_BLOCK_ALLOCATOR_H
