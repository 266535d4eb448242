// Bit stream information (A/52 section 5.4.2; Annex D alternate syntax; Annex E section
// E.1.2.2 for E-AC-3).
#ifndef DDPI_ENGINE_ENCODER_ENC_BSI_H
#define DDPI_ENGINE_ENCODER_ENC_BSI_H

#include "bit_writer.h"
#include "enc_config.h"
#include "enc_drc.h"

namespace ddpi::enc {

// AC-3 cmixlev / surmixlev codes closest to a mix level index (0..7: +3, +1.5, 0, -1.5, -3,
// -4.5, -6 dB, -inf), and whether the code represents the level exactly.
int CenterMixCode(int level_index, bool* exact);
int SurroundMixCode(int level_index, bool* exact);

// bsid of an AC-3 stream: 6 (Annex D, with extended BSI) when the metadata needs fields only
// that syntax carries, else 8.
int Ac3Bsid(const Metadata& md);

void WriteAc3Bsi(BitWriter* bw, const EncoderConfig& cfg, const DrcFrameGains& drc);
// `frame_words`: frame size in 16-bit words.
void WriteEac3Bsi(BitWriter* bw, const EncoderConfig& cfg, int frame_words,
                  const DrcFrameGains& drc);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_BSI_H
