// E-AC-3 syncframe of an independent or a dependent substream with six blocks (A/52 Annex E):
// syncinfo, BSI, audio frame, six audio blocks, auxiliary data and the frame CRC.
#ifndef DDPI_ENGINE_ENCODER_ENC_FRAME_EAC3_H
#define DDPI_ENGINE_ENCODER_ENC_FRAME_EAC3_H

#include <cstdint>

#include "enc_frame.h"

namespace ddpi::enc {

// Allocates the frame's bits and writes the syncframe (2 * kbps words) to `out`.
bool EncodeEac3Frame(const EncoderConfig& cfg, FrameData* frame, MantissaPacker* packer,
                     uint8_t* out);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_FRAME_EAC3_H
