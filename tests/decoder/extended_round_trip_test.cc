// 6.1 and 7.1 through the library: the Encoder routes 7 or 8 host channels to their slots by
// label, the Decoder reports the layout the stream's channel map gives, with configuration 19,
// 21 or 24 in GetParameters, and its samples are FFmpeg's (within 1e-5) with every channel in
// its place at lag 0.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "dd_test_support.h"
#include "dolbydigital/decoder.h"
#include "dolbydigital/encoder.h"
#include "dolbydigital/parameters.h"
#include "in_memory_decode.h"

namespace dolbydigital {
namespace {

constexpr std::size_t kSamples = 48000;

std::vector<std::vector<float>> Noise(std::size_t channels) {
  return ChannelNoise(channels, kSamples, 11, 0.08f);
}

void DecodeStream(const ByteVector& stream, InMemoryDecode* out) {
  DecodeInMemory(stream, kSamples + 8192, out);
}

struct Case {
  AudioChannelConfiguration configuration;
  bool lfe;
  int kbps;
  // FFmpeg's decoded channel order as host labels.
  std::vector<tidemark::AudioChannelLabel> ffmpeg_order;
};

using L = tidemark::AudioChannelLabel;
constexpr L kL = tidemark::kAudioChannelLabel_Left, kR = tidemark::kAudioChannelLabel_Right,
            kC = tidemark::kAudioChannelLabel_Center, kLfe = tidemark::kAudioChannelLabel_LFEScreen,
            kLs = tidemark::kAudioChannelLabel_LeftSurround,
            kRs = tidemark::kAudioChannelLabel_RightSurround,
            kCs = tidemark::kAudioChannelLabel_CenterSurround,
            kLrs = tidemark::kAudioChannelLabel_RearSurroundLeft,
            kRrs = tidemark::kAudioChannelLabel_RearSurroundRight,
            kVhl = tidemark::kAudioChannelLabel_VerticalHeightLeft,
            kVhr = tidemark::kAudioChannelLabel_VerticalHeightRight;

constexpr double kWaveformHz = 8000;

TEST(ExtendedRoundTrip, SevenAndEightChannelsComeBackInPlaceAsFfmpegDecodesThem) {
  const Case cases[] = {
      {static_cast<AudioChannelConfiguration>(21), true, 640, {kL, kR, kC, kLfe, kLrs, kRrs, kLs, kRs}},
      {static_cast<AudioChannelConfiguration>(24), true, 640, {kL, kR, kC, kLfe, kCs, kLs, kRs}},
      {static_cast<AudioChannelConfiguration>(19), false, 448, {kL, kR, kC, kLs, kRs, kVhl, kVhr}},
  };
  for (const Case& t : cases) {
    SCOPED_TRACE("configuration " + std::to_string(t.configuration));
    ParameterMap params;
    GetDefaults(kCodecMode_DolbyDigitalPlus, params);
    params[kParameterID_ChannelConfiguration] = t.configuration;
    params[kParameterID_EnableLFE] = t.lfe;
    params[kParameterID_DataRate] = t.kbps;
    params[kParameterID_DynamicRangeControlLineMode] = 0;
    params[kParameterID_DynamicRangeControlRFMode] = 0;
    const ChannelLayout layout = GetAudioChannelLayout(t.configuration, t.lfe);
    ASSERT_EQ(layout.size(), t.ffmpeg_order.size());
    const auto input = Noise(layout.size());
    const ByteVector stream = EncodeInMemory(kCodecMode_DolbyDigitalPlus, params, input, kSamples);
    ASSERT_FALSE(stream.empty());

    InMemoryDecode ours;
    DecodeStream(stream, &ours);
    const ChannelLayout got = ours.decoder.GetAudioChannelLayout();
    ASSERT_EQ(got.size(), layout.size());
    EXPECT_TRUE(tidemark::ContainsSameChannelsIgnoreOrder(got, layout));
    ParameterMap reported;
    ASSERT_TRUE(ours.decoder.GetParameters(reported));
    EXPECT_EQ(reported[kParameterID_ChannelConfiguration], t.configuration);
    EXPECT_EQ(reported[kParameterID_EnableLFE], t.lfe ? 1 : 0);
    EXPECT_EQ(reported[kParameterID_DataRate], t.kbps);
    EXPECT_EQ(reported[kParameterID_CodecMode], kCodecMode_DolbyDigitalPlus);

    const ddtest::DecodeResult theirs =
        ddtest::DecodeBytes(std::vector<std::uint8_t>(stream.begin(), stream.end()), "ec3");
    ASSERT_TRUE(theirs.Clean()) << theirs.stderr_text;
    ASSERT_EQ(theirs.channels, static_cast<int>(layout.size()));
    for (std::size_t f = 0; f < t.ffmpeg_order.size(); ++f) {
      const auto at = std::find_if(got.begin(), got.end(), [&](const tidemark::AudioChannelDescription& d) {
                        return d.GetLabel() == t.ffmpeg_order[f];
                      }) - got.begin();
      ASSERT_LT(static_cast<std::size_t>(at), got.size()) << "label " << t.ffmpeg_order[f];
      const std::vector<float>& mine = ours.planes[at];
      const std::vector<float>& reference = theirs.audio.channels[f];
      ASSERT_EQ(mine.size(), reference.size()) << "label " << t.ffmpeg_order[f];
      double worst = 0;
      for (std::size_t i = 0; i < mine.size(); ++i)
        worst = std::max(worst, std::fabs(double(mine[i]) - reference[i]));
      EXPECT_LE(worst, 1e-5) << "label " << t.ffmpeg_order[f];

      // Lag 0 and the right source: the library compensates the engine's delay.
      const auto source = std::find_if(layout.begin(), layout.end(), [&](const tidemark::AudioChannelDescription& d) {
                            return d.GetLabel() == t.ffmpeg_order[f];
                          }) - layout.begin();
      if (t.ffmpeg_order[f] == kLfe) continue;  // band-limited by design
      // At these rates the encoder may rebuild a channel's upper band instead of coding its
      // waveform (spectral extension): lag and identity are judged below kWaveformHz.
      const std::vector<float> decoded = ddtest::LowPass(mine, kWaveformHz);
      EXPECT_EQ(ddtest::BestLag(ddtest::LowPass(input[source], kWaveformHz), decoded, 256), 0)
          << "label " << t.ffmpeg_order[f];
      const double own = ddtest::NormalizedCorrelation(ddtest::LowPass(input[source], kWaveformHz), decoded);
      EXPECT_GT(own, 0.8) << "label " << t.ffmpeg_order[f];
      for (std::size_t other = 0; other < input.size(); ++other) {
        if (static_cast<long>(other) == source) continue;
        EXPECT_LT(ddtest::NormalizedCorrelation(input[other], mine), own / 2)
            << "label " << t.ffmpeg_order[f];
      }
    }
  }
}

// Dolby Digital cannot carry 7.1: the engine falls back to its default coding mode (3/2) and
// the stream that comes out is a 5.1 AC-3 stream of the first six channels, which decoders
// accept; VerifyAndCorrectParameter never lets a host ask for this.
TEST(ExtendedRoundTrip, SevenOneAskedOfDolbyDigitalFallsBackToFiveOne) {
  ParameterMap params;
  GetDefaults(kCodecMode_DolbyDigital, params);
  params[kParameterID_ChannelConfiguration] = 21;
  params[kParameterID_DataRate] = 640;
  const auto input = Noise(8);
  const ByteVector stream = EncodeInMemory(kCodecMode_DolbyDigital, params, input, kSamples);
  ASSERT_FALSE(stream.empty());
  const ddtest::DecodeResult theirs =
      ddtest::DecodeBytes(std::vector<std::uint8_t>(stream.begin(), stream.end()), "ac3");
  ASSERT_TRUE(theirs.Clean()) << theirs.stderr_text;
  EXPECT_EQ(theirs.channels, 6);
  EXPECT_FALSE(IsValidChannelConfig(kCodecMode_DolbyDigital, static_cast<AudioChannelConfiguration>(21)));
}

}  // namespace
}  // namespace dolbydigital
