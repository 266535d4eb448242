#include "enc_block_syntax.h"

namespace ddpi::enc {

void WriteBlockOpening(BitWriter* bw, const FrameData& f, int block, bool switch_flags) {
  if (switch_flags)
    for (int c = 0; c < f.nfch; ++c) bw->Put(f.ch[c].blksw[block], 1);
  for (int c = 0; c < f.nfch; ++c) bw->Put(f.dithflag[c][block], 1);
  for (int prog = 0; prog < (f.acmod == 0 ? 2 : 1); ++prog) {
    const bool dynrnge = f.DynrngChanges(block);
    bw->Put(dynrnge, 1);
    if (dynrnge) bw->Put(f.drc.dynrng[block] & 0xff, 8);
  }
}

void WriteExponents(BitWriter* bw, const ChannelFrame& ch, int block) {
  const ExpStrategy s = ch.strategy[block];
  if (s == kExpReuse) return;
  uint8_t absexp;
  uint8_t groups[256];
  const int count = GroupExponents(ch.exp[block], ch.end, s, &absexp, groups);
  bw->Put(absexp, 4);
  for (int g = 0; g < count; ++g) bw->Put(groups[g], 7);
  if (!ch.lfe) bw->Put(0, 2);  // gainrng
}

void WriteBitAllocParams(BitWriter* bw, const BitAllocParams& ba) {
  bw->Put(ba.sdcycod, 2);
  bw->Put(ba.fdcycod, 2);
  bw->Put(ba.sgaincod, 2);
  bw->Put(ba.dbpbcod, 2);
  bw->Put(ba.floorcod, 3);
}

void WriteCouplingCoords(BitWriter* bw, const FrameData& f, int block, bool explicit_cplcoe) {
  for (int c = 0; c < f.nfch; ++c) {
    if (!f.chincpl[c]) continue;
    if (explicit_cplcoe) bw->Put(f.cplcoe[block], 1);
    if (!f.cplcoe[block]) continue;
    const CouplingCoords& co = f.coords[block][c];
    bw->Put(co.mstrcplco, 2);
    for (int bnd = 0; bnd < f.cpl.bands; ++bnd) {
      bw->Put(co.exp[bnd], 4);
      bw->Put(co.mant[bnd], 4);
    }
  }
  // acmod 2: phsflginu is 0, so no phase flags follow.
}

void WriteCouplingExponents(BitWriter* bw, const FrameData& f, int block) {
  const ChannelFrame& cpl = f.cplch();
  const ExpStrategy s = cpl.strategy[block];
  if (s == kExpReuse) return;
  uint8_t absexp;
  uint8_t groups[256];
  const int count = GroupCouplingExponents(cpl.exp[block], cpl.start, cpl.end, s, &absexp, groups);
  bw->Put(absexp, 4);
  for (int g = 0; g < count; ++g) bw->Put(groups[g], 7);
}

// Mantissas in stream order: each channel's, the coupling channel's right after those of the
// first coupled channel (section 5.4.3.61).
void WriteMantissas(BitWriter* bw, FrameData& f, int block, MantissaPacker* packer) {
  const ChannelFrame& cpl = f.ch[f.channels];
  const int cs = cpl.start;
  const int first = f.cplinu ? f.FirstCoupled() : -1;
  packer->Begin();
  for (int c = 0; c < f.channels; ++c) {
    packer->AddChannel(f.ch[c].bap[block], f.ch[c].mant[block], f.ch[c].end);
    if (c == first) packer->AddChannel(cpl.bap[block] + cs, cpl.mant[block] + cs, cpl.end - cs);
  }
  packer->Finish(bw);
}

}  // namespace ddpi::enc
