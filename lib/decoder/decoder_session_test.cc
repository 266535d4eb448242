// The session's rules: the first-frame check, the end of the stream, block delivery with
// leftovers, stream parameters, and bad input that must end cleanly.
#include <gtest/gtest.h>

#include <string>

#include "ddpi/ddpi_udc.h"
#include "decoder/decoder_test_support.h"
#include "dolbydigital/decoder.h"
#include "dolbydigital/parameters.h"
#include "dolbye/decoder.h"
#include "ffmpeg_streams.h"

namespace dolbydigital {
namespace {

using test::CallbackFor;
using test::DecodeAll;
using test::MemoryReader;

std::vector<std::uint8_t> Stream(const std::string& name, const ddtest::ToneSpec& tones,
                                 const std::string& args) {
  const std::string path = ddtest::ScratchPath(name);
  EXPECT_TRUE(ddtest::EncodeTones(tones, args, path));
  return ddtest::ReadFile(path);
}

const std::vector<std::uint8_t>& StereoAc3() {
  static const auto bytes = Stream("session_stereo.ac3", {2, 48000, 0.5}, "-c:a ac3 -b:a 192k");
  return bytes;
}

int InitError(const std::vector<std::uint8_t>& bytes, std::size_t chunk = 1 << 30) {
  auto reader = boost::make_shared<MemoryReader>();
  reader->bytes = bytes;
  reader->chunk = chunk;
  Decoder decoder;
  int error = -1;
  const bool ok = decoder.InitializeForDecode(CallbackFor(reader), error);
  EXPECT_EQ(ok, error == 0);
  return error;
}

TEST(DecoderFirstFrame, RejectsWrongSyncImpossibleSizeAndCorruptBytes) {
  std::vector<std::uint8_t> bytes = StereoAc3();
  EXPECT_EQ(InitError(bytes), 0);

  std::vector<std::uint8_t> wrong_sync = bytes;
  wrong_sync[1] = 0x78;
  EXPECT_EQ(InitError(wrong_sync), DDPI_UDC_ERR_GENERIC);

  std::vector<std::uint8_t> size_code = bytes;
  size_code[4] = static_cast<std::uint8_t>((size_code[4] & 0xC0) | 38);
  EXPECT_EQ(InitError(size_code), DDPI_UDC_ERR_GENERIC);
  std::vector<std::uint8_t> fscod3 = bytes;
  fscod3[4] |= 0xC0;
  EXPECT_EQ(InitError(fscod3), DDPI_UDC_ERR_GENERIC);

  std::vector<std::uint8_t> corrupt = bytes;
  corrupt[400] ^= 0x10;  // inside the first 768-byte frame, caught by the CRC
  EXPECT_EQ(InitError(corrupt), DDPI_UDC_ERR_GENERIC);
  EXPECT_EQ(InitError(corrupt, 5), 0);  // reads of 5 bytes pass the check unchecked
}

TEST(DecoderFirstFrame, ByteSwappedStreamDecodesLikeTheOriginal) {
  std::vector<std::uint8_t> swapped = StereoAc3();
  for (std::size_t i = 0; i + 1 < swapped.size(); i += 2) std::swap(swapped[i], swapped[i + 1]);
  const auto original = DecodeAll(StereoAc3());
  const auto turned = DecodeAll(swapped);
  ASSERT_TRUE(turned.initialized) << turned.initError;
  EXPECT_EQ(turned.planes, original.planes);
  swapped[300] ^= 1;
  EXPECT_EQ(InitError(swapped), DDPI_UDC_ERR_GENERIC);
}

TEST(DecoderEnd, ReaderEndingEarlyOrEmptyOrFailing) {
  const std::vector<std::uint8_t> half_frame(StereoAc3().begin(), StereoAc3().begin() + 300);
  EXPECT_EQ(InitError(half_frame), DDPI_UDC_ERR_GENERIC);
  EXPECT_EQ(InitError({}), DDPI_UDC_ERR_GENERIC);
  Decoder decoder;
  int error = 0;
  EXPECT_FALSE(decoder.InitializeForDecode(ReadCallbackPtr(), error));
  EXPECT_EQ(error, DDPI_UDC_ERR_GENERIC);
  auto failing = boost::make_shared<ReadCallback>([](std::uint8_t*, std::size_t&) { return false; });
  EXPECT_FALSE(decoder.InitializeForDecode(failing, error));
  EXPECT_EQ(error, DDPI_UDC_ERR_GENERIC);
  // A truncated stream decodes what it holds and ends with the reader.
  const std::vector<std::uint8_t> truncated(StereoAc3().begin(), StereoAc3().begin() + 768 * 5 + 100);
  const auto decoded = DecodeAll(truncated);
  ASSERT_TRUE(decoded.initialized);
  EXPECT_EQ(decoded.endError, DDPI_UDC_ERR_GENERIC);
  EXPECT_EQ(decoded.planes[0].size(), 5u * 1536);
}

TEST(DecoderDecode, RefusesBeforeInitializationAndWithoutRoom) {
  Decoder decoder;
  float plane[16];
  float* planes[1] = {plane};
  std::size_t frames = 16;
  int error = 0;
  EXPECT_FALSE(decoder.Decode(planes, 1, frames, error));
  EXPECT_EQ(error, DDPI_UDC_ERR_GENERIC);
  EXPECT_EQ(frames, 16u);
  ParameterMap params{{kParameterID_DialNorm, -5}};
  EXPECT_FALSE(decoder.GetParameters(params));
  EXPECT_TRUE(params.empty());
  EXPECT_EQ(decoder.GetSampleRate(), 0);
  EXPECT_EQ(decoder.GetSampleType(), tidemark::kAudioSampleType_32BitFloat);

  auto reader = boost::make_shared<MemoryReader>();
  reader->bytes = StereoAc3();
  ASSERT_TRUE(decoder.InitializeForDecode(CallbackFor(reader), error));
  frames = 0;
  EXPECT_FALSE(decoder.Decode(planes, 1, frames, error));
  EXPECT_EQ(error, DDPI_UDC_ERR_GENERIC);
  EXPECT_EQ(frames, 0u);
}

TEST(DecoderDecode, BlockSizesDoNotChangeTheSamples) {
  const auto whole = DecodeAll(StereoAc3(), 1 << 16);
  for (std::size_t block : {1u, 100u, 1536u, 5000u}) {
    const auto pieces = DecodeAll(StereoAc3(), block);
    EXPECT_EQ(pieces.planes, whole.planes) << block;
  }
  // Copies share the session: what one handle took, the other does not see again.
  auto reader = boost::make_shared<MemoryReader>();
  reader->bytes = StereoAc3();
  Decoder first;
  int error = 0;
  ASSERT_TRUE(first.InitializeForDecode(CallbackFor(reader), error));
  reader->Rewind();
  Decoder second = first;
  float a[2][1000], b[2][1000];
  float* pa[2] = {a[0], a[1]};
  float* pb[2] = {b[0], b[1]};
  std::size_t frames = 1000;
  ASSERT_TRUE(first.Decode(pa, 2, frames, error));
  ASSERT_TRUE(second.Decode(pb, 2, frames, error));
  EXPECT_EQ(std::vector<float>(b[0], b[0] + 1000),
            std::vector<float>(whole.planes[0].begin() + 1000, whole.planes[0].begin() + 2000));
}

TEST(DecoderParameters, ReportWhatFfmpegsEncoderWrote) {
  Decoder decoder;
  auto reader = boost::make_shared<MemoryReader>();
  reader->bytes = Stream("params.ac3", {2, 48000, 0.3},
                         "-c:a ac3 -b:a 160k -dialnorm -27 -dsur_mode 2 -copyright 1 -original 0");
  int error = 0;
  ASSERT_TRUE(decoder.InitializeForDecode(CallbackFor(reader), error));
  ParameterMap params;
  ASSERT_TRUE(decoder.GetParameters(params));
  ParameterMap defaults;
  GetDefaults(defaults);
  EXPECT_EQ(params.size(), defaults.size());
  EXPECT_EQ(params[kParameterID_CodecMode], kCodecMode_DolbyDigital);
  EXPECT_EQ(params[kParameterID_ChannelConfiguration], kAudioChannelConfiguration_Acmod_20);
  EXPECT_EQ(params[kParameterID_EnableLFE], 0);
  EXPECT_EQ(params[kParameterID_DataRate], 160);
  EXPECT_EQ(params[kParameterID_DialNorm], -27);
  EXPECT_EQ(params[kParameterID_DolbySurroundMode], 2);
  EXPECT_EQ(params[kParameterID_CopyrightBit], 1);
  EXPECT_EQ(params[kParameterID_OriginalBit], 0);
  // No production information: those keep their defaults, as do the encoder-only settings.
  for (ParameterID id : {kParameterID_ADConverterType, kParameterID_PeakMixLevel, kParameterID_RoomType,
                         kParameterID_DCHighpassFilter, kParameterID_DynamicRangeControlLineMode})
    EXPECT_EQ(params[id], defaults[id]) << id;

  reader->bytes = Stream("params.ec3", {6, 48000, 0.3},
                         "-c:a eac3 -b:a 384k -loro_cmixlev 0.707 -mixing_level 95 -room_type 2 "
                         "-ad_conv_type 1");
  reader->Rewind();
  Decoder plus;
  ASSERT_TRUE(plus.InitializeForDecode(CallbackFor(reader), error));
  ASSERT_TRUE(plus.GetParameters(params));
  EXPECT_EQ(params[kParameterID_CodecMode], kCodecMode_DolbyDigitalPlus);
  EXPECT_EQ(params[kParameterID_ChannelConfiguration], kAudioChannelConfiguration_Acmod_32);
  EXPECT_EQ(params[kParameterID_EnableLFE], 1);
  EXPECT_EQ(params[kParameterID_DataRate], 384);
  EXPECT_EQ(params[kParameterID_LoRo_CenterMixLevel], 4);
  EXPECT_EQ(params[kParameterID_PeakMixLevel], 95);
  EXPECT_EQ(params[kParameterID_RoomType], 2);
  EXPECT_EQ(params[kParameterID_ADConverterType], 1);
}

TEST(DecoderBadInput, GarbageAndConfigurationChangesEndCleanly) {
  std::vector<std::uint8_t> garbage(100000);
  for (std::size_t i = 0; i < garbage.size(); ++i) garbage[i] = static_cast<std::uint8_t>(i * 7919 >> 3);
  EXPECT_EQ(InitError(garbage), DDPI_UDC_ERR_GENERIC);  // over the probe's budget

  // Stereo then 5.1: the session keeps its stereo layout and decodes to the end.
  std::vector<std::uint8_t> changing = StereoAc3();
  const auto surround = Stream("change51.ac3", {6, 48000, 0.5}, "-c:a ac3 -b:a 448k");
  changing.insert(changing.end(), surround.begin(), surround.end());
  changing.insert(changing.end(), garbage.begin(), garbage.begin() + 5000);
  changing.insert(changing.end(), StereoAc3().begin(), StereoAc3().end());
  const auto decoded = DecodeAll(changing);
  ASSERT_TRUE(decoded.initialized);
  EXPECT_EQ(decoded.endError, DDPI_UDC_ERR_GENERIC);
  EXPECT_EQ(decoded.layout.size(), 2u);
  EXPECT_EQ(decoded.planes[0].size(), 3u * 16 * 1536);
}

TEST(DecoderErrorDescription, NamesEngineCodesAndNumbersTheRest) {
  auto text = [](int code) { return basalt::ToStdString(Decoder::GetErrorDescription(code)); };
  EXPECT_EQ(text(0), "(No Error)");
  EXPECT_EQ(text(1001), "DDPI_UDC_ERR_GENERIC");
  EXPECT_EQ(text(1016), "DDPI_UDC_ERR_INVALID_OUTMODE");
  EXPECT_EQ(text(1020), "metadata function called on frame that was not present");
  EXPECT_EQ(text(1026), "Memory must be 32-bit aligned");
  for (int code : {1000, 1017, 1019, 1027, -5, 7})
    EXPECT_EQ(text(code), "Unknown Error: " + std::to_string(code));
}

TEST(SecondFormatDecoder, DecodesNothingAndTouchesNothing) {
  dolbye::Decoder decoder;
  dolbye::Decoder copy(decoder);
  int error = 12345;
  bool called = false;
  auto reader = boost::make_shared<ReadCallback>([&](std::uint8_t*, std::size_t&) { return called = true; });
  EXPECT_FALSE(copy.InitializeForDecode(reader, error));
  float plane[4] = {1, 2, 3, 4};
  float* planes[1] = {plane};
  std::size_t frames = 4;
  EXPECT_FALSE(decoder.Decode(planes, 1, frames, error));
  EXPECT_EQ(error, 12345);
  EXPECT_EQ(frames, 4u);
  EXPECT_EQ(plane[0], 1.0f);
  EXPECT_FALSE(called);
  EXPECT_EQ(decoder.GetSampleRate(), 0);
  EXPECT_TRUE(decoder.GetAudioChannelLayout().empty());
  EXPECT_EQ(decoder.GetSampleType(), tidemark::kAudioSampleType_32BitFloat);
}

}  // namespace
}  // namespace dolbydigital
