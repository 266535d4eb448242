#include <gtest/gtest.h>

#include "basalt/localization.h"
#include "basalt/string.h"
#include "dolbydigital/encoder.h"

namespace dolbydigital {
namespace {

std::string Text(int code) { return basalt::ToStdString(Encoder::GetErrorDescription(code)); }

TEST(EncoderErrorDescription, RowsWithPlainTextsGiveThem) {
  EXPECT_EQ(Text(0), "(No Error)");
  EXPECT_EQ(Text(1), "general fatal error");
  EXPECT_EQ(Text(2), "data rate too low for specified mode");
  EXPECT_EQ(Text(10), "audio bandwidth lower than couple start freq");
  EXPECT_EQ(Text(12), "cplcoe and phscore inconsistant");
  EXPECT_EQ(Text(13), "LFE not allowed in 1/2 and 1/4 rate modes.  LFE not coded.");
  EXPECT_EQ(Text(14), "audio bandwidth too low for SPX - SPX turned off.");
  EXPECT_EQ(Text(16), "error initializing encoder control parameters.");
  EXPECT_EQ(Text(19), "coupling and e-coupling cannot both be enabled simultaneously");
}

TEST(EncoderErrorDescription, OtherRowsGiveTheirKeyName) {
  EXPECT_EQ(Text(17), "DDPI_ENC_ERR_STFMEMINIT");
  EXPECT_EQ(Text(24), "DDPI_ENC_ERR_UNSUPPORTED_MODE");
  EXPECT_EQ(Text(69), "DDPI_ENC_ERR_INVALID_AUDBWCODE");
  EXPECT_EQ(Text(71), "DDPI_ENC_ERR_INVALID_DIALNORM2_ACMOD_SET");
  EXPECT_EQ(Text(130), "DDPI_ENC_ERR_CONFIG_ADVQUEUE");
  EXPECT_EQ(Text(171), "DDPI_UNHANDLED_ENCODER_MODE");
  EXPECT_EQ(Text(173), "DDPI_ENC_ERR_UNSUPPORTED_DOWNMIX_CFG");
}

TEST(EncoderErrorDescription, CodesWithoutARowGiveTheUnknownText) {
  EXPECT_EQ(Text(70), "Unknown Error: 70");
  EXPECT_EQ(Text(110), "Unknown Error: 110");
  EXPECT_EQ(Text(141), "Unknown Error: 141");
  EXPECT_EQ(Text(-1), "Unknown Error: -1");
  EXPECT_EQ(Text(174), "Unknown Error: 174");
  EXPECT_EQ(Text(7978), "Unknown Error: 7978");
  EXPECT_EQ(Text(-2147483647 - 1), "Unknown Error: -2147483648");
}

TEST(EncoderErrorDescription, UnsupportedParameterKeepsItsSpelling) {
  EXPECT_EQ(Text(7979), "Usupported Parameter");
}

TEST(EncoderErrorDescription, TableHoldsExactlyTheListedRows) {
  // 0..173 minus the 36 codes without a row.
  int rows = 0;
  for (int code = 0; code <= 173; ++code)
    if (Text(code).rfind("Unknown Error: ", 0) != 0) ++rows;
  EXPECT_EQ(rows, 138);
}

TEST(EncoderErrorDescription, TextsComeFromTheHostsStringTable) {
  auto& localizer = basalt::config::Localizer::Get();
  localizer.SetEntry("corvexa/DDPI_ENC_ERR_FATAL", basalt::UTF8to16("schwerer Fehler"));
  localizer.SetEntry("corvexa/dolbydigital/encoder/UnknownError",
                     basalt::UTF8to16("Fehler @0 unbekannt"));
  EXPECT_EQ(Text(1), "schwerer Fehler");
  EXPECT_EQ(Text(70), "Fehler 70 unbekannt");
  localizer.Clear();
  EXPECT_EQ(Text(1), "general fatal error");
}

}  // namespace
}  // namespace dolbydigital
