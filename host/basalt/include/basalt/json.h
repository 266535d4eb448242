// JSON values as a boost::any tree, parsed and printed with nlohmann/json.
//   object  -> JSONObject (key-ordered map of UTF-8 names to shared values)
//   array   -> JSONArray
//   integer -> std::int64_t, or std::uint64_t above INT64_MAX (double beyond 64 bits)
//   real    -> double, true/false -> bool, string -> UTF8String, null -> empty boost::any
#ifndef BASALT_JSON_H
#define BASALT_JSON_H

#include <cstdint>
#include <functional>
#include <map>
#include <vector>

#include <boost/any.hpp>
#include <boost/shared_ptr.hpp>

#include "basalt/string.h"

namespace basalt {

using JSONValuePtr = boost::shared_ptr<boost::any>;
using JSONObject =
    std::map<UTF8String, JSONValuePtr, std::less<UTF8String>,
             utility::SmallBlockAllocator<std::pair<const UTF8String, JSONValuePtr>>>;
using JSONArray = std::vector<JSONValuePtr, utility::SmallBlockAllocator<JSONValuePtr>>;

// The parsed tree, or an empty pointer when `text` is not JSON.
JSONValuePtr JSONParse(const UTF8String& text);
// Prints a tree; `pretty` indents with two blanks, otherwise the text is compact.
// Throws boost::bad_any_cast for a value of a type outside the list above.
UTF8String GetJSONUTF8String(const boost::any& value, bool pretty);

// Adds or replaces a member; `object` must hold a JSONObject (else boost::bad_any_cast).
void AddToObject(boost::any& object, const char* name, const boost::any& value);
bool ObjectHasProperty(const JSONObject& object, const char* name);
// The member's value, or an empty pointer when absent.
JSONValuePtr GetVariantInObject(const JSONObject& object, const char* name);

}  // namespace basalt

#endif  // BASALT_JSON_H
