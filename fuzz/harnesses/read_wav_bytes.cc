#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "basalt/string.h"
#include "console/wav_reader.h"
#include "fuzz_harnesses.h"
#include "scratch_files.h"

namespace ddfuzz {

void ReadWavBytes(const std::uint8_t* data, std::size_t size) {
  const std::string path = WriteScratchFile("input.wav", data, size);
  dolbydigital::WavReader reader(basalt::AsciiToUTF16(path.c_str()));
  if (!reader.IsOpen()) return;
  const std::size_t channels = reader.GetChannelCount();
  FuzzCheck(reader.GetAvailableDataLength() <= size, "no more data than the file holds");
  if (channels == 0) return;
  // A block of about 16k samples whatever the channel count (up to 65535).
  const std::size_t block = std::max<std::size_t>(1, 16384 / channels);
  std::vector<std::vector<float>> planes(channels, std::vector<float>(block));
  std::vector<float*> pointers;
  for (auto& plane : planes) pointers.push_back(plane.data());
  std::uint64_t total = 0;
  for (;;) {
    const std::size_t got = reader.ReadFrames(pointers.data(), block);
    FuzzCheck(got <= block, "ReadFrames never reads more than asked for");
    if (got == 0) break;
    total += got;
  }
  FuzzCheck(total <= reader.GetFrameCount(), "no more frames than the data holds");
}

}  // namespace ddfuzz
