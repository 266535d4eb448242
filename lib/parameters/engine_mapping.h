// Translation between the parameter model and the codec engine: which engine parameter
// carries each ParameterID, which engine mode serves each CodecMode, and how values are
// converted in both directions. The encoder session uses the same tables when it hands a
// parameter map to the engine.
#ifndef DOLBYDIGITAL_PARAMETERS_ENGINE_MAPPING_H
#define DOLBYDIGITAL_PARAMETERS_ENGINE_MAPPING_H

#include "dolbydigital/types.h"

namespace dolbydigital {

// The engine mode that means "no mode": a codec mode the engine cannot serve.
constexpr int kNoEngineMode = 10;
// What an engine mode outside the four known ones converts back to.
constexpr int kUnknownCodecMode = 4;

// The engine parameter id of `id`; 0 for a value outside the enumeration.
int EngineParameterId(ParameterID id);

// 0 -> 0, 1 -> 1, 2 -> 3, 3 -> 4; any other value -> kNoEngineMode.
int EngineModeFromCodecMode(int codecMode);
// The inverse: 0 -> 0, 1 -> 1, 3 -> 2, 4 -> 3; anything else -> kUnknownCodecMode.
int CodecModeFromEngineMode(int engineMode);

// A parameter value as the engine expects it: the codec mode becomes its engine mode and
// the dialogue level is negated (the model stores -31..-1, the engine takes 1..31).
int ParameterValueToEngine(ParameterID id, int value);
// An engine value (of the engine parameter `engineId`) as the model stores it.
int EngineValueToParameter(int engineId, int value);

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_PARAMETERS_ENGINE_MAPPING_H
