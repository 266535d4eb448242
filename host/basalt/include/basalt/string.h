// The host's string types: UTF-16 text for everything shown to users, UTF-8 byte strings for
// serialized data. Both allocate through the small-block allocator.
#ifndef BASALT_STRING_H
#define BASALT_STRING_H

#include <cstdint>
#include <cstring>
#include <cwchar>
#include <ios>
#include <string>

#include "basalt/small_block_allocator.h"

namespace basalt {

// Character traits for 16-bit code units held as uint16_t.
struct UTF16CharTraits {
  using char_type = std::uint16_t;
  using int_type = std::uint32_t;
  using off_type = std::streamoff;
  using pos_type = std::streampos;
  using state_type = std::mbstate_t;

  static void assign(char_type& r, const char_type& a) noexcept { r = a; }
  static bool eq(char_type a, char_type b) noexcept { return a == b; }
  static bool lt(char_type a, char_type b) noexcept { return a < b; }
  static int compare(const char_type* a, const char_type* b, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i)
      if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
    return 0;
  }
  static std::size_t length(const char_type* s) noexcept {
    std::size_t n = 0;
    while (s[n] != 0) ++n;
    return n;
  }
  static const char_type* find(const char_type* s, std::size_t n, const char_type& a) noexcept {
    for (std::size_t i = 0; i < n; ++i)
      if (s[i] == a) return s + i;
    return nullptr;
  }
  static char_type* move(char_type* d, const char_type* s, std::size_t n) noexcept {
    if (n) std::memmove(d, s, n * sizeof(char_type));
    return d;
  }
  static char_type* copy(char_type* d, const char_type* s, std::size_t n) noexcept {
    if (n) std::memcpy(d, s, n * sizeof(char_type));
    return d;
  }
  static char_type* assign(char_type* s, std::size_t n, char_type a) noexcept {
    for (std::size_t i = 0; i < n; ++i) s[i] = a;
    return s;
  }
  static int_type not_eof(int_type c) noexcept { return c == eof() ? 0 : c; }
  static char_type to_char_type(int_type c) noexcept { return static_cast<char_type>(c); }
  static int_type to_int_type(char_type c) noexcept { return c; }
  static bool eq_int_type(int_type a, int_type b) noexcept { return a == b; }
  static int_type eof() noexcept { return 0xFFFFFFFFu; }
};

using UTF16String =
    std::basic_string<std::uint16_t, UTF16CharTraits, utility::SmallBlockAllocator<std::uint16_t>>;
using UTF8String = std::basic_string<char, std::char_traits<char>, utility::SmallBlockAllocator<char>>;

// Widens 7-bit ASCII; bytes above 0x7F become U+FFFD.
UTF16String AsciiToUTF16(const char* text);
// UTF-16 (with surrogate pairs) to UTF-8; unpaired surrogates become U+FFFD.
UTF8String UTF16to8(const UTF16String& text);
// UTF-8 to UTF-16; invalid sequences become U+FFFD.
UTF16String UTF8to16(const UTF8String& text);
UTF16String UTF8to16(const char* text);
// Appends one Unicode code point, as a surrogate pair above U+FFFF.
void AppendCodePoint(UTF16String& text, std::uint32_t code_point);
// Replaces every occurrence of `what` (non-empty) in `text` by `with`, left to right.
void ReplaceInString(UTF16String& text, const UTF16String& what, const UTF16String& with);

// Convenience for host code talking to the C library and iostreams.
std::string ToStdString(const UTF16String& text);  // UTF-8

}  // namespace basalt

#endif  // BASALT_STRING_H
