// Decoding a 60 s 5.1 stream through the library against ffmpeg decoding the same stream
// to f32le, in one run: each side runs in its own child process (fastest of three), and
// the report gives the wall-time ratio and both peak resident sizes.
//
//   decoder_bench [STREAM]   (without STREAM a 448 kbps AC-3 5.1 stream is made with ffmpeg)
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>

#include "dolbydigital/decoder.h"

namespace {

struct Measurement {
  double seconds = 1e30;
  long peak_kib = 0;
  bool ok = true;
};

int DecodeWithLibrary(const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) return 2;
  auto reader = boost::make_shared<dolbydigital::ReadCallback>(
      [file](std::uint8_t* buffer, std::size_t& size) {
        size = std::fread(buffer, 1, size, file);
        return size > 0;
      });
  dolbydigital::Decoder decoder;
  int error = 0;
  if (!decoder.InitializeForDecode(reader, error)) return 3;
  std::rewind(file);
  const std::size_t channels = decoder.GetAudioChannelLayout().size();
  std::vector<std::vector<float>> planes(channels, std::vector<float>(4096));
  std::vector<float*> pointers;
  for (auto& p : planes) pointers.push_back(p.data());
  std::size_t total = 0;
  for (;;) {
    std::size_t frames = 4096;
    const bool more = decoder.Decode(pointers.data(), channels, frames, error);
    total += frames;
    if (!more) break;
  }
  std::fclose(file);
  return total > 0 ? 0 : 4;
}

// Runs `work` in a child process; wall time and the child's peak resident size.
template <class Work>
Measurement InChild(Work work) {
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) _exit(work());
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  Measurement m;
  m.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  m.peak_kib = usage.ru_maxrss;
  m.ok = WIFEXITED(status) && WEXITSTATUS(status) == 0;
  return m;
}

Measurement Fastest(int runs, const std::function<Measurement()>& once) {
  Measurement best;
  for (int i = 0; i < runs; ++i) {
    const Measurement m = once();
    best.ok = best.ok && m.ok;
    if (m.seconds < best.seconds) best.seconds = m.seconds;
    best.peak_kib = std::max(best.peak_kib, m.peak_kib);
  }
  return best;
}

}  // namespace

int main(int argc, char** argv) {
  std::string stream = argc > 1 ? argv[1] : "";
  if (stream.empty()) {
    stream = "/tmp/dd_decoder_bench_51.ac3";
    const std::string make =
        "ffmpeg -nostdin -y -v error -f lavfi -i 'aevalsrc=0.2*sin(2*PI*220*t)|0.2*sin(2*PI*330*t)|"
        "0.2*sin(2*PI*440*t)|0.1*sin(2*PI*55*t)|0.2*sin(2*PI*550*t)|0.2*sin(2*PI*660*t)+0.05*random(0)"
        ":s=48000:d=60:c=5.1' -c:a ac3 -b:a 448k " + stream;
    if (std::system(make.c_str()) != 0) return 1;
  }
  const Measurement ours = Fastest(3, [&] { return InChild([&] { return DecodeWithLibrary(stream); }); });
  const Measurement ffmpeg = Fastest(3, [&] {
    return InChild([&] {
      execlp("ffmpeg", "ffmpeg", "-nostdin", "-v", "error", "-y", "-i", stream.c_str(), "-f", "f32le",
             "/dev/null", static_cast<char*>(nullptr));
      return 127;
    });
  });
  if (!ours.ok || !ffmpeg.ok) {
    std::fprintf(stderr, "decoder_bench: a decode failed (library %d, ffmpeg %d)\n", ours.ok, ffmpeg.ok);
    return 1;
  }
  std::printf("stream              %s\n", stream.c_str());
  std::printf("library decode      %.3f s, peak %ld KiB\n", ours.seconds, ours.peak_kib);
  std::printf("ffmpeg -f f32le     %.3f s, peak %ld KiB\n", ffmpeg.seconds, ffmpeg.peak_kib);
  std::printf("wall-time ratio     %.3f (library / ffmpeg)\n", ours.seconds / ffmpeg.seconds);
  std::printf("peak memory ratio   %.3f\n", double(ours.peak_kib) / double(ffmpeg.peak_kib));
  return 0;
}
