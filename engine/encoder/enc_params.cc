#include "enc_params.h"

#include "capability_table.h"
#include "enc_extended_layout.h"
#include "enc_frame_ac3.h"

namespace ddpi::enc {
namespace {

const ddpi_enc_query_op_s& Capabilities() {
  static const ddpi_enc_query_op_s caps = [] {
    ddpi_enc_query_op_s c;
    FillEncoderCapabilities(&c);
    return c;
  }();
  return caps;
}

// The code reported for a value outside a parameter's domain.
int DomainError(int id) {
  switch (id) {
    case DDPI_ENC_PARAM_MODE: return DDPI_ENC_ERR_READONLY_PARAM;
    case DDPI_ENC_PARAM_DATARATE: return DDPI_ENC_ERR_BITRATE;
    case DDPI_ENC_PARAM_ACMOD: return DDPI_ENC_ERR_INVALID_AUDIO_CODING_MODE;
    case DDPI_ENC_PARAM_LFE: return DDPI_ENC_ERR_INVALID_LFE_MODE;
    case DDPI_ENC_PARAM_PH90: return DDPI_ENC_ERR_INVALID_PH90FILTERFLAG;
    case DDPI_ENC_PARAM_SURATT: return DDPI_ENC_ERR_INVALID_SURATTFLAG;
    case DDPI_ENC_PARAM_DCFILT: return DDPI_ENC_ERR_INVALID_DCFILTERFLAG;
    case DDPI_ENC_PARAM_LFEFILT: return DDPI_ENC_ERR_INVALID_LFEFILTERFLAG;
    case DDPI_ENC_PARAM_DRC_LINE: return DDPI_ENC_ERR_INVALID_DYNRNG_PROFILE;
    case DDPI_ENC_PARAM_DRC_RF: return DDPI_ENC_ERR_INVALID_COMPR_PROFILE;
    case DDPI_ENC_PARAM_DIALNORM: return DDPI_ENC_ERR_INVALID_DIALNORM;
    case DDPI_ENC_PARAM_DMIXMOD: return DDPI_ENC_ERR_INVALID_DMIXMOD;
    case DDPI_ENC_PARAM_LTRTCMIXLEV: return DDPI_ENC_ERR_INVALID_LTRTCMIXLEV;
    case DDPI_ENC_PARAM_LTRTSURMIXLEV: return DDPI_ENC_ERR_INVALID_LTRTSURMIXLEV;
    case DDPI_ENC_PARAM_LOROCMIXLEV: return DDPI_ENC_ERR_INVALID_LOROCMIXLEV;
    case DDPI_ENC_PARAM_LOROSURMIXLEV: return DDPI_ENC_ERR_INVALID_LOROSURMIXLEV;
    case DDPI_ENC_PARAM_DSUREXMOD: return DDPI_ENC_ERR_INVALID_DSUREXMOD;
    case DDPI_ENC_PARAM_ADCONVTYP: return DDPI_ENC_ERR_INVALID_ADCONVTYP;
    case DDPI_ENC_PARAM_MIXLEVEL: return DDPI_ENC_ERR_INVALID_MIXLEVEL;
    case DDPI_ENC_PARAM_COPYRIGHTB: return DDPI_ENC_ERR_INVALID_COPYRIGHTB;
    case DDPI_ENC_PARAM_ORIGBS: return DDPI_ENC_ERR_INVALID_ORIGBS;
    case DDPI_ENC_PARAM_BSMOD: return DDPI_ENC_ERR_INVALID_BSMOD;
    case DDPI_ENC_PARAM_ROOMTYP: return DDPI_ENC_ERR_INVALID_ROOMTYP;
    case DDPI_ENC_PARAM_DSURMOD: return DDPI_ENC_ERR_INVALID_DSURMOD;
    case DDPI_ENC_PARAM_INPUT_FORMAT: return DDPI_ENC_ERR_INPUT_BUFFER_DESCRIPTOR;
    default: return DDPI_ENC_ERR_INITPARAMS;
  }
}

bool IsAc3Mode(int mode) {
  return mode == DDPI_ENC_MODE_DD || mode == DDPI_ENC_MODE_BLURAY_PRIMARY;
}

void Store(int id, int value, StreamSettings* s) {
  EncoderConfig& c = s->config;
  Metadata& md = c.metadata;
  switch (id) {
    case DDPI_ENC_PARAM_DATARATE: c.kbps = value; break;
    case DDPI_ENC_PARAM_ACMOD: c.acmod = value; break;
    case DDPI_ENC_PARAM_LFE: c.lfe = value != 0; break;
    case DDPI_ENC_PARAM_PH90: c.preprocess.phase_shift_90 = value != 0; break;
    case DDPI_ENC_PARAM_SURATT: c.preprocess.surround_attenuation_3db = value != 0; break;
    case DDPI_ENC_PARAM_DCFILT: c.preprocess.dc_highpass = value != 0; break;
    case DDPI_ENC_PARAM_LFEFILT: c.preprocess.lfe_lowpass = value != 0; break;
    case DDPI_ENC_PARAM_DRC_LINE: c.drc_line_profile = value; break;
    case DDPI_ENC_PARAM_DRC_RF: c.drc_rf_profile = value; break;
    // The engine receives the dialogue level negated: -31 .. -1 dBFS.
    case DDPI_ENC_PARAM_DIALNORM: md.dialnorm = value; break;
    case DDPI_ENC_PARAM_DMIXMOD: md.dmixmod = value; break;
    case DDPI_ENC_PARAM_LTRTCMIXLEV: md.ltrtcmixlev = value; break;
    case DDPI_ENC_PARAM_LTRTSURMIXLEV: md.ltrtsurmixlev = value; break;
    case DDPI_ENC_PARAM_LOROCMIXLEV: md.lorocmixlev = value; break;
    case DDPI_ENC_PARAM_LOROSURMIXLEV: md.lorosurmixlev = value; break;
    case DDPI_ENC_PARAM_DSUREXMOD: md.dsurexmod = value; break;
    case DDPI_ENC_PARAM_ADCONVTYP: md.adconvtyp = value; break;
    case DDPI_ENC_PARAM_MIXLEVEL: md.mixlevel = value; break;
    case DDPI_ENC_PARAM_COPYRIGHTB: md.copyrightb = value; break;
    case DDPI_ENC_PARAM_ORIGBS: md.origbs = value; break;
    case DDPI_ENC_PARAM_BSMOD: md.bsmod = value; break;
    case DDPI_ENC_PARAM_ROOMTYP: md.roomtyp = value; break;
    case DDPI_ENC_PARAM_DSURMOD: md.dsurmod = value; break;
    case DDPI_ENC_PARAM_PRIMING_FRAMES: s->priming_frames = -value; break;
    default: break;  // mode and input format: nothing to store
  }
}

}  // namespace

void DefaultSettings(int mode, StreamSettings* settings) {
  *settings = StreamSettings();
  settings->config.eac3 = !IsAc3Mode(mode);
  const ddpi_enc_mode_caps_s& caps = Capabilities().modes[mode];
  for (int i = 0; i < caps.param_count; ++i)
    Store(caps.params[i].id, caps.params[i].default_value, settings);
}

int ApplyParameter(int mode, int id, int value, StreamSettings* settings) {
  const ddpi_enc_param_desc_s* desc = FindParameter(Capabilities(), mode, id);
  if (!desc) return DDPI_ENC_ERR_UNSUPPORTED_PARAM;
  if (!IsInDomain(*desc, value)) return DomainError(id);
  if (id == DDPI_ENC_PARAM_MODE && value != mode) return DDPI_ENC_ERR_READONLY_PARAM;
  // AC-3 frames exist only for the frame-size-code rates.
  if (id == DDPI_ENC_PARAM_DATARATE && IsAc3Mode(mode) && Ac3FrameSizeCode(value) < 0)
    return DDPI_ENC_ERR_BITRATE;
  Store(id, value, settings);
  return DDPI_ENC_ERR_NO_ERROR;
}

int CheckRateForChannels(const EncoderConfig& config) {
  if (ExtendedLayoutOf(config.acmod))
    return config.kbps < kExtendedMinimumRate ? DDPI_ENC_ERR_RATE : DDPI_ENC_ERR_NO_ERROR;
  return config.kbps < MinimumRate(config.acmod) ? DDPI_ENC_ERR_RATE : DDPI_ENC_ERR_NO_ERROR;
}

}  // namespace ddpi::enc
