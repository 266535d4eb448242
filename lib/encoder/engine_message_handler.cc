#include "encoder/engine_message_handler.h"

#include <cstdio>

namespace dolbydigital {
namespace {

const char* OrUnknown(const char* text) { return text ? text : "Unknown"; }

void Substitute(UTF16String& text, const char* placeholder, const UTF16String& value) {
  basalt::ReplaceInString(text, basalt::AsciiToUTF16(placeholder), value);
}

}  // namespace

UTF16String FormatEngineMessage(int isError, const char* message, const char* file, int line) {
  if (!isError) {
    UTF16String text = basalt::AsciiToUTF16("Dolby Digital Encoder Warning: @0");
    Substitute(text, "@0", basalt::AsciiToUTF16(OrUnknown(message)));
    return text;
  }
  char lineNumber[16];
  std::snprintf(lineNumber, sizeof lineNumber, "%i", line);
  UTF16String text = basalt::AsciiToUTF16("@0 Error occured in: @1 (line @2)");
  Substitute(text, "@0", basalt::AsciiToUTF16(OrUnknown(message)));
  Substitute(text, "@1", basalt::AsciiToUTF16(OrUnknown(file)));
  Substitute(text, "@2", basalt::AsciiToUTF16(lineNumber));
  return text;
}

void HandleEngineMessage(int isError, const char* message, const char* file, int line,
                         void* /*context*/) {
  // Built and dropped: the engine's messages repeat what its return codes already say, and
  // the library has no log of its own to put them in.
  const UTF16String text = FormatEngineMessage(isError, message, file, line);
  (void)text;
}

}  // namespace dolbydigital
