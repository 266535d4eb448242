#include "basalt/json.h"

#include <cstdint>
#include <limits>

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

namespace basalt {
namespace {

boost::any Parsed(const char* text) {
  JSONValuePtr value = JSONParse(UTF8String(text));
  EXPECT_TRUE(value) << text;
  return value ? *value : boost::any();
}

TEST(JSONParse, IntegersAreSigned64BitUnlessTooLarge) {
  EXPECT_EQ(boost::any_cast<std::int64_t>(Parsed("0")), 0);
  EXPECT_EQ(boost::any_cast<std::int64_t>(Parsed("-1")), -1);
  EXPECT_EQ(boost::any_cast<std::int64_t>(Parsed("9223372036854775807")),
            std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(boost::any_cast<std::int64_t>(Parsed("-9223372036854775808")),
            std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(boost::any_cast<std::uint64_t>(Parsed("9223372036854775808")), 9223372036854775808u);
  EXPECT_EQ(boost::any_cast<std::uint64_t>(Parsed("18446744073709551615")),
            std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(boost::any_cast<std::int64_t>(Parsed("4294967297")), 4294967297);
  // Beyond 64 bits the parser can only give a real.
  EXPECT_DOUBLE_EQ(boost::any_cast<double>(Parsed("18446744073709551616")), 18446744073709551616.0);
  EXPECT_DOUBLE_EQ(boost::any_cast<double>(Parsed("-9223372036854775809")), -9223372036854775809.0);
}

TEST(JSONParse, OtherScalars) {
  EXPECT_DOUBLE_EQ(boost::any_cast<double>(Parsed("31.0")), 31.0);
  EXPECT_DOUBLE_EQ(boost::any_cast<double>(Parsed("-2.5e-3")), -2.5e-3);
  EXPECT_EQ(boost::any_cast<bool>(Parsed("true")), true);
  EXPECT_EQ(boost::any_cast<bool>(Parsed("false")), false);
  EXPECT_EQ(boost::any_cast<UTF8String>(Parsed("\"31\"")), UTF8String("31"));
  EXPECT_EQ(boost::any_cast<UTF8String>(Parsed("\"\\u00b0\\ud83c\\udfb5\"")),
            UTF8String("\xC2\xB0\xF0\x9F\x8E\xB5"));
  EXPECT_TRUE(Parsed("null").empty());
}

TEST(JSONParse, NestedObjectsAndArrays) {
  const boost::any root = Parsed(R"({"b": [1, {"c": null}, "x"], "a": {"DialNorm": 31}})");
  const auto& object = boost::any_cast<const JSONObject&>(root);
  ASSERT_EQ(object.size(), 2u);
  EXPECT_EQ(object.begin()->first, UTF8String("a"));  // key order
  const auto& inner = boost::any_cast<const JSONObject&>(*GetVariantInObject(object, "a"));
  EXPECT_EQ(boost::any_cast<std::int64_t>(*GetVariantInObject(inner, "DialNorm")), 31);
  const auto& array = boost::any_cast<const JSONArray&>(*GetVariantInObject(object, "b"));
  ASSERT_EQ(array.size(), 3u);
  EXPECT_EQ(boost::any_cast<std::int64_t>(*array[0]), 1);
  const auto& deepest = boost::any_cast<const JSONObject&>(*array[1]);
  ASSERT_TRUE(ObjectHasProperty(deepest, "c"));
  EXPECT_TRUE(GetVariantInObject(deepest, "c")->empty());
}

TEST(JSONParse, MalformedTextGivesEmptyPointer) {
  for (const char* text : {"", " ", "{", "{\"a\":}", "{\"a\" 1}", "[1,]", "{'a': 1}", "nul",
                           "{} x", "{}{}", "1 2", "\"unterminated", "01", "NaN", "{\"a\":1,}",
                           "eyJDb2RlY01vZGUiOjB9"}) {
    EXPECT_FALSE(JSONParse(UTF8String(text))) << text;
  }
  EXPECT_TRUE(JSONParse(UTF8String(" {} \n")));  // surrounding blanks are fine
}

TEST(JSONParse, AbsurdNestingIsRejectedNotCrashed) {
  UTF8String deep(100000, '[');
  deep += UTF8String(100000, ']');
  EXPECT_FALSE(JSONParse(deep));
}

TEST(GetJSONUTF8String, CompactAndPrettyForms) {
  boost::any object = JSONObject();
  AddToObject(object, "DialNorm", std::int64_t{-31});
  AddToObject(object, "Big", std::uint64_t{18446744073709551615u});
  AddToObject(object, "Name", UTF8String("90\xC2\xB0"));
  AddToObject(object, "Flag", true);
  AddToObject(object, "None", boost::any());
  EXPECT_EQ(GetJSONUTF8String(object, false),
            "{\"Big\":18446744073709551615,\"DialNorm\":-31,\"Flag\":true,\"Name\":\"90\xC2\xB0\","
            "\"None\":null}");
  EXPECT_EQ(GetJSONUTF8String(JSONObject(), false), "{}");
  boost::any small = JSONObject();
  AddToObject(small, "a", std::int64_t{1});
  EXPECT_EQ(GetJSONUTF8String(small, true), "{\n  \"a\": 1\n}");
}

TEST(GetJSONUTF8String, PrintThenParseGivesTheSameTree) {
  const char* text =
      R"({"a":[1,-2,3.5,true,null,"s"],"b":{"c":9223372036854775808,"d":-9223372036854775808}})";
  const boost::any tree = Parsed(text);
  const UTF8String printed = GetJSONUTF8String(tree, false);
  EXPECT_EQ(printed, UTF8String(text));
  EXPECT_EQ(GetJSONUTF8String(Parsed(GetJSONUTF8String(tree, true).c_str()), false), printed);
}

TEST(GetJSONUTF8String, UnsupportedValueTypeThrowsBadAnyCast) {
  struct Opaque {};
  boost::any object = JSONObject();
  AddToObject(object, "x", Opaque());
  EXPECT_THROW(GetJSONUTF8String(object, false), boost::bad_any_cast);
}

TEST(AddToObject, ReplacesMembersAndNeedsAnObject) {
  boost::any object = JSONObject();
  AddToObject(object, "x", std::int64_t{1});
  AddToObject(object, "x", std::int64_t{2});
  const auto& members = boost::any_cast<const JSONObject&>(object);
  ASSERT_EQ(members.size(), 1u);
  EXPECT_EQ(boost::any_cast<std::int64_t>(*GetVariantInObject(members, "x")), 2);
  EXPECT_FALSE(GetVariantInObject(members, "y"));
  EXPECT_FALSE(ObjectHasProperty(members, "y"));

  boost::any not_an_object = std::int64_t{5};
  EXPECT_THROW(AddToObject(not_an_object, "x", std::int64_t{1}), boost::bad_any_cast);
}

}  // namespace
}  // namespace basalt
