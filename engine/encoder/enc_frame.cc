#include "enc_frame.h"

#include <algorithm>
#include <cmath>

#include "ac3_tables.h"
#include "enc_attack_blocks.h"
#include "enc_mdct.h"
#include "enc_spx_choice.h"
#include "enc_transient.h"

namespace ddpi::enc {
namespace {

// Exponent strategies of every channel, reusing more and grouping more coarsely until the
// exponents take at most kExponentShare of the frame, so that mantissas keep enough bits when
// the spectrum changes from block to block.
constexpr double kExponentShare = 0.35;

void ChooseFrameStrategies(const CodingPlan& plan, FrameData* f) {
  static constexpr bool kNoAttacks[kBlocks] = {};
  for (int extra = 0;; ++extra) {
    int bits = 0;
    for (int c = 0; c < f->channels; ++c) {
      ChannelFrame& ch = f->ch[c];
      const bool* around_attack = ch.lfe ? kNoAttacks : f->channel_around_attack[c];
      ChooseStrategies(ch.exp, ch.blksw, around_attack, kBlocks, ch.end,
                       plan.reuse_threshold * (1 + extra), ch.lfe ? -2 : std::min(2, extra),
                       ch.strategy);
      for (int b = 0; b < kBlocks; ++b)
        if (ch.strategy[b] != kExpReuse) bits += ExponentSetBits(ch.end, ch.strategy[b], ch.lfe);
    }
    if (f->cplinu) {
      ChannelFrame& cpl = f->ch[f->channels];
      ChooseCouplingStrategies(cpl.exp, cpl.blksw, cpl.start, cpl.end,
                               plan.reuse_threshold * (1 + extra),
                               std::min(2, extra), cpl.strategy);
      for (int b = 0; b < kBlocks; ++b)
        if (cpl.strategy[b] != kExpReuse)
          bits += CouplingExponentBits(cpl.start, cpl.end, cpl.strategy[b]);
    }
    if (bits <= kExponentShare * plan.frame_bits || extra >= 4) return;
  }
}

// Coordinates of the run of blocks [first, last) from the energies over the run.
void RunCoords(FrameData* f, int first, int last) {
  const CouplingLayout& l = f->cpl;
  double cpl_energy[kMaxCplSubbands] = {};
  for (int b = first; b < last; ++b) AddBandEnergy(f->ch[f->channels].coef[b], l, cpl_energy);
  for (int c = 0; c < f->nfch; ++c) {
    if (!f->chincpl[c]) continue;
    double energy[kMaxCplSubbands] = {}, cross[kMaxCplSubbands] = {};
    for (int b = first; b < last; ++b) {
      AddBandEnergy(f->ch[c].coef[b], l, energy);
      AddBandCross(f->ch[c].coef[b], f->ch[f->channels].coef[b], l, cross);
    }
    float value[kMaxCplSubbands];
    CoordsFromEnergy(energy, cross, cpl_energy, l.bands, f->cplfit, value);
    QuantizeCoords(value, l.bands, &f->coords[first][c]);
    for (int b = first + 1; b < last; ++b) f->coords[b][c] = f->coords[first][c];
  }
}

// Forms the coupling channel of every block from the coupled channels, their coordinates (new
// sets in block 0 and where a coupled channel changes its transform length; a set in block 3
// too cost more than it brought), and ends the coupled channels at cplstrtmant.
void CoupleFrame(FrameData* f) {
  const CouplingLayout& l = f->cpl;
  ChannelFrame& cpl = f->ch[f->channels];
  cpl.lfe = false;
  cpl.start = l.start;
  cpl.end = l.end;
  for (int b = 0; b < kBlocks; ++b) {
    const float* coefs[kMaxCplChannels];
    int coupled = 0;
    bool any_short = false, changed = b == 0;
    for (int c = 0; c < f->nfch; ++c) {
      if (!f->chincpl[c]) continue;
      coefs[coupled++] = f->ch[c].coef[b];
      any_short |= f->ch[c].blksw[b];
      if (b > 0) changed |= f->ch[c].blksw[b] != f->ch[c].blksw[b - 1];
    }
    std::fill(cpl.coef[b], cpl.coef[b] + 256, 0.0f);
    FormCouplingChannel(coefs, coupled, l, cpl.coef[b]);
    cpl.blksw[b] = any_short;
    f->cplcoe[b] = changed;
  }
  for (int b = 0; b < kBlocks;) {
    int run = 1;
    while (b + run < kBlocks && !f->cplcoe[b + run]) ++run;
    RunCoords(f, b, b + run);
    b += run;
  }
  for (int c = 0; c < f->nfch; ++c) {
    if (!f->chincpl[c]) continue;
    ChannelFrame& ch = f->ch[c];
    ch.end = l.start;
    for (int b = 0; b < kBlocks; ++b) std::fill(ch.coef[b] + ch.end, ch.coef[b] + 256, 0.0f);
  }
}

// Sums of products of every pair of full-bandwidth channels over bins [lo, hi) of the frame's
// blocks: over the coupling range, enough to know how any subset of them correlates with its
// sum.
struct CouplingGram {
  double g[kMaxCplChannels][kMaxCplChannels] = {};
};

CouplingGram CouplingProducts(const FrameData& f, int lo, int hi) {
  CouplingGram gram;
  for (int j = 0; j < f.nfch; ++j)
    for (int k = j; k < f.nfch; ++k) {
      double sum = 0;
      for (int b = 0; b < kBlocks; ++b) {
        const float* x = f.ch[j].coef[b];
        const float* y = f.ch[k].coef[b];
        float block = 0;
        for (int i = lo; i < hi; ++i) block += x[i] * y[i];
        sum += block;
      }
      gram.g[j][k] = gram.g[k][j] = sum;
    }
  return gram;
}

// Correlation of each channel marked in `in` with the sum of those channels, over the frame's
// coupling range: 1 when all carry the same signal, about 0.7 for two unrelated ones. A
// channel silent there gets 1: coupling it costs nothing but its coordinates.
void CouplingCoherence(const FrameData& f, const CouplingGram& gram, const bool* in,
                       double* coherence) {
  double ss = 0;  // energy of the sum
  for (int j = 0; j < f.nfch; ++j)
    for (int k = 0; k < f.nfch; ++k)
      if (in[j] && in[k]) ss += gram.g[j][k];
  for (int c = 0; c < f.nfch; ++c) {
    coherence[c] = 1.0;
    if (!in[c]) continue;
    const double xx = gram.g[c][c];
    double xs = 0;
    for (int k = 0; k < f.nfch; ++k)
      if (in[k]) xs += gram.g[c][k];
    if (xx > 0 && ss > 0) coherence[c] = xs / std::sqrt(xx * ss);
  }
}

// The channels to couple in this frame: all full-bandwidth ones, then, while one of them
// correlates with the sum of the rest less than `min_coherence`, without the least coherent.
// Returns false when fewer than two remain: sharing a band needs two channels.
bool ChooseCoupledChannels(const FrameData& f, double min_coherence, bool* in) {
  int count = f.nfch;
  for (int c = 0; c < f.nfch; ++c) in[c] = true;
  const CouplingGram gram = CouplingProducts(f, f.cpl.start, f.cpl.end);
  while (count >= 2) {
    double coherence[kMaxCplChannels];
    CouplingCoherence(f, gram, in, coherence);
    int worst = -1;
    for (int c = 0; c < f.nfch; ++c)
      if (in[c] && coherence[c] < min_coherence && (worst < 0 || coherence[c] < coherence[worst]))
        worst = c;
    if (worst < 0) return true;
    in[worst] = false;
    --count;
  }
  return false;
}

// Where the attack boost goes through delta bit allocation (E-AC-3), a frame with an attack
// goes without coupling: the coupling channel takes no deltas (see WriteDeltaAllocation), so
// its band would keep the frame's offset and spread its noise ahead of the attack. Stereo
// AC-3 does the same: one channel's attack in a coupled band reaches the other channel through
// the shared mantissas (pre-echo over the 102 attacks at 2.0 128k, median / 90th percentile /
// worst against FFmpeg's: 5.3 / 10.5 / +8.6 dB -> 5.1 / 10.3 / +6.4, PEAQ within 0.01). PEAQ, ours
// minus FFmpeg, basic / advanced: E-AC-3 2.0 128k +0.25 / +0.04 -> +0.25 / +0.07 (harpsichord
// advanced +0.39), 5.1 192k +0.15 / +0.41 -> +0.19 / +0.42 (percussion +0.10 / +0.33, film
// -0.27 advanced); the worst single pre-echo against FFmpeg's, speech at 0.023 s at 2.0 128k,
// 16.6 -> 8.2 dB.
bool AnyBlockAroundAttack(const FrameData& f) {
  return std::any_of(f.around_attack, f.around_attack + kBlocks, [](bool b) { return b; });
}

// A stereo frame whose two channels are scaled copies of each other below the planned
// coupling range (a mono source panned, dual mono) couples from 3.5 kHz (cplbegf 0): for such a
// pair the coordinates restore each channel's level band by band, and the one coupling channel
// costs far less than sum and difference, whose weaker half still needs bits wherever the
// source is off centre. Copies correlate by at least kPannedCorrelation in every 12-bin
// sub-band from 3.5 kHz up to the planned begin, over the frame's blocks (a sub-band silent in
// both counts as alike, one silent in only one channel does not). Few frames of recorded
// stereo music qualify: of the held-out music only each item's last, which ends in silence; of
// the benchmark's recordings one that is mono throughout, an electronic track in 60-85 of its
// 314 frames and a drum track in 32 (at 128k), whose grades moved by 0.03 at most.
// PEAQ, ours minus FFmpeg, basic / advanced: AC-3 2.0 128k +0.389 / +0.292 -> +0.384 / +0.313
// (reed +0.18 advanced), 192k +0.115 / +0.213 -> +0.103 / +0.236 (reed +0.16 / +0.11, pitch
// pipe -0.28 / +0.26); off the benchmark's rates AC-3 2.0 160k +0.193 / +0.290 -> +0.204 /
// +0.361 (pitch pipe +0.09 / +0.55, reed +0.03 / +0.44). No attack's pre-echo moved; the
// held-out music's means stayed the same. A correlation of 0.99 graded within 0.003;
// beginning at 4.6 or 5.7 kHz instead gained about half as much.
// The rule waits for the extension's choice: where the extension runs, the decoder rebuilds its
// band from a source that coupling would reach into (at E-AC-3 2.0 128k the castanets' quiet
// tails so coded put 1 dB more error above 12 kHz before two onsets, 0.5 / 0.6 dB more
// pre-echo). Frames that go without it, steady tones whose band ends below its range, couple
// low as AC-3 does: E-AC-3 2.0 128k +0.479 / +0.282 -> +0.481 / +0.298 (reed +0.14, pitch pipe
// +0.05 advanced), no attack moved; without the extension at all, 2.0 192k +0.110 / +0.273 ->
// +0.098 / +0.297 (reed +0.17 / +0.11, pitch pipe -0.27 / +0.26).
constexpr double kPannedCorrelation = 0.95;

bool PannedPair(const FrameData& f, int planned_begf) {
  if (f.acmod != 2) return false;
  for (int s = 0; s < planned_begf; ++s) {
    const CouplingGram gram =
        CouplingProducts(f, ac3::CouplingSubbandBin(s), ac3::CouplingSubbandBin(s + 1));
    const double ll = gram.g[0][0], rr = gram.g[1][1], lr = gram.g[0][1];
    if ((ll > 0) != (rr > 0) || lr < kPannedCorrelation * std::sqrt(ll * rr)) return false;
  }
  return true;
}

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

// Coded bands end where the content does (see ContentEdgeTracker), when that is below the
// rate's band. PEAQ, ours minus FFmpeg, basic / advanced: AC-3 2.0 128k +0.21 / +0.11 -> +0.24
// / +0.12 (an orchestral recording ending at 9.7 kHz +0.32 / +0.17, electronic and game music
// +0.06 / +0.05), 192k +0.04 / +0.09 -> +0.05 / +0.10; E-AC-3 2.0 128k +0.32 / +0.11 -> +0.36 /
// +0.13; per channel, AC-3 5.1 448k +0.19 / +0.37 -> +0.21 / +0.41 and 384k +0.25 / +0.32 ->
// +0.28 / +0.40 (a film mix whose fronts end at 9.7 kHz +0.07 / +0.04 and +0.09 / +0.07, a
// tonal mix up to +0.26 advanced, a rock mix -0.02 to -0.05), E-AC-3 5.1 within 0.01 (film
// +0.05 at 256k). Channel ends against each channel's own strongest bin instead of the
// programme's cost the orchestral recording 0.05 at 2.0 128k.

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

// True when no coupled channel has any coefficient in the coupling range in this frame.
bool CoupledBandSilent(const FrameData& f) {
  for (int c = 0; c < f.nfch; ++c)
    for (int b = 0; b < kBlocks; ++b)
      for (int i = f.cpl.start; i < f.cpl.end; ++i)
        if (f.ch[c].coef[b][i] != 0.0f) return false;
  return true;
}

// The masking curves of coded channel c (or the coupling channel) in every block, as the
// decoder derives them from the exponents and deltas. A block that reuses exponents and delta
// has the masking of the block before it.
void ComputeChannelMasking(FrameData* f, int c) {
  ChannelFrame& ch = f->ch[c];
  const bool cpl = c == f->channels;
  for (int b = 0; b < kBlocks; ++b) {
    const MaskDelta* delta = f->DeltaOf(c, b);
    if (b > 0 && f->SameMaskingInputs(c, b)) ch.masking[b] = ch.masking[b - 1];
    else if (cpl)
      ComputeMasking(ch.exp[b], ch.start, ch.end, f->FastGainCode(c), f->ba, &ch.masking[b],
                     f->cplfleak, f->cplsleak, delta);
    else
      ComputeMasking(ch.exp[b], 0, ch.end, f->FastGainCode(c), f->ba, &ch.masking[b], 0, 0,
                     delta);
  }
}

// Adds the rematrixed pair's masking relief (RematrixMaskRelief) to the weaker channel's
// deltas in every block and derives its masking again. In the relieved bands the weaker
// channel takes the stronger one's delta plus the relief, so that where the stronger's curve
// is lowered around an attack, the weaker's follows it. A block whose delta would then need
// more segments than the syntax carries keeps its delta without the relief.
void RelieveRematrixedPair(FrameData* f) {
  // The curves without the deltas they already carry (the attack boost).
  int16_t plain[2][kBlocks][ac3::kBands];
  const int16_t* masks[2][kBlocks];
  for (int c = 0; c < 2; ++c)
    for (int b = 0; b < kBlocks; ++b) {
      std::copy(f->ch[c].masking[b].mask, f->ch[c].masking[b].mask + ac3::kBands, plain[c][b]);
      ApplyMaskDelta(NegatedMaskDelta(f->dba[b][c]), 0, ac3::kBands, plain[c][b]);
      masks[c][b] = plain[c][b];
    }
  MaskDelta relief[2];
  RematrixMaskRelief(masks[0], masks[1], f->rematflg, kBlocks,
                     std::min(f->ch[0].end, f->ch[1].end), relief);
  for (int c = 0; c < 2; ++c) {
    if (!relief[c].Any()) continue;
    for (int b = 0; b < kBlocks; ++b) {
      const MaskDelta combined = FollowingMaskDelta(f->dba[b][c], f->dba[b][1 - c], relief[c]);
      DeltaSegments segments;
      if (MakeDeltaSegments(combined, &segments)) f->dba[b][c] = combined;
    }
    ComputeChannelMasking(f, c);
  }
  f->NoteDeltaAllocation();
}

// Channels whose attack a block boosts by delta bit allocation leave coupling for the frame, so
// that the boost reaches all of their band; the frame stays coupled while two channels remain.
void LeaveBoostedChannelsUncoupled(FrameData* f) {
  int coupled = 0;
  for (int c = 0; c < f->nfch; ++c) {
    for (int b = 0; b < kBlocks; ++b) f->chincpl[c] = f->chincpl[c] && !f->dba[b][c].Any();
    coupled += f->chincpl[c];
  }
  f->cplinu = coupled >= 2;
}

}  // namespace

void FrameData::NoteDeltaAllocation() {
  uses_delta_allocation = false;
  for (int i = 0; i <= nfch; ++i) {
    uses_delta_allocation |= dba_carried[i].Any();
    for (int b = 0; b < kBlocks; ++b) uses_delta_allocation |= dba[b][i].Any();
  }
}

void FrameData::CarryDeltaAllocation() {
  for (int c = 0; c < nfch; ++c) dba_carried[c] = dba[kBlocks - 1][c];
  // A frame without coupling says nothing of the coupling channel's delta.
  if (cplinu) dba_carried[nfch] = dba[kBlocks - 1][nfch];
}

bool DropAttackBoosts(FrameData* f) {
  bool any = false;
  for (int b = 0; b < kBlocks; ++b) {
    any |= f->snr_boost[b] != 0;
    f->snr_boost[b] = 0;
    for (int c = 0; c <= f->nfch; ++c) {
      any |= f->dba[b][c].Any();
      f->dba[b][c] = MaskDelta();
    }
  }
  if (!any) return false;
  for (int c = 0; c < f->AllocChannels(); ++c) ComputeChannelMasking(f, c);
  if (f->acmod == 2) RelieveRematrixedPair(f);
  f->NoteDeltaAllocation();
  return true;
}

void AnalyzeFrame(const float* const* input, const BlockAttack attacks[][kBlocks],
                  const CodingPlan& plan, FrameData* f) {
  f->fgaincod = plan.fgaincod;
  f->lfe_fgaincod = plan.lfe_fgaincod;
  f->ba.dbpbcod = plan.dbpbcod;
  f->ba.fdcycod = plan.fdcycod;
  f->cplfit = plan.cplfit;
  f->cplinu = plan.coupling && f->acmod >= 2 &&
              MakeCouplingLayout(plan.cplbegf, plan.cplendf, &f->cpl);
  f->spxinu = plan.spx;
  if (f->spxinu) f->spx = plan.spx_layout;
  for (int c = 0; c < f->channels; ++c) {
    ChannelFrame& ch = f->ch[c];
    ch.lfe = f->lfe && c == f->nfch;
    ch.start = 0;
    ch.chbwcod = plan.chbwcod;
    static_assert(kBlocks <= kMaxWindowRiseBlocks, "one call takes a frame's blocks");
    if (ch.lfe) std::fill(ch.window_rise, ch.window_rise + kBlocks, 0.0f);
    else WindowRises(input[c], kBlocks, ch.window_rise);
    for (int b = 0; b < kBlocks; ++b) {
      NoteAttack(attacks[c][b], b, plan.block_switching, &ch);
      const float* x = input[c] + b * ac3::kBlockSamples;
      if (ch.blksw[b]) MdctShort(x, ch.coef[b]);
      else MdctLong(x, ch.coef[b]);
    }
  }
  int programme_end = UpdateContentEnds(f);
  if (!plan.spx) programme_end = EndClearlyTonalChannels(plan, programme_end, f);
  programme_end = EndStarvedSteadyChannels(plan, programme_end, f);
  if (f->spxinu) {
    ChooseExtendedChannels(plan, f);
    if (f->spxinu) LeaveExtensionWithoutContent(programme_end, f);
    if (!f->spxinu && f->cplinu) MakeCouplingLayout(f->cpl.begf, plan.cplendf_alone, &f->cpl);
  }
  if (f->cplinu && !f->spxinu && PannedPair(*f, plan.cplbegf))
    MakeCouplingLayout(0, f->cpl.endf, &f->cpl);
  if (!f->spxinu) EndBandsWithContent(plan, programme_end, f);
  auto uncoupled_end = [&](int c) {
    return f->spxinu && f->chinspx[c] ? f->spx.begin : ac3::ChannelEndMant(f->ch[c].chbwcod);
  };
  for (int c = 0; c < f->channels; ++c) {
    ChannelFrame& ch = f->ch[c];
    ch.end = ch.lfe ? ac3::kLfeEndMant : f->cplinu ? f->cpl.end : uncoupled_end(c);
  }
  MarkAttackBlocks(plan, f);
  // The extension's coordinates measure the whole spectrum; after them, bins past the
  // bandwidth are not coded: clear them so nothing downstream sees them. Until coupling is
  // decided, a channel keeps its own band too, should that reach past the coupling range.
  if (f->spxinu) ExtendFrame(plan, f);
  for (int c = 0; c < f->channels; ++c) {
    ChannelFrame& ch = f->ch[c];
    const int kept = f->cplinu && !ch.lfe ? std::max(ch.end, uncoupled_end(c)) : ch.end;
    for (int b = 0; b < kBlocks; ++b) std::fill(ch.coef[b] + kept, ch.coef[b] + 256, 0.0f);
  }
  if (f->cplinu) {
    // Nothing to share, or fewer than two channels alike enough to share it: the frame goes
    // without coupling. Channels left out keep their own mantissas up to their bandwidth.
    f->cplinu = !(plan.attack_frames_uncoupled && AnyBlockAroundAttack(*f)) &&
                !CoupledBandSilent(*f) &&
                ChooseCoupledChannels(*f, plan.cpl_min_coherence, f->chincpl);
    if (f->cplinu && plan.attack_channels_uncoupled) LeaveBoostedChannelsUncoupled(f);
    for (int c = 0; c < f->nfch; ++c) {
      ChannelFrame& ch = f->ch[c];
      if (!(f->cplinu && f->chincpl[c])) {
        f->chincpl[c] = false;
        ch.end = uncoupled_end(c);
      }
      for (int b = 0; b < kBlocks; ++b) std::fill(ch.coef[b] + ch.end, ch.coef[b] + 256, 0.0f);
    }
  } else {
    std::fill(f->chincpl, f->chincpl + kMaxCplChannels, false);
  }
  if (f->cplinu) CoupleFrame(f);
  if (f->acmod == 2) {
    // With coupling the rematrixing bands stop at cplstrtmant (section 7.5.2).
    float* left[kBlocks];
    float* right[kBlocks];
    for (int b = 0; b < kBlocks; ++b) {
      left[b] = f->ch[0].coef[b];
      right[b] = f->ch[1].coef[b];
    }
    RematrixFrame(left, right, kBlocks, f->ch[0].end, f->around_attack, f->rematflg);
  }
  const int n = f->AllocChannels();
  for (int c = 0; c < n; ++c)
    for (int b = 0; b < kBlocks; ++b) ExtractExponents(f->ch[c].coef[b], 256, f->ch[c].exp[b]);
  ChooseFrameStrategies(plan, f);
  for (int c = 0; c < n; ++c) {
    ChannelFrame& ch = f->ch[c];
    const bool cpl = c == f->channels;
    if (cpl) ShareAndCodeCoupling(ch.exp, ch.strategy, ch.start, ch.end);
    else ShareAndCode(ch.exp, ch.strategy, kBlocks, ch.end);
    ComputeChannelMasking(f, c);
  }
  if (f->acmod == 2) RelieveRematrixedPair(f);
}

}  // namespace ddpi::enc
