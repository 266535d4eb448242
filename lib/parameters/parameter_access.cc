// Reading and changing single parameters of a map, and the file extension of each mode.
#include "dolbydigital/parameters.h"
#include "parameters/constraint_table.h"

namespace dolbydigital {
namespace {

// What GetParameter yields for a parameter the map does not hold.
constexpr int kAbsentValue = -2;

}  // namespace

int GetParameter(ParameterID id, const ParameterMap& map) {
  const auto it = map.find(id);
  return it == map.end() ? kAbsentValue : it->second;
}

bool SetParameter(ParameterID id, ParameterMap& map, int value) {
  const auto it = map.find(id);
  if (it == map.end() || it->second == value) return false;
  // The answer is taken before the store; a change without dependents still stores the
  // value and answers false, meaning nothing else needs checking again.
  const bool othersDepend = !DependentParameters(id).empty();
  it->second = value;
  return othersDepend;
}

const char* GetExtension(CodecMode mode) {
  switch (mode) {
    case kCodecMode_DolbyDigitalPlus:
    case kCodecMode_Bluray_Secondary: return "ec3";
    default: return "ac3";
  }
}

}  // namespace dolbydigital
