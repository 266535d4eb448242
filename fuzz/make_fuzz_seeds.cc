// Writes the seed corpus of every fuzz target into <folder>/<target>/: real streams from
// the library's own encoder, WAV files of each sample format the reader knows, stored
// configurations in both text forms, and engine settings a host really sends. The build
// runs it (target fuzz_seeds); scripts/fuzz.sh starts each fuzzer from these seeds.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "ddpi/ddpi_enc.h"
#include "dolbydigital/encoder.h"
#include "dolbydigital/parameters.h"
#include "dolbydigital/persistence.h"

namespace {

using namespace dolbydigital;
using Bytes = std::vector<std::uint8_t>;

std::filesystem::path g_root;

void Save(const char* target, const std::string& name, const Bytes& bytes) {
  const std::filesystem::path folder = g_root / target;
  std::filesystem::create_directories(folder);
  std::ofstream(folder / name, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

Bytes Join(Bytes head, const Bytes& tail) {
  head.insert(head.end(), tail.begin(), tail.end());
  return head;
}

// A short stream from the library's encoder: a tone per channel, `frames` blocks of 1536.
Bytes EncodeTone(CodecMode mode, AudioChannelConfiguration cfg, bool lfe, int rate, int frames) {
  ParameterMap map;
  GetDefaults(mode, map);
  map[kParameterID_ChannelConfiguration] = cfg;
  map[kParameterID_EnableLFE] = lfe;
  map[kParameterID_DataRate] = rate;
  const std::size_t channels = GetAudioChannelLayout(cfg, lfe).size();
  std::vector<std::vector<float>> planes(channels, std::vector<float>(1536));
  std::vector<const float*> pointers;
  for (std::size_t c = 0; c < channels; ++c) {
    for (int n = 0; n < 1536; ++n) planes[c][n] = 0.3f * std::sin(0.02f * (c + 1) * n);
    pointers.push_back(planes[c].data());
  }
  Encoder encoder;
  int error = 0;
  Bytes stream;
  ByteVector out;
  if (!encoder.InitializeEncode(mode, map, error)) {
    std::fprintf(stderr, "make_fuzz_seeds: mode %d configuration %d: error %d\n", mode, cfg, error);
    return stream;
  }
  for (int f = 0; f < frames; ++f) {
    encoder.Encode(pointers.data(), channels, 1536, out, error);
    stream.insert(stream.end(), out.begin(), out.end());
  }
  encoder.FinishEncode(out, error);
  stream.insert(stream.end(), out.begin(), out.end());
  return stream;
}

void StreamSeeds() {
  struct Kind { const char* name; CodecMode mode; AudioChannelConfiguration cfg; bool lfe; int rate; };
  const Kind kinds[] = {
      {"ac3-2.0", kCodecMode_DolbyDigital, kAudioChannelConfiguration_Acmod_20, false, 192},
      {"ac3-5.1", kCodecMode_DolbyDigital, kAudioChannelConfiguration_Acmod_32, true, 448},
      {"ac3-1.0", kCodecMode_Bluray_Primary, kAudioChannelConfiguration_Acmod_10, false, 96},
      {"ec3-5.1", kCodecMode_DolbyDigitalPlus, kAudioChannelConfiguration_Acmod_32, true, 192},
      {"ec3-2.1", kCodecMode_DolbyDigitalPlus, kAudioChannelConfiguration_Acmod_21, false, 128},
      {"ec3-secondary-2.0", kCodecMode_Bluray_Secondary, kAudioChannelConfiguration_Acmod_20, false, 128},
  };
  for (const Kind& kind : kinds) {
    const Bytes stream = EncodeTone(kind.mode, kind.cfg, kind.lfe, kind.rate, 3);
    if (stream.empty()) continue;
    Save("decoder_fuzzer", std::string(kind.name) + "-read-256", Join({255}, stream));
    Save("decoder_fuzzer", std::string(kind.name) + "-read-7", Join({6}, stream));
    Save("decoder_chunks_fuzzer", std::string(kind.name) + "-chunks-256", Join({0, 255}, stream));
    Save("decoder_chunks_fuzzer", std::string(kind.name) + "-chunks-irregular",
         Join({4, 3, 200, 0, 17, 90}, stream));
  }
}

// A WAV header for `frames` frames of `channels` channels, then the samples: a tone.
Bytes Wav(int formatTag, int channels, int rate, int bits, int frames, bool extensible) {
  Bytes b;
  auto u16 = [&b](unsigned v) { b.push_back(v & 255); b.push_back(v >> 8 & 255); };
  auto u32 = [&](unsigned v) { u16(v & 0xFFFF); u16(v >> 16); };
  auto tag = [&b](const char* t) { b.insert(b.end(), t, t + 4); };
  const unsigned block = channels * bits / 8;
  const unsigned data = block * frames;
  const unsigned fmtSize = extensible ? 40 : 16;
  tag("RIFF"); u32(4 + 8 + fmtSize + 8 + data); tag("WAVE");
  tag("fmt "); u32(fmtSize);
  u16(extensible ? 0xFFFE : formatTag); u16(channels); u32(rate); u32(rate * block); u16(block); u16(bits);
  if (extensible) {
    u16(22); u16(bits); u32(channels == 6 ? 0x3F : 0x3);
    u16(formatTag); u16(0); u32(0x00100000); u32(0xAA000080); u32(0x719B3800);
  }
  tag("data"); u32(data);
  for (int f = 0; f < frames; ++f)
    for (int c = 0; c < channels; ++c) {
      const double x = 0.4 * std::sin(0.03 * (c + 1) * f);
      if (bits == 32) {
        const float v = static_cast<float>(x);
        std::uint32_t raw;
        std::memcpy(&raw, &v, 4);
        u32(raw);
      } else {
        const long v = std::lround(x * (bits == 24 ? 8388607.0 : 32767.0));
        for (int byte = 0; byte < bits / 8; ++byte) b.push_back(static_cast<std::uint8_t>(v >> (8 * byte)));
      }
    }
  return b;
}

void WavSeeds() {
  const std::pair<const char*, Bytes> wavs[] = {
      {"pcm16-stereo-48k", Wav(1, 2, 48000, 16, 1600, false)},
      {"pcm24-mono-44k", Wav(1, 1, 44100, 24, 1600, false)},
      {"float-5.1-48k-extensible", Wav(3, 6, 48000, 32, 800, true)},
      {"pcm16-stereo-32k-extensible", Wav(1, 2, 32000, 16, 1000, true)},
      {"float-4ch-48k", Wav(3, 4, 48000, 32, 600, false)},
  };
  for (const auto& wav : wavs) {
    Save("wav_reader_fuzzer", wav.first, wav.second);
    Save("sound_file_fuzzer", wav.first, wav.second);
    for (std::uint8_t configuration : {0, 1, 2, 5})
      Save("encode_command_fuzzer", std::string(wav.first) + "-cfg" + std::to_string(configuration),
           Join({configuration}, wav.second));
  }
}

void ParameterTextSeeds() {
  for (int mode = kCodecMode_DolbyDigitalPlus; mode <= kCodecMode_Bluray_Secondary; ++mode) {
    ParameterMap map;
    GetDefaults(static_cast<CodecMode>(mode), map);
    for (bool encoded : {false, true}) {
      UTF8String text;
      SerializeParameterMap(map, encoded, text);
      for (std::uint8_t layout : {1, 4, 8}) {
        const std::uint8_t flags = static_cast<std::uint8_t>(layout << 1 | encoded);
        Save("parameter_text_fuzzer",
             "defaults-mode" + std::to_string(mode) + (encoded ? "-encoded" : "-plain") + "-layout" +
                 std::to_string(layout),
             Join({flags}, Bytes(text.begin(), text.end())));
      }
    }
  }
  const char* texts[] = {"{}", "{\"CodecMode\": 6}", "{\"CodecMode\": 1, \"ChannelConfiguration\": 0}",
                         "{\"DataRate\": 4294967296, \"DialNorm\": \"31\"}",
                         "{\"ChannelConfiguration\": 24, \"EnableLFE\": 1, \"DataRate\": 400}"};
  int n = 0;
  for (const char* text : texts)
    Save("parameter_text_fuzzer", "text-" + std::to_string(n++),
         Join({2}, Bytes(text, text + std::string(text).size())));
}

void EngineParamSeeds() {
  using Pairs = std::vector<std::pair<int, std::int32_t>>;
  const std::pair<std::uint8_t, Pairs> seeds[] = {
      {1 | 11 << 3, {{3, 448}, {4, 7}, {5, 1}, {18, 27}, {13, 1}, {15, 2}, {10, 1}, {11, 1}}},
      {0 | 11 << 3, {{3, 192}, {4, 2}, {5, 0}, {38, 2}, {35, 0}, {33, 1}, {34, 1}, {36, 1}}},
      {3 | 11 << 3, {{3, 640}, {4, 7}, {5, 1}, {23, 3}, {24, 4}, {25, 3}, {26, 4}, {20, 2}}},
      {0 | 11 << 3, {{3, 1024}, {4, 21}, {5, 1}, {27, 2}, {29, 1}, {31, 105}, {7, 1}, {8, 1}}},
      {4 | 11 << 3, {{3, 96}, {4, 1}, {5, 0}, {18, 31}, {69, -2}, {39, 1}}},
  };
  int n = 0;
  for (const auto& seed : seeds) {
    Bytes bytes{seed.first};
    for (const auto& pair : seed.second) {
      bytes.push_back(static_cast<std::uint8_t>(pair.first));
      for (int byte = 0; byte < 4; ++byte)
        bytes.push_back(static_cast<std::uint8_t>(static_cast<std::uint32_t>(pair.second) >> (8 * byte)));
    }
    Save("engine_setparams_fuzzer", "settings-" + std::to_string(n++), bytes);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_fuzz_seeds <folder>\n");
    return 2;
  }
  g_root = argv[1];
  StreamSeeds();
  WavSeeds();
  ParameterTextSeeds();
  EngineParamSeeds();
  return 0;
}
