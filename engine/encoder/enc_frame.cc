#include "enc_frame.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "ac3_tables.h"
#include "enc_flatness.h"
#include "enc_mdct.h"
#include "enc_transient.h"

namespace ddpi::enc {
namespace {

// E-AC-3 says the plan's attack boost (see PlanForRate) through delta bit allocation.
constexpr int kBoostPerDeltaStep = 32;  // a delta step is 6 dB, as are 32 SNR index units

// Quarters of a block's new samples in which an exposed attack counts as early (see
// kEarlyAttackBoost).
constexpr int kEarlyAttackQuarters = 2;
// How far an exposed attack rises over what precedes it to count as rising out of near
// silence (see kSilentAttackBoost): 20 dB in the detector's high band.
constexpr float kSilentAttackRise = 100;

// Spectral extension around attacks and on tonal upper bands (see ExtendFrame and
// ChooseExtendedChannels).
// Runs holding short blocks take no noise: the decoder spreads its noise over the whole block,
// which puts it ahead of the attack (pre-echo median over 102 attacks 12 -> 9 dB).
constexpr int kSpxTransientBlend = 31;
// Share of the original's energy rebuilt in the blocks around an attack. Pre-echo over the 92
// attacks of six stereo items, 90th percentile, with the finer quantization there: E-AC-3 2.0
// 96k 16.2 -> 12.8 dB, 128k 15.0 -> 12.7 dB, PEAQ within 0.02; rebuilding nothing there
// reached 12.2 / 11.9 dB but cost a 5.1 percussion mix 0.16 at 192k (this: 0.06).
constexpr double kSpxAttackEnergy = 0.25;
// A block whose extended range, measured against what is copied into it (SpxRangeOverCopy), has
// risen more than kSpxRunRise times over the first block of its run of coordinates starts a new
// run: the upper band has risen where the band below it did not (a hi-hat over a held chord), and
// coordinates shared with the blocks before would spread its energy over them and leave the rise
// itself short. PEAQ, ours minus FFmpeg, basic / advanced: E-AC-3 2.0 96k +1.04 / +1.37 -> +1.04 /
// +1.40 (drums, metal and rock +0.03 to +0.05 / +0.13 to +0.16; electronic music -0.03 / -0.05),
// 128k +0.47 / +0.21 -> +0.47 / +0.22, 5.1 192k +0.64 / +0.50 -> +0.65 / +0.52, 256k within 0.01;
// the held-out music at 96k +0.33 / +0.97 -> +0.39 / +1.00 (brass +0.39 basic), at 128k within
// 0.01. A new run where the ratio fell as well cost the electronic music 0.12 / 0.17; rises of 2.5
// times gained as much on the drums and lost more elsewhere, 8 times gained less.
constexpr double kSpxRunRise = 4.0;
// Flatness of the original's upper band below which a channel keeps its mantissas there
// (2.0 96k: 0.002 -> +0.06 mean ODG, glockenspiel -3.76 -> -2.66; from 0.02 up the gate took
// noisy frames too and lost).
constexpr double kSpxTonalFlatness = 0.002;

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

// Sums of products of every pair of full-bandwidth channels over the frame's coupling range:
// enough to know how any subset of them correlates with its sum.
struct CouplingGram {
  double g[kMaxCplChannels][kMaxCplChannels] = {};
};

CouplingGram CouplingProducts(const FrameData& f) {
  CouplingGram gram;
  for (int j = 0; j < f.nfch; ++j)
    for (int k = j; k < f.nfch; ++k) {
      double sum = 0;
      for (int b = 0; b < kBlocks; ++b) {
        const float* x = f.ch[j].coef[b];
        const float* y = f.ch[k].coef[b];
        float block = 0;
        for (int i = f.cpl.start; i < f.cpl.end; ++i) block += x[i] * y[i];
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
  const CouplingGram gram = CouplingProducts(f);
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

// Calls run(first, last) for each run of blocks [first, last) sharing one set of spectral
// extension coordinates (a run starts where spxcoe is set).
template <typename Run>
void ForEachSpxRun(const FrameData& f, Run run) {
  for (int first = 0; first < kBlocks;) {
    int last = first + 1;
    while (last < kBlocks && !f.spxcoe[last]) ++last;
    run(first, last);
    first = last;
  }
}

// An attack lands in the new half of a block that switches to short transforms; the next
// block's long transform spans it too and spreads its quantization noise over the samples
// before it. Where the attack is exposed (see kExposedAttackRise), both blocks get the
// plan's attack boost, paid for by the frame's other blocks: more SNR index for every channel
// (AC-3's coarse offset is shared), or the masking curves of the channels that hold the
// attack lower by as many delta steps. The block of an exposed attack that lands early in it
// takes the plan's early boost on top, and both blocks of one that rises out of near silence
// the plan's silence boost. Deltas go to the full-bandwidth channels only: FFmpeg's decoder
// counts the coupling channel's segments from the coupling range's first band, and segments
// counted from band 0 fail there, so until the counting is settled the coupling channel's
// curve is left alone.
void MarkAttackBlocks(const CodingPlan& plan, FrameData* f) {
  const bool boost = plan.attack_boost > 0;
  auto boost_of = [&plan](bool early, bool silent) {
    return plan.attack_boost + (early ? plan.early_attack_boost : 0) +
           (silent ? plan.silent_attack_boost : 0);
  };
  for (int b = 0; b < kBlocks; ++b) {
    f->around_attack[b] = false;
    bool exposed_in_block[kMaxCplChannels] = {};
    bool silent_in_block[kMaxCplChannels] = {};
    bool any_exposed = false, any_silent = false;
    for (int c = 0; c < f->nfch; ++c) {
      const ChannelFrame& ch = f->ch[c];
      const bool short_before = b > 0 ? ch.blksw[b - 1] : f->last_block_short[c];
      const bool exposed_before = b > 0 ? ch.exposed_attack[b - 1] : f->last_block_exposed[c];
      const bool silent_before = b > 0 ? ch.silent_attack[b - 1] : f->last_block_silent[c];
      f->channel_around_attack[c][b] = ch.blksw[b] || short_before;
      f->around_attack[b] |= f->channel_around_attack[c][b];
      exposed_in_block[c] = ch.exposed_attack[b] || exposed_before;
      silent_in_block[c] = ch.silent_attack[b] || silent_before;
      any_exposed |= exposed_in_block[c];
      any_silent |= silent_in_block[c];
    }
    // Early and silent attacks are exposed ones, so any_exposed holds wherever they do.
    const bool early = std::any_of(f->ch, f->ch + f->nfch,
                                   [b](const ChannelFrame& ch) { return ch.early_attack[b]; });
    const bool by_delta = boost && plan.boost_by_delta, by_offset = boost && !by_delta;
    f->snr_boost[b] = by_offset && any_exposed ? boost_of(early, any_silent) : 0;
    std::fill(f->dba[b], f->dba[b] + kMaxCplChannels + 1, MaskDelta());
    if (by_delta)
      for (int c = 0; c < f->nfch; ++c)
        if (exposed_in_block[c])
          f->dba[b][c] = UniformMaskDelta(
              -boost_of(f->ch[c].early_attack[b], silent_in_block[c]) / kBoostPerDeltaStep);
  }
  for (int c = 0; c < f->nfch; ++c) {
    f->last_block_short[c] = f->ch[c].blksw[kBlocks - 1];
    f->last_block_exposed[c] = f->ch[c].exposed_attack[kBlocks - 1];
    f->last_block_silent[c] = f->ch[c].silent_attack[kBlocks - 1];
  }
  f->NoteDeltaAllocation();
}

// Prepares the spectral extension's coordinates of every extended channel: a new set in block
// 0, every plan.spx_run blocks, where a channel changes its transform length, where the
// blocks around an attack in a channel begin and end, and where a channel's upper band rises
// over its copy (kSpxRunRise), each to restore the plan's share of the original's energy
// (CodingPlan::spx_energy) over the run of blocks it serves, with its noise blend.
// MatchSpxToDecodedCopies computes the values once the copied mantissas are known. Around an
// attack the band is rebuilt at a quarter of that share (kSpxAttackEnergy): the copies' time
// aliasing does not cancel against the neighbouring blocks and lands ahead of the attack.
void ExtendFrame(const CodingPlan& plan, FrameData* f) {
  double range_over_copy[kMaxCplChannels][kBlocks] = {};
  for (int c = 0; c < f->nfch; ++c)
    if (f->chinspx[c])
      for (int b = 0; b < kBlocks; ++b)
        range_over_copy[c][b] = SpxRangeOverCopy(f->ch[c].coef[b], f->spx);
  int run_first = 0;
  for (int b = 0; b < kBlocks; ++b) {
    bool changed = b == 0 || b % plan.spx_run == 0;
    for (int c = 0; c < f->nfch && b > 0; ++c) {
      changed |= f->ch[c].blksw[b] != f->ch[c].blksw[b - 1];
      changed |= f->channel_around_attack[c][b] != f->channel_around_attack[c][b - 1];
      changed |= f->chinspx[c] &&
                 range_over_copy[c][b] > kSpxRunRise * range_over_copy[c][run_first];
    }
    f->spxcoe[b] = changed;
    if (changed) run_first = b;
  }
  ForEachSpxRun(*f, [&](int first, int last) {
    for (int c = 0; c < f->nfch; ++c) {
      if (!f->chinspx[c]) continue;
      double* target = f->spx_target[first][c];
      const float* coefs[kBlocks];
      for (int b = first; b < last; ++b) coefs[b - first] = f->ch[c].coef[b];
      SpxBandEnergies(coefs, last - first, f->spx, target, nullptr);
      const double share =
          plan.spx_energy * (f->channel_around_attack[c][first] ? kSpxAttackEnergy : 1.0);
      for (int band = 0; band < f->spx.bands; ++band) target[band] *= share;
      bool transient = false;
      for (int b = first; b < last; ++b) transient |= f->ch[c].blksw[b];
      f->spx_coords[first][c].blend =
          static_cast<uint8_t>(transient ? kSpxTransientBlend : plan.spx_blend);
    }
  });
}

// Spectral flatness of channel c's original extended range over the frame.
double ExtendedRangeFlatness(const FrameData& f, int c) {
  const float* coefs[kBlocks];
  for (int b = 0; b < kBlocks; ++b) coefs[b] = f.ch[c].coef[b];
  return SpectralFlatness(coefs, kBlocks, f.spx.begin, f.spx.end, 1e-12);
}

// Which channels the extension rebuilds in this frame. A channel whose upper band holds stable
// partials keeps its own mantissas up to its bandwidth instead: copied from below, its partials
// would land on the wrong frequencies, an inharmonic band that grades worse than an empty one
// (pitch pipe at E-AC-3 2.0 96k: -3.58 with the band rebuilt, -3.59 with it rebuilt at a
// twentieth of its energy, -2.71 without it). Two tests say so: a frame whose band holds a few
// partials and little else (ExtendedRangeFlatness under kSpxTonalFlatness), and, where the
// extension does not yield to coupling, a channel whose band has been peaked over the last
// frames (SpxTonalityTracker). PEAQ, ours minus FFmpeg, basic / advanced, with the tracker:
// E-AC-3 2.0 96k +0.87 / +1.27 -> +0.94 / +1.32 (pitch pipe -3.58 -> -2.80, harpsichord
// advanced -2.68 -> -2.34), 5.1 192k +0.42 / +0.50 -> +0.60 / +0.54 (tonal mix -3.28 ->
// -2.73), 256k +0.37 / +0.22 -> +0.42 / +0.27; no item lower by more than 0.05. The tracker
// alone on a frame's measure, without smoothing, lost: harpsichord -2.24 -> -2.52, glockenspiel
// -2.87 -> -3.15, each switching the band on and off.
// A channel left out while clearly tonal also ends at kTonalBandwidthShare of the rate's
// bandwidth (plan.tonal_chbwcod): such tones are heard through their partials' own noise more
// than through the top of the band, and the bits go further below (FFmpeg's narrow band at
// these rates grades well on them). PEAQ: E-AC-3 2.0 96k +0.94 / +1.32 -> +1.01 / +1.34 (pitch
// pipe -2.80 -> -2.21, glockenspiel -2.75 -> -2.35, both now level with FFmpeg), 5.1 192k
// +0.60 / +0.54 -> +0.67 / +0.54, 256k +0.42 / +0.27 -> +0.49 / +0.25 (percussion advanced
// -0.18). Narrowing every tonal channel, not only the clear ones, cost rock_51 0.40 advanced at
// 192k (its guitar); 0.7 of the bandwidth cost harpsichord 0.6 advanced at 96k. Without a
// margin for turning back from clearly tonal (a pitch pipe measures about 0.2), 96k graded
// +1.00 / +1.32 and 256k +0.48 / +0.25.
// Coupled channels all take part, their coupling range ending where the extension begins.
// Where the coupling range alone would cover most of the extended range
// (plan.spx_yields_to_coupling), a frame with a tonal coupled channel goes without the
// extension: at E-AC-3 2.0 128k the glockenspiel grades -0.53 instead of -1.98 (PEAQ basic),
// nothing else moving by more than 0.05. The tracker neither decides nor runs there (pitch
// pipe -2.38 -> -2.75, harpsichord -1.55 -> -1.80 when it decided). Elsewhere (5.1 at 192k,
// whose coupling alone ends at 9 kHz) such a frame would lose its upper band: the film mix
// graded -3.44 against -2.59.
void ChooseExtendedChannels(const CodingPlan& plan, FrameData* f) {
  const bool yield_to_coupling = plan.spx_yields_to_coupling;
  // Where it decides, every channel's tracker follows every frame, whatever this frame decides.
  if (!yield_to_coupling) {
    for (int c = 0; c < f->nfch; ++c) {
      const float* coefs[kBlocks];
      for (int b = 0; b < kBlocks; ++b) coefs[b] = f->ch[c].coef[b];
      f->spx_tonality[c].Update(SpxLocalFlatness(coefs, kBlocks, f->spx));
    }
  }
  bool any = false;
  for (int c = 0; c < f->nfch; ++c) {
    if (f->cplinu && !yield_to_coupling) {
      f->chinspx[c] = true;
      any = true;
      continue;
    }
    const bool tonal = (!yield_to_coupling && f->spx_tonality[c].tonal()) ||
                       ExtendedRangeFlatness(*f, c) < kSpxTonalFlatness;
    if (f->cplinu && tonal) {
      std::fill(f->chinspx, f->chinspx + kMaxCplChannels, false);
      f->spxinu = false;
      return;
    }
    f->chinspx[c] = !tonal;
    any |= f->chinspx[c];
    if (!yield_to_coupling && f->spx_tonality[c].clearly_tonal())
      f->ch[c].chbwcod = std::min(f->ch[c].chbwcod, plan.tonal_chbwcod);
  }
  f->spxinu = any;
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

// A frame whose programme ends below the extended range goes without the extension: there is
// nothing to rebuild, and the coordinates and the band under them cost as much as elsewhere.
// In an uncoupled frame, a channel whose own content ends below the range leaves it (coupled
// channels all take part, see ChooseExtendedChannels).
void LeaveExtensionWithoutContent(int programme_end, FrameData* f) {
  if (programme_end <= f->spx.begin) {
    f->spxinu = false;
    return;
  }
  if (f->cplinu) return;
  bool any = false;
  for (int c = 0; c < f->nfch; ++c) {
    if (f->chinspx[c] && f->content_end[c] <= f->spx.begin) {
      f->chinspx[c] = false;
      const int code = ac3::BandwidthCodeReaching(f->content_end[c]);
      f->ch[c].chbwcod = std::min(f->ch[c].chbwcod, code);
    }
    any |= f->chinspx[c];
  }
  f->spxinu = any;
}

// In a frame without the extension, each channel's bandwidth code ends with its content and
// the coupling range with the programme's (left out when the programme ends below it).
void EndBandsWithContent(const CodingPlan& plan, int programme_end, FrameData* f) {
  for (int c = 0; c < f->nfch; ++c)
    f->ch[c].chbwcod = std::min(f->ch[c].chbwcod, ac3::BandwidthCodeReaching(f->content_end[c]));
  if (!f->cplinu) return;
  const int endf = std::min(plan.cplendf_alone, CouplingEndCodeReaching(programme_end));
  if (endf + 3 <= plan.cplbegf) f->cplinu = false;
  else if (endf < plan.cplendf_alone) MakeCouplingLayout(plan.cplbegf, endf, &f->cpl);
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

void AnalyzeFrame(const float* const* input, const BlockAttack attacks[][kBlocks],
                  const CodingPlan& plan, FrameData* f) {
  f->fgaincod = plan.fgaincod;
  f->lfe_fgaincod = plan.lfe_fgaincod;
  f->ba.dbpbcod = plan.dbpbcod;
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
    for (int b = 0; b < kBlocks; ++b) {
      ch.blksw[b] = !ch.lfe && attacks[c][b].present;
      ch.exposed_attack[b] = ch.blksw[b] && attacks[c][b].rise >= kExposedAttackRise;
      ch.early_attack[b] = ch.exposed_attack[b] && attacks[c][b].quarter < kEarlyAttackQuarters;
      ch.silent_attack[b] = ch.exposed_attack[b] && attacks[c][b].rise >= kSilentAttackRise;
      const float* x = input[c] + b * ac3::kBlockSamples;
      if (ch.blksw[b]) MdctShort(x, ch.coef[b]);
      else MdctLong(x, ch.coef[b]);
    }
  }
  const int programme_end = UpdateContentEnds(f);
  if (f->spxinu) {
    ChooseExtendedChannels(plan, f);
    if (f->spxinu) LeaveExtensionWithoutContent(programme_end, f);
    if (!f->spxinu && f->cplinu) MakeCouplingLayout(plan.cplbegf, plan.cplendf_alone, &f->cpl);
  }
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

namespace {

// The coefficients [begin, end) a decoder reconstructs for coded channel c in block b, before
// rematrixing: their own mantissas, or in the coupling range the coupling channel's scaled by
// the channel's coordinate for their band. A dithered zero-bit bin counts with the noise's
// RMS, which is what its energy will be on average.
void DecodeChannelRange(const FrameData& f, int c, int b, int begin, int end, float* out) {
  // 2^-e for every exponent the syntax carries.
  static const struct InversePowers {
    float v[32];
    InversePowers() {
      for (int e = 0; e < 32; ++e) v[e] = std::ldexp(1.0f, -e);
    }
  } kInverse;
  const bool coupled = f.cplinu && f.chincpl[c];
  const int own_end = coupled ? std::min(end, f.cpl.start) : end;
  for (int k = begin; k < own_end; ++k) {
    const ChannelFrame& ch = f.ch[c];
    const uint8_t bap = ch.bap[b][k];
    const float mantissa =
        bap == 0 && f.dithflag[c][b] ? kDitherRms : DequantizeMantissa(ch.mant[b][k], bap);
    out[k] = mantissa * kInverse.v[ch.exp[b][k] & 31];
  }
  if (own_end >= end) return;
  const ChannelFrame& cpl = f.cplch();
  int band = 0;
  for (int k = std::max(begin, own_end); k < end; ++k) {
    while (band + 1 < f.cpl.bands && k >= f.cpl.band_edge[band + 1]) ++band;
    const uint8_t bap = cpl.bap[b][k];
    const float mantissa =
        bap == 0 && f.dithflag[c][b] ? kDitherRms : DequantizeMantissa(cpl.mant[b][k], bap);
    out[k] = mantissa * kInverse.v[cpl.exp[b][k] & 31] * CoordValue(f.coords[b][c], band);
  }
}

// Decoded coefficients of channel c over the copy region, rematrixed back to left and right.
void DecodedCopyRegion(const FrameData& f, int c, int b, float* out) {
  std::fill(out, out + 256, 0.0f);
  const int begin = f.spx.copy_start, end = f.spx.begin;
  DecodeChannelRange(f, c, b, begin, end, out);
  if (f.acmod != 2) return;
  float sum[256], difference[256];
  bool decoded_pair = false;
  for (int k = begin; k < end; ++k) {
    const int band = RematrixBandOf(k);
    const bool rematrixed = band >= 0 && f.rematflg[b][band] &&
                            !(f.cplinu && f.chincpl[c] && k >= f.cpl.start);
    if (!rematrixed) continue;
    if (!decoded_pair) {
      DecodeChannelRange(f, 0, b, begin, end, sum);
      DecodeChannelRange(f, 1, b, begin, end, difference);
      decoded_pair = true;
    }
    out[k] = c == 0 ? sum[k] + difference[k] : sum[k] - difference[k];
  }
}

}  // namespace

void MatchSpxToDecodedCopies(FrameData* f) {
  float decoded[kBlocks][256];
  ForEachSpxRun(*f, [&](int first, int last) {
    for (int c = 0; c < f->nfch; ++c) {
      if (!f->chinspx[c]) continue;
      const float* blocks[kBlocks];
      for (int b = first; b < last; ++b) {
        DecodedCopyRegion(*f, c, b, decoded[b]);
        blocks[b - first] = decoded[b];
      }
      double copied[kMaxSpxSubbands];
      SpxBandEnergies(blocks, last - first, f->spx, nullptr, copied);
      float gain[kMaxSpxSubbands];
      SpxGainsFromEnergies(f->spx_target[first][c], copied, f->spx.bands, gain);
      SpxCoords& co = f->spx_coords[first][c];
      QuantizeSpxCoords(gain, f->spx.bands, &co);
      for (int b = first + 1; b < last; ++b) f->spx_coords[b][c] = co;
    }
  });
}

}  // namespace ddpi::enc
