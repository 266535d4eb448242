// Delta bit allocation (A/52 sections 5.4.3.47-57 and 7.2.2.6): the encoder moves a channel's
// masking curve band by band in steps of 6 dB, which the decoder applies before the SNR
// offset. Moving every band of the blocks around an attack down one step quantizes them 6 dB
// more finely, which E-AC-3 cannot say through its per-frame SNR offsets.
#ifndef DDPI_ENGINE_ENCODER_ENC_DELTA_ALLOCATION_H
#define DDPI_ENGINE_ENCODER_ENC_DELTA_ALLOCATION_H

#include <cstdint>

#include "ac3_tables.h"
#include "bit_writer.h"

namespace ddpi::enc {

// One step of a delta: 6 dB in the masking curve's units.
constexpr int kMaskStepUnits = 128;

// Steps of one channel's masking curve in one block, per band: -4..+4 times 6 dB
// (kMaskStepUnits); all 0 leaves the curve alone.
struct MaskDelta {
  int8_t step[ac3::kBands] = {};

  bool Any() const;
  bool operator==(const MaskDelta& other) const;
  bool operator!=(const MaskDelta& other) const { return !(*this == other); }
};

// The same step over every band.
MaskDelta UniformMaskDelta(int step);

// The opposite steps.
MaskDelta NegatedMaskDelta(const MaskDelta& a);
// `own`'s steps, except in the bands where `lift` has a positive step: there `leader`'s step
// plus `lift`'s, held within -4..+4.
MaskDelta FollowingMaskDelta(const MaskDelta& own, const MaskDelta& leader, const MaskDelta& lift);

// Adds the steps of bands [first, end) to a masking curve, as the decoder does.
void ApplyMaskDelta(const MaskDelta& delta, int first, int end, int16_t* mask);

// The bitstream's segments of a delta: each skips `offset` bands (0..31) from the end of the
// previous one and moves the next `length` bands (0..15) by the step that `code` gives (0..3:
// -4..-1, 4..7: +1..+4). At most 8 segments.
struct DeltaSegments {
  int count = 0;
  uint8_t offset[8] = {};
  uint8_t length[8] = {};
  uint8_t code[8] = {};
};
// False when the delta needs more than 8 segments.
bool MakeDeltaSegments(const MaskDelta& delta, DeltaSegments* out);

// The delta bit allocation of one block (deltbaie and what follows it) for the full-bandwidth
// channels [0, nfch) and, when `coupling`, the coupling channel: `now` holds the block's
// deltas (coupling channel last), `before` those in effect after the previous block, which
// this updates. Nothing is said when no delta changed; otherwise a channel whose delta did
// not change reuses it, and one without a delta says so. In `first_block` every channel says
// its delta outright if any channel has or had one, since decoders do not agree on whether
// state crosses frames.
// Returns false, writing nothing, when the syntax cannot carry a delta.
bool WriteDeltaAllocation(BitWriter* bw, const MaskDelta* now, MaskDelta* before, int nfch,
                          bool coupling, bool first_block);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_DELTA_ALLOCATION_H
