// The checked read of a map entry that several rules rely on: a missing key is an error of
// the caller, reported like the standard checked lookup of an associative container.
#ifndef DOLBYDIGITAL_PARAMETERS_CHECKED_LOOKUP_H
#define DOLBYDIGITAL_PARAMETERS_CHECKED_LOOKUP_H

#include <stdexcept>

#include "dolbydigital/types.h"

namespace dolbydigital {

// The value stored under `id`; throws std::out_of_range("invalid map<K, T> key") when the
// map lacks it. The message is fixed here rather than left to the standard library, whose
// wording differs between implementations.
inline int CheckedValue(const ParameterMap& map, ParameterID id) {
  const auto it = map.find(id);
  if (it == map.end()) throw std::out_of_range("invalid map<K, T> key");
  return it->second;
}

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_PARAMETERS_CHECKED_LOOKUP_H
