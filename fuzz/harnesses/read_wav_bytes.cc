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
  // A block of about 16k samples whatever the channel count (up to 65535), no more than the
  // data holds, in one buffer: per-channel allocations would dominate the run time.
  const std::size_t block = static_cast<std::size_t>(std::clamp<std::uint64_t>(
      reader.GetFrameCount(), 1, std::max<std::size_t>(1, 16384 / channels)));
  std::vector<float> samples(block * channels);
  std::vector<float*> pointers(channels);
  for (std::size_t c = 0; c < channels; ++c) pointers[c] = samples.data() + c * block;
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
