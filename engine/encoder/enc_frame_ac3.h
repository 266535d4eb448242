// AC-3 syncframe (A/52 section 5.4): syncinfo, BSI, six audio blocks, auxiliary data and
// the two CRCs.
#ifndef DDPI_ENGINE_ENCODER_ENC_FRAME_AC3_H
#define DDPI_ENGINE_ENCODER_ENC_FRAME_AC3_H

#include <cstdint>

#include "enc_frame.h"

namespace ddpi::enc {

// frmsizecod at 48 kHz for a rate, or -1 when no frame size code has that rate.
int Ac3FrameSizeCode(int kbps);

// Allocates the frame's bits and writes the whole syncframe (2 * kbps words) to `out`.
// Returns false when the frame cannot be fitted.
bool EncodeAc3Frame(const EncoderConfig& cfg, FrameData* frame, MantissaPacker* packer,
                    uint8_t* out);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_FRAME_AC3_H
