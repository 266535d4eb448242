#include "basalt/string.h"

#include <gtest/gtest.h>

namespace basalt {
namespace {

UTF16String U16(std::initializer_list<std::uint16_t> units) { return UTF16String(units); }
UTF8String U8(const char* bytes) { return UTF8String(bytes); }

TEST(AsciiToUTF16, WidensAsciiAndReplacesHighBytes) {
  EXPECT_EQ(AsciiToUTF16("dB SPL"), U16({'d', 'B', ' ', 'S', 'P', 'L'}));
  EXPECT_EQ(AsciiToUTF16("a\xC3" "b"), U16({'a', 0xFFFD, 'b'}));
  EXPECT_TRUE(AsciiToUTF16("").empty());
  EXPECT_TRUE(AsciiToUTF16(nullptr).empty());
}

TEST(UTF16to8, EncodesEveryLengthClass) {
  // U+0041, U+00B0 (2 bytes), U+221E (3 bytes), U+1F3B5 (4 bytes, a surrogate pair)
  EXPECT_EQ(UTF16to8(U16({0x41, 0xB0, 0x221E, 0xD83C, 0xDFB5})),
            U8("A\xC2\xB0\xE2\x88\x9E\xF0\x9F\x8E\xB5"));
}

TEST(UTF16to8, ReplacesUnpairedSurrogates) {
  EXPECT_EQ(UTF16to8(U16({0xD800})), U8("\xEF\xBF\xBD"));
  EXPECT_EQ(UTF16to8(U16({0xDC00, 'x'})), U8("\xEF\xBF\xBDx"));
  EXPECT_EQ(UTF16to8(U16({0xD83C, 'x'})), U8("\xEF\xBF\xBDx"));
  // Two high surrogates then a low one: the first is lone, the second pairs.
  EXPECT_EQ(UTF16to8(U16({0xD83C, 0xD83C, 0xDFB5})), U8("\xEF\xBF\xBD\xF0\x9F\x8E\xB5"));
}

TEST(UTF8to16, DecodesSupplementaryCharactersToSurrogatePairs) {
  EXPECT_EQ(UTF8to16("\xF0\x9F\x8E\xB5"), U16({0xD83C, 0xDFB5}));
  EXPECT_EQ(UTF8to16("\xF4\x8F\xBF\xBF"), U16({0xDBFF, 0xDFFF}));  // U+10FFFF
}

TEST(UTF8to16, ReplacesInvalidSequences) {
  struct Case {
    const char* bytes;
    std::initializer_list<std::uint16_t> expected;
  };
  const Case cases[] = {
      {"\x80", {0xFFFD}},                                   // stray continuation byte
      {"\xC0\xAF", {0xFFFD, 0xFFFD}},                       // overlong '/'
      {"\xE0\x80\xAF", {0xFFFD, 0xFFFD, 0xFFFD}},           // overlong, three bytes
      {"\xED\xA0\x80", {0xFFFD, 0xFFFD, 0xFFFD}},           // encoded surrogate
      {"\xF4\x90\x80\x80", {0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD}},  // above U+10FFFF
      {"\xE2\x88", {0xFFFD}},                               // cut short at the end
      {"\xE2\x88x", {0xFFFD, 'x'}},                         // cut short before ASCII
      {"\xFF" "a", {0xFFFD, 'a'}},
  };
  for (const Case& c : cases) EXPECT_EQ(UTF8to16(c.bytes), U16(c.expected)) << c.bytes;
}

TEST(UTF8to16, RoundTripsEveryScalarValueRange) {
  UTF16String all;
  for (std::uint32_t cp = 1; cp < 0xD800; cp += 7) all.push_back(static_cast<std::uint16_t>(cp));
  for (std::uint32_t cp = 0xE000; cp < 0x10000; cp += 7) all.push_back(static_cast<std::uint16_t>(cp));
  for (std::uint32_t cp = 0x10000; cp <= 0x10FFFF; cp += 997) {
    all.push_back(static_cast<std::uint16_t>(0xD800 + ((cp - 0x10000) >> 10)));
    all.push_back(static_cast<std::uint16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF)));
  }
  EXPECT_EQ(UTF8to16(UTF16to8(all)), all);
}

TEST(UTF8to16, KeepsEmbeddedNulOfSizedStrings) {
  const UTF8String text("a\0b", 3);
  EXPECT_EQ(UTF8to16(text), U16({'a', 0, 'b'}));
  EXPECT_EQ(UTF8to16(static_cast<const char*>(nullptr)), UTF16String());
}

TEST(ReplaceInString, ReplacesEveryOccurrenceLeftToRight) {
  UTF16String text = AsciiToUTF16("@0 and @0");
  ReplaceInString(text, AsciiToUTF16("@0"), AsciiToUTF16("x"));
  EXPECT_EQ(text, AsciiToUTF16("x and x"));
}

TEST(ReplaceInString, DoesNotRescanReplacedText) {
  UTF16String text = AsciiToUTF16("aXa");
  ReplaceInString(text, AsciiToUTF16("a"), AsciiToUTF16("aa"));
  EXPECT_EQ(text, AsciiToUTF16("aaXaa"));

  UTF16String overlapping = AsciiToUTF16("aaa");
  ReplaceInString(overlapping, AsciiToUTF16("aa"), AsciiToUTF16("b"));
  EXPECT_EQ(overlapping, AsciiToUTF16("ba"));
}

TEST(ReplaceInString, EdgeCases) {
  UTF16String text = AsciiToUTF16("abc");
  ReplaceInString(text, UTF16String(), AsciiToUTF16("x"));  // empty pattern: no change
  EXPECT_EQ(text, AsciiToUTF16("abc"));
  ReplaceInString(text, AsciiToUTF16("b"), UTF16String());  // deletion
  EXPECT_EQ(text, AsciiToUTF16("ac"));
  ReplaceInString(text, AsciiToUTF16("zz"), AsciiToUTF16("y"));  // absent
  EXPECT_EQ(text, AsciiToUTF16("ac"));
  ReplaceInString(text, AsciiToUTF16("ac"), AsciiToUTF16("whole"));
  EXPECT_EQ(text, AsciiToUTF16("whole"));
  ReplaceInString(text, text, text);  // arguments aliasing the text
  EXPECT_EQ(text, AsciiToUTF16("whole"));
}

TEST(ToStdString, GivesUTF8) {
  EXPECT_EQ(ToStdString(U16({'9', '0', 0xB0})), "90\xC2\xB0");
}

}  // namespace
}  // namespace basalt
