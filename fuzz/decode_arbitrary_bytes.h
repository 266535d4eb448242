// Feeds arbitrary bytes through Decoder::InitializeForDecode and Decode the way a host does:
// the first byte picks the read size (1..256 bytes), the rest is the stream. Shared by the
// libFuzzer target and the regression test that replays the inputs it once failed on.
#ifndef DD_FUZZ_DECODE_ARBITRARY_BYTES_H
#define DD_FUZZ_DECODE_ARBITRARY_BYTES_H

#include <cstddef>
#include <cstdint>

namespace ddfuzz {

void DecodeArbitraryBytes(const std::uint8_t* data, std::size_t size);

}  // namespace ddfuzz

#endif  // DD_FUZZ_DECODE_ARBITRARY_BYTES_H
