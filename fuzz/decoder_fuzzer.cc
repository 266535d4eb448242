// libFuzzer target: arbitrary bytes through Decoder::InitializeForDecode and Decode, read in
// chunks whose sizes the input itself chooses, so the first-frame check, the engine's
// framing and libavcodec all see hostile data. Inputs it failed on live in regressions/.
#include <cstddef>
#include <cstdint>

#include "decode_arbitrary_bytes.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ddfuzz::DecodeArbitraryBytes(data, size);
  return 0;
}
