// Where each parameter applies and how its domain narrows. The engine's descriptors give
// what a mode can carry at all; these rules tie the domains to the channel configuration
// (a centre mix level means nothing without a centre channel) and to the mode (an AC-3
// frame only carries certain data rates).
#include "parameters/constraint_rules.h"

#include <algorithm>
#include <initializer_list>

#include "capability_table.h"
#include "dolbydigital/parameters.h"
#include "encoder/engine_capabilities.h"
#include "parameters/checked_lookup.h"
#include "parameters/engine_mapping.h"

namespace dolbydigital {
namespace {

using namespace tidemark;

// The configuration's layout with its LFE channel, for rules that ask which channels the
// configuration has.
ChannelLayout LayoutWithLFE(int configuration) {
  return GetAudioChannelLayout(static_cast<AudioChannelConfiguration>(configuration), true);
}

void SetSingleValueRange(ParameterDomain& domain, int value) {
  domain.defaultValue = value;
  domain.lowest = value;
  domain.highest = value;
}

template <class Keep>
void KeepValues(ParameterValueSet& values, Keep keep) {
  for (auto it = values.begin(); it != values.end();) it = keep(*it) ? std::next(it) : values.erase(it);
}

bool DoesNotApply(const ParameterMap&, int, ParameterDomain&) { return false; }

// --- codec mode and channel configuration ---

// Offers every codec mode the engine serves, so a settings dialog can switch modes.
bool OfferAvailableCodecModes(const ParameterMap&, int, ParameterDomain& domain) {
  const ddpi_enc_query_op_s& caps = EngineCapabilities();
  for (int mode = kCodecMode_DolbyDigitalPlus; mode <= kCodecMode_Bluray_Secondary; ++mode) {
    const int engineMode = EngineModeFromCodecMode(mode);
    if (engineMode < DDPI_ENC_MAX_MODES && caps.modes[engineMode].available)
      domain.values.insert(mode);
  }
  return true;
}

bool KeepConfigurationsOfMode(const ParameterMap& map, int, ParameterDomain& domain) {
  const CodecMode mode = static_cast<CodecMode>(CheckedValue(map, kParameterID_CodecMode));
  KeepValues(domain.values, [mode](int cfg) {
    return IsValidChannelConfig(mode, static_cast<AudioChannelConfiguration>(cfg));
  });
  return true;
}

bool NoLFEWithoutLFEChannel(const ParameterMap&, int configuration, ParameterDomain& domain) {
  if (!HasLFEChannel(LayoutWithLFE(configuration))) SetSingleValueRange(domain, 0);
  return true;
}

// --- data rate ---

// Every data rate (kbps) the bitstreams can signal, ascending.
constexpr int kDataRates[] = {
    32,   40,   48,   56,   64,   72,   80,   88,   96,   104,  112,  120,  128,
    144,  160,  176,  192,  200,  208,  216,  224,  232,  240,  248,  256,  272,
    288,  304,  320,  336,  352,  368,  384,  400,  448,  512,  576,  640,  704,
    768,  832,  896,  960,  1008, 1024, 1152, 1280, 1408, 1512, 1536, 1664, 1792,
    1920, 2048, 2176, 2304, 2432, 2560, 2688, 2816, 2944, 3024};
constexpr int kHighestDataRate = 1024;

struct RateFloor {
  int floor;
  int defaultRate;
};

// The lowest sensible rate, and the default, for the number of channels to carry.
RateFloor RateFloorForConfiguration(int configuration) {
  switch (configuration) {
    case kAudioChannelConfiguration_Acmod_11: return {64, 128};
    case kAudioChannelConfiguration_Acmod_10: return {32, 64};
    case kAudioChannelConfiguration_Acmod_20: return {64, 128};
    case kAudioChannelConfiguration_Acmod_30:
    case kAudioChannelConfiguration_Acmod_21: return {128, 128};
    case kAudioChannelConfiguration_Acmod_31:
    case kAudioChannelConfiguration_Acmod_22: return {160, 192};
    case kAudioChannelConfiguration_Acmod_32: return {192, 192};
    default: return {384, 384};
  }
}

bool OfferRatesForConfiguration(const ParameterMap&, int configuration, ParameterDomain& domain) {
  const RateFloor floor = RateFloorForConfiguration(configuration);
  domain.defaultValue = floor.defaultRate;
  domain.lowest = std::max(domain.lowest, floor.floor);
  domain.highest = domain.highest == 0 ? kHighestDataRate : std::min(domain.highest, kHighestDataRate);
  domain.values.clear();
  for (int rate : kDataRates)
    if (rate >= domain.lowest && rate <= domain.highest) domain.values.insert(rate);
  if (configuration == kAudioChannelConfiguration_24) {
    KeepValues(domain.values, [](int rate) { return rate >= 640; });
  } else if (configuration == kAudioChannelConfiguration_19 ||
             configuration == kAudioChannelConfiguration_21) {
    KeepValues(domain.values, [](int rate) { return rate >= 640 || rate == 384 || rate == 448; });
  }
  return true;
}

bool IsAc3Rate(int rate) {
  return std::find(std::begin(ddpi::kAc3DataRates), std::end(ddpi::kAc3DataRates), rate) !=
         std::end(ddpi::kAc3DataRates);
}

// An AC-3 frame size code only exists for some rates.
bool KeepAc3RatesInAc3Modes(const ParameterMap& map, int, ParameterDomain& domain) {
  const int mode = CheckedValue(map, kParameterID_CodecMode);
  if (mode == kCodecMode_DolbyDigital || mode == kCodecMode_Bluray_Primary)
    KeepValues(domain.values, IsAc3Rate);
  return true;
}

// --- metadata ---

bool DialogueLevelDefault(const ParameterMap&, int, ParameterDomain& domain) {
  domain.defaultValue = -31;
  return true;
}

// Karaoke / voice-over (7) has no meaning for two independent mono programmes.
bool NoKaraokeForDualMono(const ParameterMap&, int, ParameterDomain& domain) {
  domain.highest = 6;
  KeepValues(domain.values, [](int mode) { return mode <= 6; });
  return true;
}

bool OnlyForLeftRightPair(const ParameterMap&, int configuration, ParameterDomain&) {
  return ContainsSameChannelsIgnoreOrder(LayoutWithLFE(configuration), CreateStereoChannelLayout());
}

bool OnlyWithSurroundPair(const ParameterMap&, int configuration, ParameterDomain&) {
  const ChannelLayout layout = LayoutWithLFE(configuration);
  return HasChannelLabel(layout, kAudioChannelLabel_LeftSurround) &&
         HasChannelLabel(layout, kAudioChannelLabel_RightSurround);
}

// Pro Logic II downmix preference (3) is only signalled by the E-AC-3 modes; the extended
// configurations carry no preference at all.
bool DownmixPreferencesOfMode(const ParameterMap& map, int configuration, ParameterDomain& domain) {
  if (configuration >= kAudioChannelConfiguration_8) {
    SetSingleValueRange(domain, 0);
    return true;
  }
  const int mode = CheckedValue(map, kParameterID_CodecMode);
  const bool ac3 = mode == kCodecMode_DolbyDigital || mode == kCodecMode_Bluray_Primary;
  domain.highest = ac3 ? 2 : 3;
  return true;
}

// --- pre-processing ---

bool OnlyWithLFEEnabled(const ParameterMap& map, int configuration, ParameterDomain&) {
  const auto lfe = map.find(kParameterID_EnableLFE);
  return HasLFEChannel(LayoutWithLFE(configuration)) && lfe != map.end() && lfe->second != 0;
}

// --- production information ---

bool StandardOrHDCDConverter(const ParameterMap&, int, ParameterDomain& domain) {
  domain.values.insert(0);
  domain.values.insert(1);
  domain.defaultValue = 0;
  domain.lowest = 0;
  domain.highest = 1;
  return true;
}

// --- building the entries ---

ConstraintRule Everywhere(RuleAction action) { return ConstraintRule{ConfigurationSet(), action}; }

ConstraintRule In(std::initializer_list<int> configurations, RuleAction action) {
  return ConstraintRule{ConfigurationSet(configurations), action};
}

ConstraintRule NotIn(std::initializer_list<int> configurations) {
  return In(configurations, DoesNotApply);
}

void Add(ConstraintEntries& entries, ParameterID id, std::initializer_list<ParameterID> reads,
         std::initializer_list<ConstraintRule> rules) {
  ParameterConstraint& entry = entries[id];
  entry.reads.insert(reads.begin(), reads.end());
  entry.rules.assign(rules.begin(), rules.end());
}

// Dual mono, mono, and the configurations without a centre among the front three.
constexpr std::initializer_list<int> kWithoutFrontCentre = {0, 1, 2, 4, 6, 9, 13, 14, 15, 16, 23, 25};
constexpr std::initializer_list<int> kWithoutSurround = {0, 1, 2, 3, 9, 13, 14, 15, 16, 23, 25};
constexpr std::initializer_list<int> kWithoutDownmix = {0, 1, 2, 8, 9, 13, 14, 15, 16, 23, 25};
constexpr std::initializer_list<int> kFrontOnly = {0, 1, 2, 3};

}  // namespace

ConstraintEntries BuildConstraintEntries() {
  const ParameterID mode = kParameterID_CodecMode;
  const ParameterID cfg = kParameterID_ChannelConfiguration;
  const ParameterID lfe = kParameterID_EnableLFE;
  ConstraintEntries e;
  Add(e, kParameterID_CodecMode, {}, {Everywhere(OfferAvailableCodecModes)});
  Add(e, kParameterID_ChannelConfiguration, {mode}, {Everywhere(KeepConfigurationsOfMode)});
  Add(e, kParameterID_EnableLFE, {cfg}, {Everywhere(NoLFEWithoutLFEChannel)});
  Add(e, kParameterID_DataRate, {mode, cfg, lfe},
      {Everywhere(OfferRatesForConfiguration), Everywhere(KeepAc3RatesInAc3Modes)});
  Add(e, kParameterID_DialNorm, {}, {Everywhere(DialogueLevelDefault)});
  Add(e, kParameterID_BitstreamMode, {cfg}, {In({0}, NoKaraokeForDualMono)});
  Add(e, kParameterID_DolbySurroundMode, {cfg}, {Everywhere(OnlyForLeftRightPair)});
  Add(e, kParameterID_DolbyDigitalSurroundEXMode, {cfg}, {Everywhere(OnlyWithSurroundPair)});
  // The bounds are narrowed before the applicability test, so a configuration without a
  // downmix still reports the bounds of its kind (0..0 from configuration 8 on).
  Add(e, kParameterID_StereoDownmixPreference, {mode, cfg},
      {Everywhere(DownmixPreferencesOfMode), NotIn(kWithoutDownmix)});
  Add(e, kParameterID_LtRt_CenterMixLevel, {cfg}, {NotIn(kWithoutFrontCentre)});
  Add(e, kParameterID_LoRo_CenterMixLevel, {cfg}, {NotIn(kWithoutFrontCentre)});
  Add(e, kParameterID_LtRt_SurroundMixLevel, {cfg}, {NotIn(kWithoutSurround)});
  Add(e, kParameterID_LoRo_SurroundMixLevel, {cfg}, {NotIn(kWithoutSurround)});
  Add(e, kParameterID_LFELowpassFilter, {cfg, lfe}, {Everywhere(OnlyWithLFEEnabled)});
  // Both act on the surround channels only.
  Add(e, kParameterID_90DegreePhaseShift, {cfg}, {NotIn(kFrontOnly)});
  Add(e, kParameterID_3dB_Attenuation, {cfg}, {NotIn(kFrontOnly)});
  Add(e, kParameterID_ADConverterType, {}, {Everywhere(StandardOrHDCDConverter)});
  return e;
}

}  // namespace dolbydigital
