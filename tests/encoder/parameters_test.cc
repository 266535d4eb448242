// Every parameter has its effect: metadata fields read back from the bitstream, DRC words that
// FFmpeg applies, and the pre-processing filters heard in the decoded signal.
#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

#include "bsi_reader.h"
#include "dd_test_support.h"
#include "engine_session.h"

namespace ddenc_test {
namespace {

using Params = std::vector<std::pair<int, int>>;

EncodeResult Encode(int mode, int acmod, bool lfe, int kbps, const Params& extra,
                    const ddtest::Planar* input = nullptr, size_t samples = 9600) {
  EncodeRequest req;
  req.mode = mode;
  req.slots = ddtest::SlotsForLayout(acmod, lfe);
  req.input = input ? *input : ddtest::SpeechForLayout(acmod, lfe, samples);
  req.params = {{DDPI_ENC_PARAM_DATARATE, kbps}, {DDPI_ENC_PARAM_ACMOD, acmod},
                {DDPI_ENC_PARAM_LFE, lfe}};
  req.params.insert(req.params.end(), extra.begin(), extra.end());
  return EncodeWithEngine(req);
}

TEST(Metadata, Ac3StandardSyntaxCarriesTheSettings) {
  const EncodeResult r = Encode(1, 7, true, 448,
                                {{DDPI_ENC_PARAM_DIALNORM, 27}, {DDPI_ENC_PARAM_BSMOD, 4},
                                 {DDPI_ENC_PARAM_COPYRIGHTB, 1}, {DDPI_ENC_PARAM_ORIGBS, 0},
                                 {DDPI_ENC_PARAM_MIXLEVEL, 95}, {DDPI_ENC_PARAM_ROOMTYP, 2},
                                 {DDPI_ENC_PARAM_LTRTCMIXLEV, 5}, {DDPI_ENC_PARAM_LOROCMIXLEV, 5},
                                 {DDPI_ENC_PARAM_LTRTSURMIXLEV, 6},
                                 {DDPI_ENC_PARAM_LOROSURMIXLEV, 6}});
  ASSERT_EQ(r.error, 0);
  const std::vector<FrameInfo> frames = ReadStream(r.stream);
  ASSERT_EQ(static_cast<int>(frames.size()), r.frames);
  const FrameInfo& f = frames[0];
  EXPECT_EQ(f.bsid, 8);
  EXPECT_EQ(f.acmod, 7);
  EXPECT_EQ(f.lfeon, 1);
  EXPECT_EQ(f.dialnorm, 27);
  EXPECT_EQ(f.bsmod, 4);
  EXPECT_EQ(f.copyrightb, 1);
  EXPECT_EQ(f.origbs, 0);
  EXPECT_EQ(f.audprodie, 1);
  EXPECT_EQ(f.mixlevel, 15);
  EXPECT_EQ(f.roomtyp, 2);
  EXPECT_EQ(f.cmixlev, 1);    // -4.5 dB
  EXPECT_EQ(f.surmixlev, 1);  // -6 dB
  EXPECT_TRUE(ddtest::DecodeBytes(r.stream, "ac3").Clean());
}

TEST(Metadata, Ac3AlternateSyntaxWhenTheLevelsNeedIt) {
  const EncodeResult r = Encode(1, 7, false, 384,
                                {{DDPI_ENC_PARAM_DMIXMOD, 2}, {DDPI_ENC_PARAM_LTRTCMIXLEV, 3},
                                 {DDPI_ENC_PARAM_LTRTSURMIXLEV, 5}, {DDPI_ENC_PARAM_LOROCMIXLEV, 2},
                                 {DDPI_ENC_PARAM_LOROSURMIXLEV, 4}, {DDPI_ENC_PARAM_DSUREXMOD, 2},
                                 {DDPI_ENC_PARAM_ADCONVTYP, 1}});
  ASSERT_EQ(r.error, 0);
  const FrameInfo f = ReadFrame(r.stream.data(), r.stream.size());
  ASSERT_TRUE(f.ok);
  EXPECT_EQ(f.bsid, 6);
  EXPECT_EQ(f.dmixmod, 2);
  EXPECT_EQ(f.ltrtcmixlev, 3);
  EXPECT_EQ(f.ltrtsurmixlev, 5);
  EXPECT_EQ(f.lorocmixlev, 2);
  EXPECT_EQ(f.lorosurmixlev, 4);
  EXPECT_EQ(f.dsurexmod, 2);
  EXPECT_EQ(f.dheadphonmod, 0);
  EXPECT_EQ(f.adconvtyp, 1);
  EXPECT_EQ(f.cmixlev, 0);  // 0 dB has no cmixlev code: the nearest, -3 dB
  EXPECT_TRUE(ddtest::DecodeBytes(r.stream, "ac3").Clean());
}

TEST(Metadata, Ac3DolbySurroundModeInTwoChannelStreams) {
  const EncodeResult r = Encode(1, 2, false, 192, {{DDPI_ENC_PARAM_DSURMOD, 2}});
  ASSERT_EQ(r.error, 0);
  EXPECT_EQ(ReadFrame(r.stream.data(), r.stream.size()).dsurmod, 2);
}

TEST(Metadata, Eac3MixingAndInformationalMetadata) {
  for (int mode : {0, 4}) {
    const EncodeResult r = Encode(mode, 7, true, 256,
                                  {{DDPI_ENC_PARAM_DIALNORM, 20}, {DDPI_ENC_PARAM_BSMOD, 1},
                                   {DDPI_ENC_PARAM_DMIXMOD, 3}, {DDPI_ENC_PARAM_LTRTCMIXLEV, 2},
                                   {DDPI_ENC_PARAM_LTRTSURMIXLEV, 7},
                                   {DDPI_ENC_PARAM_LOROCMIXLEV, 6},
                                   {DDPI_ENC_PARAM_LOROSURMIXLEV, 3}, {DDPI_ENC_PARAM_DSUREXMOD, 1},
                                   {DDPI_ENC_PARAM_ADCONVTYP, 1}, {DDPI_ENC_PARAM_MIXLEVEL, 111},
                                   {DDPI_ENC_PARAM_ROOMTYP, 1}, {DDPI_ENC_PARAM_COPYRIGHTB, 1}});
    ASSERT_EQ(r.error, 0);
    const FrameInfo f = ReadFrame(r.stream.data(), r.stream.size());
    ASSERT_TRUE(f.ok);
    EXPECT_EQ(f.bsid, 16);
    EXPECT_EQ(f.strmtyp, 0);
    EXPECT_EQ(f.numblkscod, 3);
    EXPECT_EQ(f.frame_bytes, 256 * 4);
    EXPECT_EQ(f.dialnorm, 20);
    EXPECT_EQ(f.bsmod, 1);
    EXPECT_EQ(f.dmixmod, 3);
    EXPECT_EQ(f.ltrtcmixlev, 2);
    EXPECT_EQ(f.ltrtsurmixlev, 7);
    EXPECT_EQ(f.lorocmixlev, 6);
    EXPECT_EQ(f.lorosurmixlev, 3);
    EXPECT_EQ(f.dsurexmod, 1);
    EXPECT_EQ(f.adconvtyp, 1);
    EXPECT_EQ(f.mixlevel, 31);
    EXPECT_EQ(f.roomtyp, 1);
    EXPECT_EQ(f.copyrightb, 1);
    EXPECT_TRUE(ddtest::DecodeBytes(r.stream, "ec3").Clean());
  }
}

// A loud programme (speech lifted to peaks near full scale) with a quiet stretch: DRC words
// must change what FFmpeg outputs exactly when a profile is set.
ddtest::Planar LoudStereo() {
  ddtest::Planar p = ddtest::SpeechForLayout(2, false, 48000);
  for (auto& ch : p.channels) {
    float peak = 1e-9f;
    for (float x : ch) peak = std::max(peak, std::fabs(x));
    for (float& x : ch) x *= 0.95f / peak;
  }
  return p;
}

double DecodedDifferenceDb(const std::vector<uint8_t>& stream, const char* ext) {
  const ddtest::DecodeResult full = ddtest::DecodeBytes(stream, ext, {"-drc_scale", "1"});
  const ddtest::DecodeResult none = ddtest::DecodeBytes(stream, ext, {"-drc_scale", "0"});
  EXPECT_TRUE(full.Clean() && none.Clean());
  return ddtest::SnrDb(none.audio.channels[0], full.audio.channels[0], 0, 0, 1 << 30);
}

TEST(Drc, GainWordsAppliedExactlyWhenAProfileIsSet) {
  const ddtest::Planar loud = LoudStereo();
  for (int mode : {1, 0}) {
    const char* ext = mode == 1 ? "ac3" : "ec3";
    const EncodeResult off = Encode(mode, 2, false, 192,
                                    {{DDPI_ENC_PARAM_DRC_LINE, 0}, {DDPI_ENC_PARAM_DRC_RF, 0},
                                     {DDPI_ENC_PARAM_DIALNORM, 31}}, &loud);
    const EncodeResult film = Encode(mode, 2, false, 192,
                                     {{DDPI_ENC_PARAM_DRC_LINE, 1}, {DDPI_ENC_PARAM_DRC_RF, 1},
                                      {DDPI_ENC_PARAM_DIALNORM, 31}}, &loud);
    ASSERT_EQ(off.error, 0);
    ASSERT_EQ(film.error, 0);
    EXPECT_EQ(ReadFrame(off.stream.data(), off.stream.size()).compre, 0);
    EXPECT_EQ(ReadFrame(film.stream.data(), film.stream.size()).compre, 1);
    EXPECT_TRUE(std::isinf(DecodedDifferenceDb(off.stream, ext))) << "mode " << mode;
    EXPECT_LT(DecodedDifferenceDb(film.stream, ext), 30) << "mode " << mode;
  }
}

TEST(Preprocessing, SurroundAttenuationLowersOnlyTheSurroundsBy3dB) {
  double level[2][5];
  for (int att = 0; att < 2; ++att) {
    const EncodeResult r = Encode(0, 7, false, 448,
                                  {{DDPI_ENC_PARAM_SURATT, att}, {DDPI_ENC_PARAM_DRC_LINE, 0},
                                   {DDPI_ENC_PARAM_DRC_RF, 0}}, nullptr, 48000);
    ASSERT_EQ(r.error, 0);
    const ddtest::DecodeResult d = ddtest::DecodeBytes(r.stream, "ec3");
    ASSERT_TRUE(d.Clean());
    for (int c = 0; c < 5; ++c) level[att][c] = ddtest::RmsDb(d.audio.channels[c]);
  }
  for (int c = 0; c < 3; ++c) EXPECT_NEAR(level[1][c] - level[0][c], 0.0, 0.2) << c;
  for (int c = 3; c < 5; ++c) EXPECT_NEAR(level[1][c] - level[0][c], -3.0, 0.3) << c;
}

TEST(Preprocessing, DcHighPassRemovesOffset) {
  ddtest::Planar in;
  // Three seconds: the DC removal's corner lies far below the audio band (0.5 Hz), so an
  // offset present from the first sample takes about two seconds to be gone.
  in.channels.push_back(ddtest::Sine(3 * 48000, 1000, 0.3));
  for (float& x : in.channels[0]) x += 0.25f;
  double mean[2];
  for (int on = 0; on < 2; ++on) {
    const EncodeResult r = Encode(1, 1, false, 192,
                                  {{DDPI_ENC_PARAM_DCFILT, on}, {DDPI_ENC_PARAM_DRC_LINE, 0},
                                   {DDPI_ENC_PARAM_DRC_RF, 0}}, &in);
    ASSERT_EQ(r.error, 0);
    const ddtest::DecodeResult d = ddtest::DecodeBytes(r.stream, "ac3");
    ASSERT_TRUE(d.Clean());
    const std::vector<float>& out = d.audio.channels[0];
    // The last quarter second of the programme, long after the filter settled.
    const size_t begin = r.delay + 132000, end = r.delay + 144000;
    mean[on] = std::accumulate(out.begin() + begin, out.begin() + end, 0.0) / (end - begin);
  }
  EXPECT_NEAR(mean[0], 0.25, 0.02);
  EXPECT_NEAR(mean[1], 0.0, 0.01);
}

TEST(Parameters, InputFormatAndPrimingFramesAreAccepted) {
  const EncodeResult r = Encode(1, 2, false, 192,
                                {{DDPI_ENC_PARAM_INPUT_FORMAT, 1},
                                 {DDPI_ENC_PARAM_PRIMING_FRAMES, -2}});
  EXPECT_EQ(r.error, 0);
  EXPECT_GT(r.frames, 0);
}

}  // namespace
}  // namespace ddenc_test
