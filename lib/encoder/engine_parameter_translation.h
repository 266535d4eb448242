// Turns a ParameterMap into the (engine id, value) pairs the engine's setparams accepts,
// checking every value against what the engine's capability record says the mode takes.
#ifndef DOLBYDIGITAL_ENCODER_ENGINE_PARAMETER_TRANSLATION_H
#define DOLBYDIGITAL_ENCODER_ENGINE_PARAMETER_TRANSLATION_H

#include <vector>

#include "ddpi/ddpi_enc.h"
#include "dolbydigital/types.h"

namespace dolbydigital {

using EngineParameterList = std::vector<ddpi_enc_param_s, Allocator<ddpi_enc_param_s>>;

// The value to hand the engine for parameter `engineId` = `value` in `engineMode`, or false
// when the mode does not take the parameter at all. A value outside the mode's domain is
// replaced by the engine's default rather than clamped: the nearest bound of a range is not
// necessarily a sensible setting, the default always is.
bool ValidateEngineParameter(const ddpi_enc_query_op_s& capabilities, int engineMode, int engineId,
                             int value, int& valueToSend);

// Every entry of `params`, in key order, mapped to its engine id and engine value and
// validated; parameters the mode does not take are left out.
EngineParameterList TranslateParameters(const ddpi_enc_query_op_s& capabilities, int engineMode,
                                        const ParameterMap& params);

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_ENCODER_ENGINE_PARAMETER_TRANSLATION_H
