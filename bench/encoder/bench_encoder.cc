// Our encoder against FFmpeg's on the same 60 s 5.1 programme, in one run:
//   AC-3 at 448 kbps (engine mode 1 vs ffmpeg -c:a ac3) and E-AC-3 at 192 kbps (engine mode 0
//   vs ffmpeg -c:a eac3); then ours alone on a 7.1 version of it at 640 kbps (E-AC-3 with a
//   dependent substream, which FFmpeg's encoder does not write). Each encode runs as its own child process, so wall time and peak
//   memory are measured the same way for both. Each encoder is started by a small measuring
//   process (--measure): a child spawned straight from this large process would inherit its
//   resident-set high-water mark at exec and report it as its own peak. Quality is
//   measured after decoding each stream with FFmpeg (DRC off, so only coding error remains),
//   aligned with the lag finder: SNR and the Bark-band noise-to-mask ratio, averaged over the
//   five full-bandwidth channels.
//
// bench_encoder [--seconds N] [--repeat N] [--engine PATH/libddpi_engine.so] [--keep DIR]
// Each encode runs --repeat times (default 3), ours and FFmpeg's in turn; the table shows the
// fastest run, since other work on the machine only ever adds time.
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "dd_test_support.h"
#include "engine_runner.h"

namespace {

using ddtest::Planar;

constexpr int kRate = 48000;
constexpr int kChannels = 6;  // L R C LFE Ls Rs
constexpr int kLfe = 3;

// Where FFmpeg's decoder puts each programme channel: 5.1 in slot order, 7.1 (programme
// L R C LFE Ls Rs Lrs Rrs) in its own order FL FR FC LFE BL BR SL SR.
const std::vector<int> kDecodedIndex51 = {0, 1, 2, 3, 4, 5};
const std::vector<int> kDecodedIndex71 = {0, 1, 2, 3, 6, 7, 4, 5};
const char* const kLabels[] = {"L", "R", "C", "LFE", "Ls", "Rs", "Lrs", "Rrs"};

std::string SelfPath() {
  char buffer[4096];
  const ssize_t n = readlink("/proc/self/exe", buffer, sizeof(buffer) - 1);
  return n > 0 ? std::string(buffer, static_cast<size_t>(n)) : "bench_encoder";
}

std::string DefaultEnginePath() {
  const std::filesystem::path exe(SelfPath());
  return (exe.parent_path().parent_path() / "lib" / "libddpi_engine.so").string();
}

// Speech naming each loudspeaker every few seconds (staggered per channel), over a quiet pink
// noise bed, sustained harmonic "music" in the fronts and surrounds, castanet-like attacks in
// L and Rs, and a low tone in LFE. 6 channels: L R C LFE Ls Rs; 8: 7.1, whose Ls/Rs are the
// side pair and Lrs/Rrs the rear pair.
Planar MakeProgramme(size_t frames, int channels) {
  static const char* kNames51[] = {"Front_Left", "Front_Right", "Front_Center",
                                   nullptr,      "Rear_Left",   "Rear_Right"};
  static const char* kNames71[] = {"Front_Left", "Front_Right", "Front_Center", nullptr,
                                   "Side_Left",  "Side_Right",  "Rear_Left",    "Rear_Right"};
  const char* const* kNames = channels == 8 ? kNames71 : kNames51;
  const double kMusicAmplitude[] = {0.06, 0.06, 0.02, 0, 0.04, 0.04, 0.03, 0.03};
  Planar p;
  p.channels.assign(channels, std::vector<float>(frames, 0.0f));
  for (int c = 0; c < channels; ++c) {
    std::vector<float>& x = p.channels[c];
    if (c == kLfe) {
      ddtest::MixInto(&x, ddtest::Sine(frames, 40.0, 0.15));
      ddtest::MixInto(&x, ddtest::Sine(frames, 70.0, 0.08));
      continue;
    }
    const std::vector<float> speech = ddtest::LoadAlsaSpeech({kNames[c]}, 2 * kRate).channels[0];
    const size_t period = 6 * kRate;
    for (size_t start = c * kRate; start < frames; start += period) {
      for (size_t i = 0; i < speech.size() && start + i < frames; ++i) x[start + i] += speech[i];
    }
    ddtest::MixInto(&x, ddtest::PinkNoise(frames, 0.01, 11 + c));
    ddtest::MixInto(&x, ddtest::ToneChords(frames, kRate * 3 / 2, kMusicAmplitude[c], 21 + c));
    if (c == 0 || c == 5) {
      ddtest::MixInto(&x, ddtest::CastanetBursts(frames, 2 * kRate + 777 * c, 0.5f, 31 + c));
    }
    for (float& v : x) v = std::fmax(-0.98f, std::fmin(0.98f, v));
  }
  return p;
}

struct EncodeRun {
  bool ok = false;
  int reported_delay = -1;  // ours: the engine's delay_samples
  std::string error;
  double wall_seconds = 0;
  double peak_mb = 0;
  double snr_db = 0;
  double nmr_db = 0;
  int lag = 0;
  long bytes = 0;
  std::string per_channel;  // "L 31.2 R 30.9 ..." SNR / NMR per full-bandwidth channel
};

const std::vector<int>& DecodedIndex(const Planar& programme) {
  return programme.channels.size() == 8 ? kDecodedIndex71 : kDecodedIndex51;
}

// Decodes `stream` with FFmpeg and compares it with the programme.
void MeasureQuality(const Planar& programme, const std::string& stream, EncodeRun* run) {
  const ddtest::DecodeResult decoded = ddtest::DecodeFile(stream, {"-drc_scale", "0"});
  const int channels = static_cast<int>(programme.channels.size());
  if (!decoded.Clean() || decoded.channels != channels) {
    run->ok = false;
    run->error = "decode: " + decoded.stderr_text + " (" + std::to_string(decoded.channels) +
                 " channels)";
    return;
  }
  run->lag = ddtest::BestLag(programme.channels[2], decoded.audio.channels[2], 8192, 10 * kRate);
  const size_t skip = kRate;  // leave out the first second (encoder start-up)
  const size_t count = programme.frames() - 2 * skip;
  double snr_sum = 0, nmr_sum = 0;
  int measured = 0;
  for (int c = 0; c < channels; ++c) {
    if (c == kLfe) continue;
    const std::vector<float>& ref = programme.channels[c];
    const std::vector<float>& out = decoded.audio.channels[DecodedIndex(programme)[c]];
    const long start = static_cast<long>(skip) + run->lag;
    if (start < 0 || static_cast<size_t>(start) + count > out.size()) {
      run->ok = false;
      run->error = "decoded stream too short for lag " + std::to_string(run->lag);
      return;
    }
    const double snr = ddtest::SnrDb(ref, out, skip, static_cast<size_t>(start), count);
    const std::vector<float> ref_part(ref.begin() + skip, ref.begin() + skip + count);
    const std::vector<float> out_part(out.begin() + start, out.begin() + start + count);
    const double nmr = ddtest::NoiseToMaskDb(ref_part, out_part);
    char text[64];
    std::snprintf(text, sizeof(text), " %s %.1f/%.1f", kLabels[c], snr, nmr);
    run->per_channel += text;
    snr_sum += snr;
    nmr_sum += nmr;
    ++measured;
  }
  run->snr_db = snr_sum / measured;
  run->nmr_db = nmr_sum / measured;
}

// Output of --measure: "MEASURE exit peak_kb wall_seconds" then the measured child's stdout.
EncodeRun Finish(const ddtest::ProcessResult& process, const std::string& stream,
                 const Planar& programme) {
  EncodeRun run;
  int exit_code = -1;
  long peak_kb = 0;
  int consumed = 0;
  if (std::sscanf(process.stdout_bytes.c_str(), "MEASURE %d %ld %lf\n%n", &exit_code, &peak_kb,
                  &run.wall_seconds, &consumed) < 3) {
    run.error = "measuring process failed: " + process.stderr_text;
    return run;
  }
  run.peak_mb = peak_kb / 1024.0;
  if (exit_code != 0) {
    run.error = process.stderr_text.empty() ? "exit " + std::to_string(exit_code)
                                            : process.stderr_text;
    return run;
  }
  std::sscanf(process.stdout_bytes.c_str() + consumed, "%d", &run.reported_delay);
  run.ok = true;
  run.bytes = static_cast<long>(std::filesystem::file_size(stream));
  MeasureQuality(programme, stream, &run);
  return run;
}

// The fastest wall time and the highest peak memory over the runs of one encode command;
// quality comes from the last stream written. A failed run ends the series and is reported.
class Timing {
 public:
  explicit Timing(std::vector<std::string> command) : command_(std::move(command)) {}

