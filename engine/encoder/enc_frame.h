// Analysis of one frame of six audio blocks, shared by the AC-3 and E-AC-3 frame writers:
// transforms with block switching, rematrixing, coupling and spectral extension, exponent
// strategies and coding, and masking curves. AllocateFrame (enc_allocate.h) then fills the
// frame with mantissas.
#ifndef DDPI_ENGINE_ENCODER_ENC_FRAME_H
#define DDPI_ENGINE_ENCODER_ENC_FRAME_H

#include <algorithm>
#include <cstdint>

#include "enc_bit_allocation.h"
#include "enc_config.h"
#include "enc_content_edge.h"
#include "enc_coupling.h"
#include "enc_drc.h"
#include "enc_exponents.h"
#include "enc_mantissas.h"
#include "enc_plan.h"
#include "enc_rematrix.h"
#include "enc_spx.h"
#include "enc_starved_tones.h"
#include "enc_tonality.h"

namespace ddpi::enc {

constexpr int kBlocks = 6;
constexpr int kMaxChannels = 6;       // five full-bandwidth channels and LFE
constexpr int kHistory = 256;         // samples of the previous frame each transform needs
constexpr int kFrameInput = 1536;

// The decoder's dither: uniform noise of +-0.707 times a zero-bit bin's exponent step.
constexpr double kDitherVariance = 0.707 * 0.707 / 3;
constexpr float kDitherRms = 0.40819f;  // sqrt(kDitherVariance)

// What transient detection found in one block of a channel (see TransientDetector).
struct BlockAttack {
  bool present = false;  // the block switches to short transforms
  float rise = 0;        // how far it rises above what came before (TransientDetector::rise)
  int quarter = 0;       // where in the new samples it lands (TransientDetector::peak_quarter)
};

// The six blocks of one channel's coefficients as the per-frame measures take them
// (LocalFlatness, SpectralFlatness, SteadinessTracker): one pointer per block.
struct CoefBlocks {
  const float* block[kBlocks];
};

struct ChannelFrame {
  int start = 0;     // first coded bin: cplstrtmant for the coupling channel, else 0
  int end = 0;       // coded bins (endmant), 7 for LFE, cplstrtmant for coupled channels
  int chbwcod = 0;   // bandwidth code (full-bandwidth channels)
  bool lfe = false;
  bool blksw[kBlocks] = {};
  bool attack[kBlocks] = {};          // the transient detector found one in the new samples
  bool exposed_attack[kBlocks] = {};  // an attack that nothing before it masks (MarkAttackBlocks)
  bool early_attack[kBlocks] = {};    // such an attack in the first half of the new samples
  bool silent_attack[kBlocks] = {};   // such an attack rising out of near silence
  float window_rise[kBlocks] = {};    // WindowRise of the samples each block transforms
  ExpStrategy strategy[kBlocks] = {};
  float coef[kBlocks][256];
  CoefBlocks Blocks() const {
    CoefBlocks out;
    for (int b = 0; b < kBlocks; ++b) out.block[b] = coef[b];
    return out;
  }
  uint8_t exp[kBlocks][256];
  Masking masking[kBlocks];
  uint8_t bap[kBlocks][256];
  int16_t mant[kBlocks][256];
};

struct FrameData {
  int acmod = 0;
  int nfch = 0;
  bool lfe = false;
  int channels = 0;  // nfch + lfe; the LFE channel is the last
  // The coded channels, then the coupling channel at index `channels` when coupling is in use.
  ChannelFrame ch[kMaxChannels + 1];
  // Coupling (in every block of the frame or in none) of the channels marked in chincpl; the
  // others keep their own mantissas up to their bandwidth.
  bool cplinu = false;
  bool chincpl[kMaxCplChannels] = {};
  CouplingLayout cpl;
  bool cplcoe[kBlocks] = {};                        // new coordinates in this block
  CouplingCoords coords[kBlocks][kMaxCplChannels];  // the coordinates in effect per block
  int cplfleak = 0;
  int cplsleak = 0;
  float cplfit = 0;  // see CoordsFromEnergy
  // Spectral extension (E-AC-3 only; every full-bandwidth channel above spx.begin).
  bool spxinu = false;
  bool chinspx[kMaxCplChannels] = {};  // the channels it extends
  SpxLayout spx;
  bool spxcoe[kBlocks] = {};                         // new coordinates in this block
  SpxCoords spx_coords[kBlocks][kMaxCplChannels];    // the coordinates in effect per block
  // Whether each channel's upper band has held stable partials lately (see
  // ChooseExtendedChannels, EndClearlyTonalChannels); carried from frame to frame.
  TonalityTracker upper_band_tonality[kMaxCplChannels];
  // Whether each channel's spectrum has held steady lately, and whether the offset search
  // leaves the stream's noise well above the masking curve (see EndStarvedSteadyChannels);
  // carried from frame to frame.
  SteadinessTracker steadiness[kMaxCplChannels];
  StarvationTracker starvation;
  // Where each full-bandwidth channel's spectrum ends (see EndBandsWithContent), carried from
  // frame to frame; and this frame's held ends.
  ContentEdgeTracker content_edge[kMaxCplChannels];
  int content_end[kMaxCplChannels] = {};
  // Per run of blocks (indexed by its first block) and channel: the original's energy in each
  // band of the extended range, which the coordinates must restore.
  double spx_target[kBlocks][kMaxCplChannels][kMaxSpxSubbands] = {};
  uint8_t rematflg[kBlocks][kRematrixBands] = {};
  int csnroffst = 15;
  int fsnroffst[kMaxChannels + 1] = {};  // fine offset of each channel (LFE, then coupling)
  int snr_index = 0;  // csnroffst * 16 + fsnroffst of the previous frame, 0 before the first
  // Blocks whose transform spans an attack in any full-bandwidth channel, and in each, see
  // MarkAttackBlocks.
  bool around_attack[kBlocks] = {};
  bool channel_around_attack[kMaxCplChannels][kBlocks] = {};
  // Extra SNR index of each block over the frame's (whole coarse steps of 3 dB): blocks
  // around an attack get finer quantization where the stream can say so.
  int snr_boost[kBlocks] = {};
  // Each channel's block 5 of the previous frame: holding an attack, an exposed one, and one
  // out of near silence.
  bool last_block_attack[kMaxCplChannels] = {};
  bool last_block_exposed[kMaxCplChannels] = {};
  bool last_block_silent[kMaxCplChannels] = {};
  // Delta bit allocation of each block: the full-bandwidth channels', then the coupling
  // channel's at index nfch (the LFE has none); and those in effect after the previous frame,
  // which the next frame's block 0 starts from (see WriteDeltaAllocation).
  MaskDelta dba[kBlocks][kMaxCplChannels + 1];
  MaskDelta dba_carried[kMaxCplChannels + 1];
  // Whether the decoder fills each full-bandwidth channel's zero-bit bins with noise, per
  // block (see ChooseDither).
  bool dithflag[kMaxChannels][kBlocks] = {};
  int fgaincod = 4;      // fast gain code of the full-bandwidth and coupling channels
  int lfe_fgaincod = 4;  // and of the LFE
  BitAllocParams ba;
  DrcFrameGains drc = {};

