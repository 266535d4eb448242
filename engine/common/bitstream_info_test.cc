// The parser against streams the ffmpeg CLI encodes with known metadata.
#include "bitstream_info.h"

#include <gtest/gtest.h>

#include "ffmpeg_streams.h"

namespace ddpi::bitstream {
namespace {

FrameInfo FirstFrameOf(const ddtest::ToneSpec& tones, const std::string& args) {
  static int counter = 0;
  const std::string path = ddtest::ScratchPath("parse" + std::to_string(counter++));
  EXPECT_TRUE(ddtest::EncodeTones(tones, args, path)) << args;
  const std::vector<std::uint8_t> bytes = ddtest::ReadFile(path);
  FrameInfo info;
  EXPECT_TRUE(ParseFrame(bytes.data(), bytes.size(), &info)) << args;
  return info;
}

TEST(BitstreamInfo, FrameSizeTableCoversAllCodesAndRejectsTheRest) {
  EXPECT_EQ(Ac3FrameWords(0, 0), 64);
  EXPECT_EQ(Ac3FrameWords(1, 0), 69);
  EXPECT_EQ(Ac3FrameWords(2, 0), 96);
  EXPECT_EQ(Ac3FrameWords(0, 37), 1280);
  EXPECT_EQ(Ac3FrameWords(1, 37), 1394);
  EXPECT_EQ(Ac3FrameWords(2, 37), 1920);
  EXPECT_EQ(Ac3FrameWords(3, 10), 0);
  EXPECT_EQ(Ac3FrameWords(0, 38), 0);
  EXPECT_EQ(Ac3DataRate(30), 448);
  for (int code = 0; code < kFrameSizeCodes; ++code)  // 48 kHz: two words per kbps
    EXPECT_EQ(Ac3FrameWords(0, code), Ac3DataRate(code) * 2);
}

TEST(BitstreamInfo, ProbeNeedsASyncWordAndAPossibleSize) {
  const std::uint8_t garbage[8] = {0x12, 0x34, 0, 0, 0, 0, 0, 0};
  const std::uint8_t short_sync[4] = {0x0B, 0x77, 0, 0};
  const std::uint8_t bad_size[8] = {0x0B, 0x77, 0, 0, 0x26 /* frmsizecod 38 */, 0x40, 0, 0};
  FrameHeader h;
  EXPECT_EQ(ProbeHeader(garbage, sizeof garbage, &h), HeaderStatus::kInvalid);
  EXPECT_EQ(ProbeHeader(short_sync, sizeof short_sync, &h), HeaderStatus::kNeedMoreBytes);
  EXPECT_EQ(ProbeHeader(bad_size, sizeof bad_size, &h), HeaderStatus::kInvalid);
}

TEST(BitstreamInfo, Ac3StereoBsiFields) {
  const FrameInfo info = FirstFrameOf(
      {2, 44100, 0.2}, "-c:a ac3 -b:a 192k -dialnorm -27 -dsur_mode 2 -copyright 1 "
                       "-original 0 -mixing_level 100 -room_type 1");
  EXPECT_EQ(info.header.bsid, 8);
  EXPECT_EQ(info.header.acmod, 2);
  EXPECT_EQ(info.header.lfeon, 0);
  EXPECT_EQ(info.header.sample_rate, 44100);
  EXPECT_EQ(info.header.frmsizecod / 2, 10);  // 192 kbps
  EXPECT_EQ(info.dialnorm, 27);
  EXPECT_EQ(info.dsurmod, 2);
  EXPECT_EQ(info.copyrightb, 1);
  EXPECT_EQ(info.origbs, 0);
  EXPECT_EQ(info.audprodie, 1);
  EXPECT_EQ(info.mixlevel, 100);
  EXPECT_EQ(info.roomtyp, 1);
  EXPECT_EQ(info.lorocmixlev, -1);  // no centre channel
  // Audio block 0 follows the 40 bits of syncinfo and the 34 of this BSI (a compression word
  // would add 8).
  EXPECT_EQ(info.audio_bits, 74u + (info.compre ? 8u : 0u));
}

TEST(BitstreamInfo, Ac3LegacyMixLevelsReadAsMixLevelCodes) {
  const FrameInfo info = FirstFrameOf(
      {6, 48000, 0.2}, "-c:a ac3 -b:a 448k -center_mixlev 0.5 -surround_mixlev 0.5");
  EXPECT_EQ(info.header.bsid, 8);
  EXPECT_EQ(info.header.acmod, 7);
  EXPECT_EQ(info.header.lfeon, 1);
  EXPECT_EQ(info.cmixlev, 2);
  EXPECT_EQ(info.lorocmixlev, 6);  // -6 dB
  EXPECT_EQ(info.ltrtcmixlev, 6);
  EXPECT_EQ(info.lorosurmixlev, 6);
  EXPECT_EQ(ChannelMapOf(info.header.acmod, info.header.lfeon), 0xF801);
}

TEST(BitstreamInfo, Ac3AlternateSyntaxExtendedFields) {
  const FrameInfo info = FirstFrameOf(
      {6, 48000, 0.2}, "-c:a ac3 -b:a 384k -dmix_mode 2 -ltrt_cmixlev 0.841 -loro_cmixlev 0.5 "
                       "-loro_surmixlev 0.5 -ad_conv_type 1 -dsurex_mode 2 -mixing_level 90 "
                       "-room_type 2");
  EXPECT_EQ(info.header.bsid, 6);
  EXPECT_EQ(info.dmixmod, 2);
  EXPECT_EQ(info.ltrtcmixlev, 3);  // -1.5 dB
  EXPECT_EQ(info.lorocmixlev, 6);  // -6 dB
  EXPECT_EQ(info.lorosurmixlev, 6);
  EXPECT_EQ(info.adconvtyp, 1);
  EXPECT_EQ(info.dsurexmod, 2);
  EXPECT_EQ(info.mixlevel, 90);
  EXPECT_EQ(info.roomtyp, 2);
}

TEST(BitstreamInfo, Eac3IndependentFrameFields) {
  const FrameInfo info = FirstFrameOf(
      {6, 48000, 0.2}, "-c:a eac3 -b:a 256k -dialnorm -20 -dmix_mode 1 -loro_cmixlev 0.707 "
                       "-mixing_level 95 -room_type 2 -copyright 1");
  EXPECT_EQ(info.header.bsid, 16);
  EXPECT_EQ(info.header.strmtyp, kIndependent);
  EXPECT_EQ(info.header.blocks, 6);
  EXPECT_EQ(info.header.frame_bytes, 256 * 4);
  EXPECT_EQ(info.header.acmod, 7);
  EXPECT_EQ(info.dialnorm, 20);
  EXPECT_EQ(info.dmixmod, 1);
  EXPECT_EQ(info.lorocmixlev, 4);  // -3 dB
  EXPECT_EQ(info.mixlevel, 95);
  EXPECT_EQ(info.roomtyp, 2);
  EXPECT_EQ(info.copyrightb, 1);
}

}  // namespace
}  // namespace ddpi::bitstream