  void RunOnce() {
    if (failed_) return;
    last_ = ddtest::RunProcess(command_);
    double wall = 0;
    long peak_kb = 0;
    int exit_code = -1;
    if (std::sscanf(last_.stdout_bytes.c_str(), "MEASURE %d %ld %lf", &exit_code, &peak_kb,
                    &wall) < 3 || exit_code != 0) {
      failed_ = true;
      return;
    }
    fastest_ = std::min(fastest_, wall);
    peak_mb_ = std::max(peak_mb_, peak_kb / 1024.0);
  }

  EncodeRun Result(const std::string& stream, const Planar& programme) const {
    EncodeRun run = Finish(last_, stream, programme);
    if (run.ok) {
      run.wall_seconds = fastest_;
      run.peak_mb = peak_mb_;
    }
    return run;
  }

 private:
  std::vector<std::string> command_;
  ddtest::ProcessResult last_;
  double fastest_ = 1e30, peak_mb_ = 0;
  bool failed_ = false;
};

// Runs argv[2..] and reports its exit code, peak resident set and wall time.
int Measure(int argc, char** argv) {
  const std::vector<std::string> command(argv + 2, argv + argc);
  const ddtest::ProcessResult run = ddtest::RunProcess(command);
  std::printf("MEASURE %d %ld %.6f\n%s", run.exit_code, run.peak_rss_kb, run.wall_seconds,
              run.stdout_bytes.c_str());
  std::fputs(run.stderr_text.c_str(), stderr);
  return run.exit_code == 0 ? 0 : 1;
}

void PrintComparison(const char* title, const EncodeRun& ours, const EncodeRun& theirs) {
  std::printf("\n%s\n", title);
  std::printf("  %-24s %12s %12s %10s\n", "", "ours", "ffmpeg", "ours/ffm");
  auto row = [&](const char* name, double a, double b, bool ratio, const char* unit) {
    std::printf("  %-24s", name);
    if (ours.ok) std::printf(" %10.3f%-2s", a, unit); else std::printf(" %12s", "-");
    if (theirs.ok) std::printf(" %10.3f%-2s", b, unit); else std::printf(" %12s", "-");
    if (ours.ok && theirs.ok && ratio && b != 0) std::printf(" %10.3f", a / b);
    else if (ours.ok && theirs.ok) std::printf(" %+10.2f", a - b);
    std::printf("\n");
  };
  row("encode wall time", ours.wall_seconds, theirs.wall_seconds, true, "s");
  row("peak memory (RSS)", ours.peak_mb, theirs.peak_mb, true, "MB");
  row("stream size", ours.bytes / 1024.0, theirs.bytes / 1024.0, true, "kB");
  row("SNR, mean of full-band", ours.snr_db, theirs.snr_db, false, "dB");
  row("NMR, mean of full-band", ours.nmr_db, theirs.nmr_db, false, "dB");
  std::printf("  %-24s %10d   %10d   (engine reports delay %d)\n", "alignment lag (samples)",
              ours.lag, theirs.lag, ours.reported_delay);
  std::printf("  SNR/NMR dB per channel, ours:  %s\n", ours.per_channel.c_str());
  std::printf("  SNR/NMR dB per channel, ffmpeg:%s\n", theirs.per_channel.c_str());
  // The first lines of an error say enough; a broken stream can produce thousands.
  auto first_lines = [](const std::string& text) {
    size_t end = 0;
    for (int line = 0; line < 4 && end != std::string::npos; ++line) {
      end = text.find('\n', end == 0 ? 0 : end + 1);
    }
    return end == std::string::npos ? text : text.substr(0, end) + "\n    ...";
  };
  if (!ours.ok) std::printf("  ours failed: %s\n", first_lines(ours.error).c_str());
  if (!theirs.ok) std::printf("  ffmpeg failed: %s\n", first_lines(theirs.error).c_str());
}

int EngineChild(int argc, char** argv) {
  if (argc != 7) {
    std::fprintf(stderr, "usage: --engine-child ENGINE MODE KBPS IN.wav OUT\n");
    return 2;
  }
  ddbench::EngineJob job;
  job.engine_path = argv[2];
  job.mode = std::atoi(argv[3]);
  job.kbps = std::atoi(argv[4]);
  job.input_wav = argv[5];
  job.output_path = argv[6];
  const ddbench::EngineReport report = ddbench::RunEngine(job);
  if (!report.ok) {
    std::fprintf(stderr, "%s\n", report.error.c_str());
    return 1;
  }
  std::printf("%d %d %ld %ld\n", report.delay_samples, report.tail_samples, report.frames,
              report.bytes);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1 && std::strcmp(argv[1], "--engine-child") == 0) return EngineChild(argc, argv);
  if (argc > 2 && std::strcmp(argv[1], "--measure") == 0) return Measure(argc, argv);

