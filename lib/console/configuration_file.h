// The parameter configuration file of the Encode command: a JSON object of parameter key
// names and integers. Whatever cannot be applied leaves the defaults in place and says why.
#ifndef DOLBYDIGITAL_CONSOLE_CONFIGURATION_FILE_H
#define DOLBYDIGITAL_CONSOLE_CONFIGURATION_FILE_H

#include <string>

#include "dolbydigital/types.h"

namespace dolbydigital {

// The whole content of the file at `path`, or nothing when it is missing or empty.
UTF8String ReadConfigurationText(const UTF16String& path);

// Fills `params` with the defaults and applies the configuration file at `path` (none when
// empty). Returns the warning to show the user, empty when the file was applied or none
// was named.
std::string LoadEncodeParameters(const UTF16String& path, ParameterMap& params);

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_CONSOLE_CONFIGURATION_FILE_H
