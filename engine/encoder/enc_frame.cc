#include "enc_frame.h"

#include <algorithm>

#include "ac3_tables.h"
#include "enc_attack_blocks.h"
#include "enc_band_ends.h"
#include "enc_coupling_choice.h"
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
    ChooseFrameCoupling(plan, f);
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
