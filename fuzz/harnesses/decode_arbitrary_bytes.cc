#include "decode_arbitrary_bytes.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <boost/make_shared.hpp>

#include "dolbydigital/decoder.h"

namespace ddfuzz {
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

void DecodeArbitraryBytes(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return;
  // The first byte picks the read size: 1..256 bytes.
  auto reader = boost::make_shared<FuzzReader>(FuzzReader{data + 1, size - 1, 0, std::size_t{data[0]} + 1});
  auto callback = boost::make_shared<dolbydigital::ReadCallback>(
      [reader](std::uint8_t* buffer, std::size_t& capacity) { return reader->Read(buffer, capacity); });
  dolbydigital::Decoder decoder;
  int error = 0;
  if (!decoder.InitializeForDecode(callback, error)) return;
  reader->position = 0;  // like a host, start over after the probe
  const std::size_t channels = decoder.GetAudioChannelLayout().size();
  if (channels == 0) return;
  std::vector<std::vector<float>> planes(channels, std::vector<float>(700));
  std::vector<float*> pointers;
  for (auto& plane : planes) pointers.push_back(plane.data());
  for (int calls = 0; calls < 100000; ++calls) {
    std::size_t frames = 700;
    if (!decoder.Decode(pointers.data(), channels, frames, error)) break;
  }
  dolbydigital::ParameterMap params;
  decoder.GetParameters(params);
  return;
}

}  // namespace ddfuzz
