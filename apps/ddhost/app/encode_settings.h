// The settings of an export, built the way a host builds them: the defaults of the codec
// mode, a stored settings file read by the library, the user's changes by parameter key
// name, and finally the library's correction against the source's channel layout.
#ifndef DDHOST_ENCODE_SETTINGS_H
#define DDHOST_ENCODE_SETTINGS_H

#include <string>
#include <vector>

#include "dolbydigital/types.h"

namespace ddhost {

// The stable key name of a parameter ("DialNorm"), as the JSON form of the library uses it.
std::string KeyName(dolbydigital::ParameterID id);
bool FindParameterByKey(const std::string& key, dolbydigital::ParameterID& id);
std::string AllKeyNames();

// Reads `path` with DeSerializeParameterMap. `hasCodecMode` tells whether the file names a
// codec mode itself (otherwise the map holds the library's default mode).
bool ReadSettingsFile(const std::string& path, dolbydigital::ParameterMap& map, bool& hasCodecMode,
                      std::string& error);

// KEY=VALUE for one parameter: VALUE is a number or one of the names GetNameForValue gives
// for the allowed values. Refused, with the allowed values in `error`, when the key is
// unknown, the name is not one of them or the number lies outside the domain that `map`
// and `layout` give the parameter.
bool ApplySetting(const std::string& assignment, dolbydigital::ParameterMap& map,
                  const dolbydigital::ChannelLayout& layout, std::string& error);

// One line per parameter whose value differs between `before` and `after`:
// "DataRate: 192 kbps -> 384 kbps".
std::vector<std::string> DescribeChanges(const dolbydigital::ParameterMap& before,
                                         const dolbydigital::ParameterMap& after);

// "192 kbps" or "2 (3/2)": a value with its name.
std::string ValueText(dolbydigital::ParameterID id, int value, const dolbydigital::ParameterMap& map);

}  // namespace ddhost

#endif  // DDHOST_ENCODE_SETTINGS_H
