#include "enc_spx_choice.h"

#include <algorithm>
#include <cmath>

#include "enc_flatness.h"

namespace ddpi::enc {
namespace {

// Spectral extension around attacks and on tonal upper bands (see ExtendFrame and
// ChooseExtendedChannels).
// Runs holding an attack take no noise: the decoder spreads its noise over the whole block,
// which puts it ahead of the attack (pre-echo median over 102 attacks 12 -> 9 dB).
constexpr int kSpxTransientBlend = 31;
// Share of the original's energy rebuilt in the blocks around an attack. Pre-echo over the 92
// attacks of six stereo items, 90th percentile, with the finer quantization there: E-AC-3 2.0
// 96k 16.2 -> 12.8 dB, 128k 15.0 -> 12.7 dB, PEAQ within 0.02; rebuilding nothing there
// reached 12.2 / 11.9 dB but cost a 5.1 percussion mix 0.16 at 192k (this: 0.06). Claps in
// dense applause that stay on long transforms (WindowRise over 16) rebuilt the same way, in
// their block and the next, lowered E-AC-3 5.1 192k's pre-echo median from 6.0 to 5.2 dB and
// its worst attack against FFmpeg's from +4.6 to +4.0 dB (the surrounds' claps in the film
// mix), but the duller claps cost applause at 2.0 96k 0.12 advanced and the film mix 0.05
// (PEAQ means down by up to 0.013); at half the energy the means held within 0.006 and 192k's
// worst attack stayed at +4.0 (the percussion mix's first pluck, not the extension's).
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

}  // namespace

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
      for (int b = first; b < last; ++b) transient |= f->ch[c].attack[b];
      f->spx_coords[first][c].blend =
          static_cast<uint8_t>(transient ? kSpxTransientBlend : plan.spx_blend);
    }
  });
}

// Spectral flatness of channel c's original extended range over the frame.
double ExtendedRangeFlatness(const FrameData& f, int c) {
  return SpectralFlatness(f.ch[c].Blocks().block, kBlocks, f.spx.begin, f.spx.end, 1e-12);
}

// Which channels the extension rebuilds in this frame. A channel whose upper band holds stable
// partials keeps its own mantissas up to its bandwidth instead: copied from below, its partials
// would land on the wrong frequencies, an inharmonic band that grades worse than an empty one
// (pitch pipe at E-AC-3 2.0 96k: -3.58 with the band rebuilt, -3.59 with it rebuilt at a
// twentieth of its energy, -2.71 without it). Two tests say so: a frame whose band holds a few
// partials and little else (ExtendedRangeFlatness under kSpxTonalFlatness), and, where the
// extension does not yield to coupling, a channel whose band has been peaked over the last
// frames (TonalityTracker). PEAQ, ours minus FFmpeg, basic / advanced, with the tracker:
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
    for (int c = 0; c < f->nfch; ++c)
      f->upper_band_tonality[c].Update(
          LocalFlatness(f->ch[c].Blocks().block, kBlocks, f->spx.begin, f->spx.end));
  }
  bool any = false;
  for (int c = 0; c < f->nfch; ++c) {
    if (f->cplinu && !yield_to_coupling) {
      f->chinspx[c] = true;
      any = true;
      continue;
    }
    const bool tonal = (!yield_to_coupling && f->upper_band_tonality[c].tonal()) ||
                       ExtendedRangeFlatness(*f, c) < kSpxTonalFlatness;
    if (f->cplinu && tonal) {
      std::fill(f->chinspx, f->chinspx + kMaxCplChannels, false);
      f->spxinu = false;
      return;
    }
    f->chinspx[c] = !tonal;
    any |= f->chinspx[c];
    if (!yield_to_coupling && f->upper_band_tonality[c].clearly_tonal())
      f->ch[c].chbwcod = std::min(f->ch[c].chbwcod, plan.tonal_chbwcod);
  }
  f->spxinu = any;
}

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
