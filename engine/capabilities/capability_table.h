// The encoder's capability table: for every engine mode, the parameters the bitstream can
// carry with their kind, domain and default. The engine answers ddpi_enc_query from it, and
// the library compiles the same table in as the record it uses while no engine is loaded.
#ifndef DDPI_CAPABILITY_TABLE_H
#define DDPI_CAPABILITY_TABLE_H

#include "ddpi/ddpi_enc.h"

namespace ddpi {

// Fills `caps` completely (unused modes are marked unavailable).
void FillEncoderCapabilities(ddpi_enc_query_op_s* caps);

// The descriptor of `param_id` in `mode`, or null when the mode lacks it.
const ddpi_enc_param_desc_s* FindParameter(const ddpi_enc_query_op_s& caps, int mode,
                                           int param_id);

// Whether `value` lies in the descriptor's domain.
bool IsInDomain(const ddpi_enc_param_desc_s& desc, int value);

// The data rates (kbps) an AC-3 frame can carry, by frame-size code / 2.
extern const int kAc3DataRates[19];

}  // namespace ddpi

#endif  // DDPI_CAPABILITY_TABLE_H
