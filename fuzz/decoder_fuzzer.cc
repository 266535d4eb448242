// libFuzzer target: arbitrary bytes through Decoder::InitializeForDecode and Decode, read in
// chunks whose sizes the input itself chooses, so the first-frame check, the engine's
// framing and libavcodec all see hostile data.
#include <cstddef>
#include <cstdint>
#include <vector>

#include <boost/make_shared.hpp>

#include "dolbydigital/decoder.h"

namespace {

struct FuzzReader {
  const std::uint8_t* data;
  std::size_t size;
  std::size_t position = 0;
  std::size_t chunk;

  bool Read(std::uint8_t* buffer, std::size_t& capacity) {
    const std::size_t count = std::min({capacity, chunk, size - position});
    std::copy_n(data + position, count, buffer);
    position += count;
    capacity = count;
    return count > 0;
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  // The first byte picks the read size: 1..256 bytes.
  auto reader = boost::make_shared<FuzzReader>(FuzzReader{data + 1, size - 1, 0, std::size_t{data[0]} + 1});
  auto callback = boost::make_shared<dolbydigital::ReadCallback>(
      [reader](std::uint8_t* buffer, std::size_t& capacity) { return reader->Read(buffer, capacity); });
  dolbydigital::Decoder decoder;
  int error = 0;
  if (!decoder.InitializeForDecode(callback, error)) return 0;
  reader->position = 0;  // like a host, start over after the probe
  const std::size_t channels = decoder.GetAudioChannelLayout().size();
  if (channels == 0) return 0;
  std::vector<std::vector<float>> planes(channels, std::vector<float>(700));
  std::vector<float*> pointers;
  for (auto& plane : planes) pointers.push_back(plane.data());
  for (int calls = 0; calls < 100000; ++calls) {
    std::size_t frames = 700;
    if (!decoder.Decode(pointers.data(), channels, frames, error)) break;
  }
  dolbydigital::ParameterMap params;
  decoder.GetParameters(params);
  return 0;
}
