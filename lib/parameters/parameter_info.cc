// The domain and default of one parameter in the context of a configuration and of the
// source's channel layout, and the default configuration of each mode.
#include <algorithm>

#include "dolbydigital/parameters.h"
#include "encoder/engine_capabilities.h"
#include "parameters/channel_configuration.h"
#include "parameters/checked_lookup.h"
#include "parameters/constraint_table.h"
#include "parameters/engine_mapping.h"
#include "parameters/key_names.h"

namespace dolbydigital {
namespace {

const ddpi_enc_param_desc_s* FindEngineDescriptor(ParameterID id, int engineMode) {
  if (engineMode < 0 || engineMode >= DDPI_ENC_MAX_MODES) return nullptr;
  const ddpi_enc_mode_caps_s& mode = EngineCapabilities().modes[engineMode];
  if (!mode.available || mode.param_count <= 0) return nullptr;
  const int engineId = EngineParameterId(id);
  const int count = std::min(mode.param_count, DDPI_ENC_MAX_MODE_PARAMS);
  for (int i = 0; i < count; ++i)
    if (mode.params[i].id == engineId) return &mode.params[i];
  return nullptr;
}

// A range descriptor; a range of a single value counts as not applying.
bool ReadRange(const ddpi_enc_param_desc_s& desc, ParameterDomain& domain) {
  const int a = EngineValueToParameter(desc.id, desc.min_value);
  const int b = EngineValueToParameter(desc.id, desc.max_value);
  domain.lowest = std::min(a, b);
  domain.highest = std::max(a, b);
  domain.defaultValue = EngineValueToParameter(desc.id, desc.default_value);
  return domain.lowest != domain.highest;
}

bool ReadList(const ddpi_enc_param_desc_s& desc, ParameterDomain& domain) {
  const int count = std::min(desc.count, DDPI_ENC_MAX_LIST_VALUES);
  for (int i = 0; i < count; ++i) domain.values.insert(EngineValueToParameter(desc.id, desc.values[i]));
  domain.defaultValue = EngineValueToParameter(desc.id, desc.default_value);
  return count >= 1;
}

// What the engine says the map's mode accepts for `id`.
bool ReadEngineDomain(ParameterID id, const ParameterMap& map, ParameterDomain& domain) {
  const int engineMode = EngineModeFromCodecMode(CheckedValue(map, kParameterID_CodecMode));
  if (engineMode == kNoEngineMode) return false;
  const ddpi_enc_param_desc_s* desc = FindEngineDescriptor(id, engineMode);
  if (desc == nullptr) return false;
  return desc->kind == DDPI_ENC_KIND_LIST ? ReadList(*desc, domain) : ReadRange(*desc, domain);
}

// Keeps the configurations the source's channels fit. A range domain is turned into the
// fitting values below its upper bound (the bound itself is never offered).
void NarrowConfigurationsToLayout(const ParameterMap& map, const ChannelLayout& layout,
                                  ParameterDomain& domain) {
  const auto lfeEntry = map.find(kParameterID_EnableLFE);
  const bool lfe = lfeEntry != map.end() && lfeEntry->second != 0;
  ParameterValueSet& values = domain.values;
  if (!values.empty()) {
    for (auto it = values.begin(); it != values.end();)
      it = ConfigurationFitsLayout(*it, lfe, layout) ? std::next(it) : values.erase(it);
  } else {
    // Only 0..27 have channels at all, so the walk is kept to them.
    const int first = std::max(domain.lowest, 0);
    const int end = std::min(domain.highest, static_cast<int>(kAudioChannelConfiguration_Unknown));
    for (int cfg = first; cfg < end; ++cfg)
      if (ConfigurationFitsLayout(cfg, lfe, layout)) values.insert(cfg);
  }
  if (!values.empty() && values.count(domain.defaultValue) == 0)
    domain.defaultValue = *values.rbegin();
}

// An LFE channel needs a source of at least four channels.
void NarrowLFEToLayout(const ChannelLayout& layout, ParameterDomain& domain) {
  if (layout.size() < 4) {
    domain.defaultValue = 0;
    domain.lowest = 0;
    domain.highest = 0;
  }
}

void NarrowToLayout(ParameterID id, const ParameterMap& map, const ChannelLayout& layout,
                    ParameterDomain& domain) {
  if (id == kParameterID_ChannelConfiguration) NarrowConfigurationsToLayout(map, layout, domain);
  if (id == kParameterID_EnableLFE) NarrowLFEToLayout(layout, domain);
}

}  // namespace

bool GetParameterInfo(ParameterID id, const ParameterMap& map, ParameterValueSet& values,
                      int& defaultValue, int& lowest, int& highest, const ChannelLayout& layout) {
  defaultValue = 0;
  lowest = 0;
  highest = 0;
  ParameterValueSet working;
  ParameterDomain domain{working, defaultValue, lowest, highest};
  bool applies = ReadEngineDomain(id, map, domain);
  if (applies) applies = ApplyConstraints(id, map, domain);
  if (applies && !layout.empty()) NarrowToLayout(id, map, layout, domain);
  // The caller's set is replaced only when the parameter applies.
  if (applies) values.swap(working);
  return applies;
}

void GetDefaults(CodecMode mode, ParameterMap& map) {
  ParameterMap defaults;
  defaults[kParameterID_CodecMode] = mode;
  defaults[kParameterID_ChannelConfiguration] = kAudioChannelConfiguration_Acmod_32;
  const ChannelLayout noLayout;
  // Ascending order: each default sees the defaults of lower-numbered parameters (the data
  // rate sees the LFE flag).
  for (int id = kParameterID_EnableLFE; id < kParameterCount; ++id) {
    ParameterValueSet values;
    int defaultValue = 0;
    int lowest = -1;
    int highest = -1;
    GetParameterInfo(static_cast<ParameterID>(id), defaults, values, defaultValue, lowest,
                     highest, noLayout);
    defaults[static_cast<ParameterID>(id)] = defaultValue;
  }
  map.swap(defaults);
}

void GetDefaults(ParameterMap& map) { GetDefaults(kCodecMode_DolbyDigitalPlus, map); }

}  // namespace dolbydigital
