// One encoded stream: input conditioning, pre-processing, the analysis history of every coded
// channel, transient detection, DRC analysis and the frame writers. Fixed-size state only; the
// object is placement-constructed inside the engine's memory pool.
#ifndef DDPI_ENGINE_ENCODER_ENC_ENCODER_H
#define DDPI_ENGINE_ENCODER_ENC_ENCODER_H

#include <cstdint>

#include "enc_band_limit.h"
#include "enc_config.h"
#include "enc_drc.h"
#include "enc_frame.h"
#include "enc_preprocess.h"
#include "enc_transient.h"

namespace ddpi::enc {

constexpr int kInputSlots = 11;

// What the input conditioning had to repair in one frame.
struct InputReport {
  int non_finite = 0;   // NaN or infinite samples, replaced by 0
  int clipped = 0;      // samples beyond +-1, clipped
};

// Copies one frame of one input slot, replacing NaN and infinities by silence and clipping
// samples beyond full scale, and counts each repair in `report`.
void ConditionSlot(const float* in, float* out, InputReport* report);

class Encoder {
 public:
  // Samples from input to decoded output: the pre-processing delay plus the 256 samples of
  // overlap the transform needs before a block can be coded.
  static constexpr int kDelaySamples = Preprocessor::kDelaySamples + kHistory;

  // Starts a new stream with `config` (its rate must suit its channels, see MinimumRate).
  void Configure(const EncoderConfig& config);

  // Encodes 1536 samples of every slot (unused slots are ignored) into one syncframe of
  // 2 * kbps words. Returns the frame size in bytes, or 0 if the frame could not be fitted.
  // With `shared_drc` the frame carries those gain words instead of its own analysis: a
  // dependent substream repeats its programme's, so that every channel gets the same gain.
  int EncodeFrame(const float* const slots[kInputSlots], uint8_t* out, InputReport* report,
                  const DrcFrameGains* shared_drc = nullptr);
  // The gain words of the last frame.
  const DrcFrameGains& drc_gains() const { return frame_.drc; }

  const EncoderConfig& config() const { return config_; }

 private:
  void ConditionInput(const float* const slots[kInputSlots], InputReport* report);
  void AdvanceHistory();
  // Low-passes the new samples of channel c (see BandLimiter). A channel whose upcoming
  // samples the pre-processing cannot tell yet (phase-shifted surrounds) stays as it is.
  void BandLimitFrame(int c);

  EncoderConfig config_;
  CodingPlan plan_;
  int slot_of_channel_[kMaxChannels] = {};
  bool active_[kInputSlots] = {};
  Preprocessor preprocessor_;
  BandLimiter band_limiter_;
  DrcAnalyzer drc_;
  TransientDetector transient_[kMaxChannels];
  float work_[6][kFrameInput];
  float unused_[kFrameInput];
  float history_[kMaxChannels][kHistory + kFrameInput];
  float highpassed_[kMaxChannels][kFrameInput];  // transient detection's filtered input
  BlockAttack attacks_[kMaxChannels][kBlocks];
  FrameData frame_;
  MantissaPacker packer_;
};

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_ENCODER_H
