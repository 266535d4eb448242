// "ddhost make-speech-wav OUT.wav": a 5.1 test programme at 48 kHz made of the alsa-utils
// speech recordings. Each loudspeaker says its own name in turn (front left, front right,
// front centre, rear left, rear right), then the LFE channel plays a low tone, so that a
// listener, or a test, can tell at once whether every channel came out where it belongs.
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "basalt/file.h"
#include "basalt/string.h"
#include "output_file.h"
#include "tool.h"

namespace {

constexpr int kRate = 48000;
constexpr int kChannels = 6;  // L R C LFE Ls Rs
constexpr std::size_t kGap = kRate / 4;
constexpr double kLfeSeconds = 1.5;
constexpr double kLfeHz = 50.0;

struct Recording {
  const char* file;
  int channel;
};
constexpr Recording kRecordings[] = {{"Front_Left.wav", 0},
                                     {"Front_Right.wav", 1},
                                     {"Front_Center.wav", 2},
                                     {"Rear_Left.wav", 4},
                                     {"Rear_Right.wav", 5}};

std::uint32_t Le32(const unsigned char* p) {
  return p[0] | (p[1] << 8) | (p[2] << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}
std::uint16_t Le16(const unsigned char* p) {
  return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}

// The samples of a 16-bit mono 48 kHz WAV file, or an error text.
bool ReadSpeech(const std::string& path, std::vector<float>& samples, std::string& error) {
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) {
    error = path + ": cannot be opened (install alsa-utils?)";
    return false;
  }
  std::vector<unsigned char> bytes;
  unsigned char buffer[65536];
  for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, f)) > 0;)
    bytes.insert(bytes.end(), buffer, buffer + n);
  std::fclose(f);
  bool formatOk = false;
  for (std::size_t at = 12; at + 8 <= bytes.size();) {
    const std::uint32_t size = Le32(&bytes[at + 4]);
    const unsigned char* body = &bytes[at + 8];
    if (std::memcmp(&bytes[at], "fmt ", 4) == 0 && size >= 16)
      formatOk = Le16(body) == 1 && Le16(body + 2) == 1 && Le32(body + 4) == kRate &&
                 Le16(body + 14) == 16;
    if (std::memcmp(&bytes[at], "data", 4) == 0 && formatOk) {
      const std::size_t count = std::min<std::size_t>(size, bytes.size() - at - 8) / 2;
      for (std::size_t i = 0; i < count; ++i)
        samples.push_back(static_cast<std::int16_t>(Le16(body + 2 * i)) / 32768.0f);
      return true;
    }
    at += 8 + size + (size & 1);
  }
  error = path + ": not a 16-bit mono 48 kHz WAV file";
  return false;
}

void Put(std::vector<unsigned char>& out, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<unsigned char>(value >> (8 * i)));
}

// WAVE_FORMAT_EXTENSIBLE, 32-bit float, speaker mask L R C LFE Ls Rs.
std::vector<unsigned char> Header(std::size_t frames) {
  const std::uint32_t dataBytes = static_cast<std::uint32_t>(frames * kChannels * 4);
  std::vector<unsigned char> h;
  h.insert(h.end(), {'R', 'I', 'F', 'F'});
  Put(h, 60 + dataBytes, 4);
  h.insert(h.end(), {'W', 'A', 'V', 'E', 'f', 'm', 't', ' '});
  Put(h, 40, 4);
  Put(h, 0xFFFE, 2);
  Put(h, kChannels, 2);
  Put(h, kRate, 4);
  Put(h, kRate * kChannels * 4, 4);
  Put(h, kChannels * 4, 2);
  Put(h, 32, 2);
  Put(h, 22, 2);
  Put(h, 32, 2);
  Put(h, 0x3F, 4);
  h.insert(h.end(), {0x03, 0x00, 0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00,
                     0x38, 0x9B, 0x71});
  h.insert(h.end(), {'d', 'a', 't', 'a'});
  Put(h, dataBytes, 4);
  return h;
}

// A raised-cosine faded low tone, as LFE content is band-limited anyway.
std::vector<float> LowTone() {
  const std::size_t n = static_cast<std::size_t>(kLfeSeconds * kRate);
  std::vector<float> tone(n);
  for (std::size_t i = 0; i < n; ++i) {
    const double envelope = 0.5 - 0.5 * std::cos(2.0 * M_PI * i / n);
    tone[i] = static_cast<float>(0.5 * envelope * std::sin(2.0 * M_PI * kLfeHz * i / kRate));
  }
  return tone;
}

int MakeSpeechWav(const std::vector<std::string>& args) {
  std::string sounds = "/usr/share/sounds/alsa", output;
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--sounds" && i + 1 < args.size())
      sounds = args[++i];
    else
      output = args[i];
  }
  if (output.empty()) {
    std::fprintf(stderr, "usage: ddhost make-speech-wav [--sounds DIR] OUT.wav\n");
    return 2;
  }
  std::vector<std::vector<float>> channels(kChannels);
  std::size_t start = 0;
  for (const Recording& r : kRecordings) {
    std::vector<float> speech;
    std::string error;
    if (!ReadSpeech(sounds + "/" + r.file, speech, error)) {
      std::fprintf(stderr, "ddhost: %s\n", error.c_str());
      return 1;
    }
    channels[r.channel].resize(start, 0.0f);
    channels[r.channel].insert(channels[r.channel].end(), speech.begin(), speech.end());
    start += speech.size() + kGap;
  }
  const std::vector<float> tone = LowTone();
  channels[3].resize(start, 0.0f);
  channels[3].insert(channels[3].end(), tone.begin(), tone.end());
  const std::size_t frames = start + tone.size() + kGap;
  for (auto& c : channels) c.resize(frames, 0.0f);

  std::vector<unsigned char> bytes = Header(frames);
  for (std::size_t f = 0; f < frames; ++f)
    for (const auto& c : channels) {
      std::uint32_t bits;
      std::memcpy(&bits, &c[f], 4);
      Put(bytes, bits, 4);
    }
  std::string error;
  std::unique_ptr<ddhost::OutputFile> file = ddhost::OutputFile::Create(output, error);
  if (!file) {
    std::fprintf(stderr, "ddhost: %s\n", error.c_str());
    return 1;
  }
  for (std::size_t done = 0; done < bytes.size();) {
    const ssize_t n = write(file->Descriptor(), bytes.data() + done, bytes.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      std::fprintf(stderr, "ddhost: cannot write %s: %s\n", output.c_str(), std::strerror(n < 0 ? errno : EIO));
      return 1;
    }
    done += static_cast<std::size_t>(n);
  }
  if (!file->Commit(error)) {
    std::fprintf(stderr, "ddhost: %s\n", error.c_str());
    return 1;
  }
  std::printf("wrote %s: 5.1 (L R C LFE Ls Rs), 48000 Hz, %.2f s\n", output.c_str(),
              static_cast<double>(frames) / kRate);
  return 0;
}

}  // namespace

DDHOST_TOOL(make_speech_wav, "make-speech-wav", "make-speech-wav [--sounds DIR] OUT.wav",
            "a 5.1 48 kHz WAV in which each channel says its own name (LFE: a low tone)",
            MakeSpeechWav);
