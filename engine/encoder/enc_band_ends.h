// Where each channel's coded band ends in a frame: with its content, lower for steady or
// clearly tonal channels where that pays, and the coupling range with the programme. In
// AnalyzeFrame the first three run before the extension is chosen and each returns the
// programme's end (the highest channel's end) as it leaves them; EndBandsWithContent runs
// after, in frames that go without the extension.
#ifndef DDPI_ENGINE_ENCODER_ENC_BAND_ENDS_H
#define DDPI_ENGINE_ENCODER_ENC_BAND_ENDS_H

#include "enc_frame.h"
#include "enc_plan.h"

namespace ddpi::enc {

// Follows each full-bandwidth channel's content edge (FrameData::content_end).
int UpdateContentEnds(FrameData* f);

// Without the extension, where a coupling range reaches past the rate's band: clearly tonal
// channels end at the rate's band.
int EndClearlyTonalChannels(const CodingPlan& plan, int programme_end, FrameData* f);

// Where the rate starves the stream, steady channels end at plan.tonal_chbwcod.
int EndStarvedSteadyChannels(const CodingPlan& plan, int programme_end, FrameData* f);

// In a frame without the extension: each channel's bandwidth code and the coupling range end
// with the content.
void EndBandsWithContent(const CodingPlan& plan, int programme_end, FrameData* f);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_BAND_ENDS_H
