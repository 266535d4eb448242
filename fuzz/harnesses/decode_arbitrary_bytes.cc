#include <cstddef>
#include <cstdint>
#include <vector>

#include "decode_session.h"
#include "fuzz_harnesses.h"

namespace ddfuzz {

void DecodeArbitraryBytes(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return;
  DecodeInChunks(data + 1, size - 1, {std::size_t{data[0]} + 1});
}

}  // namespace ddfuzz
