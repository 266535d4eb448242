#include "parameters/localized_text.h"

#include <cstdio>

#include "basalt/localization.h"

namespace dolbydigital {
namespace {

constexpr char kKeyPrefix[] = "$$$/corvexa/dolbydigital/";
constexpr std::size_t kMaxArguments = 10;

}  // namespace

UTF16String LocalizedText(const UTF8String& nameAndDefault,
                          std::initializer_list<UTF16String> arguments) {
  const UTF8String key = kKeyPrefix + nameAndDefault;
  UTF16String a[kMaxArguments];
  std::size_t n = 0;
  for (const UTF16String& argument : arguments) {
    if (n == kMaxArguments) break;
    a[n++] = argument;
  }
  return basalt::LocalizeString(key.c_str(), a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7],
                                a[8], a[9]);
}

UTF16String LocalizedText(const char* nameAndDefault,
                          std::initializer_list<UTF16String> arguments) {
  return LocalizedText(UTF8String(nameAndDefault), arguments);
}

UTF16String DecimalText(int value) {
  char text[16];
  std::snprintf(text, sizeof text, "%i", value);
  return basalt::AsciiToUTF16(text);
}

UTF16String CountText(unsigned long long count) {
  char text[24];
  std::snprintf(text, sizeof text, "%llu", count);
  return basalt::AsciiToUTF16(text);
}

UTF16String LabelAbbreviation(int label) {
  return tidemark::AudioChannelLabelAbbreviations(static_cast<tidemark::AudioChannelLabel>(label));
}

UTF16String LabelDescription(int label) {
  return tidemark::AudioChannelLabelDescription(static_cast<tidemark::AudioChannelLabel>(label),
                                                false);
}

}  // namespace dolbydigital
