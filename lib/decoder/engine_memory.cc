#include "decoder/engine_memory.h"

#include <cstdint>

#include "basalt/memory_recycler.h"

namespace dolbydigital {

boost::shared_ptr<void> AllocateEngineBlock(std::size_t bytes, void** aligned) {
  *aligned = nullptr;
  void* block = basalt::utility::MemoryRecycler::Allocate(bytes + 31);
  if (!block) return boost::shared_ptr<void>();
  const std::uintptr_t start = (reinterpret_cast<std::uintptr_t>(block) + 31) & ~std::uintptr_t{31};
  *aligned = reinterpret_cast<void*>(start);
  return boost::shared_ptr<void>(block, &basalt::utility::MemoryRecycler::Recycle);
}

}  // namespace dolbydigital
