#include "encoder/engine_capabilities.h"

#include "once_record.h"

#include "capability_table.h"
#include "moduledepot/codec_module_loader.h"

namespace dolbydigital {
namespace {

ddpi_enc_query_op_s capabilities;
OnceRecord capabilitiesOnce;

void QueryCapabilities() {
  if (ModuleDepot::CodecModuleLoader::IsLoaded()) {
    ModuleDepot::CodecModuleLoader::ddpi_enc_query(&capabilities);
  } else {
    ddpi::FillEncoderCapabilities(&capabilities);
  }
}

}  // namespace

const ddpi_enc_query_op_s& EngineCapabilities() {
  BuildOnce(capabilitiesOnce, QueryCapabilities);
  return capabilities;
}

}  // namespace dolbydigital
