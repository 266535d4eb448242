// The stable, language-independent name of each parameter ("CodecMode" ... "RoomType"):
// the member name of the JSON form and the suffix of the parameter's text keys.
#ifndef DOLBYDIGITAL_PARAMETERS_KEY_NAMES_H
#define DOLBYDIGITAL_PARAMETERS_KEY_NAMES_H

#include "dolbydigital/types.h"

namespace dolbydigital {

// Number of parameters, ParameterID 0 .. kParameterCount - 1.
constexpr int kParameterCount = 24;

// The ASCII key name, or null for a value outside 0..23.
const char* ParameterKeyNameAscii(ParameterID id);
// The key name as host text; "UnknownID_<id>" (decimal, signed) outside 0..23.
UTF16String ParameterKeyName(ParameterID id);

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_PARAMETERS_KEY_NAMES_H
