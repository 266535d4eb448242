#include "encoder/engine_message_handler.h"

#include <gtest/gtest.h>

namespace dolbydigital {
namespace {

std::string Text(int isError, const char* message, const char* file, int line) {
  return basalt::ToStdString(FormatEngineMessage(isError, message, file, line));
}

TEST(EngineMessageHandler, ErrorsNameTheirSourcePlace) {
  EXPECT_EQ(Text(1, "bit pool exhausted", "enc_frame.cc", 212),
            "bit pool exhausted Error occured in: enc_frame.cc (line 212)");
  EXPECT_EQ(Text(-3, nullptr, nullptr, -1), "Unknown Error occured in: Unknown (line -1)");
}

TEST(EngineMessageHandler, WarningsCarryOnlyTheMessage) {
  EXPECT_EQ(Text(0, "dialnorm clamped", "enc_bsi.cc", 9),
            "Dolby Digital Encoder Warning: dialnorm clamped");
  EXPECT_EQ(Text(0, nullptr, "enc_bsi.cc", 9), "Dolby Digital Encoder Warning: Unknown");
}

TEST(EngineMessageHandler, HandlerTakesAnyMessageAndIgnoresItsContext) {
  int context = 7;
  HandleEngineMessage(0, nullptr, nullptr, 0, &context);
  HandleEngineMessage(1, "x", nullptr, 3, nullptr);
  EXPECT_EQ(context, 7);
}

}  // namespace
}  // namespace dolbydigital
