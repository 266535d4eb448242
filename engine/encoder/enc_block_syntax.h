// Pieces of the audio block syntax that the AC-3 and E-AC-3 frame writers share: the block's
// opening fields, exponents, bit allocation parameters, coupling coordinates and exponents, and
// mantissas.
#ifndef DDPI_ENGINE_ENCODER_ENC_BLOCK_SYNTAX_H
#define DDPI_ENGINE_ENCODER_ENC_BLOCK_SYNTAX_H

#include "bit_writer.h"
#include "enc_frame.h"

namespace ddpi::enc {

// How every block opens in both syntaxes: each channel's blksw (unless the frame says it sends
// none, as E-AC-3 can) and dithflag, then dynrnge and dynrng (twice in a 1+1 programme).
void WriteBlockOpening(BitWriter* bw, const FrameData& frame, int block, bool switch_flags);
// The channel's exponents in the block, where it sends new ones: absexp, the groups and
// (full-bandwidth channels) gainrng.
void WriteExponents(BitWriter* bw, const ChannelFrame& ch, int block);
// sdcycod, fdcycod, sgaincod, dbpbcod and floorcod.
void WriteBitAllocParams(BitWriter* bw, const BitAllocParams& ba);
// Coupling coordinates of the block (cplcoe bits only where `explicit_cplcoe`), then cplexps
// are written by WriteCouplingExponents.
void WriteCouplingCoords(BitWriter* bw, const FrameData& frame, int block, bool explicit_cplcoe);
void WriteCouplingExponents(BitWriter* bw, const FrameData& frame, int block);
void WriteMantissas(BitWriter* bw, FrameData& frame, int block, MantissaPacker* packer);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_BLOCK_SYNTAX_H
