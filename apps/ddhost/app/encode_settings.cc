#include "encode_settings.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <strings.h>

#include "basalt/json.h"
#include "dolbydigital/parameters.h"
#include "dolbydigital/persistence.h"

namespace ddhost {
namespace {

using namespace dolbydigital;

constexpr int kParameterCount = 24;

std::string Text(const UTF16String& text) { return basalt::ToStdString(text); }

bool ParseInteger(const std::string& text, int& value) {
  if (text.empty()) return false;
  errno = 0;
  char* end = nullptr;
  const long parsed = std::strtol(text.c_str(), &end, 10);
  if (*end != '\0' || errno == ERANGE || parsed < INT32_MIN || parsed > INT32_MAX) return false;
  value = static_cast<int>(parsed);
  return true;
}

std::string AllowedText(ParameterID id, const ParameterValueSet& values, int lowest, int highest,
                        const ParameterMap& map) {
  if (values.empty()) return std::to_string(lowest) + " .. " + std::to_string(highest);
  std::string text;
  for (int v : values) text += (text.empty() ? "" : ", ") + ValueText(id, v, map);
  return text;
}

}  // namespace

std::string KeyName(ParameterID id) {
  // The library's JSON form is the one public place that spells key names: a one-entry map
  // serializes to {"KeyName":0}.
  ParameterMap one;
  one[id] = 0;
  UTF8String text;
  if (!SerializeParameterMap(one, false, text)) return std::string();
  const std::string json(text.begin(), text.end());
  const std::size_t open = json.find('"');
  const std::size_t close = open == std::string::npos ? open : json.find('"', open + 1);
  return close == std::string::npos ? std::string() : json.substr(open + 1, close - open - 1);
}

bool FindParameterByKey(const std::string& key, ParameterID& id) {
  for (int i = 0; i < kParameterCount; ++i) {
    if (strcasecmp(KeyName(static_cast<ParameterID>(i)).c_str(), key.c_str()) == 0) {
      id = static_cast<ParameterID>(i);
      return true;
    }
  }
  return false;
}

std::string AllKeyNames() {
  std::string names;
  for (int i = 0; i < kParameterCount; ++i)
    names += (names.empty() ? "" : ", ") + KeyName(static_cast<ParameterID>(i));
  return names;
}

std::string ValueText(ParameterID id, int value, const ParameterMap& map) {
  const std::string name = Text(GetNameForValue(id, value, map));
  const std::string number = std::to_string(value);
  if (name == number || name.rfind(number + " ", 0) == 0) return name;
  return number + " (" + name + ")";
}

bool ReadSettingsFile(const std::string& path, ParameterMap& map, bool& hasCodecMode,
                      std::string& error) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return error = "cannot read the settings file " + path + ": " + std::strerror(errno), false;
  std::stringstream content;
  content << in.rdbuf();
  const std::string text = content.str();
  const UTF8String utf8(text.begin(), text.end());
  if (!DeSerializeParameterMap(utf8, false, map)) {
    error = path + " is not a settings file: a JSON object of parameter key names and integers";
    return false;
  }
  hasCodecMode = false;
  if (auto root = basalt::JSONParse(utf8)) {
    if (const auto* object = boost::any_cast<basalt::JSONObject>(root.get()))
      hasCodecMode = basalt::ObjectHasProperty(*object, KeyName(kParameterID_CodecMode).c_str());
  }
  return true;
}

bool ApplySetting(const std::string& assignment, ParameterMap& map, const ChannelLayout& layout,
                  std::string& error) {
  const std::size_t equals = assignment.find('=');
  if (equals == std::string::npos || equals == 0)
    return error = "--set wants KEY=VALUE, not '" + assignment + "'", false;
  const std::string key = assignment.substr(0, equals);
  const std::string valueText = assignment.substr(equals + 1);
  ParameterID id;
  if (!FindParameterByKey(key, id))
    return error = "unknown parameter '" + key + "'; the parameters are: " + AllKeyNames(), false;

  ParameterValueSet values;
  int defaultValue = 0, lowest = 0, highest = 0;
  const bool applies = GetParameterInfo(id, map, values, defaultValue, lowest, highest, layout);
  const std::string allowed = AllowedText(id, values, lowest, highest, map);
  int value = 0;
  if (!ParseInteger(valueText, value)) {
    bool found = false;
    for (int candidate : values) {
      if (strcasecmp(Text(GetNameForValue(id, candidate, map)).c_str(), valueText.c_str()) == 0) {
        value = candidate;
        found = true;
        break;
      }
    }
    if (!found)
      return error = KeyName(id) + ": '" + valueText + "' is not one of its values; allowed: " + allowed, false;
  }
  if (!applies)
    return error = KeyName(id) + " does not apply to this configuration", false;
  const bool inDomain = values.empty() ? (value >= lowest && value <= highest) : values.count(value) > 0;
  if (!inDomain)
    return error = KeyName(id) + "=" + std::to_string(value) + " is outside its domain; allowed: " + allowed, false;
  map[id] = value;
  return true;
}

std::vector<std::string> DescribeChanges(const ParameterMap& before, const ParameterMap& after) {
  std::vector<std::string> lines;
  for (int i = 0; i < kParameterCount; ++i) {
    const ParameterID id = static_cast<ParameterID>(i);
    const auto was = before.find(id);
    const auto now = after.find(id);
    const bool hadIt = was != before.end(), hasIt = now != after.end();
    if (hadIt && hasIt && was->second == now->second) continue;
    if (!hadIt && !hasIt) continue;
    std::string line = KeyName(id) + ": ";
    if (!hadIt) line += "added as " + ValueText(id, now->second, after);
    else if (!hasIt) line += ValueText(id, was->second, before) + " removed (does not apply)";
    else line += ValueText(id, was->second, before) + " -> " + ValueText(id, now->second, after);
    lines.push_back(line);
  }
  return lines;
}

}  // namespace ddhost
