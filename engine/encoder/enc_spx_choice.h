// The spectral extension's part of a frame's analysis (E-AC-3): which channels it rebuilds in
// the frame, where runs of coordinates begin and how much of the original's energy each must
// restore, and, once the mantissas are known, the coordinates that restore it from what the
// decoder will copy.
#ifndef DDPI_ENGINE_ENCODER_ENC_SPX_CHOICE_H
#define DDPI_ENGINE_ENCODER_ENC_SPX_CHOICE_H

#include "enc_frame.h"
#include "enc_plan.h"

namespace ddpi::enc {

// Which channels the extension rebuilds in this frame (FrameData::chinspx, spxinu); clearly
// tonal ones may also end lower (plan.tonal_chbwcod).
void ChooseExtendedChannels(const CodingPlan& plan, FrameData* f);

// Leaves the extension out of a frame, or a channel out of it, where the content ends below
// the extended range.
void LeaveExtensionWithoutContent(int programme_end, FrameData* f);

// Runs of coordinates (spxcoe), their target energies and noise blends. Call after
// MarkAttackBlocks.
void ExtendFrame(const CodingPlan& plan, FrameData* f);

// Rescales the spectral extension's coordinates to what the decoder will copy: the decoded
// coefficients of the copy region (quantized, decoupled, rematrixed) rather than the original
// ones, which at low rates carry more energy. Call after AllocateFrame; the coordinates'
// size in bits does not change.
void MatchSpxToDecodedCopies(FrameData* frame);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_SPX_CHOICE_H
