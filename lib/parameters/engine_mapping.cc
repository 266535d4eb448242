#include "parameters/engine_mapping.h"

#include "ddpi/ddpi_enc.h"

namespace dolbydigital {
namespace {

// Indexed by ParameterID.
constexpr int kEngineParameterIds[] = {
    DDPI_ENC_PARAM_MODE,          DDPI_ENC_PARAM_ACMOD,         DDPI_ENC_PARAM_LFE,
    DDPI_ENC_PARAM_DATARATE,      DDPI_ENC_PARAM_DIALNORM,      DDPI_ENC_PARAM_BSMOD,
    DDPI_ENC_PARAM_COPYRIGHTB,    DDPI_ENC_PARAM_ORIGBS,        DDPI_ENC_PARAM_DSURMOD,
    DDPI_ENC_PARAM_DSUREXMOD,     DDPI_ENC_PARAM_DMIXMOD,       DDPI_ENC_PARAM_LTRTCMIXLEV,
    DDPI_ENC_PARAM_LTRTSURMIXLEV, DDPI_ENC_PARAM_LOROCMIXLEV,   DDPI_ENC_PARAM_LOROSURMIXLEV,
    DDPI_ENC_PARAM_DCFILT,        DDPI_ENC_PARAM_LFEFILT,       DDPI_ENC_PARAM_PH90,
    DDPI_ENC_PARAM_SURATT,        DDPI_ENC_PARAM_DRC_LINE,      DDPI_ENC_PARAM_DRC_RF,
    DDPI_ENC_PARAM_ADCONVTYP,     DDPI_ENC_PARAM_MIXLEVEL,      DDPI_ENC_PARAM_ROOMTYP};

constexpr int kParameterCount = sizeof(kEngineParameterIds) / sizeof(kEngineParameterIds[0]);

// Two's-complement negation that stays defined for the most negative value (it maps to
// itself), since values arrive unchecked from stored configurations.
int Negate(int value) { return static_cast<int>(0u - static_cast<unsigned>(value)); }

}  // namespace

int EngineParameterId(ParameterID id) {
  const int index = id;
  return index >= 0 && index < kParameterCount ? kEngineParameterIds[index] : 0;
}

int EngineModeFromCodecMode(int codecMode) {
  switch (codecMode) {
    case kCodecMode_DolbyDigitalPlus: return DDPI_ENC_MODE_DDPLUS;
    case kCodecMode_DolbyDigital: return DDPI_ENC_MODE_DD;
    case kCodecMode_Bluray_Primary: return DDPI_ENC_MODE_BLURAY_PRIMARY;
    case kCodecMode_Bluray_Secondary: return DDPI_ENC_MODE_BLURAY_SECONDARY;
    default: return kNoEngineMode;
  }
}

int CodecModeFromEngineMode(int engineMode) {
  switch (engineMode) {
    case DDPI_ENC_MODE_DDPLUS: return kCodecMode_DolbyDigitalPlus;
    case DDPI_ENC_MODE_DD: return kCodecMode_DolbyDigital;
    case DDPI_ENC_MODE_BLURAY_PRIMARY: return kCodecMode_Bluray_Primary;
    case DDPI_ENC_MODE_BLURAY_SECONDARY: return kCodecMode_Bluray_Secondary;
    default: return kUnknownCodecMode;
  }
}

int ParameterValueToEngine(ParameterID id, int value) {
  switch (id) {
    case kParameterID_CodecMode: return EngineModeFromCodecMode(value);
    case kParameterID_DialNorm: return Negate(value);
    default: return value;
  }
}

int EngineValueToParameter(int engineId, int value) {
  switch (engineId) {
    case DDPI_ENC_PARAM_MODE: return CodecModeFromEngineMode(value);
    case DDPI_ENC_PARAM_DIALNORM: return Negate(value);
    default: return value;
  }
}

}  // namespace dolbydigital
