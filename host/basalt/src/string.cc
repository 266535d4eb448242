// Conversions between the host's UTF-16 and UTF-8 strings. Invalid input never fails a
// conversion: each offending unit becomes U+FFFD, as the Unicode standard recommends
// ("maximal subpart" replacement for UTF-8).
#include "basalt/string.h"

namespace basalt {
namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(std::uint32_t u) { return u >= 0xD800 && u <= 0xDBFF; }
bool IsLowSurrogate(std::uint32_t u) { return u >= 0xDC00 && u <= 0xDFFF; }

void AppendUTF8(UTF8String& out, std::uint32_t cp) {
  if (cp < 0x80) {
    out.push_back(static_cast<char>(cp));
  } else if (cp < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else if (cp < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  }
}

// Decodes one UTF-8 sequence starting at text[i]; advances i past it. A sequence that is
// overlong, encodes a surrogate, exceeds U+10FFFF or is cut short yields U+FFFD and
// consumes only its valid prefix, so the next sequence is decoded on its own.
std::uint32_t DecodeUTF8(const unsigned char* text, std::size_t size, std::size_t& i) {
  const unsigned char lead = text[i++];
  if (lead < 0x80) return lead;
  std::size_t trailing;
  std::uint32_t cp;
  unsigned char lower = 0x80, upper = 0xBF;  // allowed range of the first trailing byte
  if (lead >= 0xC2 && lead <= 0xDF) {
    trailing = 1;
    cp = lead & 0x1F;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    trailing = 2;
    cp = lead & 0x0F;
    if (lead == 0xE0) lower = 0xA0;  // overlong
    if (lead == 0xED) upper = 0x9F;  // surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    trailing = 3;
    cp = lead & 0x07;
    if (lead == 0xF0) lower = 0x90;  // overlong
    if (lead == 0xF4) upper = 0x8F;  // above U+10FFFF
  } else {
    return kReplacement;
  }
  for (std::size_t k = 0; k < trailing; ++k) {
    if (i >= size) return kReplacement;
    const unsigned char byte = text[i];
    if (byte < lower || byte > upper) return kReplacement;
    lower = 0x80;
    upper = 0xBF;
    cp = (cp << 6) | (byte & 0x3F);
    ++i;
  }
  return cp;
}

UTF16String UTF8to16(const char* text, std::size_t size) {
  UTF16String out;
  out.reserve(size);
  const auto* bytes = reinterpret_cast<const unsigned char*>(text);
  for (std::size_t i = 0; i < size;) AppendCodePoint(out, DecodeUTF8(bytes, size, i));
  return out;
}

}  // namespace

void AppendCodePoint(UTF16String& out, std::uint32_t cp) {
  if (cp < 0x10000) {
    out.push_back(static_cast<std::uint16_t>(cp));
  } else {
    cp -= 0x10000;
    out.push_back(static_cast<std::uint16_t>(0xD800 | (cp >> 10)));
    out.push_back(static_cast<std::uint16_t>(0xDC00 | (cp & 0x3FF)));
  }
}


UTF16String AsciiToUTF16(const char* text) {
  UTF16String out;
  if (text == nullptr) return out;
  for (const char* p = text; *p != '\0'; ++p) {
    const auto byte = static_cast<unsigned char>(*p);
    out.push_back(byte < 0x80 ? byte : static_cast<std::uint16_t>(kReplacement));
  }
  return out;
}

UTF8String UTF16to8(const UTF16String& text) {
  UTF8String out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::uint32_t unit = text[i];
    if (IsHighSurrogate(unit) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
      unit = 0x10000 + ((unit - 0xD800) << 10) + (text[i + 1] - 0xDC00);
      ++i;
    } else if (IsHighSurrogate(unit) || IsLowSurrogate(unit)) {
      unit = kReplacement;
    }
    AppendUTF8(out, unit);
  }
  return out;
}

UTF16String UTF8to16(const UTF8String& text) { return UTF8to16(text.data(), text.size()); }

UTF16String UTF8to16(const char* text) {
  if (text == nullptr) return UTF16String();
  return UTF8to16(text, std::strlen(text));
}

void ReplaceInString(UTF16String& text, const UTF16String& what, const UTF16String& with) {
  if (what.empty()) return;
  std::size_t position = text.find(what);
  if (position == UTF16String::npos) return;
  // Built into a fresh string so that `with` may contain `what` (or alias `text`) safely.
  UTF16String result;
  std::size_t copied = 0;
  while (position != UTF16String::npos) {
    result.append(text, copied, position - copied);
    result.append(with);
    copied = position + what.size();
    position = text.find(what, copied);
  }
  result.append(text, copied, UTF16String::npos);
  text.swap(result);
}

std::string ToStdString(const UTF16String& text) {
  const UTF8String utf8 = UTF16to8(text);
  return std::string(utf8.data(), utf8.size());
}

}  // namespace basalt