  double seconds = 60;
  int repeat = 3;
  std::string engine = DefaultEnginePath();
  std::string keep;
  for (int i = 1; i + 1 < argc; i += 2) {
    if (std::strcmp(argv[i], "--seconds") == 0) seconds = std::atof(argv[i + 1]);
    else if (std::strcmp(argv[i], "--engine") == 0) engine = argv[i + 1];
    else if (std::strcmp(argv[i], "--keep") == 0) keep = argv[i + 1];
    else if (std::strcmp(argv[i], "--repeat") == 0) repeat = std::max(1, std::atoi(argv[i + 1]));
  }

  ddtest::TempDir temp("bench_encoder");
  const std::string dir = keep.empty() ? temp.path() : keep;
  std::filesystem::create_directories(dir);
  const size_t frames = static_cast<size_t>(seconds * kRate);
  const Planar programme = MakeProgramme(frames, kChannels);
  const std::string input = dir + "/programme.wav";
  if (!ddtest::WriteWav(input, programme, ddtest::WavFormat::kFloat32)) {
    std::fprintf(stderr, "cannot write %s\n", input.c_str());
    return 1;
  }
  std::printf("programme: %.0f s, 5.1, 48 kHz float; engine %s\n", seconds, engine.c_str());

  struct Item {
    const char* title;
    int mode;
    int kbps;
    const char* codec;
    const char* extension;
  };
  const Item items[] = {{"AC-3 448 kbps (engine mode 1 / ffmpeg ac3)", 1, 448, "ac3", "ac3"},
                        {"E-AC-3 192 kbps (engine mode 0 / ffmpeg eac3)", 0, 192, "eac3", "ec3"}};
  int failures = 0;
  for (const Item& item : items) {
    const std::string ours_path = dir + "/ours." + item.extension;
    const std::string theirs_path = dir + "/ffmpeg." + item.extension;
    const std::vector<std::string> ours_command = {
        SelfPath(), "--measure", SelfPath(), "--engine-child", engine,
        std::to_string(item.mode), std::to_string(item.kbps), input, ours_path};
    const std::vector<std::string> theirs_command = {
        SelfPath(), "--measure", "ffmpeg", "-nostdin", "-v", "error", "-y", "-i", input, "-c:a",
        item.codec, "-b:a", std::to_string(item.kbps) + "k", "-f", item.codec, theirs_path};
    // The two encoders' runs alternate, so that a slow spell of the machine (seconds long on
    // this kind of virtual machine) slows both sides rather than every run of one.
    Timing ours_timing(ours_command), theirs_timing(theirs_command);
    for (int r = 0; r < repeat; ++r) {
      ours_timing.RunOnce();
      theirs_timing.RunOnce();
    }
    const EncodeRun ours = ours_timing.Result(ours_path, programme);
    const EncodeRun theirs = theirs_timing.Result(theirs_path, programme);
    PrintComparison(item.title, ours, theirs);
    failures += !ours.ok + !theirs.ok;
  }

  // 7.1 at 640 kbps: ours alone, for its speed and memory beside the 5.1 figures above.
  const Planar wide = MakeProgramme(frames, 8);
  const std::string wide_input = dir + "/programme71.wav";
  if (!ddtest::WriteWav(wide_input, wide, ddtest::WavFormat::kFloat32)) {
    std::fprintf(stderr, "cannot write %s\n", wide_input.c_str());
    return 1;
  }
  const std::string wide_path = dir + "/ours71.ec3";
  Timing wide_timing({SelfPath(), "--measure", SelfPath(), "--engine-child", engine, "0", "640",
                      wide_input, wide_path});
  for (int r = 0; r < repeat; ++r) wide_timing.RunOnce();
  const EncodeRun ours71 = wide_timing.Result(wide_path, wide);
  EncodeRun none;
  none.error = "not run: FFmpeg's E-AC-3 encoder writes at most 5.1";
  PrintComparison("E-AC-3 7.1 640 kbps (engine mode 0, configuration 21)", ours71, none);
  failures += !ours71.ok;
  return failures == 0 ? 0 : 1;
}
