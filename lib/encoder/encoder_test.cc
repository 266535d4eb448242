// The encoder session against the real engine module, reached through the module loader as
// the library always reaches it; every stream is checked by FFmpeg with CRC checking on.
#include "dolbydigital/encoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include "basalt/memory_recycler.h"
#include "dd_test_support.h"
#include "dolbydigital/parameters.h"
#include "moduledepot/codec_module_loader.h"

namespace dolbydigital {
namespace {

constexpr std::size_t kFrame = 1536;

ParameterMap Settings(CodecMode mode, AudioChannelConfiguration configuration, bool lfe) {
  ParameterMap params;
  GetDefaults(mode, params);
  params[kParameterID_ChannelConfiguration] = configuration;
  params[kParameterID_EnableLFE] = lfe ? 1 : 0;
  return params;
}

ddtest::Planar StereoProgramme(std::size_t frames) {
  return ddtest::LoadAlsaSpeech({"Front_Left", "Front_Right"}, frames);
}

// Encodes `audio` handing it over in pieces of `piece` samples; returns the whole stream.
std::vector<std::uint8_t> EncodeInPieces(Encoder& encoder, const ddtest::Planar& audio,
                                         std::size_t piece) {
  std::vector<std::uint8_t> stream;
  ByteVector out;
  int error = -1;
  for (std::size_t at = 0; at < audio.frames(); at += piece) {
    std::vector<const float*> planes;
    for (const auto& c : audio.channels) planes.push_back(c.data() + at);
    const std::size_t n = std::min(piece, audio.frames() - at);
    EXPECT_TRUE(encoder.Encode(planes.data(), planes.size(), n, out, error)) << error;
    stream.insert(stream.end(), out.begin(), out.end());
  }
  EXPECT_TRUE(encoder.FinishEncode(out, error)) << error;
  stream.insert(stream.end(), out.begin(), out.end());
  return stream;
}

std::vector<std::uint8_t> Encode(const ParameterMap& params, const ddtest::Planar& audio,
                                 std::size_t piece) {
  Encoder encoder;
  int error = -1;
  EXPECT_TRUE(encoder.InitializeEncode(static_cast<CodecMode>(params.at(kParameterID_CodecMode)),
                                       params, error))
      << basalt::ToStdString(Encoder::GetErrorDescription(error));
  return EncodeInPieces(encoder, audio, piece);
}

class EncoderSession : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(ModuleDepot::CodecModuleLoader::IsLoaded())
        << ModuleDepot::CodecModuleLoader::GetLastError();
  }
};

TEST_F(EncoderSession, RefusesWhatItCannotEncode) {
  Encoder encoder;
  int error = -1;
  ParameterMap params =
      Settings(kCodecMode_DolbyDigital, kAudioChannelConfiguration_Acmod_20, false);
  ByteVector out{1, 2, 3};
  const float* planes[2] = {nullptr, nullptr};
  EXPECT_FALSE(encoder.Encode(planes, 2, 10, out, error));
  EXPECT_EQ(error, 1);
  EXPECT_TRUE(out.empty());

  params.erase(kParameterID_ChannelConfiguration);
  EXPECT_FALSE(encoder.InitializeEncode(kCodecMode_DolbyDigital, params, error));
  EXPECT_EQ(error, 3);

  params[kParameterID_ChannelConfiguration] = kAudioChannelConfiguration_Acmod_20;
  EXPECT_FALSE(encoder.InitializeEncode(static_cast<CodecMode>(4), params, error));
  EXPECT_EQ(error, 24);
  EXPECT_FALSE(encoder.InitializeEncode(static_cast<CodecMode>(-1), params, error));
  EXPECT_EQ(error, 24);

  ASSERT_TRUE(encoder.InitializeEncode(kCodecMode_DolbyDigital, params, error)) << error;
  EXPECT_FALSE(encoder.Encode(nullptr, 2, 10, out, error));
  EXPECT_EQ(error, 3);
  EXPECT_FALSE(encoder.Encode(planes, 0, 10, out, error));
  EXPECT_EQ(error, 3);
}

TEST_F(EncoderSession, AMapWithoutEnableLFEEncodesWithLFE) {
  ParameterMap params =
      Settings(kCodecMode_DolbyDigitalPlus, kAudioChannelConfiguration_Acmod_32, true);
  params.erase(kParameterID_EnableLFE);
  const ddtest::Planar audio = ddtest::SpeechForLayout(7, true, 20 * kFrame);
  ASSERT_EQ(audio.channels.size(), 6u);
  const ddtest::DecodeResult decoded = ddtest::DecodeBytes(Encode(params, audio, kFrame), "ec3");
  ASSERT_TRUE(decoded.Clean()) << decoded.stderr_text;
  ASSERT_EQ(decoded.channels, 6);
  // Without the LFE in the session's layout the planes would shift by one from the LFE on.
  for (int c : {0, 1, 2, 4, 5})
    EXPECT_GT(ddtest::NormalizedCorrelation(audio.channels[c], decoded.audio.channels[c]), 0.8)
        << c;
}

// The engine module loads libavcodec only for its decoder: an encode must not pay for loading
// it (or need it installed). This binary opens no decoder, so nothing else could have loaded it.
TEST_F(EncoderSession, EncodingLeavesTheDecodersLibrariesUnloaded) {
  const ddtest::Planar audio = StereoProgramme(4 * kFrame);
  ASSERT_FALSE(
      Encode(Settings(kCodecMode_DolbyDigitalPlus, kAudioChannelConfiguration_Acmod_20, false),
             audio, kFrame)
          .empty());
  std::ifstream maps("/proc/self/maps");
  ASSERT_TRUE(maps.is_open());
  std::string line;
  while (std::getline(maps, line)) EXPECT_EQ(line.find("libavcodec"), std::string::npos) << line;
}

