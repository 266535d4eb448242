// dolbydigital::Decoder against streams the ffmpeg CLI writes, decoded by the real engine
// module loaded through the host's module loader, compared with ffmpeg's own decoding.
#include "dolbydigital/decoder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "ddpi/ddpi_udc.h"
#include "decoder/decoder_test_support.h"
#include "dolbydigital/parameters.h"
#include "ffmpeg_streams.h"

namespace dolbydigital {
namespace {

using test::DecodeAll;
using test::DecodedStream;

// Position of a host channel label in ffmpeg's native channel order.
int FfmpegOrderKey(tidemark::AudioChannelLabel label) {
  switch (label) {
    case tidemark::kAudioChannelLabel_Left: return 0;
    case tidemark::kAudioChannelLabel_Right: return 1;
    case tidemark::kAudioChannelLabel_Center: return 2;
    case tidemark::kAudioChannelLabel_LFEScreen: return 3;
    case tidemark::kAudioChannelLabel_CenterSurround: return 8;
    case tidemark::kAudioChannelLabel_LeftSurround: return 9;
    case tidemark::kAudioChannelLabel_RightSurround: return 10;
    default: return 100;
  }
}

std::size_t FfmpegIndexOf(const ChannelLayout& layout, std::size_t position) {
  std::size_t index = 0;
  for (const auto& d : layout)
    if (FfmpegOrderKey(d.label) < FfmpegOrderKey(layout[position].label)) ++index;
  return index;
}

struct StreamCase {
  const char* codec;
  int channels;
  int sampleRate;
  int kbps;
  AudioChannelConfiguration configuration;
  bool lfe;
  ChannelLayout mapOrder = {};
};

using L = tidemark::AudioChannelLabel;
const ChannelLayout kMapOrder30 = {L(100), L(102), L(101)};
const ChannelLayout kMapOrder22 = {L(100), L(101), L(104), L(105)};
const ChannelLayout kMapOrder32 = {L(100), L(102), L(101), L(104), L(105)};

std::string Describe(const StreamCase& c) {
  return std::string(c.codec) + "_" + std::to_string(c.channels) + "ch_" +
         std::to_string(c.sampleRate) + "_" + std::to_string(c.kbps);
}

class FfmpegStreams : public ::testing::TestWithParam<StreamCase> {};

TEST_P(FfmpegStreams, DecodeToFfmpegsSamplesWithTheirLayoutAndRate) {
  const StreamCase& c = GetParam();
  const std::string path = ddtest::ScratchPath(Describe(c));
  const std::string args = std::string("-c:a ") + c.codec + " -b:a " + std::to_string(c.kbps) + "k";
  ASSERT_TRUE(ddtest::EncodeTones({c.channels, c.sampleRate, 0.5}, args, path));
  std::vector<float> reference;
  ASSERT_TRUE(ddtest::DecodeReference(path, c.channels, &reference));

  const DecodedStream decoded = DecodeAll(ddtest::ReadFile(path), 1000);
  ASSERT_TRUE(decoded.initialized) << decoded.initError;
  EXPECT_EQ(decoded.endError, DDPI_UDC_ERR_GENERIC);  // the reader's end
  EXPECT_EQ(decoded.sampleRate, c.sampleRate);
  // With LFE the configuration's own layout; without, the channels in stream-map order.
  ChannelLayout expected = GetAudioChannelLayout(c.configuration, c.lfe);
  if (!c.lfe && c.channels > 2) expected = c.mapOrder;
  EXPECT_EQ(decoded.layout, expected);
  ASSERT_EQ(decoded.planes.size(), static_cast<std::size_t>(c.channels));
  const std::size_t frames = reference.size() / c.channels;
  ASSERT_EQ(decoded.planes[0].size(), frames);
  for (std::size_t ch = 0; ch < decoded.planes.size(); ++ch) {
    const std::size_t source = FfmpegIndexOf(decoded.layout, ch);
    double worst = 0;
    for (std::size_t i = 0; i < frames; ++i)
      worst = std::max(worst, std::fabs(double(decoded.planes[ch][i]) - reference[i * c.channels + source]));
    EXPECT_LE(worst, 1e-6) << "channel " << ch;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Decoder, FfmpegStreams,
    ::testing::Values(StreamCase{"ac3", 1, 48000, 96, kAudioChannelConfiguration_Acmod_10, false},
                      StreamCase{"ac3", 2, 44100, 192, kAudioChannelConfiguration_Acmod_20, false},
                      StreamCase{"ac3", 6, 48000, 448, kAudioChannelConfiguration_Acmod_32, true},
                      StreamCase{"ac3", 5, 32000, 320, kAudioChannelConfiguration_Acmod_32, false, kMapOrder32},
                      StreamCase{"ac3", 3, 48000, 64, kAudioChannelConfiguration_Acmod_30, false, kMapOrder30},
                      StreamCase{"eac3", 2, 48000, 96, kAudioChannelConfiguration_Acmod_20, false},
                      StreamCase{"eac3", 6, 44100, 384, kAudioChannelConfiguration_Acmod_32, true},
                      StreamCase{"eac3", 4, 32000, 192, kAudioChannelConfiguration_Acmod_22, false, kMapOrder22}),
    [](const ::testing::TestParamInfo<StreamCase>& info) { return Describe(info.param); });

}  // namespace
}  // namespace dolbydigital
