#include "ddhost_run.h"

#include <sys/stat.h>

#include <cstdio>

namespace ddtest {

ProcessResult RunDdhost(const std::vector<std::string>& args) {
  std::vector<std::string> argv{std::string(DD_BINARY_DIR) + "/bin/ddhost"};
  argv.insert(argv.end(), args.begin(), args.end());
  return RunProcess(argv);
}

ProcessResult RunEncode(const std::string& in, const std::string& out, const std::string& cfg,
                        const std::vector<std::string>& hostOptions) {
  std::vector<std::string> args = hostOptions;
  args.push_back("dolbydigital.Encode");
  if (!cfg.empty()) args.push_back("-cfg=" + cfg);
  args.push_back("-in=" + in);
  args.push_back("-out=" + out);
  return RunDdhost(args);
}

void WriteText(const std::string& path, const std::string& text) {
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) return;
  std::fwrite(text.data(), 1, text.size(), f);
  std::fclose(f);
}

bool FileExists(const std::string& path) {
  struct stat s;
  return stat(path.c_str(), &s) == 0;
}

std::vector<unsigned char> ReadBytes(const std::string& path) {
  std::vector<unsigned char> bytes;
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) return bytes;
  unsigned char buffer[65536];
  for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, f)) > 0;)
    bytes.insert(bytes.end(), buffer, buffer + n);
  std::fclose(f);
  return bytes;
}

std::vector<ddpi::bitstream::FrameInfo> ReadFrameInfos(const std::string& path) {
  const std::vector<unsigned char> bytes = ReadBytes(path);
  std::vector<ddpi::bitstream::FrameInfo> frames;
  std::size_t at = 0;
  while (at < bytes.size()) {
    ddpi::bitstream::FrameHeader header;
    if (ddpi::bitstream::ProbeHeader(bytes.data() + at, bytes.size() - at, &header) !=
        ddpi::bitstream::HeaderStatus::kValid)
      break;
    ddpi::bitstream::FrameInfo info;
    if (header.StartsProgramZero() &&
        ddpi::bitstream::ParseFrame(bytes.data() + at, header.frame_bytes, &info))
      frames.push_back(info);
    at += static_cast<std::size_t>(header.frame_bytes);
  }
  return frames;
}

}  // namespace ddtest
