// The bit allocation of one analysed frame: the search of the SNR offsets whose mantissas fill
// the frame, the bit allocation pointers and mantissas they give, and where the decoder is to
// dither zero-bit bins.
#ifndef DDPI_ENGINE_ENCODER_ENC_ALLOCATE_H
#define DDPI_ENGINE_ENCODER_ENC_ALLOCATE_H

#include "enc_frame.h"

namespace ddpi::enc {

// Largest SNR offset whose mantissas fit `budget_bits`, those of blocks 0 and 1 also fitting
// `early_budget_bits`. With `ac3_offsets` (AC-3's syntax: a coarse offset per block, a fine
// one per channel) the bits left over then raise blocks 2 to 5 by whole coarse steps and
// single channels' fine offsets; E-AC-3 keeps one offset for the frame. Fills the offsets,
// bap and mant. Returns false if not even the smallest offset fits.
bool AllocateFrame(int budget_bits, int early_budget_bits, bool ac3_offsets, FrameData* frame);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_ALLOCATE_H
