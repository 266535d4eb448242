// The encoder engine's capability record: per engine mode, whether it is offered and the
// descriptor of every parameter it accepts. Obtained once per process and read-only after.
#ifndef DOLBYDIGITAL_ENCODER_ENGINE_CAPABILITIES_H
#define DOLBYDIGITAL_ENCODER_ENGINE_CAPABILITIES_H

#include "ddpi/ddpi_enc.h"

namespace dolbydigital {

// From ddpi_enc_query when the codec module is loaded, otherwise the built-in record that
// the library compiles in. Safe against concurrent first use.
const ddpi_enc_query_op_s& EngineCapabilities();

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_ENCODER_ENGINE_CAPABILITIES_H
