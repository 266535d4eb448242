// One programme as the engine's host sees it: either a single substream (configurations
// 0..7, coded by one Encoder) or an extended programme (see enc_extended_layout.h), coded as
// an independent 5.1 substream and a dependent substream, written one after the other into
// each frame period.
#ifndef DDPI_ENGINE_ENCODER_ENC_PROGRAM_H
#define DDPI_ENGINE_ENCODER_ENC_PROGRAM_H

#include <cstdint>

#include "enc_encoder.h"
#include "enc_extended_layout.h"

namespace ddpi::enc {

class ProgramEncoder {
 public:
  // Both substreams run the same stages, hence the same delay.
  static constexpr int kDelaySamples = Encoder::kDelaySamples;

  // Whether `configuration` is coded with a dependent substream.
  static bool IsExtended(int configuration) { return ExtendedLayoutOf(configuration); }

  void Configure(const EncoderConfig& config);

  // Encodes 1536 samples of every slot into 4 * kbps bytes (one syncframe, or the two
  // substreams' syncframes together). Returns the bytes written, or 0 on failure.
  int EncodeFrame(const float* const slots[kInputSlots], uint8_t* out, InputReport* report);

 private:
  int EncodeExtended(const float* const slots[kInputSlots], uint8_t* out, InputReport* report);
  void ConditionInput(const float* const slots[kInputSlots], InputReport* report);
  void FoldExtraChannels();

  const ExtendedLayout* extended_ = nullptr;
  bool lfe_ = false;
  Encoder independent_;  // the whole programme when it is not extended
  Encoder dependent_;
  float input_[kExtendedSlots][kFrameInput];
  float folded_[2][kFrameInput];
  float silence_[kFrameInput];
};

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_PROGRAM_H
