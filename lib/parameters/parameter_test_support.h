// Small helpers shared by the parameter model's tests.
#ifndef DOLBYDIGITAL_PARAMETERS_PARAMETER_TEST_SUPPORT_H
#define DOLBYDIGITAL_PARAMETERS_PARAMETER_TEST_SUPPORT_H

#include <initializer_list>
#include <string>
#include <vector>

#include "dolbydigital/parameters.h"

namespace dolbydigital {
namespace testing_support {

inline std::string Text(const UTF16String& text) { return basalt::ToStdString(text); }

inline ChannelLayout Layout(std::initializer_list<int> labels) {
  ChannelLayout layout;
  for (int label : labels)
    layout.push_back(tidemark::AudioChannelDescription(static_cast<tidemark::AudioChannelLabel>(label)));
  return layout;
}

inline std::vector<int> Labels(const ChannelLayout& layout) {
  std::vector<int> labels;
  for (const auto& channel : layout) labels.push_back(channel.GetLabel());
  return labels;
}

inline ParameterMap Defaults(CodecMode mode) {
  ParameterMap map;
  GetDefaults(mode, map);
  return map;
}

inline std::vector<int> Values(const ParameterValueSet& set) {
  return std::vector<int>(set.begin(), set.end());
}

// The outputs of one GetParameterInfo call.
struct Info {
  bool applies = false;
  ParameterValueSet values;
  int defaultValue = 0;
  int lowest = 0;
  int highest = 0;
};

inline Info InfoFor(ParameterID id, const ParameterMap& map,
                    const ChannelLayout& layout = ChannelLayout()) {
  Info info;
  info.applies = GetParameterInfo(id, map, info.values, info.defaultValue, info.lowest,
                                  info.highest, layout);
  return info;
}

}  // namespace testing_support
}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_PARAMETERS_PARAMETER_TEST_SUPPORT_H
