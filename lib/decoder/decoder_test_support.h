// Read callbacks over bytes in memory for the decoder's tests, and the library's decoding
// of a whole stream.
#ifndef DOLBYDIGITAL_DECODER_DECODER_TEST_SUPPORT_H
#define DOLBYDIGITAL_DECODER_DECODER_TEST_SUPPORT_H

#include <algorithm>
#include <cstdint>
#include <vector>

#include <boost/make_shared.hpp>

#include "dolbydigital/decoder.h"

namespace dolbydigital::test {

// Hands out `bytes` in reads of at most `chunk` bytes; Rewind starts over, like a host's
// importer going back to the start of the file.
struct MemoryReader {
  std::vector<std::uint8_t> bytes;
  std::size_t position = 0;
  std::size_t chunk = 1 << 30;

  bool Read(std::uint8_t* buffer, std::size_t& size) {
    const std::size_t count = std::min({size, chunk, bytes.size() - position});
    std::copy_n(bytes.begin() + position, count, buffer);
    position += count;
    size = count;
    return count > 0;
  }
  void Rewind() { position = 0; }
};

inline ReadCallbackPtr CallbackFor(const boost::shared_ptr<MemoryReader>& reader) {
  return boost::make_shared<ReadCallback>(
      [reader](std::uint8_t* buffer, std::size_t& size) { return reader->Read(buffer, size); });
}

struct DecodedStream {
  bool initialized = false;
  int initError = 0;
  int endError = 0;
  std::int32_t sampleRate = 0;
  ChannelLayout layout;
  std::vector<std::vector<float>> planes;
};

// Initializes, rewinds, and decodes to the end in blocks of `block` samples.
inline DecodedStream DecodeAll(const std::vector<std::uint8_t>& bytes, std::size_t block = 4096) {
  auto reader = boost::make_shared<MemoryReader>();
  reader->bytes = bytes;
  DecodedStream out;
  Decoder decoder;
  out.initialized = decoder.InitializeForDecode(CallbackFor(reader), out.initError);
  if (!out.initialized) return out;
  reader->Rewind();
  out.sampleRate = decoder.GetSampleRate();
  out.layout = decoder.GetAudioChannelLayout();
  const std::size_t channels = out.layout.size();
  out.planes.resize(channels);
  std::vector<std::vector<float>> blocks(channels, std::vector<float>(block));
  std::vector<float*> pointers(channels);
  for (std::size_t c = 0; c < channels; ++c) pointers[c] = blocks[c].data();
  for (;;) {
    std::size_t frames = block;
    int error = 0;
    const bool ok = decoder.Decode(pointers.data(), channels, frames, error);
    for (std::size_t c = 0; c < channels; ++c)
      out.planes[c].insert(out.planes[c].end(), blocks[c].begin(), blocks[c].begin() + frames);
    if (!ok) {
      out.endError = error;
      return out;
    }
  }
}

}  // namespace dolbydigital::test

#endif  // DOLBYDIGITAL_DECODER_DECODER_TEST_SUPPORT_H
