// The libFuzzer entry point of one target: the build compiles this file once per harness,
// naming the harness in DD_FUZZ_HARNESS.
#include <cstddef>
#include <cstdint>

#include "fuzz_harnesses.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  DD_FUZZ_HARNESS(data, size);
  return 0;
}
