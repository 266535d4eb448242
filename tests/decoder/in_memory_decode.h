// What the library round-trip tests share: distinct noise per channel, a stream encoded in
// memory through the library's Encoder, and a stream decoded from memory through the library's
// Decoder with a read callback, as a host imports it.
#ifndef DD_TESTS_DECODER_IN_MEMORY_DECODE_H
#define DD_TESTS_DECODER_IN_MEMORY_DECODE_H

#include <cstddef>
#include <vector>

#include "dolbydigital/decoder.h"
#include "dolbydigital/parameters.h"

namespace dolbydigital {

// Band-limited noise, different in every channel, so that lag and channel identity are unique.
std::vector<std::vector<float>> ChannelNoise(std::size_t channels, std::size_t samples,
                                             unsigned seed, float deviation);

// The whole stream of `planes` (one per channel, all of one length) encoded with `params`,
// handed to Encode `chunk` samples at a time, then flushed. Fails the calling test on any error.
ByteVector EncodeInMemory(CodecMode mode, const ParameterMap& params,
                          const std::vector<std::vector<float>>& planes, std::size_t chunk);

struct InMemoryDecode {
  Decoder decoder;
  std::vector<std::vector<float>> planes;  // one per channel of the decoder's layout
};

// Initializes `out->decoder` on `stream`, then decodes up to `maxFrames` frames of every
// channel from the start. Fails the calling test when initialization fails.
void DecodeInMemory(const ByteVector& stream, std::size_t maxFrames, InMemoryDecode* out);

}  // namespace dolbydigital

#endif  // DD_TESTS_DECODER_IN_MEMORY_DECODE_H
