// Our encoder's streams through our decoder: every channel comes back in its place with no
// lag, and the decoder reports the metadata that was encoded.
#include <gtest/gtest.h>

#include <algorithm>

#include "dd_test_support.h"
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

void DecodeStream(const ByteVector& stream, InMemoryDecode* out) {
  DecodeInMemory(stream, kSamples + 4096, out);
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
    const ByteVector stream = EncodeInMemory(t.mode, params, input, 4000);
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
      EXPECT_EQ(ddtest::BestLag(input[c], decoded.planes[at], 1600), 0) << "channel " << c;
      EXPECT_GT(ddtest::NormalizedCorrelation(input[c], decoded.planes[at]), 0.9) << "channel " << c;
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
