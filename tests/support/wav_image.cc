#include "wav_image.h"

#include <cmath>
#include <cstdio>
#include <cstring>

namespace ddtest {
namespace {

void Put(std::vector<std::uint8_t>& b, std::uint64_t v, int n) {
  for (int i = 0; i < n; ++i) b.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}

void Tag(std::vector<std::uint8_t>& b, const std::string& t) {
  for (std::size_t i = 0; i < 4; ++i) b.push_back(i < t.size() ? static_cast<std::uint8_t>(t[i]) : ' ');
}

}  // namespace

std::vector<std::uint8_t> WavImage::Chunk(const std::string& id,
                                          const std::vector<std::uint8_t>& body) {
  std::vector<std::uint8_t> b;
  Tag(b, id);
  Put(b, body.size(), 4);
  b.insert(b.end(), body.begin(), body.end());
  return b;
}

void WavImage::AppendPcm16(const Planar& audio) {
  for (float v : audio.Interleaved()) {
    double q = std::nearbyint(static_cast<double>(v) * 32768.0);
    q = q > 32767 ? 32767 : (q < -32768 ? -32768 : q);
    Put(data, static_cast<std::uint16_t>(static_cast<std::int16_t>(q)), 2);
  }
}

void WavImage::AppendFloatBits(const Planar& audio) {
  for (float v : audio.Interleaved()) {
    std::uint32_t bits32;
    std::memcpy(&bits32, &v, sizeof bits32);
    Put(data, bits32, 4);
  }
}

std::vector<std::uint8_t> WavImage::Bytes() const {
  std::vector<std::uint8_t> format;
  const std::uint32_t block = channels * bits / 8;
  Put(format, tag, 2), Put(format, channels, 2), Put(format, rate, 4);
  Put(format, static_cast<std::uint64_t>(rate) * block, 4), Put(format, block, 2);
  Put(format, bits, 2);
  if (tag == 0xFFFE) {
    Put(format, 22, 2), Put(format, bits, 2), Put(format, mask, 4);
    const std::uint8_t guid[16] = {static_cast<std::uint8_t>(floatSubFormat ? 3 : 1),
                                   0, 0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71};
    format.insert(format.end(), guid, guid + 16);
  }
  std::vector<std::uint8_t> b;
  Tag(b, riff);
  Put(b, 0, 4);  // the RIFF size is not read
  Tag(b, form);
  b.insert(b.end(), before.begin(), before.end());
  const std::vector<std::uint8_t> fmt = Chunk("fmt ", format);
  b.insert(b.end(), fmt.begin(), fmt.end());
  b.insert(b.end(), between.begin(), between.end());
  Tag(b, "data");
  Put(b, declared < 0 ? data.size() : static_cast<std::uint64_t>(declared), 4);
  b.insert(b.end(), data.begin(), data.end());
  return b;
}

bool WavImage::Write(const std::string& path) const {
  const std::vector<std::uint8_t> bytes = Bytes();
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) return false;
  const bool written = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
  return std::fclose(f) == 0 && written;
}

}  // namespace ddtest
