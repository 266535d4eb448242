// What ddhost encode and decode do with input they cannot use and outputs they cannot write,
// and when they are stopped: a clear message, exit code 1, and nothing left behind, neither
// the output nor a temporary file; an existing output that is not a regular file is never
// replaced.
#include <gtest/gtest.h>

#include <dirent.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "dd_test_support.h"
#include "ddhost_run.h"

namespace ddtest {
namespace {

const std::string kDdhost = std::string(DD_BINARY_DIR) + "/bin/ddhost";

std::vector<std::string> FilesIn(const std::string& folder) {
  std::vector<std::string> names;
  if (DIR* d = opendir(folder.c_str())) {
    while (dirent* e = readdir(d))
      if (std::string(e->d_name) != "." && std::string(e->d_name) != "..") names.push_back(e->d_name);
    closedir(d);
  }
  return names;
}

// A PCM WAV header declaring `channels` (any count, 0 included) and `frames` of 16-bit silence.
std::vector<unsigned char> PcmWav(int channels, std::size_t frames) {
  std::vector<unsigned char> b;
  auto put = [&b](std::uint32_t v, int n) {
    for (int i = 0; i < n; ++i) b.push_back(static_cast<unsigned char>(v >> (8 * i)));
  };
  auto tag = [&b](const char* t) { b.insert(b.end(), t, t + 4); };
  const std::uint32_t data = static_cast<std::uint32_t>(frames * channels * 2);
  tag("RIFF"), put(36 + data, 4), tag("WAVE"), tag("fmt "), put(16, 4), put(1, 2), put(channels, 2),
      put(48000, 4), put(48000 * 2 * channels, 4), put(2 * channels, 2), put(16, 2), tag("data"), put(data, 4);
  b.resize(b.size() + data, 0);
  return b;
}

class HostBadInput : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(WriteWav(In("good.wav"), SpeechForLayout(2, false, 24000), WavFormat::kPcm16));
    WriteText(In("stereo.json"), "{\"ChannelConfiguration\": 2, \"EnableLFE\": 0}");
    ASSERT_EQ(RunEncode(In("good.wav"), In("good.ec3"), In("stereo.json")).exit_code, 0);
    ASSERT_EQ(mkdir(out_.path().c_str(), 0755), 0);
  }
  std::string In(const std::string& name) const { return in_.File(name); }
  std::string Out(const std::string& name) const { return out_.File(name); }

  // The run failed with exit code 1, said `says`, and left the output folder as it was.
  void ExpectCleanFailure(const ProcessResult& run, const std::string& says,
                          const std::vector<std::string>& before = {}) {
    EXPECT_EQ(run.exit_code, 1) << run.stderr_text;
    EXPECT_NE(run.stderr_text.find(says), std::string::npos) << run.stderr_text;
    EXPECT_EQ(FilesIn(out_.path()), before);
  }

  TempDir in_{"host_bad_input"};
  TempDir out_folder_parent_{"host_bad_output"};
  struct Folder {
    std::string p;
    const std::string& path() const { return p; }
    std::string File(const std::string& n) const { return p + "/" + n; }
  } out_{out_folder_parent_.File("out")};
};

TEST_F(HostBadInput, InputsThatCannotBeEncoded) {
  WriteText(In("junk.wav"), std::string(5000, 'x'));
  ExpectCleanFailure(RunDdhost({"encode", In("junk.wav"), Out("a.ec3")}), "cannot be read as a sound file");
  ExpectCleanFailure(RunDdhost({"encode", In("missing.wav"), Out("a.ec3")}), "No such file");

  const std::vector<unsigned char> nine = PcmWav(9, 4800);
  WriteText(In("nine.wav"), std::string(nine.begin(), nine.end()));
  ExpectCleanFailure(RunDdhost({"encode", In("nine.wav"), Out("a.ec3")}), "9 channels");
  const std::vector<unsigned char> none = PcmWav(0, 4800);
  WriteText(In("none.wav"), std::string(none.begin(), none.end()));
  ExpectCleanFailure(RunDdhost({"encode", In("none.wav"), Out("a.ec3")}), "none.wav");

  // A FLAC file cut in the middle: its header promises more than there is.
  ASSERT_EQ(RunProcess({"ffmpeg", "-v", "error", "-i", In("good.wav"), In("whole.flac")}).exit_code, 0);
  std::vector<unsigned char> flac = ReadBytes(In("whole.flac"));
  flac.resize(flac.size() / 2);
  WriteText(In("cut.flac"), std::string(flac.begin(), flac.end()));
  ExpectCleanFailure(RunDdhost({"encode", In("cut.flac"), Out("a.ec3")}), "cut.flac");

  // An MP4 with only a video track is neither a sound file nor a stream.
  ASSERT_EQ(RunProcess({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "testsrc=d=0.2", "-c:v", "mpeg4",
                        In("video.mp4")}).exit_code, 0);
  ExpectCleanFailure(RunDdhost({"encode", In("video.mp4"), Out("a.ec3")}), "video.mp4");
  ExpectCleanFailure(RunDdhost({"decode", In("video.mp4"), Out("a.wav")}), "has no audio track");
}

