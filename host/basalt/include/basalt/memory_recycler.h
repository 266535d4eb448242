// Large working-memory blocks (codec engine instances, buffers) that are given back are kept
// by size and handed out again, so that repeated sessions do not go back to the system heap.
#ifndef BASALT_MEMORY_RECYCLER_H
#define BASALT_MEMORY_RECYCLER_H

#include <cstddef>

namespace basalt {
namespace utility {

class MemoryRecycler {
 public:
  // A block of at least `bytes` bytes, 32-byte aligned, or null when memory is exhausted.
  static void* Allocate(std::size_t bytes);
  // Gives back a block obtained from Allocate; null is ignored.
  static void Recycle(void* block);

  // Introspection for tests and diagnostics.
  static std::size_t CachedBlockCount();
  static std::size_t CachedBytes();
  static void ReleaseCache();  // frees every cached block
};

}  // namespace utility
}  // namespace basalt

#endif  // BASALT_MEMORY_RECYCLER_H
