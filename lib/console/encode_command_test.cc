// The "dolbydigital.Encode" command as the host runs it: created through the command registry
// with its argument text, run in this process against the real engine module, its stream
// decoded by FFmpeg. One case for each way the command reads a file its own way.
#include "console/encode_command.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "basalt/console.h"
#include "bitstream_info.h"
#include "dd_test_support.h"
#include "dolbydigital/registration.h"

namespace dolbydigital {
namespace {

using ddtest::Planar;
using ddtest::WavImage;

constexpr std::size_t kFrames = 12000;

struct Outcome {
  bool succeeded = false;
  std::string messages;  // what the command printed to standard error
  std::vector<ddpi::bitstream::FrameHeader> frames;
  ddtest::DecodeResult decoded;
};

class EncodeCommandTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { RegisterCommandAndTests(); }
  static void TearDownTestSuite() { UnregisterCommandAndTests(); }

  Outcome Run(const std::string& wav) {
    const std::string out = dir_.File("out.ec3");
    const std::string arguments = "-in=" + dir_.File(wav) + " -out=" + out;
    Outcome o;
    auto command = basalt::console::CommandRegistry::Get().CreateCommand(
        basalt::AsciiToUTF16(EncodeCommand::kName), basalt::UTF8to16(arguments.c_str()));
    if (!command) return o;
    ::testing::internal::CaptureStderr();
    o.succeeded = command->Run();
    o.messages = ::testing::internal::GetCapturedStderr();
    o.frames = FrameHeaders(out);
    o.decoded = ddtest::DecodeFile(out, {"-drc_scale", "0"});
    return o;
  }

  static std::vector<ddpi::bitstream::FrameHeader> FrameHeaders(const std::string& path) {
    std::vector<std::uint8_t> bytes;
    if (std::FILE* f = std::fopen(path.c_str(), "rb")) {
      for (int c; (c = std::fgetc(f)) != EOF;) bytes.push_back(static_cast<std::uint8_t>(c));
      std::fclose(f);
    }
    std::vector<ddpi::bitstream::FrameHeader> frames;
    for (std::size_t at = 0; at < bytes.size();) {
      ddpi::bitstream::FrameHeader header;
      if (ddpi::bitstream::ProbeHeader(bytes.data() + at, bytes.size() - at, &header) !=
          ddpi::bitstream::HeaderStatus::kValid)
        break;
      frames.push_back(header);
      at += static_cast<std::size_t>(header.frame_bytes);
    }
    return frames;
  }

  // The stream: `samples` long in frames, of coding mode `acmod` with `lfeon`, and decoded
  // channel `decoded` carrying `input`.
  static void ExpectStream(const Outcome& o, std::size_t samples, int acmod, int lfeon,
                           int decoded, const std::vector<float>& input) {
    ASSERT_TRUE(o.succeeded) << o.messages;
    ASSERT_TRUE(o.decoded.Clean()) << o.decoded.stderr_text;
    ASSERT_EQ(o.frames.size(), (samples + 1535) / 1536);
    EXPECT_EQ(o.frames.front().acmod, acmod);
    EXPECT_EQ(o.frames.front().lfeon, lfeon);
    ASSERT_LT(decoded, o.decoded.channels);
    EXPECT_GT(ddtest::NormalizedCorrelation(input, o.decoded.audio.channels[decoded]), 0.8);
  }

  static bool Says(const Outcome& o, const std::string& text) {
    return o.messages.find(text) != std::string::npos;
  }

  ddtest::TempDir dir_{"encode_command"};
};

TEST_F(EncodeCommandTest, ThreeChannelsAreTakenAs51InFileOrder) {
  const Planar lrc = ddtest::LoadAlsaSpeech({"Front_Left", "Front_Right", "Front_Center"}, kFrames);
  ASSERT_TRUE(ddtest::WriteWav(dir_.File("lrc.wav"), lrc, ddtest::WavFormat::kPcm16));
  const Outcome o = Run("lrc.wav");
  ExpectStream(o, kFrames, 7, 1, 2, lrc.channels[2]);  // LFE on, C carries the third channel
  EXPECT_TRUE(Says(o, "its LFE Ls Rs stay silent")) << o.messages;
}

TEST_F(EncodeCommandTest, AListChunkBeforeTheDataIsReadAsTheData) {
  const Planar stereo = ddtest::LoadAlsaSpeech({"Front_Left", "Front_Right"}, kFrames);
  WavImage wav;
  WavImage speech;  // a LIST chunk that holds the speech, as 16-bit stereo
  speech.AppendPcm16(stereo);
  wav.between = WavImage::Chunk("LIST", speech.data);
  wav.data.assign(400, 0);
  ASSERT_TRUE(wav.Write(dir_.File("list.wav")));
  const Outcome o = Run("list.wav");
  ExpectStream(o, kFrames, 7, 0, 0, stereo.channels[0]);
  EXPECT_TRUE(Says(o, "warning: " + dir_.File("list.wav") + ": header: \"Data chunk missing\""))
      << o.messages;
}

TEST_F(EncodeCommandTest, ThirtyTwoBitIntegersAreTakenAsFloatBits) {
  const Planar stereo = ddtest::LoadAlsaSpeech({"Front_Left", "Front_Right"}, kFrames);
  WavImage wav;
  wav.bits = 32;
  wav.AppendFloatBits(stereo);
  ASSERT_TRUE(wav.Write(dir_.File("int32.wav")));
  const Outcome o = Run("int32.wav");
  ExpectStream(o, kFrames, 7, 0, 1, stereo.channels[1]);
  EXPECT_TRUE(Says(o, "the samples are 32-bit integers")) << o.messages;
}

TEST_F(EncodeCommandTest, A96kHzFileIsNotResampled) {
  Planar stereo = ddtest::LoadAlsaSpeech({"Front_Left", "Front_Right"}, kFrames);
  stereo.rate = 96000;
  ASSERT_TRUE(ddtest::WriteWav(dir_.File("96k.wav"), stereo, ddtest::WavFormat::kPcm16));
  const Outcome o = Run("96k.wav");
  ExpectStream(o, kFrames, 7, 0, 0, stereo.channels[0]);
  EXPECT_TRUE(Says(o, "the file is sampled at 96000 Hz; this command does not resample"))
      << o.messages;
}

}  // namespace
}  // namespace dolbydigital
