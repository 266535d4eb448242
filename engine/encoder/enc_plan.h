// The choices made once per stream from its data rate and channels: the audio bandwidth,
// coupling and spectral extension ranges, the masking model's codes, exponent reuse and how
// much finer the blocks around an attack are quantized. Each constant behind them says what
// it was measured against.
#ifndef DDPI_ENGINE_ENCODER_ENC_PLAN_H
#define DDPI_ENGINE_ENCODER_ENC_PLAN_H

#include "ac3_tables.h"
#include "enc_spx.h"

namespace ddpi::enc {

// Per-rate choices made once per stream.
struct CodingPlan {
  int chbwcod = 60;
  float reuse_threshold = 1; // mean exponent change that forces a new set
  int fgaincod = 4;          // fast gain code of the full-bandwidth and coupling channels
  int lfe_fgaincod = 4;      // fast gain code of the LFE, see PlanForRate
  int dbpbcod = 2;           // dB per bit code of the masking model
  int fdcycod = 1;           // fast decay code of the masking model, see PlanForRate
  int frame_bits = 0;        // size of a frame
  bool coupling = false;     // couple the full-bandwidth channels (acmod 2..7)
  int cplbegf = 0;           // coupling range, see CouplingLayout
  int cplendf = 0;
  int cplendf_alone = 0;     // the range's end in frames without spectral extension
  float cplfit = 0;          // coordinates: 0 energy-preserving .. 1 least-squares
  // A frame whose channels correlate less than this with their sum in the coupling range is
  // coded without coupling (see CouplingCoherence); -1 couples every frame.
  float cpl_min_coherence = -1;
  // A frame with an attack goes without coupling (see AnyBlockAroundAttack), or only the
  // channels whose attack the frame boosts by delta bit allocation leave it.
  bool attack_frames_uncoupled = false;
  bool attack_channels_uncoupled = false;
  // Spectral extension: its range and bands, the noise blend of every channel and how many
  // blocks share one set of coordinates.
  bool spx = false;
  SpxLayout spx_layout;
  int spx_blend = 0;
  int spx_run = ac3::kBlocksPerFrame;
  // The share of the original's energy the extension rebuilds in each band (see
  // kSpxDimmedEnergy).
  double spx_energy = 1.0;
  // Coupled frames whose upper band is tonal go without the extension, their coupling range
  // reaching cplendf_alone (see ChooseExtendedChannels).
  bool spx_yields_to_coupling = false;
  // Bandwidth code of a channel the extension leaves out because its upper band has clearly
  // held stable partials lately (see ChooseExtendedChannels), and of a steady channel the
  // rate starves (see EndStarvedSteadyChannels).
  int tonal_chbwcod = 60;
  // Blocks with an attack switch to short transforms; without switching (mixes of more than
  // two channels, see PlanForRate) they keep long ones and are marked and boosted the same.
  bool block_switching = true;
  // SNR index added to the blocks around an attack, through the SNR offsets (whole coarse
  // steps of 16, 3 dB), or with boost_by_delta (E-AC-3, whose offsets stay the same across the
  // frame, and mixes of more than two channels) through delta bit allocation on the attack's
  // channel (multiples of 32, 6 dB).
  int attack_boost = 0;
  bool boost_by_delta = false;
  // SNR index added on top to the block of an exposed attack that lands in the first half of
  // its new samples (see kEarlyAttackBoost), in the same way as attack_boost.
  int early_attack_boost = 0;
  // SNR index added on top to both blocks of an exposed attack that rises out of near silence
  // (see kSilentAttackBoost), in the same way as attack_boost.
  int silent_attack_boost = 0;
};
// `extension`: the stream may use spectral extension (E-AC-3).
CodingPlan PlanForRate(int kbps, int acmod, bool lfe, bool extension = false);
// The first bin above everything a plan can reconstruct: the channels' own mantissas, the
// coupling range (in any frame) and the extension's range.
int CodedBandEnd(const CodingPlan& plan);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_PLAN_H
