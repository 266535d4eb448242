// Texts for the encoder's error codes: the engine's own return codes and the session's
// 1, 3 and 24, which share the engine's numbering.
#include <cstdio>

#include "basalt/localization.h"
#include "dolbydigital/encoder.h"

namespace dolbydigital {
namespace {

// The localization key of `code`, or null for a code without a text of its own. Every key's
// English default is the engine's name for the code unless a plainer text exists.
const char* ErrorKey(unsigned code) {
  switch (code) {
    case 0:
      return "$$$/corvexa/DDPI_ENC_ERR_NO_ERROR=(No Error)";
    case 1:
      return "$$$/corvexa/DDPI_ENC_ERR_FATAL=general fatal error";
    case 2:
      return "$$$/corvexa/DDPI_ENC_ERR_RATE=data rate too low for specified mode";
    case 3:
      return "$$$/corvexa/DDPI_ENC_ERR_CHANS=unsupported number of input channels";
    case 4:
      return "$$$/corvexa/DDPI_ENC_ERR_BITRATE=unsupported bitstream data rate";
    case 5:
      return "$$$/corvexa/DDPI_ENC_ERR_SMPRATE=unsupported sample rate";
    case 6:
      return "$$$/corvexa/DDPI_ENC_ERR_BUFWDTH=unsupported aux buffer data width";
    case 7:
      return "$$$/corvexa/DDPI_ENC_ERR_SRMOD=unsupported sample rate modifier";
    case 8:
      return "$$$/corvexa/DDPI_ENC_ERR_RSVSIP=unsupported use of reserved SIP parameter";
    case 9:
      return "$$$/corvexa/DDPI_ENC_ERR_AUXDATL=unsupported auxdata length";
    case 10:
      return "$$$/corvexa/DDPI_ENC_ERR_BWLOWCPL=audio bandwidth lower than couple start freq";
    case 11:
      return "$$$/corvexa/DDPI_ENC_ERR_CHBWCOD=chbwcod too high";
    case 12:
      return "$$$/corvexa/DDPI_ENC_ERR_PHSCORE=cplcoe and phscore inconsistant";
    case 13:
      return "$$$/corvexa/DDPI_ENC_ERR_LFEHALF=LFE not allowed in 1/2 and 1/4 rate modes.  LFE not "
             "coded.";
    case 14:
      return "$$$/corvexa/DDPI_ENC_ERR_BWSPX=audio bandwidth too low for SPX - SPX turned off.";
    case 15:
      return "$$$/corvexa/DDPI_ENC_ERR_BWHIGH=audbwcod too high";
    case 16:
      return "$$$/corvexa/DDPI_ENC_ERR_INITPARAMS=error initializing encoder control parameters.";
    case 17:
      return "$$$/corvexa/DDPI_ENC_ERR_STFMEMINIT=DDPI_ENC_ERR_STFMEMINIT";
    case 18:
      return "$$$/corvexa/DDPI_ENC_ERR_STFPROCESS=DDPI_ENC_ERR_STFPROCESS";
    case 19:
      return "$$$/corvexa/DDPI_ENC_ERR_CPL_ECPL_ENABL=coupling and e-coupling cannot both be "
             "enabled simultaneously";
    case 20:
      return "$$$/corvexa/DDPI_ENC_ERR_PGM_NUM=DDPI_ENC_ERR_PGM_NUM";
    case 21:
      return "$$$/corvexa/DDPI_ENC_ERR_UNSUPPORTED_PARAM=DDPI_ENC_ERR_UNSUPPORTED_PARAM";
    case 22:
      return "$$$/corvexa/DDPI_ENC_ERR_READONLY_PARAM=DDPI_ENC_ERR_READONLY_PARAM";
    case 23:
      return "$$$/corvexa/DDPI_ENC_ERR_BLOCKSIZE=DDPI_ENC_ERR_BLOCKSIZE";
    case 24:
      return "$$$/corvexa/DDPI_ENC_ERR_UNSUPPORTED_MODE=DDPI_ENC_ERR_UNSUPPORTED_MODE";
    case 25:
      return "$$$/corvexa/DDPI_ENC_ERR_NULL_PARAMETER=DDPI_ENC_ERR_NULL_PARAMETER";
    case 26:
      return "$$$/corvexa/DDPI_ENC_ERR_MAX_PGMS=DDPI_ENC_ERR_MAX_PGMS";
    case 27:
      return "$$$/corvexa/DDPI_ENC_ERR_MAX_CHANS=DDPI_ENC_ERR_MAX_CHANS";
    case 28:
      return "$$$/corvexa/"
             "DDPI_ENC_ERR_OUTPUT_BUFFER_DESCRIPTOR=DDPI_ENC_ERR_OUTPUT_BUFFER_DESCRIPTOR";
    case 29:
      return "$$$/corvexa/"
             "DDPI_ENC_ERR_INPUT_BUFFER_DESCRIPTOR=DDPI_ENC_ERR_INPUT_BUFFER_DESCRIPTOR";
    case 30:
      return "$$$/corvexa/"
             "DDPI_ENC_ERR_INVALID_AUDIO_CODING_MODE=DDPI_ENC_ERR_INVALID_AUDIO_CODING_MODE";
    case 31:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_DIALNORM=DDPI_ENC_ERR_INVALID_DIALNORM";
    case 32:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_LFEFILTERFLAG=DDPI_ENC_ERR_INVALID_LFEFILTERFLAG";
    case 33:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_DCFILTERFLAG=DDPI_ENC_ERR_INVALID_DCFILTERFLAG";
    case 34:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_COMPR_PROFILE=DDPI_ENC_ERR_INVALID_COMPR_PROFILE";
    case 35:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_COMPR2_PROFILE=DDPI_ENC_ERR_INVALID_COMPR2_PROFILE";
    case 36:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_DYNRNG_PROFILE=DDPI_ENC_ERR_INVALID_DYNRNG_PROFILE";
    case 37:
      return "$$$/corvexa/"
             "DDPI_ENC_ERR_INVALID_DYNRNG2_PROFILE=DDPI_ENC_ERR_INVALID_DYNRNG2_PROFILE";
    case 38:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_LFE_MODE=DDPI_ENC_ERR_INVALID_LFE_MODE";
    case 39:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_DIGDEEMPH_MODE=DDPI_ENC_ERR_INVALID_DIGDEEMPH_MODE";
    case 40:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_SAMPRATECODE=DDPI_ENC_ERR_INVALID_SAMPRATECODE";
    case 41:
      return "$$$/corvexa/"
             "DDPI_ENC_ERR_INVALID_ENC51_ENCODING_MODE=DDPI_ENC_ERR_INVALID_ENC51_ENCODING_MODE";
    case 42:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_BWFILTERFLAG=DDPI_ENC_ERR_INVALID_BWFILTERFLAG";
    case 43:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_PH90FILTERFLAG=DDPI_ENC_ERR_INVALID_PH90FILTERFLAG";
    case 44:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_SURATTFLAG=DDPI_ENC_ERR_INVALID_SURATTFLAG";
    case 45:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_DMIXMOD=DDPI_ENC_ERR_INVALID_DMIXMOD";
    case 46:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_LTRTCMIXLEV=DDPI_ENC_ERR_INVALID_LTRTCMIXLEV";
    case 47:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_LTRTSURMIXLEV=DDPI_ENC_ERR_INVALID_LTRTSURMIXLEV";
    case 48:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_LOROCMIXLEV=DDPI_ENC_ERR_INVALID_LOROCMIXLEV";
    case 49:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_LOROSURMIXLEV=DDPI_ENC_ERR_INVALID_LOROSURMIXLEV";
    case 50:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_DSUREXMOD=DDPI_ENC_ERR_INVALID_DSUREXMOD";
    case 51:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_DHEADPHONMOD=DDPI_ENC_ERR_INVALID_DHEADPHONMOD";
    case 52:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_ADCONVTYP=DDPI_ENC_ERR_INVALID_ADCONVTYP";
    case 53:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_MIXLEVEL=DDPI_ENC_ERR_INVALID_MIXLEVEL";
    case 54:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_COPYRIGHTB=DDPI_ENC_ERR_INVALID_COPYRIGHTB";
    case 55:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_ORIGBS=DDPI_ENC_ERR_INVALID_ORIGBS";
    case 56:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_BSMOD=DDPI_ENC_ERR_INVALID_BSMOD";
    case 57:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_ROOMTYP=DDPI_ENC_ERR_INVALID_ROOMTYP";
    case 58:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_DSURMOD=DDPI_ENC_ERR_INVALID_DSURMOD";
    case 59:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_DATARATE=DDPI_ENC_ERR_INVALID_DATARATE";
    case 60:
      return "$$$/corvexa/"
             "DDPI_ENC_ERR_INVALID_AUTOSETUPPROFILE=DDPI_ENC_ERR_INVALID_AUTOSETUPPROFILE";
    case 61:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_SUBSTREAMID=DDPI_ENC_ERR_INVALID_SUBSTREAMID";
    case 62:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_BSTYPE=DDPI_ENC_ERR_INVALID_BSTYPE";
    case 63:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_PGMSCL=DDPI_ENC_ERR_INVALID_PGMSCL";
    case 64:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_EXTPGMSCL=DDPI_ENC_ERR_INVALID_EXTPGMSCL";
    case 65:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_AUTOCPL=DDPI_ENC_ERR_INVALID_AUTOCPL";
    case 66:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_CPLENABL=DDPI_ENC_ERR_INVALID_CPLENABL";
    case 67:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_CPLBEGFREQCODE=DDPI_ENC_ERR_INVALID_CPLBEGFREQCODE";
    case 68:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_AUTOBW=DDPI_ENC_ERR_INVALID_AUTOBW";
    case 69:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_AUDBWCODE=DDPI_ENC_ERR_INVALID_AUDBWCODE";
    case 71:
      return "$$$/corvexa/"
             "DDPI_ENC_ERR_INVALID_DIALNORM2_ACMOD_SET=DDPI_ENC_ERR_INVALID_DIALNORM2_ACMOD_SET";
    case 72:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_DIALNORM2=DDPI_ENC_ERR_INVALID_DIALNORM2";
    case 73:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_AUTOECP=DDPI_ENC_ERR_INVALID_AUTOECP";
    case 74:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_ECPLENABL=DDPI_ENC_ERR_INVALID_ECPLENABL";
    case 75:
      return "$$$/corvexa/"
             "DDPI_ENC_ERR_INVALID_ECPLBEGFREQCODE=DDPI_ENC_ERR_INVALID_ECPLBEGFREQCODE";
    case 76:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_CONVFRMSIZCOD=DDPI_ENC_ERR_INVALID_CONVFRMSIZCOD";
    case 77:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_AUTOTPNP=DDPI_ENC_ERR_INVALID_AUTOTPNP";
    case 78:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_TPNPENABL=DDPI_ENC_ERR_INVALID_TPNPENABL";
    case 79:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_AUTOAHT=DDPI_ENC_ERR_INVALID_AUTOAHT";
    case 80:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_AHTENABL=DDPI_ENC_ERR_INVALID_AHTENABL";
    case 81:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_BLKSPERFRAME=DDPI_ENC_ERR_INVALID_BLKSPERFRAME";
    case 82:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_AUTOSPX=DDPI_ENC_ERR_INVALID_AUTOSPX";
    case 83:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_SPXENABL=DDPI_ENC_ERR_INVALID_SPXENABL";
    case 84:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_SPXBEGFREQCODE=DDPI_ENC_ERR_INVALID_SPXBEGFREQCODE";
    case 85:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_TCINUSE=DDPI_ENC_ERR_INVALID_TCINUSE";
    case 86:
      return "$$$/corvexa/"
             "DDPI_ENC_ERR_INVALID_TC_FRAMERATECODE=DDPI_ENC_ERR_INVALID_TC_FRAMERATECODE";
    case 87:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_TCISDROPFRAME=DDPI_ENC_ERR_INVALID_TCISDROPFRAME";
    case 88:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_TC_OFFSET=DDPI_ENC_ERR_INVALID_TC_OFFSET";
    case 92:
      return "$$$/corvexa/DDPI_ENC_ERR_ECPL_NOT_SUPPORTED=DDPI_ENC_ERR_ECPL_NOT_SUPPORTED";
    case 93:
      return "$$$/corvexa/DDPI_ENC_ERR_TPNP_NOT_SUPPORTED=DDPI_ENC_ERR_TPNP_NOT_SUPPORTED";
    case 94:
      return "$$$/corvexa/DDPI_ENC_ERR_AHT_NOT_SUPPORTED=DDPI_ENC_ERR_AHT_NOT_SUPPORTED";
    case 95:
      return "$$$/corvexa/DDPI_ENC_ERR_SPX_NOT_SUPPORTED=DDPI_ENC_ERR_SPX_NOT_SUPPORTED";
    case 96:
      return "$$$/corvexa/DDPI_ENC_ERR_CHANMAP_DEP_ONLY=DDPI_ENC_ERR_CHANMAP_DEP_ONLY";
    case 97:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_CMIXLEV=DDPI_ENC_ERR_INVALID_CMIXLEV";
    case 98:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_SURMIXLEV=DDPI_ENC_ERR_INVALID_SURMIXLEV";
    case 99:
      return "$$$/corvexa/DDPI_ENC_ERR_UPMIXER_NOT_SUPPORTED=DDPI_ENC_ERR_UPMIXER_NOT_SUPPORTED";
    case 100:
      return "$$$/corvexa/"
             "DDPI_ENC_ERR_INVALID_GLOBAL_COMP_PROF=DDPI_ENC_ERR_INVALID_GLOBAL_COMP_PROF";
    case 101:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_AUDIOCFG=DDPI_ENC_ERR_INVALID_AUDIOCFG";
    case 102:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_CE_CMIXLEV=DDPI_ENC_ERR_INVALID_CE_CMIXLEV";
    case 103:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_CE_SURMIXLEV=DDPI_ENC_ERR_INVALID_CE_SURMIXLEV";
    case 104:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_CE_OPTIM=DDPI_ENC_ERR_INVALID_CE_OPTIM";
    case 105:
      return "$$$/corvexa/"
             "DDPI_ENC_ERR_INVALID_CE_DRATE_AUDIOCFG=DDPI_ENC_ERR_INVALID_CE_DRATE_AUDIOCFG";
    case 106:
      return "$$$/corvexa/"
             "DDPI_ENC_ERR_INVALID_LOUDLIB_RT_STATE=DDPI_ENC_ERR_INVALID_LOUDLIB_RT_STATE";
    case 107:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_LOUDLIB_RESET=DDPI_ENC_ERR_INVALID_LOUDLIB_RESET";
    case 108:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_CONTENT_TYPE=DDPI_ENC_ERR_INVALID_CONTENT_TYPE";
    case 109:
      return "$$$/corvexa/"
             "DDPI_ENC_ERR_DOWNMIXER_NOT_SUPPORTED=DDPI_ENC_ERR_DOWNMIXER_NOT_SUPPORTED";
    case 130:
      return "$$$/corvexa/DDPI_ENC_ERR_CONFIG_ADVQUEUE=DDPI_ENC_ERR_CONFIG_ADVQUEUE";
    case 137:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_LFE_ACMOD_SET=DDPI_ENC_ERR_INVALID_LFE_ACMOD_SET";
    case 138:
      return "$$$/corvexa/"
             "DDPI_ENC_ERR_INVALID_AUDPRODINFOFLAG=DDPI_ENC_ERR_INVALID_AUDPRODINFOFLAG";
    case 139:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_RESERVED_FIELD=DDPI_ENC_ERR_INVALID_RESERVED_FIELD";
    case 140:
      return "$$$/corvexa/"
             "DDPI_ENC_ERR_INVALID_CONTROL_STRUCTURE=DDPI_ENC_ERR_INVALID_CONTROL_STRUCTURE";
    case 142:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_PANMEAN=DDPI_ENC_ERR_INVALID_PANMEAN";
    case 143:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_EXTPGMLSCL=DDPI_ENC_ERR_INVALID_EXTPGMLSCL";
    case 144:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_EXTPGMCSCL=DDPI_ENC_ERR_INVALID_EXTPGMCSCL";
    case 145:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_EXTPGMRSCL=DDPI_ENC_ERR_INVALID_EXTPGMRSCL";
    case 146:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_EXTPGMLSSCL=DDPI_ENC_ERR_INVALID_EXTPGMLSSCL";
    case 147:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_EXTPGMRSSCL=DDPI_ENC_ERR_INVALID_EXTPGMRSSCL";
    case 148:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_EXTPGMLFESCL=DDPI_ENC_ERR_INVALID_EXTPGMLFESCL";
    case 149:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_EXTPGMAUX1SCL=DDPI_ENC_ERR_INVALID_EXTPGMAUX1SCL";
    case 150:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_EXTPGMAUX2SCL=DDPI_ENC_ERR_INVALID_EXTPGMAUX2SCL";
    case 151:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_DMIXSCL=DDPI_ENC_ERR_INVALID_DMIXSCL";
    case 152:
      return "$$$/corvexa/DDPI_ENC_ERR_PANMEAN_REQ_ACMOD_1=DDPI_ENC_ERR_PANMEAN_REQ_ACMOD_1";
    case 153:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_MIXDEF=DDPI_ENC_ERR_INVALID_MIXDEF";
    case 154:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_PREMIXCMPSEL=DDPI_ENC_ERR_INVALID_PREMIXCMPSEL";
    case 155:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_DRCSRC=DDPI_ENC_ERR_INVALID_DRCSRC";
    case 156:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_PREMIXCMPSCL=DDPI_ENC_ERR_INVALID_PREMIXCMPSCL";
    case 157:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_DYNCPL=DDPI_ENC_ERR_INVALID_DYNCPL";
    case 158:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_DYNSPX=DDPI_ENC_ERR_INVALID_DYNSPX";
    case 159:
      return "$$$/corvexa/"
             "DDPI_ENC_ERR_EXCEED_MAX_LOUDNESSLIBS=DDPI_ENC_ERR_EXCEED_MAX_LOUDNESSLIBS";
    case 160:
      return "$$$/corvexa/DDPI_ENC_ERR_UNEXPECTED_PARAMETER=DDPI_ENC_ERR_UNEXPECTED_PARAMETER";
    case 161:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_DATA_COUNT=DDPI_ENC_ERR_INVALID_DATA_COUNT";
    case 162:
      return "$$$/corvexa/DDPI_ENC_ERR_INVALID_DATA_SIZE=DDPI_ENC_ERR_INVALID_DATA_SIZE";
    case 163:
      return "$$$/corvexa/DDPI_ENC_ERR_DATA_NOT_SET=DDPI_ENC_ERR_DATA_NOT_SET";
    case 169:
      return "$$$/corvexa/"
             "DDPI_ENC_ERR_INVALID_ACMOD_INPUT_CFG=DDPI_ENC_ERR_INVALID_ACMOD_INPUT_CFG";
    case 170:
      return "$$$/corvexa/"
             "DDPI_ENC_ERR_UNSUPPORTED_ACMOD_INPUT_CFG=DDPI_ENC_ERR_UNSUPPORTED_ACMOD_INPUT_CFG";
    case 171:
      return "$$$/corvexa/DDPI_UNHANDLED_ENCODER_MODE=DDPI_UNHANDLED_ENCODER_MODE";
    case 172:
      return "$$$/corvexa/DDPI_ENC_ERR_PARAMETER_ACCESS=DDPI_ENC_ERR_PARAMETER_ACCESS";
    case 173:
      return "$$$/corvexa/"
             "DDPI_ENC_ERR_UNSUPPORTED_DOWNMIX_CFG=DDPI_ENC_ERR_UNSUPPORTED_DOWNMIX_CFG";
    default:
      return nullptr;
  }
}

constexpr int kUnsupportedParameter = 7979;
constexpr unsigned kLastTableCode = 173;

}  // namespace

UTF16String Encoder::GetErrorDescription(int error) {
  const unsigned code = static_cast<unsigned>(error);
  if (code <= kLastTableCode) {
    if (const char* key = ErrorKey(code)) return basalt::LocalizeString(key);
  } else if (error == kUnsupportedParameter) {
    return basalt::LocalizeString("$$$/corvexa/DDPI_ENC_UNSUPPORTED_PARAM=Usupported Parameter");
  }
  char number[16];
  std::snprintf(number, sizeof number, "%i", error);
  return basalt::LocalizeString("$$$/corvexa/dolbydigital/encoder/UnknownError=Unknown Error: @0",
                                basalt::AsciiToUTF16(number));
}

}  // namespace dolbydigital
