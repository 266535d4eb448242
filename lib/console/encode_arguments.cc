#include "console/encode_arguments.h"

namespace dolbydigital {
namespace {

std::vector<UTF16String> SplitAtBlanks(const UTF16String& text) {
  std::vector<UTF16String> words;
  std::size_t start = 0;
  for (;;) {
    const std::size_t blank = text.find(u' ', start);
    words.push_back(
        text.substr(start, blank == UTF16String::npos ? UTF16String::npos : blank - start));
    if (blank == UTF16String::npos) return words;
    start = blank + 1;
  }
}

}  // namespace

EncodeArguments ParseEncodeArguments(const UTF16String& text) {
  EncodeArguments arguments;
  if (text.empty()) return arguments;
  const std::vector<UTF16String> words = SplitAtBlanks(text);
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::size_t equals = words[i].find(u'=');
    if (equals == UTF16String::npos) {
      arguments.notRead.assign(words.begin() + i, words.end());
      break;
    }
    const UTF16String name = words[i].substr(0, equals);
    const UTF16String value = words[i].substr(equals + 1);
    if (name == basalt::AsciiToUTF16("-cfg"))
      arguments.configurationPath = value;
    else if (name == basalt::AsciiToUTF16("-in"))
      arguments.inputPath = value;
    else if (name == basalt::AsciiToUTF16("-out"))
      arguments.outputPath = value;
    else
      arguments.unrecognised.push_back(words[i]);
  }
  return arguments;
}

}  // namespace dolbydigital
