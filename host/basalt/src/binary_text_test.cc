#include "basalt/binary_text.h"

#include <string>

#include <gtest/gtest.h>

#include "basalt/json.h"

namespace basalt {
namespace {

UTF8String Encode(const std::string& bytes) {
  UTF8String out;
  EXPECT_TRUE(EncodeBinaryDataToUTF8String(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                           bytes.size(), out));
  return out;
}

bool Decode(const char* text, std::string& bytes) {
  std::vector<std::uint8_t> out{1, 2, 3};
  const bool ok = DecodeBinaryDataFromUTF8String(UTF8String(text), out);
  bytes.assign(out.begin(), out.end());
  return ok;
}

TEST(Base64, Rfc4648TestVectors) {
  const std::pair<const char*, const char*> vectors[] = {
      {"", ""},         {"f", "Zg=="},        {"fo", "Zm8="},       {"foo", "Zm9v"},
      {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"},
  };
  for (const auto& vector : vectors) {
    EXPECT_EQ(Encode(vector.first), UTF8String(vector.second));
    std::string decoded;
    EXPECT_TRUE(Decode(vector.second, decoded)) << vector.second;
    EXPECT_EQ(decoded, vector.first);
  }
}

TEST(Base64, AllByteValuesRoundTrip) {
  std::string bytes;
  for (int i = 0; i < 256; ++i) bytes.push_back(static_cast<char>(i));
  for (std::size_t length = 0; length <= bytes.size(); length += 17) {
    std::string decoded;
    ASSERT_TRUE(Decode(Encode(bytes.substr(0, length)).c_str(), decoded));
    EXPECT_EQ(decoded, bytes.substr(0, length));
  }
}

TEST(Base64, RejectsMalformedText) {
  for (const char* text : {"Zg", "Zg=", "Z===", "====", "Zg==Zg==", "Zm9v\n", "Zm 9v", "Zm9-",
                           "Zm9_", "Zh==", "Zm9=", "=Zm9", "Zg=a"}) {
    std::string decoded;
    EXPECT_FALSE(Decode(text, decoded)) << text;
    EXPECT_TRUE(decoded.empty()) << text;
  }
}

TEST(Base64, JsonTextAndEncodedTextDoNotCross) {
  const char* json = R"({"CodecMode":0,"DialNorm":31})";
  std::string decoded;
  EXPECT_FALSE(Decode(json, decoded));
  EXPECT_FALSE(Decode("{}", decoded));
  const UTF8String encoded = Encode(json);
  EXPECT_FALSE(JSONParse(encoded));
  EXPECT_FALSE(JSONParse(Encode("{}")));
}

}  // namespace
}  // namespace basalt
