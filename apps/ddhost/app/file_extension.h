#pragma once

#include <string>

namespace ddhost {

// The lower-case extension of a path's last component ("Mix.WAV" -> "wav"), empty when the file
// name has none. Output formats are chosen by it.
std::string LowerCaseExtension(const std::string& path);

}  // namespace ddhost
