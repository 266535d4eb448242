#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "decode_session.h"
#include "fuzz_harnesses.h"

namespace ddfuzz {

void DecodeInRandomChunks(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return;
  const std::size_t count = std::min<std::size_t>((data[0] & 15) + 1, size - 1);
  if (count == 0) return;
  const std::vector<std::size_t> chunks(data + 1, data + 1 + count);
  DecodeInChunks(data + 1 + count, size - 1 - count, chunks);
}

}  // namespace ddfuzz
