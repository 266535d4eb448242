// FFmpeg's command-line tools as the independent reference decoder and prober of our streams.
#ifndef DD_TESTS_SUPPORT_FFMPEG_TOOL_H
#define DD_TESTS_SUPPORT_FFMPEG_TOOL_H

#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "planar.h"

namespace ddtest {

struct DecodeResult {
  int exit_code = -1;
  std::string stderr_text;  // empty for a clean decode (-v error)
  int channels = 0;
  Planar audio;

  // A decode with no error of any kind: exit 0 and nothing on stderr.
  bool Clean() const { return exit_code == 0 && stderr_text.empty(); }
};

// Decodes with CRC and bitstream checks that turn any error into a failure:
//   ffmpeg -v error -err_detect crccheck+bitstream+explode [input_args] -i IN -f f32le -
// input_args go before -i (decoder options such as {"-drc_scale", "0"}).
DecodeResult DecodeFile(const std::string& path, const std::vector<std::string>& input_args = {});
// Same for a stream held in memory; it is written to a file in TestTempDir() first.
DecodeResult DecodeBytes(const std::vector<uint8_t>& stream, const std::string& extension = "ac3",
                         const std::vector<std::string>& input_args = {});

struct StreamInfo {
  bool ok = false;
  std::string error;
  std::string codec_name;     // "ac3", "eac3"
  std::string channel_layout; // e.g. "5.1(side)"
  int channels = 0;
  int sample_rate = 0;
  long bit_rate = 0;
  nlohmann::json stream;      // the whole first stream record
};

// ffprobe -v error -show_streams -of json IN, first audio stream.
StreamInfo ProbeFile(const std::string& path);

}  // namespace ddtest

#endif  // DD_TESTS_SUPPORT_FFMPEG_TOOL_H
