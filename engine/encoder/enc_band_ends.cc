#include "enc_band_ends.h"

#include <algorithm>

#include "ac3_tables.h"

namespace ddpi::enc {

// Updates each full-bandwidth channel's content end (see ContentEdgeTracker); returns the
// programme's, the highest of them.
int UpdateContentEnds(FrameData* f) {
  const float* coefs[kMaxCplChannels * kBlocks];
  for (int c = 0; c < f->nfch; ++c)
    for (int b = 0; b < kBlocks; ++b) coefs[c * kBlocks + b] = f->ch[c].coef[b];
  const float floor = ContentFloor(coefs, f->nfch * kBlocks);
  int programme_end = 0;
  for (int c = 0; c < f->nfch; ++c) {
    f->content_end[c] = f->content_edge[c].Update(coefs + c * kBlocks, kBlocks, floor);
    programme_end = std::max(programme_end, f->content_end[c]);
  }
  return programme_end;
}

// Without the extension, a channel whose upper band has clearly held stable partials ends at
// the rate's own bandwidth even where a coupling range reaches further (17 kHz at AC-3 2.0
// 128k, past 15.75 kHz): the shared range is cheap for dense music, but such tones are heard
// through their partials' own noise more than through the top of the band. PEAQ, ours minus
// FFmpeg, basic / advanced: AC-3 2.0 128k +0.350 / +0.243 -> +0.356 / +0.245 (pitch pipe
// -0.22 -> -0.18 basic below FFmpeg's, glockenspiel +0.04); no other setting moved. Ending at
// 0.8 of the rate's band, as clearly tonal channels do with the extension, took the pitch pipe
// to 0.05 above FFmpeg's but cost the glockenspiel 1.2, whose struck bars have partials there.
// The band measured is the upper half of the coded one. Returns the programme's end, which
// is `programme_end` wherever the coded band ends with the rate's (no tracker runs there).
int EndClearlyTonalChannels(const CodingPlan& plan, int programme_end, FrameData* f) {
  const int coded_end = CodedBandEnd(plan);
  const int rate_end = ac3::ChannelEndMant(plan.chbwcod);
  if (rate_end >= coded_end) return programme_end;
  programme_end = 0;
  for (int c = 0; c < f->nfch; ++c) {
    TonalityTracker& tonality = f->upper_band_tonality[c];
    tonality.Update(LocalFlatness(f->ch[c].Blocks().block, kBlocks, coded_end / 2, coded_end));
    if (tonality.clearly_tonal()) f->content_end[c] = std::min(f->content_end[c], rate_end);
    programme_end = std::max(programme_end, f->content_end[c]);
  }
  return programme_end;
}

// Where the offset search leaves the noise well above the masking curve, a full-bandwidth
// channel whose spectrum holds steady (a reed, a pitch pipe, an organ) ends at
// kTonalBandwidthShare of the rate's band (plan.tonal_chbwcod): the bits go to the noise between
// its partials, which is what such a tone is heard through. Dense music and noise change too
// much from frame to frame, and struck bars or sparse partials leave the search enough bits,
// so both keep their band. With the extension, a channel whose band then ends below the
// extended range leaves it (at E-AC-3 2.0 128k the range begins at 14.7 kHz, so a starved
// steady frame couples up to 12.5 kHz instead). PEAQ, ours minus FFmpeg, basic / advanced:
// AC-3 2.0 128k +0.356 / +0.245 -> +0.389 / +0.292 (pitch pipe -0.18 -> +0.28 basic, reed
// +0.01 -> +0.37 advanced), E-AC-3 2.0 128k +0.476 / +0.237 -> +0.479 / +0.282 (pitch pipe and
// reed +0.26 and +0.37 advanced); every other benchmark stream and the held-out music's
// unchanged but the pitch pipe's at E-AC-3 96k (within 0.001). Off the benchmark's settings,
// the items as mono: AC-3 64k +0.265 / +0.601 -> +0.325 / +0.648 (pitch pipe -0.99 -> -0.18
// basic, reed -0.37 -> -0.07 advanced), 96k +0.087 / +0.098 -> +0.119 / +0.128, E-AC-3 64k
// +0.493 / +0.676 -> +0.504 / +0.678; AC-3 2.0 96k pitch pipe +0.20 basic; AC-3 2.0 160k and
// E-AC-3 2.0 64k, 192k and 256k within 0.001. In 5.1 only the tonal mix changes: AC-3 384k
// +0.319 / +0.412 -> +0.318 / +0.442, E-AC-3 192k +0.682 / +0.658 -> +0.687 / +0.689, 256k
// +0.526 / +0.330 -> +0.528 / +0.333 (448k, the held-out and the extra 5.1 mixes unchanged).
// Steadiness is measured from bin 13 (1.2 kHz), above the bass, to the coded band's top.
int EndStarvedSteadyChannels(const CodingPlan& plan, int programme_end, FrameData* f) {
  constexpr int kSteadinessFromBin = 13;
  const bool starved = f->starvation.Update(f->snr_index);
  const int coded_end = CodedBandEnd(plan);
  const int tonal_end = ac3::ChannelEndMant(plan.tonal_chbwcod);
  programme_end = 0;
  for (int c = 0; c < f->nfch; ++c) {
    const bool steady = f->steadiness[c].Update(f->ch[c].Blocks().block, kBlocks,
                                                kSteadinessFromBin, coded_end);
    if (starved && steady) f->content_end[c] = std::min(f->content_end[c], tonal_end);
    programme_end = std::max(programme_end, f->content_end[c]);
  }
  return programme_end;
}

// Coded bands end where the content does (see ContentEdgeTracker), when that is below the
// rate's band. PEAQ, ours minus FFmpeg, basic / advanced: AC-3 2.0 128k +0.21 / +0.11 -> +0.24
// / +0.12 (an orchestral recording ending at 9.7 kHz +0.32 / +0.17, electronic and game music
// +0.06 / +0.05), 192k +0.04 / +0.09 -> +0.05 / +0.10; E-AC-3 2.0 128k +0.32 / +0.11 -> +0.36 /
// +0.13; per channel, AC-3 5.1 448k +0.19 / +0.37 -> +0.21 / +0.41 and 384k +0.25 / +0.32 ->
// +0.28 / +0.40 (a film mix whose fronts end at 9.7 kHz +0.07 / +0.04 and +0.09 / +0.07, a
// tonal mix up to +0.26 advanced, a rock mix -0.02 to -0.05), E-AC-3 5.1 within 0.01 (film
// +0.05 at 256k). Channel ends against each channel's own strongest bin instead of the
// programme's cost the orchestral recording 0.05 at 2.0 128k.
// In a frame without the extension, each channel's bandwidth code ends with its content and
// the coupling range with the programme's (left out when the programme ends below it).
void EndBandsWithContent(const CodingPlan& plan, int programme_end, FrameData* f) {
  for (int c = 0; c < f->nfch; ++c)
    f->ch[c].chbwcod = std::min(f->ch[c].chbwcod, ac3::BandwidthCodeReaching(f->content_end[c]));
  if (!f->cplinu) return;
  const int endf = std::min(plan.cplendf_alone, CouplingEndCodeReaching(programme_end));
  if (endf + 3 <= f->cpl.begf) f->cplinu = false;
  else if (endf < plan.cplendf_alone) MakeCouplingLayout(f->cpl.begf, endf, &f->cpl);
}

}  // namespace ddpi::enc
