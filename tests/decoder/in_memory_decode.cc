#include "in_memory_decode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include <boost/make_shared.hpp>

#include "dolbydigital/encoder.h"

namespace dolbydigital {

std::vector<std::vector<float>> ChannelNoise(std::size_t channels, std::size_t samples,
                                             unsigned seed, float deviation) {
  std::mt19937 random(seed);
  std::normal_distribution<float> normal(0.0f, deviation);
  std::vector<std::vector<float>> planes(channels, std::vector<float>(samples));
  for (auto& plane : planes) {
    float state = 0;
    for (float& s : plane) s = state = 0.7f * state + normal(random);
  }
  return planes;
}

ByteVector EncodeInMemory(CodecMode mode, const ParameterMap& params,
                          const std::vector<std::vector<float>>& planes, std::size_t chunk) {
  Encoder encoder;
  int error = 0;
  ByteVector stream, out;
  EXPECT_TRUE(encoder.InitializeEncode(mode, params, error)) << error;
  const std::size_t samples = planes.empty() ? 0 : planes[0].size();
  for (std::size_t at = 0; at < samples; at += chunk) {
    std::vector<const float*> pointers;
    for (const auto& p : planes) pointers.push_back(p.data() + at);
    EXPECT_TRUE(encoder.Encode(pointers.data(), planes.size(), std::min(chunk, samples - at), out,
                               error))
        << error;
    stream.insert(stream.end(), out.begin(), out.end());
  }
  EXPECT_TRUE(encoder.FinishEncode(out, error)) << error;
  stream.insert(stream.end(), out.begin(), out.end());
  return stream;
}

void DecodeInMemory(const ByteVector& stream, std::size_t maxFrames, InMemoryDecode* out) {
  auto position = boost::make_shared<std::size_t>(0);
  auto reader =
      boost::make_shared<ReadCallback>([&stream, position](std::uint8_t* b, std::size_t& size) {
        size = std::min(size, stream.size() - *position);
        std::copy_n(stream.begin() + *position, size, b);
        *position += size;
        return size > 0;
      });
  int error = 0;
  ASSERT_TRUE(out->decoder.InitializeForDecode(reader, error)) << error;
  *position = 0;  // the probe read ahead; decoding starts from the first byte again
  const std::size_t channels = out->decoder.GetAudioChannelLayout().size();
  out->planes.assign(channels, std::vector<float>(maxFrames));
  std::vector<float*> pointers;
  for (auto& p : out->planes) pointers.push_back(p.data());
  std::size_t frames = maxFrames;
  out->decoder.Decode(pointers.data(), channels, frames, error);
  for (auto& p : out->planes) p.resize(frames);
}

}  // namespace dolbydigital
