// The JSON form of a parameter set: an object of key names ("CodecMode" ... "RoomType") and
// integers, as plain JSON text or passed through the host's binary-to-text encoding.
#ifndef DOLBYDIGITAL_PERSISTENCE_H
#define DOLBYDIGITAL_PERSISTENCE_H

#include <boost/any.hpp>

#include "dolbydigital/types.h"

namespace dolbydigital {

boost::any ParameterToJSON(const ParameterMap& params);
// A complete, corrected map; throws boost::bad_any_cast for a non-object or a wrongly
// typed member.
ParameterMap ParameterFromJSON(const boost::any& json);
bool SerializeParameterMap(const ParameterMap& params, bool encoded, UTF8String& out);
// False (and `params` untouched) for anything that cannot be read.
bool DeSerializeParameterMap(const UTF8String& text, bool encoded, ParameterMap& params);

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_PERSISTENCE_H
