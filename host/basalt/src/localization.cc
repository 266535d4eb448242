// Localized texts. A key "$$$/name=English default" is looked up by name in the loaded
// string table; the default after "=" is the fallback. The chosen text is then expanded in
// one left-to-right pass: "@0".."@9" become the arguments and "#{...}" markup its
// characters. Argument text is inserted verbatim and never scanned again, so an argument
// that happens to contain "@1" or "#{deg}" shows exactly as given.
#include "basalt/localization.h"

#include <fstream>
#include <mutex>
#include <string>
#include <unordered_map>

namespace basalt {
namespace {

constexpr char kKeyPrefix[] = "$$$/";
constexpr std::size_t kKeyPrefixLength = sizeof(kKeyPrefix) - 1;

struct ParsedKey {
  std::string name;
  UTF16String fallback;
};

// "$$$/name=default" -> name, default. A bare name without "=" is its own fallback.
ParsedKey ParseKey(const char* key) {
  ParsedKey parsed;
  if (key == nullptr) return parsed;
  std::string text(key);
  if (text.compare(0, kKeyPrefixLength, kKeyPrefix) == 0) text.erase(0, kKeyPrefixLength);
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos) {
    parsed.name = text;
    parsed.fallback = UTF8to16(text.c_str());
  } else {
    parsed.name = text.substr(0, equals);
    parsed.fallback = UTF8to16(text.c_str() + equals + 1);
  }
  return parsed;
}

bool IsHexDigit(std::uint16_t c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

std::uint32_t HexValue(std::uint16_t c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return c - 'A' + 10;
}

bool Matches(const UTF16String& text, std::size_t at, const char* ascii) {
  for (std::size_t k = 0; ascii[k] != '\0'; ++k)
    if (at + k >= text.size() || text[at + k] != static_cast<std::uint8_t>(ascii[k])) return false;
  return true;
}

// Expands the markup that starts at text[at] ("#{"); returns the number of units consumed,
// or 0 when it is not markup this host knows (it is then copied as it stands).
std::size_t ExpandMarkupAt(const UTF16String& text, std::size_t at, UTF16String& out) {
  if (Matches(text, at, "#{deg}")) {
    out.push_back(0x00B0);
    return 6;
  }
  if (Matches(text, at, "#{endl}")) {
    out.push_back('\n');
    return 7;
  }
  if (!Matches(text, at, "#{U+")) return 0;
  std::size_t end = at + 4;
  std::uint32_t cp = 0;
  while (end < text.size() && IsHexDigit(text[end]) && end - (at + 4) < 6) {
    cp = cp * 16 + HexValue(text[end]);
    ++end;
  }
  const std::size_t digits = end - (at + 4);
  if (digits == 0 || end >= text.size() || text[end] != '}') return 0;
  if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return 0;
  AppendCodePoint(out, cp);
  return end + 1 - at;
}

// The single expansion pass; `arguments` null leaves placeholders in place.
UTF16String Expand(const UTF16String& text, const UTF16String* const* arguments) {
  UTF16String out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const std::uint16_t c = text[i];
    if (arguments != nullptr && c == '@' && i + 1 < text.size() && text[i + 1] >= '0' &&
        text[i + 1] <= '9') {
      out.append(*arguments[text[i + 1] - '0']);
      i += 2;
      continue;
    }
    if (c == '#' && i + 1 < text.size() && text[i + 1] == '{') {
      if (std::size_t used = ExpandMarkupAt(text, i, out)) {
        i += used;
        continue;
      }
    }
    out.push_back(c);
    ++i;
  }
  return out;
}

std::string TrimLineEnd(std::string line) {
  while (!line.empty() && (line.back() == '\r' || line.back() == '\n')) line.pop_back();
  return line;
}

}  // namespace

namespace config {

struct Localizer::Table {
  mutable std::mutex mutex;
  std::unordered_map<std::string, UTF16String> entries;
};

Localizer::Localizer() : table_(new Table()) {}

Localizer& Localizer::Get() {
  // Never destroyed: texts may be looked up from static destructors of plug-ins.
  static Localizer* localizer = new Localizer();
  return *localizer;
}

UTF16String Localizer::LookupRaw(const char* key) const {
  const ParsedKey parsed = ParseKey(key);
  std::lock_guard<std::mutex> lock(table_->mutex);
  auto it = table_->entries.find(parsed.name);
  return it != table_->entries.end() ? it->second : parsed.fallback;
}

UTF16String Localizer::Lookup(const char* key) const { return Expand(LookupRaw(key), nullptr); }

bool Localizer::LoadTable(const UTF16String& path) {
  std::ifstream in(ToStdString(path), std::ios::binary);
  if (!in) return false;
  std::unordered_map<std::string, UTF16String> loaded;
  std::string line;
  bool first = true;
  while (std::getline(in, line)) {
    line = TrimLineEnd(line);
    if (first && line.compare(0, 3, "\xEF\xBB\xBF") == 0) line.erase(0, 3);  // byte-order mark
    first = false;
    if (line.empty() || line[0] == '#') continue;
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) continue;
    std::string name = line.substr(0, equals);
    if (name.compare(0, kKeyPrefixLength, kKeyPrefix) == 0) name.erase(0, kKeyPrefixLength);
    loaded[name] = UTF8to16(line.c_str() + equals + 1);
  }
  if (in.bad()) return false;
  std::lock_guard<std::mutex> lock(table_->mutex);
  for (auto& entry : loaded) table_->entries[entry.first] = std::move(entry.second);
  return true;
}

void Localizer::SetEntry(const UTF8String& name, const UTF16String& text) {
  std::string key(name.data(), name.size());
  if (key.compare(0, kKeyPrefixLength, kKeyPrefix) == 0) key.erase(0, kKeyPrefixLength);
  std::lock_guard<std::mutex> lock(table_->mutex);
  table_->entries[key] = text;
}

void Localizer::Clear() {
  std::lock_guard<std::mutex> lock(table_->mutex);
  table_->entries.clear();
}

}  // namespace config

UTF16String ExpandMarkup(const UTF16String& text) { return Expand(text, nullptr); }

UTF16String LocalizeString(const char* key, const UTF16String& a0, const UTF16String& a1,
                           const UTF16String& a2, const UTF16String& a3, const UTF16String& a4,
                           const UTF16String& a5, const UTF16String& a6, const UTF16String& a7,
                           const UTF16String& a8, const UTF16String& a9) {
  const UTF16String* const arguments[10] = {&a0, &a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8, &a9};
  return Expand(config::Localizer::Get().LookupRaw(key), arguments);
}

}  // namespace basalt
