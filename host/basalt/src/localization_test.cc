#include "basalt/localization.h"

#include <cstdio>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

namespace basalt {
namespace {

std::string Show(const UTF16String& text) { return ToStdString(text); }

class LocalizationTest : public ::testing::Test {
 protected:
  void SetUp() override { config::Localizer::Get().Clear(); }
  void TearDown() override {
    config::Localizer::Get().Clear();
    if (!table_path_.empty()) std::remove(table_path_.c_str());
  }

  UTF16String WriteTable(const std::string& content) {
    char path[] = "/tmp/basalt_table_XXXXXX";
    const int fd = ::mkstemp(path);
    EXPECT_GE(fd, 0);
    ::close(fd);
    table_path_ = path;
    std::ofstream(table_path_, std::ios::binary) << content;
    return UTF8to16(table_path_.c_str());
  }

  std::string table_path_;
};

TEST_F(LocalizationTest, WithoutTableTheEnglishDefaultIsUsed) {
  EXPECT_EQ(Show(LocalizeString("$$$/corvexa/dolbydigital/Unit_LevelFS=dBFS")), "dBFS");
  // Only the first "=" separates name and default.
  EXPECT_EQ(Show(LocalizeString("$$$/x/y=a=b")), "a=b");
  EXPECT_EQ(Show(LocalizeString("$$$/x/empty=")), "");
}

TEST_F(LocalizationTest, LoadedTableOverridesAndAddsUp) {
  const UTF16String path = WriteTable(
      "\xEF\xBB\xBF# comment line\r\n"
      "corvexa/dolbydigital/Unit_LevelFS=dB unter Vollaussteuerung\r\n"
      "$$$/corvexa/dolbydigital/Unit_Datarate=kbit/s\n"
      "not a table line\n"
      "\n"
      "x/enable=@0 einschalten\n");
  ASSERT_TRUE(config::Localizer::Get().LoadTable(path));
  EXPECT_EQ(Show(LocalizeString("$$$/corvexa/dolbydigital/Unit_LevelFS=dBFS")), "dB unter Vollaussteuerung");
  EXPECT_EQ(Show(LocalizeString("$$$/corvexa/dolbydigital/Unit_Datarate=kbps")), "kbit/s");
  EXPECT_EQ(Show(LocalizeString("$$$/x/enable=Enable @0", AsciiToUTF16("LFE"))), "LFE einschalten");
  EXPECT_EQ(Show(LocalizeString("$$$/x/other=Other")), "Other");

  config::Localizer::Get().SetEntry("x/other", AsciiToUTF16("Andere"));
  EXPECT_EQ(Show(LocalizeString("$$$/x/other=Other")), "Andere");
  EXPECT_FALSE(config::Localizer::Get().LoadTable(AsciiToUTF16("/nonexistent/table.txt")));
  EXPECT_EQ(Show(LocalizeString("$$$/x/other=Other")), "Andere");  // a failed load keeps entries
}

TEST_F(LocalizationTest, PlaceholdersTakeTheirArguments) {
  const UTF16String a = AsciiToUTF16("A"), b = AsciiToUTF16("B");
  EXPECT_EQ(Show(LocalizeString("$$$/t=@1 after @0", a, b)), "B after A");
  EXPECT_EQ(Show(LocalizeString("$$$/t=@0@0", a)), "AA");
  // Unused and empty arguments leave nothing behind.
  EXPECT_EQ(Show(LocalizeString("$$$/t=[@0|@5]", UTF16String())), "[|]");
  // "@10" is "@1" followed by "0": there are only ten placeholders.
  EXPECT_EQ(Show(LocalizeString("$$$/t=@10", a, b)), "B0");
  UTF16String nine = AsciiToUTF16("nine");
  EXPECT_EQ(Show(LocalizeString("$$$/t=@9", {}, {}, {}, {}, {}, {}, {}, {}, {}, nine)), "nine");
  // A lone "@" or "@x" is plain text.
  EXPECT_EQ(Show(LocalizeString("$$$/t=a@b @", a)), "a@b @");
}

TEST_F(LocalizationTest, ArgumentTextIsNotExpandedAgain) {
  EXPECT_EQ(Show(LocalizeString("$$$/t=@0 @1", AsciiToUTF16("@1"), AsciiToUTF16("x"))), "@1 x");
  EXPECT_EQ(Show(LocalizeString("$$$/t=<@0>", AsciiToUTF16("#{deg}"))), "<#{deg}>");
}

TEST_F(LocalizationTest, MarkupIsExpanded) {
  EXPECT_EQ(Show(LocalizeString("$$$/t=90#{deg} Phase Shift")), "90\xC2\xB0 Phase Shift");
  EXPECT_EQ(Show(LocalizeString("$$$/t=one#{endl}two")), "one\ntwo");
  EXPECT_EQ(Show(LocalizeString("$$$/t=-#{U+221E} dB")), "-\xE2\x88\x9E dB");
  EXPECT_EQ(Show(LocalizeString("$$$/t=#{U+1F3B5}")), "\xF0\x9F\x8E\xB5");
  EXPECT_EQ(Show(LocalizeString("$$$/t=#{u+00b0}")), "#{u+00b0}");  // the "U+" is upper case
  EXPECT_EQ(Show(LocalizeString("$$$/t=#{U+00b0}")), "\xC2\xB0");    // hex digits either case
}

TEST_F(LocalizationTest, UnknownOrBrokenMarkupIsLeftAlone) {
  for (const char* text : {"#{smile}", "#{U+}", "#{U+D800}", "#{U+110000}", "#{U+1234567}",
                           "#{deg", "#{U+00B0", "#{", "#"}) {
    const std::string key = std::string("$$$/t=") + text;
    EXPECT_EQ(Show(LocalizeString(key.c_str())), text);
  }
}

TEST_F(LocalizationTest, LookupExpandsMarkupButKeepsPlaceholders) {
  config::Localizer& localizer = config::Localizer::Get();
  EXPECT_EQ(Show(localizer.Lookup("$$$/t=@0#{deg}")), "@0\xC2\xB0");
  EXPECT_EQ(Show(localizer.LookupRaw("$$$/t=@0#{deg}")), "@0#{deg}");
  localizer.SetEntry("$$$/bare", AsciiToUTF16("from table"));
  EXPECT_EQ(Show(localizer.Lookup("bare")), "from table");
  EXPECT_EQ(Show(localizer.Lookup("missing")), "missing");
  EXPECT_EQ(Show(ExpandMarkup(AsciiToUTF16("#{deg}#{endl}"))), "\xC2\xB0\n");
}

}  // namespace
}  // namespace basalt
