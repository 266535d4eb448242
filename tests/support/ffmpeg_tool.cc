#include "ffmpeg_tool.h"

#include <cstring>
#include <fstream>

#include "process.h"
#include "temp_dir.h"

namespace ddtest {

StreamInfo ProbeFile(const std::string& path) {
  StreamInfo info;
  const ProcessResult run =
      RunProcess({"ffprobe", "-v", "error", "-show_streams", "-of", "json", path});
  if (run.exit_code != 0) {
    info.error = run.stderr_text.empty() ? "ffprobe failed" : run.stderr_text;
    return info;
  }
  const nlohmann::json doc = nlohmann::json::parse(run.stdout_bytes, nullptr, false);
  if (doc.is_discarded() || !doc.contains("streams")) {
    info.error = "unreadable ffprobe output";
    return info;
  }
  for (const nlohmann::json& stream : doc["streams"]) {
    if (stream.value("codec_type", "") != "audio") continue;
    info.stream = stream;
    info.codec_name = stream.value("codec_name", "");
    info.channel_layout = stream.value("channel_layout", "");
    info.channels = stream.value("channels", 0);
    // ffprobe prints sample_rate and bit_rate as strings.
    info.sample_rate = std::atoi(stream.value("sample_rate", "0").c_str());
    info.bit_rate = std::atol(stream.value("bit_rate", "0").c_str());
    info.ok = true;
    return info;
  }
  info.error = "no audio stream";
  return info;
}

DecodeResult DecodeFile(const std::string& path, const std::vector<std::string>& input_args) {
  DecodeResult result;
  const StreamInfo info = ProbeFile(path);
  if (!info.ok) {
    result.stderr_text = info.error;
    return result;
  }
  std::vector<std::string> argv = {"ffmpeg", "-nostdin", "-v", "error", "-err_detect",
                                   "crccheck+bitstream+explode"};
  argv.insert(argv.end(), input_args.begin(), input_args.end());
  argv.insert(argv.end(), {"-i", path, "-f", "f32le", "-"});
  const ProcessResult run = RunProcess(argv);
  result.exit_code = run.exit_code;
  result.stderr_text = run.stderr_text;
  result.channels = info.channels;
  if (info.channels > 0) {
    const size_t frames = run.stdout_bytes.size() / (sizeof(float) * info.channels);
    result.audio = Planar::FromInterleaved(reinterpret_cast<const float*>(run.stdout_bytes.data()),
                                           frames, info.channels, info.sample_rate);
  }
  return result;
}

DecodeResult DecodeBytes(const std::vector<uint8_t>& stream, const std::string& extension,
                         const std::vector<std::string>& input_args) {
  static int counter = 0;
  const std::string path =
      TestTempDir().File("stream" + std::to_string(counter++) + "." + extension);
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(stream.data()),
             static_cast<std::streamsize>(stream.size()));
  return DecodeFile(path, input_args);
}

}  // namespace ddtest
