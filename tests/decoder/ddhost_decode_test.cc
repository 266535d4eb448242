// ddhost decode and ddhost info, run as a user runs them, on streams ffmpeg's encoder wrote.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "ffmpeg_streams.h"

namespace {

const std::string kDdhost = std::string(DD_BINARY_DIR) + "/bin/ddhost";

std::string Capture(const std::string& command) {
  std::string out;
  if (std::FILE* pipe = popen((command + " 2>&1").c_str(), "r")) {
    char line[512];
    while (std::fgets(line, sizeof line, pipe)) out += line;
    pclose(pipe);
  }
  return out;
}

// Float samples of a WAV file through ffmpeg, interleaved.
std::vector<float> WavSamples(const std::string& wav, int channels) {
  std::vector<float> samples;
  EXPECT_TRUE(ddtest::DecodeReference(wav, channels, &samples));
  return samples;
}

TEST(DdhostDecode, WritesFfmpegsSamplesAsFloatWav) {
  struct Case { const char* args; int channels; int rate; };
  for (const Case& c : {Case{"-c:a ac3 -b:a 448k", 6, 48000}, Case{"-c:a eac3 -b:a 128k", 2, 44100},
                        Case{"-c:a ac3 -b:a 96k", 1, 32000}}) {
    const std::string stream = ddtest::ScratchPath("ddhost_" + std::to_string(c.channels) + ".bin");
    const std::string wav = stream + ".wav";
    ASSERT_TRUE(ddtest::EncodeTones({c.channels, c.rate, 1.0}, c.args, stream));
    ASSERT_EQ(ddtest::Run(kDdhost + " decode " + stream + " " + wav), 0) << c.args;
    std::vector<float> reference;
    ASSERT_TRUE(ddtest::DecodeReference(stream, c.channels, &reference));
    const std::vector<float> decoded = WavSamples(wav, c.channels);
    ASSERT_EQ(decoded.size(), reference.size()) << c.args;  // nothing lost to the probe
    double worst = 0;
    for (std::size_t i = 0; i < decoded.size(); ++i)
      worst = std::max(worst, std::fabs(double(decoded[i]) - reference[i]));
    EXPECT_LE(worst, 1e-6) << c.args;
    EXPECT_NE(Capture("ffprobe -v error -show_streams " + wav).find("sample_rate=" + std::to_string(c.rate)),
              std::string::npos);
  }
}

TEST(DdhostDecode, FailsWithAMessageOnSomethingThatIsNoStream) {
  const std::string junk = ddtest::ScratchPath("junk.ac3");
  ASSERT_TRUE(ddtest::WriteFile(junk, std::vector<std::uint8_t>(3000, 0x55)));
  const std::string out = Capture(kDdhost + " decode " + junk + " " + junk + ".wav 2>&1; echo rc=$?");
  EXPECT_NE(out.find("DDPI_UDC_ERR_GENERIC"), std::string::npos) << out;
  EXPECT_NE(out.find("rc=1"), std::string::npos) << out;
}

TEST(DdhostInfo, ShowsLayoutRateAndTheEncodedMetadata) {
  const std::string stream = ddtest::ScratchPath("info.ac3");
  ASSERT_TRUE(ddtest::EncodeTones({6, 44100, 0.3},
                                  "-c:a ac3 -b:a 384k -dialnorm -27 -center_mixlev 0.707 "
                                  "-mixing_level 102 -room_type 2",
                                  stream));
  const std::string out = Capture(kDdhost + " info " + stream);
  for (const char* expected : {"Sample rate: 44100 Hz", "LFE", "Ls", "Dialogue Normalization: -27",
                               "Lo/Ro Center Mix Level: -3.0 dB", "Data Rate: 384", "Peak Mix Level: 102",
                               "Room Type: Small room, flat monitor", "Codec Mode: Dolby Digital"})
    EXPECT_NE(out.find(expected), std::string::npos) << expected << "\n" << out;

  const std::string stereo = ddtest::ScratchPath("info_dsur.ec3");
  ASSERT_TRUE(ddtest::EncodeTones({2, 48000, 0.3}, "-c:a eac3 -b:a 96k -dsur_mode 2", stereo));
  const std::string plus = Capture(kDdhost + " info " + stereo);
  EXPECT_NE(plus.find("Dolby Surround Mode: Enabled"), std::string::npos) << plus;
  EXPECT_NE(plus.find("Codec Mode: Dolby Digital Plus"), std::string::npos) << plus;
}

}  // namespace
