// ddhost params [--mode N] [--layout NAME]: the parameter model as a settings dialog sees
// it, from the library's public API only: each group in display order with its
// parameters, their units, defaults and allowed values with their names, for the default
// configuration of a codec mode, corrected for a source channel layout when one is named.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include "dolbydigital/parameters.h"
#include "tool.h"

namespace {

using namespace dolbydigital;
using tidemark::AudioChannelLabel;

std::string Text(const UTF16String& text) { return basalt::ToStdString(text); }

struct NamedLayout {
  const char* name;
  std::vector<int> labels;
};

// Common source layouts by their everyday names.
const std::vector<NamedLayout>& KnownLayouts() {
  static const std::vector<NamedLayout> layouts = {
      {"mono", {102}},
      {"dualmono", {0, 0}},
      {"stereo", {100, 101}},
      {"2.1", {100, 101, 103}},
      {"3.0", {100, 101, 102}},
      {"3.1", {100, 101, 102, 103}},
      {"quad", {100, 101, 104, 105}},
      {"4.0", {100, 101, 102, 106}},
      {"4.1", {100, 101, 102, 103, 106}},
      {"5.0", {100, 101, 102, 104, 105}},
      {"5.1", {100, 101, 102, 103, 104, 105}},
      {"6.1", {100, 101, 102, 103, 104, 105, 106}},
      {"7.1", {100, 101, 102, 103, 104, 105, 129, 130}},
  };
  return layouts;
}

bool FindLayout(const std::string& name, ChannelLayout& layout) {
  for (const NamedLayout& known : KnownLayouts()) {
    if (name != known.name) continue;
    layout.clear();
    for (int label : known.labels)
      layout.push_back(tidemark::AudioChannelDescription(static_cast<AudioChannelLabel>(label)));
    return true;
  }
  return false;
}

std::string KnownLayoutNames() {
  std::string names;
  for (const NamedLayout& known : KnownLayouts()) names += (names.empty() ? "" : ", ") + std::string(known.name);
  return names;
}

struct Options {
  int mode = kCodecMode_DolbyDigitalPlus;
  std::string layoutName;
  ChannelLayout layout;
};

bool ParseInteger(const std::string& text, int& value) {
  char* end = nullptr;
  const long parsed = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0') return false;
  value = static_cast<int>(parsed);
  return true;
}

// False (after saying why on stderr) for arguments the tool does not understand.
bool ParseOptions(const std::vector<std::string>& args, Options& options) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const bool hasValue = i + 1 < args.size();
    if (args[i] == "--mode" && hasValue && ParseInteger(args[i + 1], options.mode)) {
      ++i;
    } else if (args[i] == "--layout" && hasValue) {
      options.layoutName = args[++i];
      if (!FindLayout(options.layoutName, options.layout)) {
        std::fprintf(stderr, "ddhost params: unknown layout '%s' (known: %s)\n",
                     options.layoutName.c_str(), KnownLayoutNames().c_str());
        return false;
      }
    } else {
      std::fprintf(stderr, "ddhost params: cannot read '%s'\nusage: ddhost params [--mode N] [--layout NAME]\n",
                   args[i].c_str());
      return false;
    }
  }
  return true;
}

std::string ValueText(ParameterID id, int value, const ParameterMap& map) {
  const std::string name = Text(GetNameForValue(id, value, map));
  const std::string number = std::to_string(value);
  return name == number ? number : number + " = " + name;
}

// Plain numbers (rates, levels) fit on one line; named values get one line each.
void PrintAllowedValues(ParameterID id, const ParameterValueSet& values, const ParameterMap& map) {
  bool allBare = true;
  for (int value : values) allBare = allBare && Text(GetNameForValue(id, value, map)) == std::to_string(value);
  if (allBare) {
    std::string line;
    for (int value : values) line += (line.empty() ? "" : ", ") + std::to_string(value);
    std::printf("    allowed: %s\n", line.c_str());
    return;
  }
  const char* lead = "    allowed: ";
  for (int value : values) {
    std::printf("%s%s\n", lead, ValueText(id, value, map).c_str());
    lead = "             ";
  }
}

void PrintParameter(ParameterID id, const ParameterMap& map, const ChannelLayout& layout) {
  const std::string unit = Text(GetParameterUnit(id));
  std::printf("  %s%s\n", Text(GetParameterName(id)).c_str(), unit.empty() ? "" : (" [" + unit + "]").c_str());
  std::printf("    default: %s\n", ValueText(id, map.at(id), map).c_str());
  ParameterValueSet values;
  int defaultValue = 0, lowest = 0, highest = 0;
  if (!GetParameterInfo(id, map, values, defaultValue, lowest, highest, layout)) {
    std::printf("    (does not apply to this configuration)\n");
  } else if (values.empty()) {
    std::printf("    allowed: %d .. %d\n", lowest, highest);
  } else {
    PrintAllowedValues(id, values, map);
  }
}

void PrintHeading(const Options& options, const ParameterMap& map) {
  std::printf("Codec mode %d: %s\n", options.mode,
              Text(GetNameForValue(kParameterID_CodecMode, options.mode, map)).c_str());
  if (!options.layoutName.empty()) {
    std::string channels;
    for (const auto& channel : options.layout)
      channels += " " + Text(tidemark::AudioChannelLabelAbbreviations(channel.GetLabel()));
    std::printf("Source layout %s:%s\n", options.layoutName.c_str(), channels.c_str());
  }
  std::printf("%zu parameters\n", map.size());
}

// The library corrects a map toward what the mode can carry; say so when that is not the
// source's own configuration.
void WarnWhenLayoutIsNotCarried(const ParameterMap& map, const ChannelLayout& layout) {
  const AudioChannelConfiguration sourceConfiguration = GetAudioChannelConfiguration(layout);
  if (GetParameter(kParameterID_ChannelConfiguration, map) != sourceConfiguration)
    std::fprintf(stderr, "ddhost params: this mode does not carry the source's configuration %s\n",
                 Text(GetNameForValue(kParameterID_ChannelConfiguration, sourceConfiguration, map)).c_str());
}

int PrintParameterModel(const Options& options) {
  ParameterMap map;
  GetDefaults(static_cast<CodecMode>(options.mode), map);
  if (!options.layoutName.empty()) {
    if (!VerifyAndCorrectParameter(options.layout, map)) {
      std::fprintf(stderr, "ddhost params: no channel configuration carries the layout '%s'\n",
                   options.layoutName.c_str());
      return 1;
    }
    WarnWhenLayoutIsNotCarried(map, options.layout);
  }
  PrintHeading(options, map);
  for (const auto& group : GetParameterGroups()) {
    // A group whose parameters all went away in the correction is not shown.
    bool shown = false;
    for (ParameterID id : group.second) {
      if (!map.count(id)) continue;
      if (!shown) std::printf("\n%s\n", Text(GetParameterGroupName(group.first)).c_str());
      shown = true;
      PrintParameter(id, map, options.layout);
    }
  }
  return 0;
}

int RunParams(const std::vector<std::string>& args) {
  Options options;
  if (!ParseOptions(args, options)) return 2;
  try {
    return PrintParameterModel(options);
  } catch (const std::exception& e) {
    // A mode the engine does not serve leaves the correction without a codec mode to read.
    std::fprintf(stderr, "ddhost params: mode %d cannot be shown: %s\n", options.mode, e.what());
    return 1;
  }
}

}  // namespace

DDHOST_TOOL(params, "params", "params [--mode N] [--layout NAME]",
            "the parameters of a codec mode: groups, names, units, defaults and allowed values",
            RunParams);
