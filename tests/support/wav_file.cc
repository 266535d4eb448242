#include "wav_file.h"

#include <cmath>
#include <cstring>
#include <fstream>

namespace ddtest {
namespace {

constexpr uint16_t kFormatPcm = 1;
constexpr uint16_t kFormatFloat = 3;
constexpr uint16_t kFormatExtensible = 0xFFFE;
// The GUID tail shared by the KSDATAFORMAT_SUBTYPE_PCM / _IEEE_FLOAT subformats.
constexpr uint8_t kGuidTail[14] = {0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80,
                                   0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};

void Put16(std::string* out, uint16_t v) {
  out->push_back(static_cast<char>(v & 0xFF));
  out->push_back(static_cast<char>(v >> 8));
}
void Put32(std::string* out, uint32_t v) {
  for (int i = 0; i < 4; ++i) out->push_back(static_cast<char>((v >> (8 * i)) & 0xFF));
}
uint16_t Get16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }
uint32_t Get32(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
         (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
}

int BytesPerSample(WavFormat f) {
  switch (f) {
    case WavFormat::kPcm16: return 2;
    case WavFormat::kPcm24: return 3;
    default: return 4;
  }
}

uint32_t DefaultMask(int channels) {
  switch (channels) {
    case 1: return 0x4;
    case 2: return 0x3;
    case 3: return 0x7;
    case 4: return 0x33;
    case 5: return 0x607;
    case 6: return 0x60F;
    case 8: return 0x63F;
    default: return 0;
  }
}

int32_t QuantizePcm(float v, int bits) {
  const double scale = std::ldexp(1.0, bits - 1);
  double q = std::nearbyint(static_cast<double>(std::isfinite(v) ? v : 0.0f) * scale);
  if (q > scale - 1) q = scale - 1;
  if (q < -scale) q = -scale;
  return static_cast<int32_t>(q);
}

void Fail(std::string* error, const std::string& message) {
  if (error != nullptr) *error = message;
}

}  // namespace

bool WriteWav(const std::string& path, const Planar& audio, WavFormat format,
              uint32_t channel_mask, std::string* error) {
  const int channels = static_cast<int>(audio.channels.size());
  if (channels == 0) {
    Fail(error, "no channels");
    return false;
  }
  const int bytes = BytesPerSample(format);
  const bool is_float = format == WavFormat::kFloat32;
  const bool extensible = channels > 2;
  const size_t frames = audio.frames();
  const uint32_t data_size = static_cast<uint32_t>(frames * channels * bytes);

  std::string header;
  header += "RIFF";
  Put32(&header, 0);  // patched below
  header += "WAVEfmt ";
  Put32(&header, extensible ? 40 : 16);
  Put16(&header, extensible ? kFormatExtensible : (is_float ? kFormatFloat : kFormatPcm));
  Put16(&header, static_cast<uint16_t>(channels));
  Put32(&header, static_cast<uint32_t>(audio.rate));
  Put32(&header, static_cast<uint32_t>(audio.rate * channels * bytes));
  Put16(&header, static_cast<uint16_t>(channels * bytes));
  Put16(&header, static_cast<uint16_t>(bytes * 8));
  if (extensible) {
    Put16(&header, 22);
    Put16(&header, static_cast<uint16_t>(bytes * 8));  // valid bits
    Put32(&header, channel_mask != 0 ? channel_mask : DefaultMask(channels));
    Put16(&header, is_float ? kFormatFloat : kFormatPcm);
    header.append(reinterpret_cast<const char*>(kGuidTail), sizeof(kGuidTail));
  }
  if (is_float && !extensible) {
    // Non-PCM formats carry a fact chunk with the frame count.
    header += "fact";
    Put32(&header, 4);
    Put32(&header, static_cast<uint32_t>(frames));
  }
  header += "data";
  Put32(&header, data_size);
  const uint32_t riff_size = static_cast<uint32_t>(header.size() - 8 + data_size);
  std::memcpy(&header[4], &riff_size, 4);  // little-endian host

  std::string data;
  data.reserve(data_size);
  for (size_t i = 0; i < frames; ++i) {
    for (int c = 0; c < channels; ++c) {
      const float v = audio.channels[c][i];
      if (is_float) {
        uint32_t bits;
        std::memcpy(&bits, &v, 4);
        Put32(&data, bits);
      } else {
        const uint32_t q = static_cast<uint32_t>(QuantizePcm(v, bytes * 8));
        for (int b = 0; b < bytes; ++b) data.push_back(static_cast<char>((q >> (8 * b)) & 0xFF));
      }
    }
  }
  std::ofstream file(path, std::ios::binary);
  file.write(header.data(), static_cast<std::streamsize>(header.size()));
  file.write(data.data(), static_cast<std::streamsize>(data.size()));
  if (!file) {
    Fail(error, "cannot write " + path);
    return false;
  }
  return true;
}

bool ReadWav(const std::string& path, Planar* audio, WavInfo* info, std::string* error) {
  std::ifstream file(path, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  const auto* p = reinterpret_cast<const uint8_t*>(bytes.data());
  if (bytes.size() < 12 || std::memcmp(p, "RIFF", 4) != 0 || std::memcmp(p + 8, "WAVE", 4) != 0) {
    Fail(error, "not a RIFF/WAVE file");
    return false;
  }
  uint16_t tag = 0, channels = 0, bits = 0;
  uint32_t rate = 0;
  WavInfo found;
  const uint8_t* data = nullptr;
  size_t data_size = 0;
  for (size_t pos = 12; pos + 8 <= bytes.size();) {
    const uint32_t size = Get32(p + pos + 4);
    const size_t body = pos + 8;
    const size_t available = std::min<size_t>(size, bytes.size() - body);
    if (std::memcmp(p + pos, "fmt ", 4) == 0 && available >= 16) {
      tag = Get16(p + body);
      channels = Get16(p + body + 2);
      rate = Get32(p + body + 4);
      bits = Get16(p + body + 14);
      if (tag == kFormatExtensible && available >= 40) {
        found.extensible = true;
        found.channel_mask = Get32(p + body + 20);
        tag = Get16(p + body + 24);
      }
    } else if (std::memcmp(p + pos, "data", 4) == 0) {
      data = p + body;
      data_size = available;
    }
    pos = body + size + (size & 1);
  }
  if (data == nullptr || channels == 0) {
    Fail(error, "missing fmt or data chunk");
    return false;
  }
  if (tag == kFormatFloat && bits == 32) {
    found.format = WavFormat::kFloat32;
  } else if (tag == kFormatPcm && (bits == 16 || bits == 24 || bits == 32)) {
    found.format = bits == 16 ? WavFormat::kPcm16
                              : bits == 24 ? WavFormat::kPcm24 : WavFormat::kPcm32;
  } else {
    Fail(error, "unsupported sample format");
    return false;
  }
  const int width = bits / 8;
  const size_t frames = data_size / (static_cast<size_t>(width) * channels);
  audio->rate = static_cast<int>(rate);
  audio->channels.assign(channels, std::vector<float>(frames));
  for (size_t i = 0; i < frames; ++i) {
    for (int c = 0; c < channels; ++c) {
      const uint8_t* s = data + (i * channels + c) * width;
      float v;
      if (found.format == WavFormat::kFloat32) {
        std::memcpy(&v, s, 4);
      } else {
        uint32_t raw = 0;
        for (int b = 0; b < width; ++b) raw |= static_cast<uint32_t>(s[b]) << (8 * b);
        raw <<= 32 - bits;  // sign-extend through the top bit
        v = static_cast<float>(static_cast<int32_t>(raw) / 2147483648.0);
      }
      audio->channels[c][i] = v;
    }
  }
  if (info != nullptr) *info = found;
  return true;
}

}  // namespace ddtest
