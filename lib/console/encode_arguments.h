// The argument text of the "dolbydigital.Encode" command: words separated by blanks, each
// "name=value". The walk stops at the first word without "=".
#ifndef DOLBYDIGITAL_CONSOLE_ENCODE_ARGUMENTS_H
#define DOLBYDIGITAL_CONSOLE_ENCODE_ARGUMENTS_H

#include <vector>

#include "dolbydigital/types.h"

namespace dolbydigital {

struct EncodeArguments {
  UTF16String configurationPath;          // -cfg
  UTF16String inputPath;                  // -in
  UTF16String outputPath;                 // -out
  std::vector<UTF16String> unrecognised;  // words with "=" but another name
  std::vector<UTF16String> notRead;       // the word without "=" and everything after it
};

EncodeArguments ParseEncodeArguments(const UTF16String& text);

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_CONSOLE_ENCODE_ARGUMENTS_H
