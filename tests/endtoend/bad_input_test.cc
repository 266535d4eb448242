// What ddhost's Encode command does with input it cannot use as it is: a clear message and
// a non-zero exit code, or the documented fallback with a warning, never a crash, a hang or
// a stream left behind as if all were well.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "dd_test_support.h"
#include "ddhost_run.h"

namespace ddtest {
namespace {

constexpr std::size_t kFrames = 24000;

bool Mentions(const ProcessResult& r, const std::string& text) {
  return r.stderr_text.find(text) != std::string::npos;
}

class BadInput : public ::testing::Test {
 protected:
  std::string Path(const std::string& name) const { return dir_.File(name); }

  // A 16-bit stereo WAV image with `between` inserted after "fmt " and a data size field.
  std::vector<unsigned char> StereoWav(std::uint32_t declared, std::size_t frames,
                                       const std::string& between = std::string(), int bits = 16) {
    std::vector<unsigned char> b;
    auto put = [&b](std::uint32_t v, int n) {
      for (int i = 0; i < n; ++i) b.push_back(static_cast<unsigned char>(v >> (8 * i)));
    };
    auto tag = [&b](const char* t) { b.insert(b.end(), t, t + 4); };
    tag("RIFF"), put(0, 4), tag("WAVE"), tag("fmt "), put(16, 4);
    put(1, 2), put(2, 2), put(48000, 4), put(48000 * 2 * bits / 8, 4), put(2 * bits / 8, 2),
        put(bits, 2);
    b.insert(b.end(), between.begin(), between.end());
    tag("data"), put(declared, 4);
    const std::vector<float> tone = Sine(frames * 2, 440.0, 0.3);
    for (std::size_t i = 0; i < frames * 2; ++i) {
      if (bits == 8)
        b.push_back(static_cast<unsigned char>(128 + tone[i] * 127));
      else
        put(static_cast<std::uint16_t>(static_cast<std::int16_t>(tone[i] * 32767)), 2);
    }
    return b;
  }

  void Write(const std::string& name, const std::vector<unsigned char>& bytes) {
    WriteText(Path(name), std::string(bytes.begin(), bytes.end()));
  }

  void ExpectFailureWithoutOutput(const ProcessResult& r, const std::string& message) {
    EXPECT_NE(r.exit_code, 0);
    EXPECT_GT(r.exit_code, -1);  // it ended by itself, not by a signal
    EXPECT_TRUE(Mentions(r, message)) << r.stderr_text;
    EXPECT_FALSE(FileExists(Path("out.ec3")));
  }

