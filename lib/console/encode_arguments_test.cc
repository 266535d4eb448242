#include "console/encode_arguments.h"

#include <gtest/gtest.h>

namespace dolbydigital {
namespace {

std::string S(const UTF16String& s) { return basalt::ToStdString(s); }

TEST(EncodeArguments, NamesTakeTheirValuesInAnyOrder) {
  const EncodeArguments a =
      ParseEncodeArguments(basalt::UTF8to16("-out=x/o.ec3 -cfg=my=settings.json -in=in.wav"));
  EXPECT_EQ(S(a.inputPath), "in.wav");
  EXPECT_EQ(S(a.outputPath), "x/o.ec3");
  EXPECT_EQ(S(a.configurationPath), "my=settings.json");  // split at the first "="
  EXPECT_TRUE(a.unrecognised.empty());
  EXPECT_TRUE(a.notRead.empty());
}

TEST(EncodeArguments, TheWalkStopsAtTheFirstWordWithoutEquals) {
  const EncodeArguments a = ParseEncodeArguments(basalt::UTF8to16("-in=a.wav -verbose -out=b.ec3"));
  EXPECT_EQ(S(a.inputPath), "a.wav");
  EXPECT_TRUE(a.outputPath.empty());
  ASSERT_EQ(a.notRead.size(), 2u);
  EXPECT_EQ(S(a.notRead[0]), "-verbose");
  // A double blank makes an empty word, which has no "=" either.
  EXPECT_TRUE(S(ParseEncodeArguments(basalt::UTF8to16("-in=a  -out=b")).outputPath).empty());
}

TEST(EncodeArguments, UnknownNamesAndEmptyTextAreHarmless) {
  const EncodeArguments a = ParseEncodeArguments(basalt::UTF8to16("-rate=44100 -in=a.wav"));
  ASSERT_EQ(a.unrecognised.size(), 1u);
  EXPECT_EQ(S(a.unrecognised[0]), "-rate=44100");
  EXPECT_EQ(S(a.inputPath), "a.wav");
  const EncodeArguments none = ParseEncodeArguments(UTF16String());
  EXPECT_TRUE(none.inputPath.empty() && none.notRead.empty() && none.unrecognised.empty());
}

}  // namespace
}  // namespace dolbydigital
