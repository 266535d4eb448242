// Our encoder's streams through our decoder: every channel comes back in its place with no
// lag, and the decoder reports the metadata that was encoded.
#include <gtest/gtest.h>

#include <cmath>

#include "dolbydigital/decoder.h"
#include "dolbydigital/encoder.h"
#include "dolbydigital/parameters.h"
#include "in_memory_decode.h"

namespace dolbydigital {
namespace {

constexpr std::size_t kSamples = 48000;

std::vector<std::vector<float>> Noise(std::size_t channels) {
  return ChannelNoise(channels, kSamples, 7, 0.1f);
}

ByteVector EncodeStream(CodecMode mode, const ParameterMap& params,
                        const std::vector<std::vector<float>>& planes) {
  Encoder encoder;
  int error = 0;
  ByteVector stream, out;
  EXPECT_TRUE(encoder.InitializeEncode(mode, params, error)) << error;
  std::vector<const float*> pointers;
  for (const auto& p : planes) pointers.push_back(p.data());
  for (std::size_t at = 0; at < kSamples; at += 4000) {
    std::vector<const float*> block;
    for (const float* p : pointers) block.push_back(p + at);
    EXPECT_TRUE(encoder.Encode(block.data(), planes.size(), std::min<std::size_t>(4000, kSamples - at), out, error));
    stream.insert(stream.end(), out.begin(), out.end());
  }
  EXPECT_TRUE(encoder.FinishEncode(out, error));
  stream.insert(stream.end(), out.begin(), out.end());
  return stream;
}

void DecodeStream(const ByteVector& stream, InMemoryDecode* out) {
  DecodeInMemory(stream, kSamples + 4096, out);
}

// The lag (in samples) at which `decoded` best matches `input`, and the match.
std::pair<int, double> BestLag(const std::vector<float>& input, const std::vector<float>& decoded) {
  std::pair<int, double> best{0, -1};
  for (int lag = -1600; lag <= 1600; ++lag) {
    double dot = 0, energy = 0, other = 0;
    for (std::size_t i = 4000; i < 40000; i += 2) {
      const float d = decoded[i + lag];
      dot += input[i] * d;
      energy += input[i] * input[i];
      other += d * d;
    }
    const double match = dot / std::sqrt(energy * other + 1e-30);
    if (match > best.second) best = {lag, match};
  }
  return best;
}

struct RoundTrip {
  CodecMode mode;
  AudioChannelConfiguration configuration;
  bool lfe;
  int kbps;
};

TEST(RoundTrip, OurStreamsComeBackAlignedWithTheirMetadata) {
  for (const RoundTrip& t : {RoundTrip{kCodecMode_DolbyDigital, kAudioChannelConfiguration_Acmod_32, true, 448},
                             RoundTrip{kCodecMode_DolbyDigitalPlus, kAudioChannelConfiguration_Acmod_20, false, 192},
                             RoundTrip{kCodecMode_DolbyDigital, kAudioChannelConfiguration_Acmod_10, false, 96}}) {
    SCOPED_TRACE(std::to_string(t.mode) + "/" + std::to_string(t.configuration));
    ParameterMap params;
    GetDefaults(t.mode, params);
    params[kParameterID_ChannelConfiguration] = t.configuration;
    params[kParameterID_EnableLFE] = t.lfe;
    params[kParameterID_DataRate] = t.kbps;
    params[kParameterID_DialNorm] = -24;
    params[kParameterID_BitstreamMode] = 0;
    params[kParameterID_CopyrightBit] = 1;
    params[kParameterID_DynamicRangeControlLineMode] = 0;
    params[kParameterID_DynamicRangeControlRFMode] = 0;
    const ChannelLayout layout = GetAudioChannelLayout(t.configuration, t.lfe);
    const auto input = Noise(layout.size());
    const ByteVector stream = EncodeStream(t.mode, params, input);
    ASSERT_FALSE(stream.empty());

    InMemoryDecode decoded;
    DecodeStream(stream, &decoded);
    ASSERT_EQ(decoded.planes.size(), layout.size());
    EXPECT_GE(decoded.planes[0].size(), kSamples - 1536);
    const ChannelLayout got = decoded.decoder.GetAudioChannelLayout();
    for (std::size_t c = 0; c < layout.size(); ++c) {
      if (layout[c].label == tidemark::kAudioChannelLabel_LFEScreen) continue;  // band-limited
      const auto at = std::find(got.begin(), got.end(), layout[c]) - got.begin();
      ASSERT_LT(static_cast<std::size_t>(at), got.size());
      const auto [lag, match] = BestLag(input[c], decoded.planes[at]);
      EXPECT_EQ(lag, 0) << "channel " << c;
      EXPECT_GT(match, 0.9) << "channel " << c;
    }
    ParameterMap reported;
    ASSERT_TRUE(decoded.decoder.GetParameters(reported));
    for (ParameterID id : {kParameterID_CodecMode, kParameterID_ChannelConfiguration, kParameterID_EnableLFE,
                           kParameterID_DataRate, kParameterID_DialNorm, kParameterID_BitstreamMode,
                           kParameterID_CopyrightBit})
      EXPECT_EQ(reported[id], params[id]) << id;
  }
}

}  // namespace
}  // namespace dolbydigital
