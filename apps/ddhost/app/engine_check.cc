#include "engine_check.h"

#include <cstdio>
#include <string>

#include "moduledepot/codec_module_loader.h"

namespace ddhost {

bool RequireEngine(const char* who) {
  using ModuleDepot::CodecModuleLoader;
  if (CodecModuleLoader::IsLoaded()) return true;
  const std::string reason = CodecModuleLoader::GetLastError();
  std::fprintf(stderr, "%s: the engine module %s could not be loaded%s%s\n", who,
               CodecModuleLoader::GetModulePath().c_str(), reason.empty() ? "" : ": ",
               reason.c_str());
  return false;
}

}  // namespace ddhost
