// The registered "dolbydigital.Encode" command run through ddhost as a process, on the inputs
// it reads its own way: the layout comes from the channel count alone and the channels go to
// the stream in file order; header problems are read through; 32-bit integer samples are
// taken as float bits; other sample rates are encoded as they are. Each case checks the
// stream itself (frame count, lfeon, which decoded channel carries which input) and what the
// command told the user.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dd_test_support.h"
#include "ddhost_run.h"

namespace ddtest {
namespace {

constexpr std::size_t kFrames = 24000;
constexpr std::size_t kStreamFrame = 1536;
constexpr double kSilentDb = -60.0;
// Decoded 3/2 (+ LFE) channel order.
enum { kL = 0, kR = 1, kC = 2 };

std::size_t StreamFramesFor(std::size_t samples) {
  return (samples + kStreamFrame - 1) / kStreamFrame;
}

struct Encoded {
  ProcessResult run;
  std::vector<ddpi::bitstream::FrameInfo> frames;
  DecodeResult decoded;
  bool Warned(const std::string& text) const {
    return run.stderr_text.find("warning: ") != std::string::npos &&
           run.stderr_text.find(text) != std::string::npos;
  }
};

class RegisteredEncode : public ::testing::Test {
 protected:
  std::string Path(const std::string& name) const { return dir_.File(name); }

  // Encodes `wav` with the default settings (Dolby Digital Plus, 3/2 + LFE).
  Encoded Encode(const std::string& wav) {
    Encoded e;
    e.run = RunEncode(Path(wav), Path("out.ec3"));
    e.frames = ReadFrameInfos(Path("out.ec3"));
    e.decoded = DecodeFile(Path("out.ec3"), {"-drc_scale", "0"});
    return e;
  }

  static void ExpectCarries(const Encoded& e, int decoded, const std::vector<float>& input) {
    ASSERT_LT(decoded, e.decoded.channels);
    EXPECT_EQ(BestLag(input, e.decoded.audio.channels[decoded], 2000), 0) << decoded;
    EXPECT_GT(NormalizedCorrelation(input, e.decoded.audio.channels[decoded]), 0.8) << decoded;
  }
  static void ExpectSilent(const Encoded& e, std::vector<int> decoded) {
    for (int ch : decoded) {
      ASSERT_LT(ch, e.decoded.channels);
      EXPECT_LT(RmsDb(e.decoded.audio.channels[ch]), kSilentDb) << ch;
    }
  }
  static void ExpectStream(const Encoded& e, std::size_t samples, int acmod, int lfeon) {
    ASSERT_EQ(e.run.exit_code, 0) << e.run.stderr_text;
    ASSERT_TRUE(e.decoded.Clean()) << e.decoded.stderr_text;
    EXPECT_EQ(e.frames.size(), StreamFramesFor(samples));
    ASSERT_FALSE(e.frames.empty());
    EXPECT_EQ(e.frames.front().header.acmod, acmod);
    EXPECT_EQ(e.frames.front().header.lfeon, lfeon);
  }

