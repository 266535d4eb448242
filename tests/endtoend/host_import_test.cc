// ddhost encode as a host's export, run as a real process on files other programs wrote:
// each file becomes the configuration of its own layout with every channel where its label
// says, in an elementary stream, MP4 or Matroska that FFmpeg decodes with CRC checks.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "dd_test_support.h"
#include "ddhost_run.h"

namespace ddtest {
namespace {

constexpr std::size_t kFrames = 48000 + 777;  // not a whole number of frames

ProcessResult Ffmpeg(const std::vector<std::string>& args) {
  std::vector<std::string> argv{"ffmpeg", "-v", "error", "-y"};
  argv.insert(argv.end(), args.begin(), args.end());
  return RunProcess(argv);
}

// The 5.1 speech programme (L R C LFE Ls Rs) or its first two channels.
Planar Speech(int channels) {
  Planar p = SpeechForLayout(channels == 2 ? 2 : 7, channels != 2, kFrames);
  return p;
}

// Every channel but the LFE at lag 0 after FFmpeg's decoder, each correlating with its own
// source far better than with any other.
void ExpectEachChannelInPlace(const Planar& input, const Planar& decoded, int lfeIndex) {
  ASSERT_EQ(decoded.channels.size(), input.channels.size());
  for (std::size_t ch = 0; ch < input.channels.size(); ++ch) {
    SCOPED_TRACE("channel " + std::to_string(ch));
    const auto& source = input.channels[ch];
    const auto& output = decoded.channels[ch];
    const bool lfe = static_cast<int>(ch) == lfeIndex;
    const int lag = lfe ? BestLag(source, output, 480) : 0;
    if (!lfe) {
      // A pure tone correlates as well one whole period away (the 1499 Hz rear tone: 32.02
      // samples): lag 0 must do as well as the best lag, not necessarily be it.
      const int best = BestLag(source, output, 2000);
      EXPECT_GE(NormalizedCorrelation(source, output, 0),
                NormalizedCorrelation(source, output, best) - 1e-3)
          << "best lag " << best;
    }
    const double own = NormalizedCorrelation(source, output, lag);
    EXPECT_GT(own, 0.8);
    for (std::size_t other = 0; other < input.channels.size(); ++other) {
      if (other == ch) continue;
      EXPECT_LT(NormalizedCorrelation(input.channels[other], output, lag), own - 0.3);
    }
  }
}

struct Written {
  const char* name;
  int channels;            // of the programme before the other program wrote it
  std::vector<std::string> how;  // the command that writes OUT from IN: {"ffmpeg", ...} or {"sox", ...}
  const char* file;        // the name of the written file
};

// Runs `how` with IN and OUT substituted.
ProcessResult WriteWith(const std::vector<std::string>& how, const std::string& in, const std::string& out) {
  std::vector<std::string> argv;
  for (const std::string& a : how) argv.push_back(a == "IN" ? in : a == "OUT" ? out : a);
  return RunProcess(argv);
}

TEST(HostImport, FilesOtherProgramsWroteEncodeToTheirOwnConfiguration) {
  const std::vector<Written> cases = {
      {"ffmpeg WAV with a LIST chunk", 2, {"ffmpeg", "-v", "error", "-i", "IN", "-c:a", "pcm_s16le", "OUT"}, "list.wav"},
      {"sox 24-bit", 2, {"sox", "IN", "-b", "24", "OUT"}, "sox24.wav"},
      {"32-bit float", 6, {"ffmpeg", "-v", "error", "-i", "IN", "-c:a", "pcm_f32le", "OUT"}, "float.wav"},
      {"extensible 5.1", 6, {"ffmpeg", "-v", "error", "-i", "IN", "-c:a", "pcm_s16le", "OUT"}, "ext51.wav"},
      {"RF64", 6, {"ffmpeg", "-v", "error", "-i", "IN", "-c:a", "pcm_s16le", "-rf64", "always", "OUT"}, "rf64.wav"},
      {"FLAC", 6, {"ffmpeg", "-v", "error", "-i", "IN", "OUT"}, "in.flac"},
      {"AIFF", 2, {"ffmpeg", "-v", "error", "-i", "IN", "OUT"}, "in.aiff"},
      {"44.1 kHz", 2, {"ffmpeg", "-v", "error", "-i", "IN", "-ar", "44100", "OUT"}, "44k1.wav"},
  };
  TempDir& dir = TestTempDir();
  for (const Written& c : cases) {
    SCOPED_TRACE(c.name);
    const Planar input = Speech(c.channels);
    const std::string source = dir.File(std::string("source") + std::to_string(c.channels) + ".wav");
    ASSERT_TRUE(WriteWav(source, input, WavFormat::kPcm24));
    const std::string file = dir.File(c.file);
    const ProcessResult written = WriteWith(c.how, source, file);
    ASSERT_EQ(written.exit_code, 0) << written.stderr_text;
    if (std::string(c.file) == "list.wav") {  // the chunk the library's own reader stops at
      const std::vector<unsigned char> bytes = ReadBytes(file);
      ASSERT_NE(std::string(bytes.begin(), bytes.begin() + 200).find("LIST"), std::string::npos);
    }

    const std::string out = dir.File(std::string(c.file) + ".ec3");
    const ProcessResult run = RunDdhost({"encode", file, out});
    ASSERT_EQ(run.exit_code, 0) << run.stderr_text;
    EXPECT_NE(run.stdout_bytes.find(c.channels == 2 ? "2/0 (L R)," : "3/2 (L R C LFE Ls Rs) + LFE"),
              std::string::npos) << run.stdout_bytes;
    const StreamInfo probe = ProbeFile(out);
    EXPECT_EQ(probe.channels, c.channels);
    EXPECT_EQ(probe.channel_layout, c.channels == 2 ? "stereo" : "5.1(side)");
    const DecodeResult decoded = DecodeFile(out, {"-drc_scale", "0"});
    ASSERT_TRUE(decoded.Clean()) << decoded.stderr_text;
    ExpectEachChannelInPlace(input, decoded.audio, c.channels == 2 ? -1 : 3);
  }
}

TEST(HostImport, SevenOneStaysSevenOneInDolbyDigitalPlusAndFoldsIntoFiveOneInDolbyDigital) {
  TempDir& dir = TestTempDir();
  const Planar speech = Speech(6);
  Planar wide;  // FL FR FC LFE BL BR SL SR (mask 0x63F): the rear pair carries a tone
  wide.channels = {speech.channels[0], speech.channels[1], speech.channels[2], speech.channels[3],
                   Sine(kFrames, 997, 0.05), Sine(kFrames, 1499, 0.05), speech.channels[4], speech.channels[5]};
  ASSERT_TRUE(WriteWav(dir.File("mine71.wav"), wide, WavFormat::kPcm24, 0x63F));
  ASSERT_EQ(Ffmpeg({"-i", dir.File("mine71.wav"), "-c:a", "pcm_s24le", dir.File("in71.wav")}).exit_code, 0);
  EXPECT_EQ(ProbeFile(dir.File("in71.wav")).channel_layout, "7.1");

  {
    SCOPED_TRACE("Dolby Digital Plus: 7.1 with a dependent substream");
    const ProcessResult run = RunDdhost({"encode", dir.File("in71.wav"), dir.File("out71.ec3")});
    ASSERT_EQ(run.exit_code, 0) << run.stderr_text;
    EXPECT_EQ(run.stdout_bytes.find("note: 7.1 input"), std::string::npos) << run.stdout_bytes;
    const StreamInfo probe = ProbeFile(dir.File("out71.ec3"));
    EXPECT_EQ(probe.channels, 8);
    EXPECT_EQ(probe.channel_layout, "7.1");
    const DecodeResult decoded = DecodeFile(dir.File("out71.ec3"), {"-drc_scale", "0"});
    ASSERT_TRUE(decoded.Clean()) << decoded.stderr_text;
    ExpectEachChannelInPlace(wide, decoded.audio, 3);  // FFmpeg's 7.1 order is the file's
  }
  {
    SCOPED_TRACE("Dolby Digital: the rear surrounds mixed into the surrounds");
    const ProcessResult run = RunDdhost({"encode", dir.File("in71.wav"), dir.File("out.ac3")});
    ASSERT_EQ(run.exit_code, 0) << run.stderr_text;
    EXPECT_NE(run.stdout_bytes.find("note: 7.1 input"), std::string::npos) << run.stdout_bytes;
    const DecodeResult decoded = DecodeFile(dir.File("out.ac3"), {"-drc_scale", "0"});
    ASSERT_TRUE(decoded.Clean()) << decoded.stderr_text;
    ASSERT_EQ(decoded.channels, 6);
    ExpectEachChannelInPlace(speech, decoded.audio, 3);
    // The rear tone is in the surround on its own side.
    EXPECT_GT(NormalizedCorrelation(wide.channels[4], decoded.audio.channels[4]), 0.05);
    EXPECT_LT(std::fabs(NormalizedCorrelation(wide.channels[4], decoded.audio.channels[5])), 0.02);
  }
}

TEST(HostExport, Mp4AndMatroskaCarryTheStreamAsItIsWithItsRealLength) {
  TempDir& dir = TestTempDir();
  const Planar input = Speech(6);
  ASSERT_TRUE(WriteWav(dir.File("in.wav"), input, WavFormat::kPcm16));
  for (const char* name : {"out.ec3", "out.mp4", "out.mkv"}) {
    const ProcessResult run = RunDdhost({"encode", dir.File("in.wav"), dir.File(name), "--set", "DataRate=384"});
    ASSERT_EQ(run.exit_code, 0) << name << run.stderr_text;
  }
  const DecodeResult elementary = DecodeFile(dir.File("out.ec3"));
  ASSERT_TRUE(elementary.Clean()) << elementary.stderr_text;
  for (const char* name : {"out.mp4", "out.mkv"}) {
    SCOPED_TRACE(name);
    const StreamInfo probe = ProbeFile(dir.File(name));
    ASSERT_TRUE(probe.ok) << probe.error;
    EXPECT_EQ(probe.codec_name, "eac3");
    EXPECT_EQ(probe.channels, 6);
    EXPECT_EQ(probe.channel_layout, "5.1(side)");
    EXPECT_EQ(probe.bit_rate, 384000);
    const DecodeResult decoded = DecodeFile(dir.File(name));
    ASSERT_TRUE(decoded.Clean()) << decoded.stderr_text;
    // No re-encoding: the same samples as the elementary stream.
    ASSERT_LE(decoded.audio.frames(), elementary.audio.frames());
    for (int ch = 0; ch < 6; ++ch)
      for (std::size_t i = 0; i < decoded.audio.frames(); i += 97)
        ASSERT_NEAR(decoded.audio.channels[ch][i], elementary.audio.channels[ch][i], 1e-5) << ch << " " << i;
    // Nothing beyond the last frame the programme needs.
    EXPECT_GE(decoded.audio.frames(), kFrames);
    EXPECT_LT(decoded.audio.frames(), kFrames + 1536);
    // ddhost decode takes the container's track through the library's decoder.
    const ProcessResult back = RunDdhost({"decode", dir.File(name), dir.File(std::string(name) + ".wav")});
    ASSERT_EQ(back.exit_code, 0) << back.stderr_text;
    const DecodeResult wav = DecodeFile(dir.File(std::string(name) + ".wav"));
    ASSERT_EQ(wav.channels, 6);
    EXPECT_GE(wav.audio.frames(), kFrames);
    EXPECT_LT(wav.audio.frames(), kFrames + 1536);
  }
  // MP4 states the programme's exact length (the last sample's duration and the edit list);
  // ddhost's own decode of it keeps exactly that many samples.
  EXPECT_NEAR(std::atof(ProbeFile(dir.File("out.mp4")).stream.value("duration", "0").c_str()),
              kFrames / 48000.0, 0.0005);
  EXPECT_EQ(DecodeFile(dir.File("out.mp4.wav")).audio.frames(), kFrames);
}

// The measured values of loudnorm's first pass, from the JSON it prints on stderr.
std::string Measured(const std::string& text, const std::string& key) {
  const std::size_t at = text.find("\"" + key + "\" : \"");
  if (at == std::string::npos) return "0";
  const std::size_t start = at + key.size() + 6;
  return text.substr(start, text.find('"', start) - start);
}

TEST(HostExport, DialnormAutoWritesTheProgrammesLoudness) {
  TempDir& dir = TestTempDir();
  ASSERT_TRUE(WriteWav(dir.File("speech.wav"), Speech(2), WavFormat::kPcm24));
  const std::string filter = "loudnorm=I=-24:TP=-2:LRA=11";
  const ProcessResult first = Ffmpeg({"-i", dir.File("speech.wav"), "-af", filter + ":print_format=json", "-f", "null", "-"});
  ASSERT_EQ(first.exit_code, 0);
  const std::string t = first.stderr_text;
  const std::string second = filter + ":linear=true:measured_I=" + Measured(t, "input_i") +
                             ":measured_TP=" + Measured(t, "input_tp") + ":measured_LRA=" +
                             Measured(t, "input_lra") + ":measured_thresh=" + Measured(t, "input_thresh") +
                             ":offset=" + Measured(t, "target_offset");
  ASSERT_EQ(Ffmpeg({"-i", dir.File("speech.wav"), "-af", second, "-ar", "48000", "-c:a", "pcm_f32le",
                    dir.File("minus24.wav")}).exit_code, 0);

  const ProcessResult run = RunDdhost({"encode", dir.File("minus24.wav"), dir.File("out.ac3"), "--dialnorm", "auto"});
  ASSERT_EQ(run.exit_code, 0) << run.stderr_text;
  EXPECT_NE(run.stdout_bytes.find("DialNorm -24"), std::string::npos) << run.stdout_bytes;
  const ProcessResult info = RunDdhost({"info", dir.File("out.ac3")});
  EXPECT_NE(info.stdout_bytes.find("Dialogue Normalization: -24\n"), std::string::npos) << info.stdout_bytes;
}

TEST(HostExport, SettingsFileAndSetValuesAreCorrectedForTheLayoutAndReported) {
  TempDir& dir = TestTempDir();
  ASSERT_TRUE(WriteWav(dir.File("stereo.wav"), Speech(2), WavFormat::kPcm16));
  WriteText(dir.File("stored.json"), "{\"CodecMode\": 1, \"ChannelConfiguration\": 7, \"DataRate\": 640, \"DialNorm\": -20}");
  const ProcessResult run = RunDdhost({"encode", dir.File("stereo.wav"), dir.File("out.ac3"), "--settings",
                                       dir.File("stored.json"), "--set", "BitstreamMode=Commentary"});
  ASSERT_EQ(run.exit_code, 0) << run.stderr_text;
  EXPECT_NE(run.stdout_bytes.find("corrected ChannelConfiguration: 7 (3/2 (L R C LFE Ls Rs)) -> 2 (2/0 (L R))"),
            std::string::npos) << run.stdout_bytes;
  const ProcessResult info = RunDdhost({"info", dir.File("out.ac3")});
  for (const char* expected : {"Data Rate: 640", "Dialogue Normalization: -20", "Bitstream Mode: Commentary",
                               "Codec Mode: Dolby Digital\n"})
    EXPECT_NE(info.stdout_bytes.find(expected), std::string::npos) << expected << info.stdout_bytes;

  // A pinned configuration is kept; the file's channels are matched to it by label.
  const ProcessResult pinned = RunDdhost({"encode", dir.File("stereo.wav"), dir.File("pinned.ec3"), "--set",
                                          "ChannelConfiguration=7", "--set", "EnableLFE=0"});
  ASSERT_EQ(pinned.exit_code, 0) << pinned.stderr_text;
  EXPECT_NE(pinned.stdout_bytes.find("C channel has no channel in the file"), std::string::npos) << pinned.stdout_bytes;
  EXPECT_EQ(ProbeFile(dir.File("pinned.ec3")).channels, 5);
}

TEST(HostExport, BadSetValuesAreRefusedWithTheAllowedValues) {
  TempDir& dir = TestTempDir();
  ASSERT_TRUE(WriteWav(dir.File("stereo.wav"), Speech(2), WavFormat::kPcm16));
  struct Bad { const char* set; const char* says; };
  for (const Bad& b : {Bad{"Bogus=1", "the parameters are: CodecMode, ChannelConfiguration"},
                       Bad{"BitstreamMode=Opera", "allowed: 0 (Complete Main), 1 (Music and Effects)"},
                       Bad{"DataRate=99999", "outside its domain; allowed: 64, 72, 80"},
                       Bad{"DialNorm=5", "allowed: -31 .. -1"}, Bad{"DataRate", "KEY=VALUE"}}) {
    const ProcessResult run = RunDdhost({"encode", dir.File("stereo.wav"), dir.File("out.ec3"), "--set", b.set});
    EXPECT_EQ(run.exit_code, 2) << b.set;
    EXPECT_NE(run.stderr_text.find(b.says), std::string::npos) << b.set << ": " << run.stderr_text;
    EXPECT_FALSE(FileExists(dir.File("out.ec3")));
  }
}

}  // namespace
}  // namespace ddtest
