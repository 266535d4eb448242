// Test material made with the ffmpeg command-line tool: AC-3 / E-AC-3 streams encoded from
// generated tones, and ffmpeg's own decoding of a stream as the reference.
#ifndef DD_TESTS_DECODER_FFMPEG_STREAMS_H
#define DD_TESTS_DECODER_FFMPEG_STREAMS_H

#include <cstdint>
#include <string>
#include <vector>

namespace ddtest {

struct ToneSpec {
  int channels = 2;          // 1..6; 6 is 5.1 (L R C LFE Ls Rs)
  int sample_rate = 48000;
  double seconds = 1.0;
};

// A fresh path in the test's scratch folder.
std::string ScratchPath(const std::string& name);

// Encodes distinct tones (one frequency per channel) with `codec_args`, e.g.
// "-c:a ac3 -b:a 192k -dialnorm -27", and writes the stream to `path`. False on failure.
bool EncodeTones(const ToneSpec& tones, const std::string& codec_args, const std::string& path);

// ffmpeg's decoding of `path`: interleaved 32-bit float samples and the channel count.
// `decoder_args` go before the input, e.g. "-drc_scale 0".
bool DecodeReference(const std::string& path, int channels, std::vector<float>* interleaved,
                     const std::string& decoder_args = "");

std::vector<std::uint8_t> ReadFile(const std::string& path);
bool WriteFile(const std::string& path, const std::vector<std::uint8_t>& bytes);

// Runs a shell command quietly; returns its exit status.
int Run(const std::string& command);

}  // namespace ddtest

#endif  // DD_TESTS_DECODER_FFMPEG_STREAMS_H