TEST_F(EncoderSession, LessThanAFrameGivesNoBytesYet) {
  Encoder encoder;
  int error = -1;
  ASSERT_TRUE(encoder.InitializeEncode(
      kCodecMode_DolbyDigital,
      Settings(kCodecMode_DolbyDigital, kAudioChannelConfiguration_Acmod_20, false), error));
  const std::vector<float> samples(100, 0.25f);
  const float* planes[2] = {samples.data(), samples.data()};
  ByteVector out;
  EXPECT_TRUE(encoder.Encode(planes, 2, samples.size(), out, error));
  EXPECT_EQ(error, 0);
  EXPECT_TRUE(out.empty());
}

TEST_F(EncoderSession, StreamIsAlignedWithTheInputWhateverThePieces) {
  const std::size_t frames = 20 * kFrame + 700;
  const ddtest::Planar audio = StereoProgramme(frames);
  const ParameterMap params =
      Settings(kCodecMode_DolbyDigital, kAudioChannelConfiguration_Acmod_20, false);
  const std::vector<std::uint8_t> whole = Encode(params, audio, frames);
  EXPECT_EQ(Encode(params, audio, 1000), whole);
  EXPECT_EQ(Encode(params, audio, 1), std::vector<std::uint8_t>(whole));

  const ddtest::DecodeResult decoded = ddtest::DecodeBytes(whole, "ac3", {"-drc_scale", "0"});
  ASSERT_TRUE(decoded.Clean()) << decoded.stderr_text;
  ASSERT_EQ(decoded.channels, 2);
  EXPECT_GE(decoded.audio.frames(), frames);
  EXPECT_LT(decoded.audio.frames(), frames + 2 * kFrame);
  for (int c = 0; c < 2; ++c) {
    EXPECT_EQ(ddtest::BestLag(audio.channels[c], decoded.audio.channels[c], 3000), 0) << c;
    EXPECT_GT(ddtest::SnrDb(audio.channels[c], decoded.audio.channels[c], 0, 0, frames), 10.0) << c;
  }
}

TEST_F(EncoderSession, InputEndingOnAFrameBoundaryOnlyAddsTheTail) {
  const std::size_t frames = 12 * kFrame;
  const ddtest::Planar audio = StereoProgramme(frames);
  const std::vector<std::uint8_t> stream =
      Encode(Settings(kCodecMode_DolbyDigitalPlus, kAudioChannelConfiguration_Acmod_20, false),
             audio, kFrame);
  const ddtest::DecodeResult decoded = ddtest::DecodeBytes(stream, "ec3");
  ASSERT_TRUE(decoded.Clean()) << decoded.stderr_text;
  EXPECT_GE(decoded.audio.frames(), frames);
  EXPECT_LT(decoded.audio.frames(), frames + 2 * kFrame);
  EXPECT_EQ(ddtest::BestLag(audio.channels[0], decoded.audio.channels[0], 3000), 0);
}

TEST_F(EncoderSession, CopiesAreHandlesOnOneStream) {
  const std::size_t frames = 8 * kFrame + 300;
  const ddtest::Planar audio = StereoProgramme(frames);
  const ParameterMap params =
      Settings(kCodecMode_DolbyDigital, kAudioChannelConfiguration_Acmod_20, false);
  const std::vector<std::uint8_t> reference = Encode(params, audio, 2000);

  Encoder original;
  int error = -1;
  ASSERT_TRUE(original.InitializeEncode(kCodecMode_DolbyDigital, params, error));
  std::vector<std::uint8_t> stream;
  ByteVector out;
  {
    Encoder copy(original);
    Encoder assigned;
    assigned = copy;
    for (std::size_t at = 0; at < frames; at += 2000) {
      std::vector<const float*> planes;
      for (const auto& c : audio.channels) planes.push_back(c.data() + at);
      Encoder& which = (at / 2000) % 2 ? assigned : original;
      ASSERT_TRUE(
          which.Encode(planes.data(), 2, std::min<std::size_t>(2000, frames - at), out, error));
      stream.insert(stream.end(), out.begin(), out.end());
    }
  }
  ASSERT_TRUE(original.FinishEncode(out, error));
  stream.insert(stream.end(), out.begin(), out.end());
  EXPECT_EQ(stream, reference);
}

TEST_F(EncoderSession, FinishedSessionReusesItsWorkingMemoryAndRefusesMoreInput) {
  const ParameterMap params =
      Settings(kCodecMode_DolbyDigitalPlus, kAudioChannelConfiguration_Acmod_32, true);
  Encoder encoder;
  int error = -1;
  ASSERT_TRUE(encoder.InitializeEncode(kCodecMode_DolbyDigitalPlus, params, error)) << error;
  ByteVector out;
  ASSERT_TRUE(encoder.FinishEncode(out, error)) << error;
  const std::size_t cached = basalt::utility::MemoryRecycler::CachedBlockCount();
  EXPECT_GE(cached, 1u);

  const std::vector<float> samples(kFrame, 0.0f);
  std::vector<const float*> planes(6, samples.data());
  EXPECT_FALSE(encoder.Encode(planes.data(), 6, kFrame, out, error));
  EXPECT_NE(error, 0);

  ASSERT_TRUE(encoder.InitializeEncode(kCodecMode_DolbyDigitalPlus, params, error)) << error;
  EXPECT_EQ(basalt::utility::MemoryRecycler::CachedBlockCount(), cached - 1);
}

}  // namespace
}  // namespace dolbydigital
