// The bit allocation of one analysed frame: the search of the SNR offsets whose mantissas fill
// the frame, the bit allocation pointers and mantissas they give, and where the decoder is to
// dither zero-bit bins.
#ifndef DDPI_ENGINE_ENCODER_ENC_ALLOCATE_H
#define DDPI_ENGINE_ENCODER_ENC_ALLOCATE_H

#include "enc_frame.h"

namespace ddpi::enc {

// Largest SNR offset whose mantissas fit `budget_bits`, those of blocks 0 and 1 also fitting
// `early_budget_bits`; with `per_channel_fine`, the bits left over then raise single
// channels' fine offsets. Fills the offsets, bap and mant. Returns false if not even the
// smallest offset fits.
bool AllocateFrame(int budget_bits, int early_budget_bits, bool per_channel_fine,
                   FrameData* frame);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_ALLOCATE_H
