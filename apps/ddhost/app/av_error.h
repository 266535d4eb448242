#pragma once

extern "C" {
#include <libavutil/error.h>
}

#include <string>

namespace ddhost {

// FFmpeg's text for one of its negative error codes.
inline std::string AvError(int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(code, text, sizeof text);
  return text;
}

}  // namespace ddhost
