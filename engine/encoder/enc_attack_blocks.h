// The blocks around attacks. Transient detection's findings mark a channel's blocks: where an
// attack is present (short transforms there, where the plan switches blocks), and whether it
// is exposed (nothing before it masks it), early in its block, or rising out of near silence.
// The blocks whose transforms span an exposed attack are then quantized more finely than the
// rest of the frame.
#ifndef DDPI_ENGINE_ENCODER_ENC_ATTACK_BLOCKS_H
#define DDPI_ENGINE_ENCODER_ENC_ATTACK_BLOCKS_H

#include "enc_frame.h"
#include "enc_plan.h"

namespace ddpi::enc {

// Block `block` of a channel as transient detection found it (no attack in the LFE), short
// where it holds an attack and the plan switches blocks. Set ch->lfe first.
void NoteAttack(const BlockAttack& attack, int block, bool block_switching, ChannelFrame* ch);

// Marks the blocks around attacks (FrameData::around_attack, channel_around_attack) and gives
// those around exposed ones the plan's boosts: snr_boost where the boost is an SNR offset
// (stereo AC-3), delta bit allocation where the plan boosts by delta (E-AC-3, 5.1 mixes).
void MarkAttackBlocks(const CodingPlan& plan, FrameData* f);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_ATTACK_BLOCKS_H