  TempDir dir_{"bad_input"};
};

TEST_F(BadInput, MissingFilesAndFoldersAreNamed) {
  ExpectFailureWithoutOutput(RunEncode(Path("absent.wav"), Path("out.ec3")), "does not exist");
  Write("in.wav", StereoWav(kFrames * 4, kFrames));
  const ProcessResult r = RunEncode(Path("in.wav"), Path("no/such/folder/out.ec3"));
  EXPECT_NE(r.exit_code, 0);
  EXPECT_TRUE(Mentions(r, "folder")) << r.stderr_text;
  ExpectFailureWithoutOutput(RunDdhost({"dolbydigital.Encode", "-in=" + Path("in.wav")}), "-out=");
}

TEST_F(BadInput, HeaderProblemsStopTheEncodeWithTheReadersMessage) {
  Write("garbage.wav", std::vector<unsigned char>(5000, 0x5A));
  ExpectFailureWithoutOutput(RunEncode(Path("garbage.wav"), Path("out.ec3")), "Not a wave file");

  const std::string list = std::string("LIST") + std::string("\x04\0\0\0", 4) + "INFO";
  Write("list.wav", StereoWav(kFrames * 4, kFrames, list));
  ExpectFailureWithoutOutput(RunEncode(Path("list.wav"), Path("out.ec3")), "Data chunk missing");

  Write("8bit.wav", StereoWav(kFrames * 2, kFrames, std::string(), 8));
  ExpectFailureWithoutOutput(RunEncode(Path("8bit.wav"), Path("out.ec3")), "8-bit");
}

TEST_F(BadInput, DataBeyondTheFileIsClampedAndSaidSo) {
  Write("long.wav", StereoWav(0x7FFFFF00u, kFrames));
  const ProcessResult r = RunEncode(Path("long.wav"), Path("out.ec3"));
  ASSERT_EQ(r.exit_code, 0) << r.stderr_text;
  EXPECT_TRUE(Mentions(r, "declares")) << r.stderr_text;
  const DecodeResult decoded = DecodeFile(Path("out.ec3"));
  ASSERT_TRUE(decoded.Clean()) << decoded.stderr_text;
  EXPECT_GE(decoded.audio.frames(), kFrames);
  EXPECT_LT(decoded.audio.frames(), kFrames + 1536);

  std::vector<unsigned char> cut = StereoWav(kFrames * 4, kFrames);
  cut.resize(cut.size() - 1001);  // truncated in the middle of a frame
  Write("cut.wav", cut);
  const ProcessResult truncated = RunEncode(Path("cut.wav"), Path("cut.ec3"));
  ASSERT_EQ(truncated.exit_code, 0) << truncated.stderr_text;
  EXPECT_TRUE(Mentions(truncated, "declares")) << truncated.stderr_text;
  EXPECT_TRUE(DecodeFile(Path("cut.ec3")).Clean());
}

TEST_F(BadInput, ThreeChannelFileFeedsTheChannelsItHas) {
  const Planar lrc = LoadAlsaSpeech({"Front_Left", "Front_Right", "Front_Center"}, kFrames);
  ASSERT_TRUE(WriteWav(Path("lrc.wav"), lrc, WavFormat::kPcm16));
  const ProcessResult r = RunEncode(Path("lrc.wav"), Path("out.ec3"));
  ASSERT_EQ(r.exit_code, 0) << r.stderr_text;
  EXPECT_TRUE(Mentions(r, "Ls Rs")) << r.stderr_text;  // the surrounds stay silent, and it says so
  const DecodeResult decoded = DecodeFile(Path("out.ec3"), {"-drc_scale", "0"});
  ASSERT_TRUE(decoded.Clean()) << decoded.stderr_text;
  ASSERT_EQ(decoded.channels, 5);  // 3/2 without LFE: the file has none
  for (int ch = 0; ch < 3; ++ch)
    EXPECT_GT(NormalizedCorrelation(lrc.channels[ch], decoded.audio.channels[ch]), 0.8) << ch;
  EXPECT_LT(RmsDb(decoded.audio.channels[3]), -60.0);
}

TEST_F(BadInput, AnEmptyRecordingGivesAStreamOfSilenceAndSaysSo) {
  Write("empty.wav", StereoWav(0, 0));
  const ProcessResult r = RunEncode(Path("empty.wav"), Path("out.ec3"));
  ASSERT_EQ(r.exit_code, 0) << r.stderr_text;
  EXPECT_TRUE(Mentions(r, "no audio")) << r.stderr_text;
  const DecodeResult decoded = DecodeFile(Path("out.ec3"));
  ASSERT_TRUE(decoded.Clean()) << decoded.stderr_text;
  EXPECT_LE(decoded.audio.frames(), 2u * 1536u);
}

TEST_F(BadInput, MonoIntoAStereoStreamIsCarriedByTheLeftChannel) {
  const Planar mono = LoadAlsaSpeech({"Front_Center"}, kFrames);
  ASSERT_TRUE(WriteWav(Path("mono.wav"), mono, WavFormat::kPcm16));
  WriteText(Path("20.json"), "{\"CodecMode\": 1, \"ChannelConfiguration\": 2, \"DataRate\": 192}");
  const ProcessResult r = RunEncode(Path("mono.wav"), Path("out.ac3"), Path("20.json"));
  ASSERT_EQ(r.exit_code, 0) << r.stderr_text;
  EXPECT_TRUE(Mentions(r, "in order")) << r.stderr_text;
  const DecodeResult decoded = DecodeFile(Path("out.ac3"), {"-drc_scale", "0"});
  ASSERT_TRUE(decoded.Clean()) << decoded.stderr_text;
  ASSERT_EQ(decoded.channels, 2);
  EXPECT_GT(NormalizedCorrelation(mono.channels[0], decoded.audio.channels[0]), 0.8);
  EXPECT_LT(RmsDb(decoded.audio.channels[1]), -60.0);
}

TEST_F(BadInput, ConfigurationsThatCannotBeAppliedLeaveTheDefaults) {
  Write("in.wav", StereoWav(kFrames * 4, kFrames));
  WriteText(Path("empty.json"), "");
  WriteText(Path("garbage.json"), "DataRate=384\n\x01\x02");
  WriteText(Path("wrong.json"), "{\"DataRate\": \"384\"}");
  for (const char* name : {"empty.json", "garbage.json", "wrong.json", "absent.json"}) {
    SCOPED_TRACE(name);
    const ProcessResult r = RunEncode(Path("in.wav"), Path("out.ec3"), Path(name));
    ASSERT_EQ(r.exit_code, 0) << r.stderr_text;
    EXPECT_TRUE(Mentions(r, "warning: the configuration file " + Path(name))) << r.stderr_text;
    EXPECT_EQ(ProbeFile(Path("out.ec3")).codec_name, "eac3");  // the default mode
  }
}

TEST_F(BadInput, MissingEngineModuleIsReportedNotCrashed) {
  Write("in.wav", StereoWav(kFrames * 4, kFrames));
  ExpectFailureWithoutOutput(
      RunEncode(Path("in.wav"), Path("out.ec3"), std::string(), {"--engine", Path("nothing.so")}),
      "could not be loaded");
}

TEST_F(BadInput, OtherSampleRatesAreResampledAndSaidSo) {
  Planar speech = LoadAlsaSpeech({"Front_Left", "Front_Right"}, 44100);
  speech.rate = 44100;  // the same samples, declared at 44.1 kHz
  ASSERT_TRUE(WriteWav(Path("441.wav"), speech, WavFormat::kPcm16));
  const ProcessResult r = RunEncode(Path("441.wav"), Path("out.ec3"));
  ASSERT_EQ(r.exit_code, 0) << r.stderr_text;
  EXPECT_TRUE(Mentions(r, "resampling")) << r.stderr_text;
  const DecodeResult decoded = DecodeFile(Path("out.ec3"));
  ASSERT_TRUE(decoded.Clean()) << decoded.stderr_text;
  EXPECT_GE(decoded.audio.frames(), 48000u);
  EXPECT_LT(decoded.audio.frames(), 48000u + 1536);
}

TEST(Commands, InfoDoesNothingAndBothAreListedWithTheirHelp) {
  const ProcessResult info = RunDdhost({"dolbydigital.Info", "whatever.ec3"});
  EXPECT_EQ(info.exit_code, 0);
  EXPECT_EQ(info.stdout_bytes, "");
  EXPECT_EQ(info.stderr_text, "");
  const ProcessResult list = RunDdhost({"--list"});
  EXPECT_NE(list.stdout_bytes.find("dolbydigital.Encode - encode src wavefile into wavefile with "
                                   "dolby bitstream using a configuration file"),
            std::string::npos);
  EXPECT_NE(list.stdout_bytes.find("dolbydigital.Info <file> - get info about ac3 or ec3 file"),
            std::string::npos);
}

}  // namespace
}  // namespace ddtest
