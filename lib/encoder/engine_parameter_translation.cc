#include "encoder/engine_parameter_translation.h"

#include <algorithm>

#include "parameters/engine_mapping.h"

namespace dolbydigital {
namespace {

const ddpi_enc_param_desc_s* FindDescriptor(const ddpi_enc_query_op_s& capabilities, int engineMode,
                                            int engineId) {
  if (engineMode < 0 || engineMode >= DDPI_ENC_MAX_MODES) return nullptr;
  const ddpi_enc_mode_caps_s& mode = capabilities.modes[engineMode];
  if (!mode.available || mode.param_count <= 0) return nullptr;
  const int count = std::min(mode.param_count, static_cast<int32_t>(DDPI_ENC_MAX_MODE_PARAMS));
  for (int i = 0; i < count; ++i)
    if (mode.params[i].id == engineId) return &mode.params[i];
  return nullptr;
}

int ValueInListOrDefault(const ddpi_enc_param_desc_s& descriptor, int value) {
  const int count = std::min(descriptor.count, static_cast<int32_t>(DDPI_ENC_MAX_LIST_VALUES));
  const int32_t* end = descriptor.values + std::max(count, 0);
  return std::find(descriptor.values, end, value) != end ? value : descriptor.default_value;
}

int ValueInRangeOrDefault(const ddpi_enc_param_desc_s& descriptor, int value) {
  if (value < descriptor.min_value) return descriptor.default_value;
  if (value <= descriptor.max_value) return value;
  return descriptor.default_value;
}

}  // namespace

bool ValidateEngineParameter(const ddpi_enc_query_op_s& capabilities, int engineMode, int engineId,
                             int value, int& valueToSend) {
  const ddpi_enc_param_desc_s* descriptor = FindDescriptor(capabilities, engineMode, engineId);
  if (!descriptor) return false;
  valueToSend = descriptor->kind == DDPI_ENC_KIND_LIST ? ValueInListOrDefault(*descriptor, value)
                                                       : ValueInRangeOrDefault(*descriptor, value);
  return true;
}

EngineParameterList TranslateParameters(const ddpi_enc_query_op_s& capabilities, int engineMode,
                                        const ParameterMap& params) {
  EngineParameterList pairs;
  // Room for the pairs InitializeEncode appends after the map's own (input format, priming).
  pairs.reserve(params.size() + 3);
  for (const auto& [id, value] : params) {
    const int engineId = EngineParameterId(id);
    int valueToSend = 0;
    if (ValidateEngineParameter(capabilities, engineMode, engineId,
                                ParameterValueToEngine(id, value), valueToSend))
      pairs.push_back(ddpi_enc_param_s{engineId, valueToSend});
  }
  return pairs;
}

}  // namespace dolbydigital
