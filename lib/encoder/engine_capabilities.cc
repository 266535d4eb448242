#include "encoder/engine_capabilities.h"

#include <boost/thread/once.hpp>

#include "capability_table.h"
#include "moduledepot/codec_module_loader.h"

namespace dolbydigital {
namespace {

ddpi_enc_query_op_s capabilities;
boost::once_flag capabilitiesOnce = BOOST_ONCE_INIT;

void QueryCapabilities() {
  if (ModuleDepot::CodecModuleLoader::IsLoaded()) {
    ModuleDepot::CodecModuleLoader::ddpi_enc_query(&capabilities);
  } else {
    ddpi::FillEncoderCapabilities(&capabilities);
  }
}

}  // namespace

const ddpi_enc_query_op_s& EngineCapabilities() {
  boost::call_once(capabilitiesOnce, QueryCapabilities);
  return capabilities;
}

}  // namespace dolbydigital
