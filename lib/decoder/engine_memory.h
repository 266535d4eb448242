// Working memory for the decoder engine from the host's recycler: each block is requested
// 31 bytes larger than needed so its usable start can be rounded up to 32 bytes, and goes
// back to the recycler when the last owner lets go.
#ifndef DOLBYDIGITAL_DECODER_ENGINE_MEMORY_H
#define DOLBYDIGITAL_DECODER_ENGINE_MEMORY_H

#include <cstddef>

#include <boost/shared_ptr.hpp>

namespace dolbydigital {

// The owning handle of the block, or null when memory is exhausted; `aligned` receives the
// usable 32-byte-aligned start.
boost::shared_ptr<void> AllocateEngineBlock(std::size_t bytes, void** aligned);

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_DECODER_ENGINE_MEMORY_H