TEST_F(HostBadInput, OutputsThatCannotBeWritten) {
  ExpectCleanFailure(RunDdhost({"encode", In("good.wav"), Out("no/such/folder/a.ec3")}), "does not exist");
  ExpectCleanFailure(RunDdhost({"decode", In("good.ec3"), Out("no/such/folder/a.wav")}), "does not exist");
  if (geteuid() != 0) {
    chmod(out_.path().c_str(), 0555);
    ExpectCleanFailure(RunDdhost({"encode", In("good.wav"), Out("a.ec3")}), "cannot create a file in");
    chmod(out_.path().c_str(), 0755);
  }
  // A full disk, as a file-size limit makes it: the write fails part way.
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"decode", In("good.ec3"), Out("full.wav")},
        std::vector<std::string>{"encode", In("good.wav"), Out("full.mkv")}}) {
    std::string command = "ulimit -f 8; exec '" + kDdhost + "'";
    for (const std::string& a : args) command += " '" + a + "'";
    ExpectCleanFailure(RunProcess({"sh", "-c", command}), "File too large");
  }
}

TEST_F(HostBadInput, AnExistingOutputThatIsNotARegularFileIsLeftAlone) {
  const std::string fifo = Out("pipe.wav");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0644), 0);
  ExpectCleanFailure(RunDdhost({"decode", In("good.ec3"), fifo}), "is not a regular file", {"pipe.wav"});
  struct stat s;
  ASSERT_EQ(lstat(fifo.c_str(), &s), 0);
  EXPECT_TRUE(S_ISFIFO(s.st_mode));
  EXPECT_EQ(RunDdhost({"encode", In("good.wav"), Out("")}).exit_code, 2);  // the folder itself
}

TEST_F(HostBadInput, AMissingEngineModuleIsNamedAsTheCause) {
  const ProcessResult info = RunDdhost({"--engine", "/nonexistent.so", "info", In("good.ec3")});
  EXPECT_EQ(info.exit_code, 1);
  EXPECT_NE(info.stderr_text.find("could not be loaded"), std::string::npos) << info.stderr_text;
  const ProcessResult run = RunDdhost({"--engine", "/nonexistent.so", "decode", In("good.ec3"), Out("a.wav")});
  ExpectCleanFailure(run, "the engine module /nonexistent.so could not be loaded");
  EXPECT_NE(run.stderr_text.find("No such file"), std::string::npos) << run.stderr_text;
  EXPECT_EQ(run.stderr_text.find("stream"), std::string::npos) << run.stderr_text;
}

// Starts ddhost with `args`, waits until `appears` (a file name in the output folder, or a
// prefix ending in '*') exists with content, then sends `sig` and returns the exit status.
int InterruptWhenWriting(const std::vector<std::string>& args, const std::string& folder,
                         const std::string& appears, int sig) {
  const pid_t child = fork();
  if (child == 0) {
    std::vector<char*> argv{const_cast<char*>(kDdhost.c_str())};
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    freopen("/dev/null", "w", stdout);
    execv(kDdhost.c_str(), argv.data());
    _exit(127);
  }
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  for (bool seen = false; !seen && std::chrono::steady_clock::now() < deadline;) {
    for (const std::string& name : FilesIn(folder)) {
      struct stat s;
      const bool match = appears.back() == '*' ? name.find(appears.substr(0, appears.size() - 1)) != std::string::npos
                                               : name == appears;
      if (match && stat((folder + "/" + name).c_str(), &s) == 0 && s.st_size > 0) seen = true;
    }
    if (!seen) std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  kill(child, sig);
  int status = 0;
  waitpid(child, &status, 0);
  return status;
}

TEST_F(HostBadInput, AnInterruptedEncodeLeavesNoStreamBehind) {
  // Long enough that the encode is still running when the first bytes appear.
  Planar programme;
  programme.channels.assign(2, Sine(48000 * 90, 440, 0.3));
  ASSERT_TRUE(WriteWav(In("long.wav"), programme, WavFormat::kPcm16));

  const int command = InterruptWhenWriting({"dolbydigital.Encode", "-in=" + In("long.wav"), "-out=" + Out("cmd.ec3")},
                                           out_.path(), "cmd.ec3", SIGINT);
  EXPECT_TRUE(WIFSIGNALED(command) && WTERMSIG(command) == SIGINT) << command;
  EXPECT_EQ(FilesIn(out_.path()), std::vector<std::string>{});

  const int host = InterruptWhenWriting({"encode", In("long.wav"), Out("host.ec3")}, out_.path(), "host.ec3.partial*", SIGTERM);
  EXPECT_TRUE(WIFSIGNALED(host) && WTERMSIG(host) == SIGTERM) << host;
  EXPECT_EQ(FilesIn(out_.path()), std::vector<std::string>{});

  // A file that was there before and that the run never touched is the user's: it stays.
  WriteText(Out("kept.ec3"), "old");
  const ProcessResult failed = RunEncode(In("missing.wav"), Out("kept.ec3"));
  EXPECT_NE(failed.exit_code, 0);
  EXPECT_EQ(FilesIn(out_.path()), std::vector<std::string>{"kept.ec3"});
}

}  // namespace
}  // namespace ddtest
