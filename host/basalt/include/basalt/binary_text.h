// Binary data as text: standard base64 (RFC 4648, with padding). Its alphabet holds none of
// JSON's punctuation, so encoded text never parses as JSON and JSON text never decodes.
#ifndef BASALT_BINARY_TEXT_H
#define BASALT_BINARY_TEXT_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "basalt/string.h"

namespace basalt {

bool EncodeBinaryDataToUTF8String(const std::uint8_t* data, std::size_t size, UTF8String& out);
// False (and `out` empty) for text that is not valid base64.
bool DecodeBinaryDataFromUTF8String(const UTF8String& text, std::vector<std::uint8_t>& out);

}  // namespace basalt

#endif  // BASALT_BINARY_TEXT_H
