// What the decoder harnesses share: a stream handed out by a read callback in chunks of
// given sizes, decoded the way a host does it (initialise, start the stream over, decode to
// the end), with the promises a host relies on checked on the way.
#ifndef DD_FUZZ_HARNESSES_DECODE_SESSION_H
#define DD_FUZZ_HARNESSES_DECODE_SESSION_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ddfuzz {

// `stream` read in chunks of chunkSizes[0], chunkSizes[1], ... in turn (a 0 hands out
// nothing and reports more to come, which the decoder must simply ask again for).
void DecodeInChunks(const std::uint8_t* stream, std::size_t size,
                    const std::vector<std::size_t>& chunkSizes);

}  // namespace ddfuzz

#endif  // DD_FUZZ_HARNESSES_DECODE_SESSION_H