  // The fast gain code of coded channel c (the coupling channel at index `channels`).
  int FastGainCode(int c) const { return c < channels && ch[c].lfe ? lfe_fgaincod : fgaincod; }
  // Whether any channel of this frame has a fast gain code other than the default, 4, which
  // needs no codes (a dependent substream carries no LFE).
  bool SendsFastGainCodes() const { return fgaincod != 4 || (lfe && lfe_fgaincod != 4); }
  // Whether any channel switches any block to short transforms (E-AC-3 leaves the block
  // switch flags out of frames that do not: blkswe).
  bool AnyShortBlock() const {
    for (int c = 0; c < nfch; ++c)
      for (int b = 0; b < kBlocks; ++b)
        if (ch[c].blksw[b]) return true;
    return false;
  }

  // The delta of coded channel c (the coupling channel at index `channels`) in block b, or
  // nullptr for the LFE.
  const MaskDelta* DeltaOf(int c, int b) const {
    if (c == channels) return &dba[b][nfch];
    return c < nfch ? &dba[b][c] : nullptr;
  }
  // Whether block b of coded channel c (or the coupling channel) has the masking inputs of the
  // block before it: reused exponents and the same delta bit allocation.
  bool SameMaskingInputs(int c, int b) const {
    if (ch[c].strategy[b] != kExpReuse) return false;
    const MaskDelta* delta = DeltaOf(c, b);
    return delta == nullptr || *delta == *DeltaOf(c, b - 1);
  }
  // Whether block blk must send its rematrixing flags / its dynamic range word: a block that
  // leaves them out repeats the block before it, so only block 0 and changes are sent.
  bool RematrixChanges(int blk) const {
    return blk == 0 ||
           !std::equal(rematflg[blk], rematflg[blk] + RematrixBands(), rematflg[blk - 1]);
  }
  // Rematrixing flags each block of a 2/0 frame sends.
  int RematrixBands() const { return RematrixBandCount(cplinu, cpl.begf); }
  bool DynrngChanges(int blk) const {
    return drc.dynrng_on && (blk == 0 || drc.dynrng[blk] != drc.dynrng[blk - 1]);
  }
  // Whether the frame says anything of delta bit allocation (E-AC-3's dbaflde), set with the
  // deltas by AnalyzeFrame.
  bool uses_delta_allocation = false;
  // Sets uses_delta_allocation from the deltas.
  void NoteDeltaAllocation();
  // Remembers the deltas in effect at the end of a frame that was written.
  void CarryDeltaAllocation();
  // Channels that take part in the bit allocation: the coded ones and the coupling channel.
  int AllocChannels() const { return channels + (cplinu ? 1 : 0); }
  const ChannelFrame& cplch() const { return ch[channels]; }
  // Coarse SNR offset in effect in block b; fine offsets are the frame's.
  int BlockCoarseOffset(int b) const { return csnroffst + snr_boost[b] / 16; }
  // Whether block b sends SNR offsets: the first, and where they change.
  bool NewSnrOffsets(int b) const { return b == 0 || snr_boost[b] != snr_boost[b - 1]; }
  // The first coupled channel: the coupling channel's mantissas follow its own.
  int FirstCoupled() const {
    for (int c = 0; c < nfch; ++c)
      if (chincpl[c]) return c;
    return -1;
  }
};

// Transforms, exponents and masking of one frame. `input[c]` points at kHistory + 1536
// samples of coded channel c (bitstream order, LFE last); `attacks[c][b]` says which blocks
// hold an attack and use the short transforms.
void AnalyzeFrame(const float* const* input, const BlockAttack attacks[][kBlocks],
                  const CodingPlan& plan, FrameData* frame);

// Takes back the attack boosts AnalyzeFrame gave (finer SNR offsets and masking deltas) and
// derives the masking curves again, for a frame whose mantissas cannot fit with them. True
// when there was a boost to take back.
bool DropAttackBoosts(FrameData* frame);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_FRAME_H
