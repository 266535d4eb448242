#include "enc_frame_eac3.h"

#include <algorithm>

#include "ac3_tables.h"
#include "enc_allocate.h"
#include "enc_block_syntax.h"
#include "crc16.h"
#include "enc_bsi.h"
#include "enc_spx_choice.h"

namespace ddpi::enc {
namespace {

constexpr int kTrailerBits = 18;  // auxdatae, crcrsv, crc2

// audfrm(): frame-level strategy flags. Every block carries its own exponent strategies,
// dither flags and, in frames with a short block, block switch flags (blkswe); bit allocation
// parameters are sent where they differ from the defaults; one SNR offset pair serves the whole
// frame.
void WriteAudioFrame(BitWriter* bw, const FrameData& f, bool dependent, bool blkswe) {
  bw->Put(1, 1);  // expstre
  // ahte: no channel uses the adaptive hybrid transform. Measured with one (each steady
  // channel's bins coded by the DCT across the six blocks, through the codebooks and plain
  // scalar mantissas, without gain-adaptive quantisation), PEAQ, ours minus FFmpeg, basic /
  // advanced: E-AC-3 2.0 128k +0.48 / +0.24 -> -0.05 / -0.24, 96k +1.10 / +1.39 -> +0.52 /
  // +0.66. The transform's values are the blocks' means, so a scalar mantissa of the same bits
  // carries six times (7.8 dB) the noise of a plain one at the same allocation address; and a
  // decoder fills every zero-bit bin of such a channel with noise of 0.707 times its exponent's
  // step whatever its dithflag, 4.8 dB above the plain dither, which between a tone's partials
  // lies well above the signal. Kept to frames whose zero-bit bins hold that much energy:
  // +0.28 / +0.04 at 128k; to frames that need no scalar mantissas: almost never used.
  // With gain-adaptive quantisation it lost too, on every tonal item (reed, pitch pipe,
  // harpsichord at 128k): a steady partial's coefficient alternates from block to block, so
  // the DCT leaves -13 to -20 dB of it in the other values, at the quantiser's step at these
  // rates; matched for noise, the reed needed 13-30% more bits (bench/quality/FINDINGS.md).
  bw->Put(0, 1);  // ahte
  bw->Put(0, 2);  // snroffststr: frame SNR offsets
  bw->Put(0, 1);  // transproce
  bw->Put(blkswe, 1);
  bw->Put(1, 1);  // dithflage
  bw->Put(!f.ba.IsDefault(), 1);  // bamode: else the default bit allocation parameters
  bw->Put(f.SendsFastGainCodes(), 1);  // frmfgaincode: blocks may send fast gain codes, else all 4
  bw->Put(f.uses_delta_allocation, 1);  // dbaflde
  bw->Put(0, 1);  // skipflde
  bw->Put(0, 1);  // spxattene
  if (f.acmod > 1) {
    bw->Put(f.cplinu, 1);  // cplinu[0] (cplstre[0] is implied)
    for (int blk = 1; blk < kBlocks; ++blk) bw->Put(0, 1);  // cplstre: block 0's holds
  }
  for (int blk = 0; blk < kBlocks; ++blk) {
    if (f.cplinu) bw->Put(f.cplch().strategy[blk], 2);  // cplexpstr
    for (int c = 0; c < f.nfch; ++c) bw->Put(f.ch[c].strategy[blk], 2);
  }
  if (f.lfe)
    for (int blk = 0; blk < kBlocks; ++blk) bw->Put(f.ch[f.nfch].strategy[blk] != kExpReuse, 1);
  // Six-block frames always carry the converter exponent strategies (convexpstre implied):
  // index 0 of Table E2.10 for every channel, meaningful only to a converter to AC-3.
  // Dependent substreams have no AC-3 counterpart and carry none.
  if (!dependent)
    for (int c = 0; c < f.nfch; ++c) bw->Put(0, 5);  // convexpstr
  bw->Put(f.csnroffst, 6);  // frmcsnroffst
  bw->Put(f.fsnroffst[0], 4);  // frmfsnroffst: every channel's (AllocateFrame keeps them equal)
  bw->Put(0, 1);  // blkstrtinfoe
}

// Coupling strategy of block 0 (Annex E, audblk): no enhanced coupling; channels in coupling
// (implied in 2/0), no phase flags, the range and an explicit band structure.
void WriteCouplingStrategy(BitWriter* bw, const FrameData& f) {
  bw->Put(0, 1);  // ecplinu
  if (f.acmod != 2)
    for (int c = 0; c < f.nfch; ++c) bw->Put(f.chincpl[c], 1);  // chincpl
  if (f.acmod == 2) bw->Put(0, 1);  // phsflginu
  bw->Put(f.cpl.begf, 4);
  if (!f.spxinu) bw->Put(f.cpl.endf, 4);  // else the range ends where the extension begins
  bw->Put(1, 1);                          // cplbndstrce
  for (int k = 1; k < f.cpl.subbands; ++k) bw->Put(f.cpl.bndstrc[k], 1);
}

// Spectral extension strategy of block 0: every full-bandwidth channel extended, the range
// and an explicit band structure.
void WriteSpxStrategy(BitWriter* bw, const FrameData& f) {
  if (f.acmod != 1)
    for (int c = 0; c < f.nfch; ++c) bw->Put(f.chinspx[c], 1);
  bw->Put(f.spx.strtf, 2);
  bw->Put(f.spx.begf, 3);
  bw->Put(f.spx.endf, 3);
  bw->Put(1, 1);  // spxbndstrce
  for (int s = f.spx.first_subband + 1; s < f.spx.last_subband; ++s) bw->Put(f.spx.bndstrc[s], 1);
}

// Coordinates of the block; in block 0 they are implied new (firstspxcos).
void WriteSpxCoords(BitWriter* bw, const FrameData& f, int blk) {
  for (int c = 0; c < f.nfch; ++c) {
    if (!f.chinspx[c]) continue;
    if (blk != 0) bw->Put(f.spxcoe[blk], 1);
    if (!f.spxcoe[blk]) continue;
    const SpxCoords& co = f.spx_coords[blk][c];
    bw->Put(co.blend, 5);
    bw->Put(co.master, 2);
    for (int bnd = 0; bnd < f.spx.bands; ++bnd) {
      bw->Put(co.exp[bnd], 4);
      bw->Put(co.mant[bnd], 2);
    }
  }
}

// False when the block's delta bit allocation cannot be written.
bool WriteBlock(BitWriter* bw, FrameData& f, int blk, MaskDelta* dba_state, MantissaPacker* packer,
                bool dependent, bool blkswe) {
  const int nfch = f.nfch;
  WriteBlockOpening(bw, f, blk, blkswe);
  if (blk == 0) {
    bw->Put(f.spxinu, 1);  // spxinu (spxstre implied in block 0)
    if (f.spxinu) WriteSpxStrategy(bw, f);
  } else {
    bw->Put(0, 1);  // spxstre: block 0's holds
  }
  if (f.spxinu) WriteSpxCoords(bw, f, blk);
  if (f.cplinu) {
    if (blk == 0) WriteCouplingStrategy(bw, f);
    // The frame's first coordinates are implied new (firstcplcos).
    WriteCouplingCoords(bw, f, blk, blk != 0);
  }
  if (f.acmod == 2) {
    const bool rematstr = f.RematrixChanges(blk);
    if (blk != 0) bw->Put(rematstr, 1);  // implied in block 0
    if (rematstr)
      for (int band = 0; band < f.RematrixBands(); ++band) bw->Put(f.rematflg[blk][band], 1);
  }
  for (int c = 0; c < nfch; ++c)
    if (!f.chincpl[c] && !(f.spxinu && f.chinspx[c]) && f.ch[c].strategy[blk] != kExpReuse)
      bw->Put(f.ch[c].chbwcod, 6);
  if (f.cplinu) WriteCouplingExponents(bw, f, blk);
  for (int c = 0; c < f.channels; ++c) WriteExponents(bw, f.ch[c], blk);
  if (!f.ba.IsDefault()) {
    bw->Put(blk == 0, 1);  // baie: the parameters are sent in block 0 and kept
    if (blk == 0) WriteBitAllocParams(bw, f.ba);
  }
  if (f.SendsFastGainCodes()) {
    // The codes are the same all frame: block 0 sends them, later blocks keep them.
    bw->Put(blk == 0, 1);  // fgaincode
    if (blk == 0) {
      if (f.cplinu) bw->Put(f.FastGainCode(f.channels), 3);  // cplfgaincod
      for (int c = 0; c < f.channels; ++c) bw->Put(f.FastGainCode(c), 3);
    }
  }
  if (!dependent) bw->Put(0, 1);  // convsnroffste: independent substreams only
  if (f.cplinu) {
    // Block 0's leaks are implied present (firstcplleak); later blocks keep them.
    if (blk != 0) bw->Put(0, 1);  // cplleake
    if (blk == 0) {
      bw->Put(f.cplfleak, 3);
      bw->Put(f.cplsleak, 3);
    }
  }
  if (f.uses_delta_allocation &&
      !WriteDeltaAllocation(bw, f.dba[blk], dba_state, nfch, f.cplinu, blk == 0))
    return false;
  // skipflde is 0: no skip fields.
  if (packer) WriteMantissas(bw, f, blk, packer);
  return true;
}

// False when the frame's delta bit allocation cannot be written.
bool WriteFrame(BitWriter* bw, const EncoderConfig& cfg, FrameData& f, MantissaPacker* packer) {
  bw->Put(0x0B77, 16);
  WriteEac3Bsi(bw, cfg, ac3::FrameWords48k(cfg.kbps), f.drc);
  // Block switch flags only in frames that switch a block (blkswe), decided once for the
  // frame header and every block.
  const bool blkswe = f.AnyShortBlock();
  WriteAudioFrame(bw, f, cfg.substream.dependent, blkswe);
  MaskDelta dba_state[kMaxCplChannels + 1];
  std::copy(f.dba_carried, f.dba_carried + kMaxCplChannels + 1, dba_state);
  for (int blk = 0; blk < kBlocks; ++blk)
    if (!WriteBlock(bw, f, blk, dba_state, packer, cfg.substream.dependent, blkswe)) return false;
  return true;
}

}  // namespace

bool EncodeEac3Frame(const EncoderConfig& cfg, FrameData* f, MantissaPacker* packer,
                     uint8_t* out) {
  const int frame_bytes = ac3::FrameWords48k(cfg.kbps) * 2;
  auto allocate = [&] {
    BitWriter counter;
    if (!WriteFrame(&counter, cfg, *f, nullptr)) return false;
    const int budget = frame_bytes * 8 - static_cast<int>(counter.position()) - kTrailerBits;
    return budget >= 0 && AllocateFrame(budget, budget, false, f);
  };
  // At the lowest rates the boosts' deltas can leave no room: the frame then goes without.
  if (!allocate() && !(DropAttackBoosts(f) && allocate())) return false;
  if (f->spxinu) MatchSpxToDecodedCopies(f);

  BitWriter bw(out, frame_bytes);
  WriteFrame(&bw, cfg, *f, packer);
  f->CarryDeltaAllocation();
  bw.PadTo(static_cast<size_t>(frame_bytes) * 8 - kTrailerBits);
  bw.Put(0, 1);   // auxdatae
  bw.Put(0, 1);   // crcrsv
  bw.Put(0, 16);  // crc2
  if (bw.overflowed() || bw.position() != static_cast<size_t>(frame_bytes) * 8) return false;
  const uint16_t crc = Crc16(out + 2, frame_bytes - 4);
  out[frame_bytes - 2] = static_cast<uint8_t>(crc >> 8);
  out[frame_bytes - 1] = static_cast<uint8_t>(crc);
  return true;
}

}  // namespace ddpi::enc
