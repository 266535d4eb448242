// ddhost decode of every channel configuration: the WAV it writes carries the layout's
// channel mask with the channels in the mask's order, so FFmpeg reads each channel where
// FFmpeg's own decoder of the stream puts it.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "dd_test_support.h"
#include "ddhost_run.h"

namespace ddtest {
namespace {

constexpr std::size_t kFrames = 24000 + 333;

struct Configuration {
  const char* name;
  int acmod;
  bool lfe;
};

// The largest difference between two decodes of one channel.
double WorstDifference(const std::vector<float>& a, const std::vector<float>& b) {
  double worst = a.size() == b.size() ? 0.0 : 1.0;
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
    worst = std::max(worst, std::fabs(double(a[i]) - b[i]));
  return worst;
}

// Encodes `input` with the registered command at configuration `acmod`, decodes it with
// ddhost decode, and checks the WAV against FFmpeg's decode of the stream channel by channel.
void ExpectDecodeInPlace(const Planar& input, int acmod, bool lfe, int kbps) {
  TempDir& dir = TestTempDir();
  ASSERT_TRUE(WriteWav(dir.File("in.wav"), input, WavFormat::kPcm16));
  WriteText(dir.File("cfg.json"), "{\"CodecMode\": 0, \"ChannelConfiguration\": " + std::to_string(acmod) +
                                      ", \"EnableLFE\": " + (lfe ? "1" : "0") +
                                      ", \"DataRate\": " + std::to_string(kbps) + "}");
  const std::string stream = dir.File("s.ec3"), wav = dir.File("s.wav");
  const ProcessResult encoded = RunEncode(dir.File("in.wav"), stream, dir.File("cfg.json"));
  ASSERT_EQ(encoded.exit_code, 0) << encoded.stderr_text;
  const ProcessResult run = RunDdhost({"decode", stream, wav});
  ASSERT_EQ(run.exit_code, 0) << run.stderr_text;

  const StreamInfo streamInfo = ProbeFile(stream), wavInfo = ProbeFile(wav);
  EXPECT_EQ(wavInfo.channels, streamInfo.channels);
  EXPECT_EQ(wavInfo.channel_layout, streamInfo.channel_layout);
  // The library's decoder applies no dynamic range compression; FFmpeg's is turned off to match.
  const DecodeResult reference = DecodeFile(stream, {"-drc_scale", "0"}), ours = DecodeFile(wav);
  ASSERT_TRUE(reference.Clean()) << reference.stderr_text;
  ASSERT_TRUE(ours.Clean()) << ours.stderr_text;
  ASSERT_EQ(ours.channels, reference.channels);
  for (int ch = 0; ch < ours.channels; ++ch)
    EXPECT_LE(WorstDifference(ours.audio.channels[ch], reference.audio.channels[ch]), 1e-5) << "channel " << ch;
}

TEST(HostDecode, EveryConfigurationComesOutWithEachChannelInPlace) {
  const Configuration configurations[] = {
      {"1+1", 0, false}, {"1/0", 1, false}, {"2/0", 2, false}, {"3/0", 3, false},
      {"2/1", 4, false}, {"3/1", 5, false}, {"2/2", 6, false}, {"3/2", 7, false},
      {"2/0+LFE", 2, true}, {"2/1+LFE", 4, true}, {"3/1+LFE", 5, true}, {"3/2+LFE", 7, true}};
  for (const Configuration& c : configurations) {
    SCOPED_TRACE(c.name);
    ExpectDecodeInPlace(SpeechForLayout(c.acmod, c.lfe, kFrames), c.acmod, c.lfe, 384);
  }
}

// 7.1, 6.1 and 5.1 with front heights: an independent and a dependent substream, written as
// one WAV whose mask places the side, rear and height pairs.
TEST(HostDecode, ProgrammesBeyondFiveOneComeOutWithEachChannelInPlace) {
  struct Extended {
    const char* name;
    int configuration;
    std::vector<const char*> extra;  // recordings for the channels after L R C LFE Ls Rs
  };
  const Extended programmes[] = {{"7.1", 21, {"Side_Left", "Side_Right"}},
                                 {"6.1", 24, {"Rear_Center"}},
                                 {"5.1 + front heights", 19, {"Side_Left", "Side_Right"}}};
  for (const Extended& e : programmes) {
    SCOPED_TRACE(e.name);
    Planar input = SpeechForLayout(7, true, kFrames);
    for (const char* name : e.extra) input.channels.push_back(LoadAlsaSpeech({name}, kFrames).channels[0]);
    ExpectDecodeInPlace(input, e.configuration, true, 640);
  }
}

TEST(HostDecode, SampleFormatsAndContainersByExtension) {
  TempDir& dir = TestTempDir();
  ASSERT_TRUE(WriteWav(dir.File("in.wav"), SpeechForLayout(7, true, kFrames), WavFormat::kPcm16));
  ASSERT_EQ(RunDdhost({"encode", dir.File("in.wav"), dir.File("s.ac3")}).exit_code, 0);
  const DecodeResult reference = DecodeFile(dir.File("s.ac3"), {"-drc_scale", "0"});
  struct Variant { const char* file; const char* format; const char* codec; double tolerance; };
  for (const Variant& v : {Variant{"s16.wav", "s16", "pcm_s16le", 1.0 / 16384}, Variant{"s24.flac", "s24", "flac", 1e-6},
                           Variant{"s32.wav", "s32", "pcm_s32le", 1e-6}, Variant{"f32.w64", "f32", "pcm_f32le", 1e-6}}) {
    SCOPED_TRACE(v.file);
    const ProcessResult run = RunDdhost({"decode", dir.File("s.ac3"), dir.File(v.file), "--format", v.format});
    ASSERT_EQ(run.exit_code, 0) << run.stderr_text;
    const StreamInfo info = ProbeFile(dir.File(v.file));
    EXPECT_EQ(info.codec_name, v.codec);
    const DecodeResult ours = DecodeFile(dir.File(v.file));
    ASSERT_EQ(ours.channels, 6);
    for (int ch = 0; ch < 6; ++ch)
      EXPECT_LE(WorstDifference(ours.audio.channels[ch], reference.audio.channels[ch]), v.tolerance) << ch;
  }
  EXPECT_EQ(RunDdhost({"decode", dir.File("s.ac3"), dir.File("x.flac"), "--format", "f32"}).exit_code, 1);
  EXPECT_EQ(RunDdhost({"decode", dir.File("s.ac3"), dir.File("x.wav"), "--format", "u8"}).exit_code, 2);
}

}  // namespace
}  // namespace ddtest