  TempDir dir_{"registered_encode"};
};

TEST_F(RegisteredEncode, LayoutComesFromTheChannelCountAndChannelsGoInFileOrder) {
  {
    SCOPED_TRACE("3 channels: taken as 5.1, so LFE is on; L R C carry the file's three");
    const Planar lrc = LoadAlsaSpeech({"Front_Left", "Front_Right", "Front_Center"}, kFrames);
    ASSERT_TRUE(WriteWav(Path("lrc.wav"), lrc, WavFormat::kPcm16));
    const Encoded e = Encode("lrc.wav");
    ExpectStream(e, kFrames, 7, 1);
    ASSERT_EQ(e.decoded.channels, 6);
    for (int ch : {kL, kR, kC}) ExpectCarries(e, ch, lrc.channels[ch]);
    ExpectSilent(e, {3, 4, 5});
    EXPECT_TRUE(e.Warned("its LFE Ls Rs stay silent")) << e.run.stderr_text;
  }
  {
    SCOPED_TRACE("4 channels with mask 0x33 (L R Ls Rs): the third lands in C, LFE is on");
    const Planar quad = LoadAlsaSpeech({"Front_Left", "Front_Right", "Rear_Left", "Rear_Right"},
                                       kFrames);
    ASSERT_TRUE(WriteWav(Path("quad.wav"), quad, WavFormat::kPcm16, 0x33));
    const Encoded e = Encode("quad.wav");
    ExpectStream(e, kFrames, 7, 1);
    ASSERT_EQ(e.decoded.channels, 6);
    ExpectCarries(e, kL, quad.channels[0]);
    ExpectCarries(e, kR, quad.channels[1]);
    ExpectCarries(e, kC, quad.channels[2]);
    ExpectSilent(e, {4, 5});
    EXPECT_TRUE(e.Warned("by its channel mask 0x33")) << e.run.stderr_text;
    EXPECT_TRUE(e.Warned("C = file Ls, LFE = file Rs, Ls = silence, Rs = silence"))
        << e.run.stderr_text;
  }
  {
    SCOPED_TRACE("mono: no LFE, the one channel lands in L");
    const Planar mono = LoadAlsaSpeech({"Front_Center"}, kFrames);
    ASSERT_TRUE(WriteWav(Path("mono.wav"), mono, WavFormat::kPcm16));
    const Encoded e = Encode("mono.wav");
    ExpectStream(e, kFrames, 7, 0);
    ASSERT_EQ(e.decoded.channels, 5);
    ExpectCarries(e, kL, mono.channels[0]);
    ExpectSilent(e, {kR, kC, 3, 4});
    EXPECT_TRUE(e.Warned("gets L = file C, R = silence")) << e.run.stderr_text;
    EXPECT_NE(e.run.stderr_text.find("ddhost encode"), std::string::npos);
  }
}

TEST_F(RegisteredEncode, HeaderProblemsAreReadThroughAndTheOutputKept) {
  const Planar stereo = LoadAlsaSpeech({"Front_Left", "Front_Right"}, kFrames);
  {
    SCOPED_TRACE("form type and format tag are not WAV's: the data is read as 16-bit PCM");
    WavImage odd;
    odd.form = "WAVX";
    odd.tag = 0x0055;
    odd.AppendPcm16(stereo);
    ASSERT_TRUE(odd.Write(Path("odd.wav")));
    const Encoded e = Encode("odd.wav");
    ExpectStream(e, kFrames, 7, 0);  // stereo: no LFE
    ExpectCarries(e, kL, stereo.channels[0]);
    ExpectCarries(e, kR, stereo.channels[1]);
    EXPECT_TRUE(e.Warned("header: \"Not a wave file\" (its form type is \"WAVX\")"))
        << e.run.stderr_text;
    EXPECT_TRUE(e.Warned("header: \"Unknown format\" (format tag 0x0055")) << e.run.stderr_text;
  }
  {
    SCOPED_TRACE("a LIST chunk before the data: its size is the data length");
    WavImage listed;
    listed.between = WavImage::Chunk("LIST", std::vector<std::uint8_t>(4 * 3000, 0));
    listed.AppendPcm16(stereo);
    ASSERT_TRUE(listed.Write(Path("list.wav")));
    const Encoded e = Encode("list.wav");
    ExpectStream(e, 3000, 7, 0);  // the LIST chunk's 12000 bytes: 3000 silent stereo frames
    EXPECT_TRUE(e.Warned("header: \"Data chunk missing\" (a \"LIST\" chunk follows")) << e.run.stderr_text;
    ExpectSilent(e, {kL, kR});
  }
}

TEST_F(RegisteredEncode, ThirtyTwoBitIntegerSamplesAreTakenAsFloatBits) {
  // Integer PCM whose bits are those of float speech: taken unchanged, they are the speech.
  const Planar stereo = LoadAlsaSpeech({"Front_Left", "Front_Right"}, kFrames);
  for (const bool extensible : {false, true}) {
    SCOPED_TRACE(extensible ? "extensible PCM" : "plain PCM");
    WavImage wav;
    wav.tag = extensible ? 0xFFFE : 1;
    wav.mask = 0x3;
    wav.bits = 32;
    wav.AppendFloatBits(stereo);
    ASSERT_TRUE(wav.Write(Path("int32.wav")));
    const Encoded e = Encode("int32.wav");
    ExpectStream(e, kFrames, 7, 0);
    ExpectCarries(e, kL, stereo.channels[0]);
    ExpectCarries(e, kR, stereo.channels[1]);
    EXPECT_TRUE(e.Warned("the samples are 32-bit integers; this command takes their bits as "
                         "32-bit float unchanged"))
        << e.run.stderr_text;
  }
}

TEST_F(RegisteredEncode, OtherSampleRatesAreEncodedAsTheyAre) {
  Planar speech = LoadAlsaSpeech({"Front_Left", "Front_Right"}, 44100);
  speech.rate = 44100;  // the same samples, declared at 44.1 kHz
  ASSERT_TRUE(WriteWav(Path("441.wav"), speech, WavFormat::kPcm16));
  const Encoded e = Encode("441.wav");
  ExpectStream(e, 44100, 7, 0);
  EXPECT_GE(e.decoded.audio.frames(), 44100u);
  EXPECT_LT(e.decoded.audio.frames(), 44100u + kStreamFrame);
  ExpectCarries(e, kL, speech.channels[0]);  // sample for sample, not resampled
  EXPECT_TRUE(e.Warned("the file is sampled at 44100 Hz; this command does not resample"))
      << e.run.stderr_text;
  EXPECT_EQ(ProbeFile(Path("out.ec3")).sample_rate, 48000);
}

}  // namespace
}  // namespace ddtest
