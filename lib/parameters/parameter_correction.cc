// Which parameters to check again after a change, and bringing a whole configuration into
// agreement with the channel layout of the audio it is to encode.
#include <algorithm>

#include "dolbydigital/parameters.h"
#include "parameters/channel_configuration.h"
#include "parameters/constraint_table.h"

namespace dolbydigital {
namespace {

constexpr int kAbsentValue = -2;

// The value to keep for a parameter that applies: a member of a list domain, or a value
// inside a range (with the lower bound winning when the bounds cross). An absent
// parameter takes its default.
int CorrectedValue(int value, const ParameterValueSet& values, int defaultValue, int lowest,
                   int highest) {
  if (!values.empty()) return values.count(value) ? value : defaultValue;
  if (value == kAbsentValue) return defaultValue;
  return std::max(std::min(value, highest), lowest);
}

// Checks one parameter against the working map; parameters that do not apply leave it.
void CorrectParameter(ParameterID id, const ChannelLayout& layout, ParameterMap& working) {
  // Every domain is read for the map's codec mode. A mode the engine has no mode for (say
  // a setting stored by a newer version, or a damaged file) applies nowhere, so the walk
  // removes the codec mode itself first; from then on no parameter applies either, and
  // asking GetParameterInfo about a map without a mode would throw instead of saying so.
  if (working.count(kParameterID_CodecMode) == 0) {
    working.erase(id);
    return;
  }
  const int value = GetParameter(id, working);
  ParameterValueSet values;
  int defaultValue = 0;
  int lowest = 0;
  int highest = 0;
  if (GetParameterInfo(id, working, values, defaultValue, lowest, highest, layout)) {
    working[id] = CorrectedValue(value, values, defaultValue, lowest, highest);
  } else {
    working.erase(id);
  }
}

}  // namespace

ParameterIDSet GetParameterDependency(ParameterID id) { return DependentParameters(id); }

bool VerifyAndCorrectParameter(const ChannelLayout& layout, ParameterMap& map) {
  AudioChannelConfiguration cfg;
  bool lfe;
  if (!MatchChannelConfiguration(layout, cfg, lfe)) return false;
  // The audio decides the configuration and the LFE flag, whatever the map says.
  ParameterMap working(map);
  working[kParameterID_ChannelConfiguration] = cfg;
  working[kParameterID_EnableLFE] = lfe ? 1 : 0;
  // Display order matters: each parameter is checked against those corrected before it.
  for (const auto& group : GetParameterGroups())
    for (ParameterID id : group.second) CorrectParameter(id, layout, working);
  map.swap(working);
  return true;
}

}  // namespace dolbydigital
