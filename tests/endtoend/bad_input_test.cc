// What ddhost's Encode command does with input it cannot use as it is: a clear message and
// a non-zero exit code where the command ends, a warning where it reads on, never a crash, a
// hang or a failed run that exits 0.
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cstdint>
#include <thread>
#include <vector>

#include "dd_test_support.h"
#include "ddhost_run.h"

namespace ddtest {
namespace {

constexpr std::size_t kFrames = 24000;
constexpr off_t kFourGiB = off_t{1} << 32;

bool Mentions(const ProcessResult& r, const std::string& text) {
  return r.stderr_text.find(text) != std::string::npos;
}

class BadInput : public ::testing::Test {
 protected:
  std::string Path(const std::string& name) const { return dir_.File(name); }

  // A 16-bit stereo WAV image of a tone with the given data size field.
  std::vector<unsigned char> StereoWav(std::uint32_t declared, std::size_t frames) {
    WavImage wav;
    Planar tone;
    tone.channels.assign(2, Sine(frames, 440.0, 0.3));
    wav.AppendPcm16(tone);
    wav.declared = declared;
    return wav.Bytes();
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

// A data size that disagrees with the file: the reader's rule decides what is encoded (the
// declared size, or what the file holds when that is less), and the command says how much
// audio the file holds against how much is encoded.
TEST_F(BadInput, DataSizesThatDisagreeWithTheFileAreSaidSo) {
  {
    SCOPED_TRACE("a size that wrapped past 4 GiB: the file holds 4 GiB more than declared");
    Write("wrapped.wav", StereoWav(kFrames * 4, kFrames));
    // The rest of a file over 4 GiB, left sparse: it is never read.
    ASSERT_EQ(truncate(Path("wrapped.wav").c_str(), 44 + kFrames * 4 + kFourGiB), 0);
    const ProcessResult r = RunEncode(Path("wrapped.wav"), Path("out.ec3"));
    ASSERT_EQ(r.exit_code, 0) << r.stderr_text;
    EXPECT_TRUE(Mentions(r, "warning: " + Path("wrapped.wav") + ": the file holds 4295063296 "
                            "bytes of audio (about 22370.121 s) but its data chunk declares "
                            "96000 bytes (a 32-bit size that wrapped past 4 GiB): only the first "
                            "0.500 s are encoded"))
        << r.stderr_text;
    EXPECT_EQ(ReadFrameInfos(Path("out.ec3")).size(), (kFrames + 1535) / 1536);
  }
  {
    SCOPED_TRACE("a chunk after the audio is no disagreement");
    std::vector<unsigned char> trailing = StereoWav(kFrames * 4, kFrames);
    const std::string list = std::string("LIST") + std::string("\x04\0\0\0", 4) + "INFO";
    trailing.insert(trailing.end(), list.begin(), list.end());
    Write("trailing.wav", trailing);
    const ProcessResult r = RunEncode(Path("trailing.wav"), Path("out.ec3"));
    ASSERT_EQ(r.exit_code, 0) << r.stderr_text;
    EXPECT_FALSE(Mentions(r, "bytes of audio")) << r.stderr_text;
  }
  {
    SCOPED_TRACE("a size beyond the end of the file: what is there is encoded");
    Write("long.wav", StereoWav(0xFFFFFFFFu, kFrames));
    const ProcessResult r = RunEncode(Path("long.wav"), Path("out.ec3"));
    ASSERT_EQ(r.exit_code, 0) << r.stderr_text;
    EXPECT_TRUE(Mentions(r, "the data chunk declares 4294967295 bytes (22369.621 s) (a size of "
                            "0xFFFFFFFF: the writer could not say the length of a file over 4 "
                            "GiB) but the file holds only 96000 (0.500 s): 0.500 s are encoded"))
        << r.stderr_text;
    const DecodeResult decoded = DecodeFile(Path("out.ec3"));
    ASSERT_TRUE(decoded.Clean()) << decoded.stderr_text;
    EXPECT_GE(decoded.audio.frames(), kFrames);
    EXPECT_LT(decoded.audio.frames(), kFrames + 1536);
  }
}

TEST_F(BadInput, AnEmptyRecordingGivesAStreamOfSilenceAndSaysSo) {
  Write("empty.wav", StereoWav(0, 0));
  const ProcessResult r = RunEncode(Path("empty.wav"), Path("out.ec3"));
  ASSERT_EQ(r.exit_code, 0) << r.stderr_text;
  EXPECT_TRUE(Mentions(r, "the file holds no whole sample frame of audio")) << r.stderr_text;
  const DecodeResult decoded = DecodeFile(Path("out.ec3"));
  ASSERT_TRUE(decoded.Clean()) << decoded.stderr_text;
  EXPECT_LE(decoded.audio.frames(), 2u * 1536u);
}

// Another program truncates the input while it is being encoded. The reads come back short;
// the command still hands the encoder every frame the header gave (the missing ones as
// silence), and it ends as a failure that says so.
TEST_F(BadInput, AnInputThatShrinksWhileBeingEncodedFails) {
  constexpr std::size_t kLong = 1500 * 1000;  // 3 MB of 16-bit mono, 31.25 s
  Planar mono;
  mono.channels.push_back(Sine(kLong, 440.0, 0.3));
  ASSERT_TRUE(WriteWav(Path("shrinking.wav"), mono, WavFormat::kPcm16));
  WriteText(Path("mono.json"), "{\"ChannelConfiguration\": 1}");

  // The output is created once the input's header has been read: from then on the command
  // reads from its 2 MiB buffer, then from the file, which by then holds only 1 MiB.
  const int watch = inotify_init1(IN_CLOEXEC);
  ASSERT_GE(watch, 0);
  ASSERT_GE(inotify_add_watch(watch, dir_.path().c_str(), IN_CREATE), 0);
  ProcessResult r;
  std::thread encode([&] {
    r = RunEncode(Path("shrinking.wav"), Path("out.ec3"), Path("mono.json"));
  });
  bool created = false;
  alignas(inotify_event) char events[4096];
  while (!created) {
    const ssize_t n = read(watch, events, sizeof events);
    if (n <= 0) break;
    for (char* p = events; p < events + n;) {
      const auto* event = reinterpret_cast<const inotify_event*>(p);
      created = created || (event->len > 0 && std::string(event->name) == "out.ec3");
      p += sizeof(inotify_event) + event->len;
    }
  }
  const std::size_t kept = 1 << 20;
  const bool truncated = created && truncate(Path("shrinking.wav").c_str(), kept) == 0;
  encode.join();
  close(watch);
  ASSERT_TRUE(truncated);

  EXPECT_EQ(r.exit_code, 1) << r.stderr_text;
  // What was read before the reads came back short: at least what the file kept.
  const std::string said = "error: " + Path("shrinking.wav") + " shrank while it was being encoded: ";
  const std::size_t at = r.stderr_text.find(said);
  ASSERT_NE(at, std::string::npos) << r.stderr_text;
  const std::size_t readable = std::stoul(r.stderr_text.substr(at + said.size()));
  EXPECT_GE(readable, (kept - 44) / 2);
  EXPECT_LT(readable, kLong);
  EXPECT_TRUE(Mentions(r, " of the 1500000 frames its header gave could be read")) << r.stderr_text;
  EXPECT_TRUE(Mentions(r, "holds the full length, with silence where the audio was missing"))
      << r.stderr_text;
  // The command leaves the full-length stream it wrote; ddhost, as the host, removes the
  // output of a failed run, so nothing that looks finished is left behind.
  EXPECT_NE(access(Path("out.ec3").c_str(), F_OK), 0);
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
  const ProcessResult r =
      RunEncode(Path("in.wav"), Path("out.ec3"), std::string(), {"--engine", Path("nothing.so")});
  EXPECT_EQ(r.exit_code, 1);
  EXPECT_TRUE(Mentions(r, "could not be loaded")) << r.stderr_text;
  // The output was created before the encoder was set up, and nothing went into it.
  EXPECT_TRUE(Mentions(r, "holds nothing")) << r.stderr_text;
  EXPECT_TRUE(ReadBytes(Path("out.ec3")).empty());
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
