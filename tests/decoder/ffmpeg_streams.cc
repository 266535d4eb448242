#include "ffmpeg_streams.h"

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include "temp_dir.h"

namespace ddtest {
namespace {

const char* LayoutName(int channels) {
  switch (channels) {
    case 1: return "mono";
    case 2: return "stereo";
    case 3: return "3.0";
    case 4: return "quad";
    case 5: return "5.0";
    default: return "5.1";
  }
}

std::string ToneExpression(const ToneSpec& tones) {
  std::ostringstream expr;
  for (int c = 0; c < tones.channels; ++c) {
    if (c) expr << '|';
    // Distinct frequencies and levels, so a swapped channel shows.
    expr << (0.2 + 0.05 * c) << "*sin(2*PI*" << (220 + 110 * c) << "*t)";
  }
  return expr.str();
}

}  // namespace

std::string ScratchPath(const std::string& name) {
  // One folder per test process, removed with its files when the process exits.
  static const TempDir folder("dd_decoder_test");
  return folder.File(name);
}

int Run(const std::string& command) {
  const int status = std::system((command + " >/dev/null 2>&1").c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool EncodeTones(const ToneSpec& tones, const std::string& codec_args, const std::string& path) {
  std::ostringstream cmd;
  cmd << "ffmpeg -nostdin -y -v error -f lavfi -i 'aevalsrc=" << ToneExpression(tones)
      << ":s=" << tones.sample_rate << ":d=" << tones.seconds << ":c="
      << LayoutName(tones.channels) << "' " << codec_args << " -f "
      << (codec_args.find("eac3") != std::string::npos ? "eac3" : "ac3") << " '" << path << "'";
  return Run(cmd.str()) == 0;
}

bool DecodeReference(const std::string& path, int channels, std::vector<float>* interleaved,
                     const std::string& decoder_args) {
  const std::string raw = path + ".f32";
  const std::string cmd = "ffmpeg -nostdin -y -v error " + decoder_args + " -i '" + path +
                          "' -f f32le '" + raw + "'";
  if (Run(cmd) != 0) return false;
  const std::vector<std::uint8_t> bytes = ReadFile(raw);
  interleaved->resize(bytes.size() / sizeof(float));
  std::copy(bytes.begin(), bytes.begin() + interleaved->size() * sizeof(float),
            reinterpret_cast<std::uint8_t*>(interleaved->data()));
  std::remove(raw.c_str());
  return true;
}

std::vector<std::uint8_t> ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::vector<std::uint8_t>(std::istreambuf_iterator<char>(in), {});
}

bool WriteFile(const std::string& path, const std::vector<std::uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return static_cast<bool>(out);
}

}  // namespace ddtest
