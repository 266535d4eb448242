// Settings of one encoded stream, as the engine's parameters set them.
#ifndef DDPI_ENGINE_ENCODER_ENC_CONFIG_H
#define DDPI_ENGINE_ENCODER_ENC_CONFIG_H

#include "enc_preprocess.h"

namespace ddpi::enc {

// Bitstream information and metadata (A/52 section 5.4.2, Annex D and Annex E).
struct Metadata {
  int bsmod = 0;           // 0..7
  int dialnorm = 31;       // 1..31 dB below full scale
  int copyrightb = 0;
  int origbs = 1;
  int dsurmod = 0;         // 2/0 only: 0 not indicated, 1 not surround encoded, 2 surround
  int dsurexmod = 0;       // 0 not indicated, 1 not EX encoded, 2 EX encoded
  int dmixmod = 0;         // preferred stereo downmix: 0 not indicated, 1 Lt/Rt, 2 Lo/Ro, 3 PLII
  int ltrtcmixlev = 4;     // mix level indices 0..7 (+3 dB .. -inf), surround ones 3..7
  int ltrtsurmixlev = 4;
  int lorocmixlev = 4;
  int lorosurmixlev = 4;
  int adconvtyp = 0;       // 0 standard, 1 HDCD
  int mixlevel = 105;      // peak mixing level, dB SPL 80..111
  int roomtyp = 0;         // 0 not indicated, 1 large room, 2 small room
};

// Which E-AC-3 substream a frame belongs to (Annex E, section E.1.2.2).
struct SubstreamInfo {
  bool dependent = false;  // strmtyp 1 (substreamid 0) instead of an independent substream 0
  int chanmap = 0;         // dependent only: the channel locations its channels take
};

struct EncoderConfig {
  bool eac3 = true;        // E-AC-3 (bsid 16) or AC-3
  int acmod = 7;
  bool lfe = true;
  int kbps = 448;
  Metadata metadata;
  int drc_line_profile = 1;  // 0..5, 0 none
  int drc_rf_profile = 1;
  PreprocessSettings preprocess;
  SubstreamInfo substream;
};

// Number of full-bandwidth channels of an acmod and the input slot of each, in bitstream order.
int FbwChannels(int acmod);
int FbwSlot(int acmod, int channel);
constexpr int kLfeSlot = 3;

// Lowest data rate (kbps) this encoder accepts for a channel configuration.
int MinimumRate(int acmod);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_CONFIG_H
