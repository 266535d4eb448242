// Raw WAV file images for tests of how odd files are read: any RIFF tag and form type, format
// tag, sample size, extensible channel mask, chunks before "fmt " and between "fmt " and
// "data", and any data size field. Unlike WriteWav, nothing is checked or corrected.
#ifndef DD_TESTS_SUPPORT_WAV_IMAGE_H
#define DD_TESTS_SUPPORT_WAV_IMAGE_H

#include <cstdint>
#include <string>
#include <vector>

#include "planar.h"

namespace ddtest {

struct WavImage {
  std::string riff = "RIFF";
  std::string form = "WAVE";
  std::uint16_t tag = 1;  // 1 PCM, 3 IEEE float, 0xFFFE extensible, anything else
  std::uint16_t channels = 2;
  std::uint32_t rate = 48000;
  std::uint16_t bits = 16;
  std::uint32_t mask = 0;         // extensible only
  bool floatSubFormat = false;    // extensible only: the IEEE-float sub-format, else PCM
  std::vector<std::uint8_t> before;   // whole chunks between the form type and "fmt "
  std::vector<std::uint8_t> between;  // whole chunks between "fmt " and "data"
  std::vector<std::uint8_t> data;
  std::int64_t declared = -1;  // the data size field; -1: the size of `data`

  // A whole chunk: id, little-endian size, body.
  static std::vector<std::uint8_t> Chunk(const std::string& id,
                                         const std::vector<std::uint8_t>& body);

  // Appends `audio` interleaved as 16-bit PCM (clipped, rounded).
  void AppendPcm16(const Planar& audio);
  // Appends `audio` interleaved as the bits of 32-bit floats, whatever the format says.
  void AppendFloatBits(const Planar& audio);

  std::vector<std::uint8_t> Bytes() const;
  bool Write(const std::string& path) const;
};

}  // namespace ddtest

#endif  // DD_TESTS_SUPPORT_WAV_IMAGE_H
