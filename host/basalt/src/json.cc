// The boost::any JSON tree, converted to and from nlohmann::ordered_json, which does the
// actual parsing and printing. Objects keep the key order of JSONObject when printed.
#include "basalt/json.h"

#include <limits>
#include <string>

#include <boost/make_shared.hpp>
#include <nlohmann/json.hpp>

namespace basalt {
namespace {

using Json = nlohmann::ordered_json;

// Deeper documents are rejected rather than risking the stack in the recursive conversion.
constexpr int kMaxDepth = 512;

struct TooDeep {};

boost::any FromJson(const Json& json, int depth);

JSONValuePtr MakeValue(const Json& json, int depth) {
  return boost::make_shared<boost::any>(FromJson(json, depth));
}

boost::any FromJson(const Json& json, int depth) {
  if (depth > kMaxDepth) throw TooDeep();
  switch (json.type()) {
    case Json::value_t::null:
    case Json::value_t::discarded:
      return boost::any();
    case Json::value_t::boolean:
      return json.get<bool>();
    case Json::value_t::number_integer:
      return json.get<std::int64_t>();
    case Json::value_t::number_unsigned: {
      // The parser reports every non-negative integer as unsigned; only values that do not
      // fit a signed 64-bit integer stay unsigned.
      const auto value = json.get<std::uint64_t>();
      if (value <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
        return static_cast<std::int64_t>(value);
      return value;
    }
    case Json::value_t::number_float:
      return json.get<double>();
    case Json::value_t::string: {
      const auto& text = json.get_ref<const std::string&>();
      return UTF8String(text.data(), text.size());
    }
    case Json::value_t::array: {
      JSONArray array;
      array.reserve(json.size());
      for (const auto& element : json) array.push_back(MakeValue(element, depth + 1));
      return array;
    }
    case Json::value_t::object: {
      JSONObject object;
      for (const auto& member : json.items()) {
        const std::string& name = member.key();
        object[UTF8String(name.data(), name.size())] = MakeValue(member.value(), depth + 1);
      }
      return object;
    }
    case Json::value_t::binary:
      break;
  }
  return boost::any();
}

Json ToJson(const boost::any& value);

Json ToJson(const JSONValuePtr& value) { return value ? ToJson(*value) : Json(); }

Json ToJson(const boost::any& value) {
  if (value.empty()) return Json();
  const std::type_info& type = value.type();
  if (type == typeid(std::int64_t)) return boost::any_cast<std::int64_t>(value);
  if (type == typeid(std::uint64_t)) return boost::any_cast<std::uint64_t>(value);
  if (type == typeid(double)) return boost::any_cast<double>(value);
  if (type == typeid(bool)) return boost::any_cast<bool>(value);
  if (type == typeid(UTF8String)) {
    const auto& text = boost::any_cast<const UTF8String&>(value);
    return std::string(text.data(), text.size());
  }
  if (type == typeid(JSONObject)) {
    Json object = Json::object();
    for (const auto& member : boost::any_cast<const JSONObject&>(value))
      object[std::string(member.first.data(), member.first.size())] = ToJson(member.second);
    return object;
  }
  if (type == typeid(JSONArray)) {
    Json array = Json::array();
    for (const auto& element : boost::any_cast<const JSONArray&>(value))
      array.push_back(ToJson(element));
    return array;
  }
  // Conveniences for values built by hand in host code.
  if (type == typeid(int)) return boost::any_cast<int>(value);
  if (type == typeid(unsigned)) return boost::any_cast<unsigned>(value);
  if (type == typeid(float)) return static_cast<double>(boost::any_cast<float>(value));
  if (type == typeid(std::string)) return boost::any_cast<const std::string&>(value);
  if (type == typeid(const char*)) return std::string(boost::any_cast<const char*>(value));
  throw boost::bad_any_cast();
}

}  // namespace

JSONValuePtr JSONParse(const UTF8String& text) {
  try {
    // Without exceptions the parser reports any error, trailing garbage included, as a
    // discarded value.
    const Json json = Json::parse(text.begin(), text.end(), nullptr, false);
    if (json.is_discarded()) return JSONValuePtr();
    return MakeValue(json, 0);
  } catch (...) {
    return JSONValuePtr();
  }
}

UTF8String GetJSONUTF8String(const boost::any& value, bool pretty) {
  const std::string text =
      ToJson(value).dump(pretty ? 2 : -1, ' ', false, Json::error_handler_t::replace);
  return UTF8String(text.data(), text.size());
}

void AddToObject(boost::any& object, const char* name, const boost::any& value) {
  auto& members = boost::any_cast<JSONObject&>(object);
  members[UTF8String(name)] = boost::make_shared<boost::any>(value);
}

bool ObjectHasProperty(const JSONObject& object, const char* name) {
  return object.find(UTF8String(name)) != object.end();
}

JSONValuePtr GetVariantInObject(const JSONObject& object, const char* name) {
  auto it = object.find(UTF8String(name));
  return it != object.end() ? it->second : JSONValuePtr();
}

}  // namespace basalt
