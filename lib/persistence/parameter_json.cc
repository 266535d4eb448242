// A parameter map as a JSON object of key names and integers, and back: reading starts
// from the defaults, takes what the object holds, and corrects it against the domains.
#include <algorithm>
#include <cstdint>

#include "basalt/json.h"
#include "dolbydigital/parameters.h"
#include "dolbydigital/persistence.h"
#include "parameters/checked_lookup.h"
#include "parameters/key_names.h"

namespace dolbydigital {
namespace {

// The error for a JSON value of the wrong type: a boost::bad_any_cast, so it is also a
// std::bad_cast, with the plain message callers have always seen.
class BadJSONCast : public boost::bad_any_cast {
 public:
  const char* what() const noexcept override { return "bad cast"; }
};

const basalt::JSONObject& AsObject(const boost::any& json) {
  const basalt::JSONObject* object = boost::any_cast<basalt::JSONObject>(&json);
  if (object == nullptr) throw BadJSONCast();
  return *object;
}

// The low 32 bits of a JSON integer; no range check, so 2^32 + 1 reads as 1.
std::int32_t LowWord(std::uint64_t value) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
}

std::int32_t IntegerValue(const basalt::JSONValuePtr& variant) {
  if (!variant) return 0;
  if (const std::int64_t* s = boost::any_cast<std::int64_t>(variant.get()))
    return LowWord(static_cast<std::uint64_t>(*s));
  if (const std::uint64_t* u = boost::any_cast<std::uint64_t>(variant.get())) return LowWord(*u);
  throw BadJSONCast();
}

UTF8String MemberName(ParameterID id) { return basalt::UTF16to8(ParameterKeyName(id)); }

// Takes every member named after one of the parameters over the defaults in `map`.
void ReadMembers(const basalt::JSONObject& object, ParameterMap& map) {
  for (int i = 0; i < kParameterCount; ++i) {
    const ParameterID id = static_cast<ParameterID>(i);
    const UTF8String name = MemberName(id);
    if (basalt::ObjectHasProperty(object, name.c_str()))
      map[id] = IntegerValue(basalt::GetVariantInObject(object, name.c_str()));
  }
}

int CorrectedValue(ParameterID id, int value, const ParameterMap& map) {
  ParameterValueSet values;
  int defaultValue = 0;
  int lowest = 0;
  int highest = 0;
  GetParameterInfo(id, map, values, defaultValue, lowest, highest, ChannelLayout());
  if (!values.empty()) return values.count(value) ? value : defaultValue;
  return std::max(std::min(value, highest), lowest);
}

// Brings parameters 2..23 into their domains, in ascending order so that each is checked
// against the corrected values before it. The codec mode and the channel configuration
// are taken as read, and negative values (-1 "not available") are kept as they are.
void CorrectValues(ParameterMap& map) {
  for (int i = kParameterID_EnableLFE; i < kParameterCount; ++i) {
    const ParameterID id = static_cast<ParameterID>(i);
    const int value = CheckedValue(map, id);
    if (value < 0) continue;
    map[id] = CorrectedValue(id, value, map);
  }
}

}  // namespace

boost::any ParameterToJSON(const ParameterMap& params) {
  boost::any object = basalt::JSONObject();
  for (const auto& entry : params)
    basalt::AddToObject(object, MemberName(entry.first).c_str(),
                        boost::any(static_cast<std::int64_t>(entry.second)));
  return object;
}

ParameterMap ParameterFromJSON(const boost::any& json) {
  const basalt::JSONObject& object = AsObject(json);
  ParameterMap map;
  GetDefaults(kCodecMode_DolbyDigitalPlus, map);
  ReadMembers(object, map);
  CorrectValues(map);
  return map;
}

}  // namespace dolbydigital
