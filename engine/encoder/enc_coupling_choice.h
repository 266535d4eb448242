// Coupling's part of a frame's analysis: whether the frame couples and which channels, where a
// panned stereo pair's range begins, and, once decided, the coupling channel and coordinates.
// The coupling syntax and its arithmetic are in enc_coupling.h.
#ifndef DDPI_ENGINE_ENCODER_ENC_COUPLING_CHOICE_H
#define DDPI_ENGINE_ENCODER_ENC_COUPLING_CHOICE_H

#include "enc_frame.h"
#include "enc_plan.h"

namespace ddpi::enc {

// Decides FrameData::cplinu and chincpl for a frame the plan couples. Call after
// MarkAttackBlocks, with the coupling layout and channel ends set.
void ChooseFrameCoupling(const CodingPlan& plan, FrameData* f);

// True for a stereo frame whose channels are scaled copies of each other from 3.5 kHz up to
// coupling sub-band `planned_begf`: such a pair couples from there.
bool PannedPair(const FrameData& f, int planned_begf);

// Forms the coupling channel and the coordinates of the coupled channels, and ends those
// channels where the coupling range begins.
void CoupleFrame(FrameData* f);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_COUPLING_CHOICE_H
