// Standard base64 (RFC 4648 section 4) with "=" padding. Decoding is strict: only the
// alphabet, padding only at the end and only as much as the length calls for, and unused
// bits of the last character zero, so every accepted text is the canonical encoding.
#include "basalt/binary_text.h"

#include <array>

namespace basalt {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::int8_t kInvalid = -1;

std::array<std::int8_t, 256> MakeDecodeTable() {
  std::array<std::int8_t, 256> table{};
  table.fill(kInvalid);
  for (int i = 0; i < 64; ++i) table[static_cast<unsigned char>(kAlphabet[i])] = static_cast<std::int8_t>(i);
  return table;
}

const std::array<std::int8_t, 256>& DecodeTable() {
  static const std::array<std::int8_t, 256> table = MakeDecodeTable();
  return table;
}

}  // namespace

bool EncodeBinaryDataToUTF8String(const std::uint8_t* data, std::size_t size, UTF8String& out) {
  out.clear();
  if (size == 0) return true;
  if (data == nullptr) return false;
  out.reserve((size + 2) / 3 * 4);
  std::size_t i = 0;
  for (; i + 3 <= size; i += 3) {
    const std::uint32_t group = (data[i] << 16) | (data[i + 1] << 8) | data[i + 2];
    out.push_back(kAlphabet[(group >> 18) & 0x3F]);
    out.push_back(kAlphabet[(group >> 12) & 0x3F]);
    out.push_back(kAlphabet[(group >> 6) & 0x3F]);
    out.push_back(kAlphabet[group & 0x3F]);
  }
  const std::size_t rest = size - i;
  if (rest > 0) {
    std::uint32_t group = data[i] << 16;
    if (rest == 2) group |= data[i + 1] << 8;
    out.push_back(kAlphabet[(group >> 18) & 0x3F]);
    out.push_back(kAlphabet[(group >> 12) & 0x3F]);
    out.push_back(rest == 2 ? kAlphabet[(group >> 6) & 0x3F] : '=');
    out.push_back('=');
  }
  return true;
}

bool DecodeBinaryDataFromUTF8String(const UTF8String& text, std::vector<std::uint8_t>& out) {
  out.clear();
  if (text.size() % 4 != 0) return false;
  const auto& table = DecodeTable();
  std::vector<std::uint8_t> bytes;
  bytes.reserve(text.size() / 4 * 3);
  for (std::size_t i = 0; i < text.size(); i += 4) {
    const bool last_group = i + 4 == text.size();
    std::size_t padding = 0;
    if (last_group) {
      if (text[i + 3] == '=') ++padding;
      if (padding == 1 && text[i + 2] == '=') ++padding;
    }
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 4 - padding; ++k) {
      const std::int8_t value = table[static_cast<unsigned char>(text[i + k])];
      if (value == kInvalid) return false;
      group |= static_cast<std::uint32_t>(value) << (18 - 6 * k);
    }
    // The bits beyond the last whole byte must be zero in a canonical encoding.
    if ((padding == 1 && (group & 0xFF)) || (padding == 2 && (group & 0xFFFF))) return false;
    bytes.push_back(static_cast<std::uint8_t>(group >> 16));
    if (padding < 2) bytes.push_back(static_cast<std::uint8_t>(group >> 8));
    if (padding < 1) bytes.push_back(static_cast<std::uint8_t>(group));
  }
  out.swap(bytes);
  return true;
}

}  // namespace basalt
