// A parameter map as UTF-8 text: plain JSON, or JSON passed through the host's
// binary-to-text encoding. Neither direction lets an exception out.
#include <cstdint>
#include <vector>

#include "basalt/binary_text.h"
#include "basalt/json.h"
#include "dolbydigital/persistence.h"

namespace dolbydigital {
namespace {

UTF8String DecodedText(const UTF8String& text) {
  std::vector<std::uint8_t> bytes;
  basalt::DecodeBinaryDataFromUTF8String(text, bytes);
  return UTF8String(bytes.begin(), bytes.end());
}

bool ReadParameterMap(const UTF8String& text, bool encoded, ParameterMap& params) {
  const UTF8String json = encoded ? DecodedText(text) : text;
  if (json.empty()) return false;
  const basalt::JSONValuePtr parsed = basalt::JSONParse(json);
  if (!parsed) return false;
  // Only an object is a configuration; any_cast throws for anything else.
  const boost::any object = boost::any_cast<const basalt::JSONObject&>(*parsed);
  ParameterMap result = ParameterFromJSON(object);
  params.swap(result);
  return true;
}

}  // namespace

bool SerializeParameterMap(const ParameterMap& params, bool encoded, UTF8String& out) {
  try {
    const UTF8String text = basalt::GetJSONUTF8String(ParameterToJSON(params), false);
    if (encoded) {
      basalt::EncodeBinaryDataToUTF8String(reinterpret_cast<const std::uint8_t*>(text.data()),
                                           text.size(), out);
    } else {
      out = text;
    }
    return true;
  } catch (...) {
    return false;
  }
}

bool DeSerializeParameterMap(const UTF8String& text, bool encoded, ParameterMap& params) {
  try {
    return ReadParameterMap(text, encoded, params);
  } catch (...) {
    return false;
  }
}

}  // namespace dolbydigital
