// Decoder::GetParameters: the coding parameters of the opened stream, in the form the
// encoder takes, from the metadata the probe fetched.
#include <utility>

#include "decoder/decoder_session.h"
#include "dolbydigital/parameters.h"

namespace dolbydigital {
namespace {

// Metadata kinds, numbered like the engine's parameter ids.
enum MetadataKind {
  kKindCodecMode = 1,
  kKindDataRate = 3,
  kKindDialNorm = 18,
  kKindStereoDownmixPreference = 20,
  kKindLtRtCenter = 23,
  kKindLtRtSurround = 24,
  kKindLoRoCenter = 25,
  kKindLoRoSurround = 26,
  kKindSurroundEXMode = 27,
  kKindADConverterType = 29,
  kKindPeakMixLevel = 31,
  kKindCopyright = 33,
  kKindOriginal = 34,
  kKindBitstreamMode = 35,
  kKindRoomType = 36,
  kKindDolbySurroundMode = 38
};

// Engine value to parameter value.
std::int32_t ConvertMetadata(int kind, std::int32_t value) {
  if (kind == kKindDialNorm) return -value;
  if (kind == kKindCodecMode) {
    switch (value) {
      case 0: return 0;
      case 1: return 1;
      case 3: return 2;
      case 4: return 3;
      default: return 4;
    }
  }
  return value;
}

}  // namespace

bool Decoder::GetParameters(ParameterMap& params) const {
  ParameterMap map;
  GetDefaults(map);
  const DecoderSession& s = *session_;
  if (!s.initialized) {
    params.clear();
    return false;
  }
  const ddpi_udc_timeslice_mdat& ts = s.timesliceMetadata;
  const ddpi_udc_frame_mdat& frame = s.frameMetadata[0];
  map[kParameterID_CodecMode] = frame.bsid <= 8 ? kCodecMode_DolbyDigital : kCodecMode_DolbyDigitalPlus;
  map[kParameterID_DataRate] = ConvertMetadata(kKindDataRate, ts.data_rate);
  map[kParameterID_ChannelConfiguration] = s.channelConfiguration;
  map[kParameterID_EnableLFE] = s.hasLFE ? 1 : 0;
  if (ts.program_count > 0) {
    map[kParameterID_DialNorm] = ConvertMetadata(kKindDialNorm, ts.programs[0].dialnorm);
    map[kParameterID_BitstreamMode] = ConvertMetadata(kKindBitstreamMode, ts.programs[0].bsmod);
  }
  map[kParameterID_CopyrightBit] = ConvertMetadata(kKindCopyright, frame.copyrightb);
  map[kParameterID_OriginalBit] = ConvertMetadata(kKindOriginal, frame.origbs);
  map[kParameterID_DolbySurroundMode] = ConvertMetadata(kKindDolbySurroundMode, frame.dsurmod);
  map[kParameterID_DolbyDigitalSurroundEXMode] =
      ConvertMetadata(kKindSurroundEXMode, frame.dsurexmod);
  map[kParameterID_StereoDownmixPreference] =
      ConvertMetadata(kKindStereoDownmixPreference, frame.dmixmod);
  map[kParameterID_LtRt_CenterMixLevel] = ConvertMetadata(kKindLtRtCenter, frame.ltrtcmixlev);
  map[kParameterID_LtRt_SurroundMixLevel] = ConvertMetadata(kKindLtRtSurround, frame.ltrtsurmixlev);
  map[kParameterID_LoRo_CenterMixLevel] = ConvertMetadata(kKindLoRoCenter, frame.lorocmixlev);
  map[kParameterID_LoRo_SurroundMixLevel] = ConvertMetadata(kKindLoRoSurround, frame.lorosurmixlev);
  if (frame.audprodie) {
    map[kParameterID_ADConverterType] = ConvertMetadata(kKindADConverterType, frame.adconvtyp);
    map[kParameterID_PeakMixLevel] = ConvertMetadata(kKindPeakMixLevel, frame.mixlevel);
    map[kParameterID_RoomType] = ConvertMetadata(kKindRoomType, frame.roomtyp);
  }
  params.swap(map);
  return !params.empty();
}

}  // namespace dolbydigital
