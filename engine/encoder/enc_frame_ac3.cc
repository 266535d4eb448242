#include "enc_frame_ac3.h"

#include <algorithm>

#include "ac3_tables.h"
#include "enc_allocate.h"
#include "enc_block_syntax.h"
#include "crc16.h"
#include "enc_bsi.h"

namespace ddpi::enc {
namespace {

// Bits at the end of every frame: auxdatae, crcrsv and crc2.
constexpr int kTrailerBits = 18;

// Coupling strategy (section 5.4.3.7 ff.): sent in block 0 and kept for the frame; the
// channels in coupling, without phase flags.
void WriteCouplingStrategy(BitWriter* bw, const FrameData& f, int blk) {
  bw->Put(blk == 0, 1);  // cplstre
  if (blk != 0) return;
  bw->Put(f.cplinu, 1);
  if (!f.cplinu) return;
  for (int c = 0; c < f.nfch; ++c) bw->Put(f.chincpl[c], 1);
  if (f.acmod == 2) bw->Put(0, 1);                  // phsflginu
  bw->Put(f.cpl.begf, 4);
  bw->Put(f.cpl.endf, 4);
  for (int k = 1; k < f.cpl.subbands; ++k) bw->Put(f.cpl.bndstrc[k], 1);
}

// False when the block's delta bit allocation cannot be written.
bool WriteBlock(BitWriter* bw, const EncoderConfig& cfg, FrameData& f, int blk,
                MaskDelta* dba_state, MantissaPacker* packer) {
  const int nfch = f.nfch;
  WriteBlockOpening(bw, f, blk, true);
  WriteCouplingStrategy(bw, f, blk);
  if (f.cplinu) WriteCouplingCoords(bw, f, blk, true);
  if (f.acmod == 2) {
    const bool rematstr = f.RematrixChanges(blk);
    bw->Put(rematstr, 1);
    if (rematstr)
      for (int band = 0; band < f.RematrixBands(); ++band) bw->Put(f.rematflg[blk][band], 1);
  }
  if (f.cplinu) bw->Put(f.cplch().strategy[blk], 2);  // cplexpstr
  for (int c = 0; c < nfch; ++c) bw->Put(f.ch[c].strategy[blk], 2);
  if (f.lfe) bw->Put(f.ch[nfch].strategy[blk] != kExpReuse, 1);
  // chbwcod only for channels outside coupling.
  for (int c = 0; c < nfch; ++c)
    if (!f.chincpl[c] && f.ch[c].strategy[blk] != kExpReuse) bw->Put(f.ch[c].chbwcod, 6);
  if (f.cplinu) WriteCouplingExponents(bw, f, blk);
  for (int c = 0; c < f.channels; ++c) WriteExponents(bw, f.ch[c], blk);
  bw->Put(blk == 0, 1);  // baie
  if (blk == 0) WriteBitAllocParams(bw, f.ba);
  const bool new_offsets = f.NewSnrOffsets(blk);
  bw->Put(new_offsets, 1);  // snroffste
  if (new_offsets) {
    bw->Put(f.BlockCoarseOffset(blk), 6);
    if (f.cplinu) {
      bw->Put(f.fsnroffst[f.channels], 4);  // cplfsnroffst
      bw->Put(f.FastGainCode(f.channels), 3);  // cplfgaincod
    }
    for (int c = 0; c < f.channels; ++c) {
      bw->Put(f.fsnroffst[c], 4);
      bw->Put(f.FastGainCode(c), 3);
    }
  }
  if (f.cplinu) {
    bw->Put(blk == 0, 1);  // cplleake: the leaks are sent in block 0 and kept
    if (blk == 0) {
      bw->Put(f.cplfleak, 3);
      bw->Put(f.cplsleak, 3);
    }
  }
  if (!WriteDeltaAllocation(bw, f.dba[blk], dba_state, nfch, f.cplinu, blk == 0)) return false;
  bw->Put(0, 1);  // skiple
  if (packer) WriteMantissas(bw, f, blk, packer);
  return true;
}

// Writes the frame up to the auxiliary data; *early_end receives the position after block 1.
// False when the frame's delta bit allocation cannot be written.
bool WriteFrame(BitWriter* bw, const EncoderConfig& cfg, FrameData& f, MantissaPacker* packer,
                size_t* early_end) {
  bw->Put(0x0B77, 16);
  bw->Put(0, 16);  // crc1, filled in afterwards
  bw->Put(0, 2);   // fscod: 48 kHz
  bw->Put(Ac3FrameSizeCode(cfg.kbps), 6);
  WriteAc3Bsi(bw, cfg, f.drc);
  MaskDelta dba_state[kMaxCplChannels + 1];
  std::copy(f.dba_carried, f.dba_carried + kMaxCplChannels + 1, dba_state);
  for (int blk = 0; blk < kBlocks; ++blk) {
    if (!WriteBlock(bw, cfg, f, blk, dba_state, packer)) return false;
    if (blk == 1) *early_end = bw->position();
  }
  return true;
}

// Bytes of the first 5/8 of a frame, which crc1 covers (A/52 section 7.10.1).
int FirstFiveEighths(int frame_bytes) { return ((frame_bytes >> 2) + (frame_bytes >> 4)) << 1; }

}  // namespace

int Ac3FrameSizeCode(int kbps) {
  for (int i = 0; i < 19; ++i)
    if (ac3::kFrameSizeRates[i] == kbps) return 2 * i;
  return -1;
}

bool EncodeAc3Frame(const EncoderConfig& cfg, FrameData* f, MantissaPacker* packer,
                    uint8_t* out) {
  const int frame_bytes = ac3::FrameWords48k(cfg.kbps) * 2;
  size_t early_end = 0;
  auto allocate = [&] {
    BitWriter counter;
    if (!WriteFrame(&counter, cfg, *f, nullptr, &early_end)) return false;
    const int budget = frame_bytes * 8 - static_cast<int>(counter.position()) - kTrailerBits;
    // Blocks 0 and 1 must end within the first 5/8 of the frame, so that a decoder can start
    // on them once crc1 has checked.
    const int early_budget = FirstFiveEighths(frame_bytes) * 8 - static_cast<int>(early_end);
    return budget >= 0 && early_budget >= 0 && AllocateFrame(budget, early_budget, true, f);
  };
  // At the lowest rates the boosts can leave no room: the frame then goes without.
  if (!allocate() && !(DropAttackBoosts(f) && allocate())) return false;

  BitWriter bw(out, frame_bytes);
  WriteFrame(&bw, cfg, *f, packer, &early_end);
  f->CarryDeltaAllocation();
  if (early_end > static_cast<size_t>(FirstFiveEighths(frame_bytes)) * 8) return false;
  bw.PadTo(static_cast<size_t>(frame_bytes) * 8 - kTrailerBits);
  bw.Put(0, 1);   // auxdatae
  bw.Put(0, 1);   // crcrsv
  bw.Put(0, 16);  // crc2
  if (bw.overflowed() || bw.position() != static_cast<size_t>(frame_bytes) * 8) return false;

  // crc1 protects the first 5/8 of the frame after the sync word; crc2 the rest, so that the
  // whole frame after the sync word checks to zero (A/52 section 7.10.1).
  const int frame58 = FirstFiveEighths(frame_bytes);
  const uint16_t crc1 = Crc16LeadingWord(Crc16(out + 4, frame58 - 4), frame58 - 4);
  out[2] = static_cast<uint8_t>(crc1 >> 8);
  out[3] = static_cast<uint8_t>(crc1);
  const uint16_t crc2 = Crc16(out + frame58, frame_bytes - 2 - frame58);
  out[frame_bytes - 2] = static_cast<uint8_t>(crc2 >> 8);
  out[frame_bytes - 1] = static_cast<uint8_t>(crc2);
  return true;
}

}  // namespace ddpi::enc
