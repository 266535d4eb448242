#include "enc_program.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace ddpi::enc {

void ProgramEncoder::Configure(const EncoderConfig& config) {
  extended_ = ExtendedLayoutOf(config.acmod);
  lfe_ = config.lfe;
  if (!extended_) {
    independent_.Configure(config);
    return;
  }
  EncoderConfig independent = config;
  independent.acmod = 7;
  independent.kbps = IndependentShare(config.kbps, *extended_);
  independent.substream = SubstreamInfo();
  independent_.Configure(independent);

  EncoderConfig dependent = config;
  dependent.acmod = extended_->dependent_acmod;
  dependent.lfe = false;  // the independent substream carries the LFE channel
  dependent.kbps = config.kbps - independent.kbps;
  dependent.substream.dependent = true;
  dependent.substream.chanmap = extended_->chanmap;
  // The 90-degree shift and the 3 dB cut serve a matrix downmix of the 5.1 programme's
  // surrounds; the dependent substream's channels replace channels at full precision.
  dependent.preprocess.phase_shift_90 = false;
  dependent.preprocess.surround_attenuation_3db = false;
  dependent_.Configure(dependent);

  std::memset(input_, 0, sizeof input_);
  std::memset(folded_, 0, sizeof folded_);
  std::memset(silence_, 0, sizeof silence_);
}

int ProgramEncoder::EncodeFrame(const float* const slots[kInputSlots], uint8_t* out,
                                InputReport* report) {
  if (!extended_) return independent_.EncodeFrame(slots, out, report);
  return EncodeExtended(slots, out, report);
}

// NaN and infinities become silence and samples beyond full scale are clipped here, once, so
// that the folds below work on clean input and the report counts each input sample once.
void ProgramEncoder::ConditionInput(const float* const slots[kInputSlots],
                                    InputReport* report) {
  for (int s = 0; s < kExtendedSlots; ++s) {
    const bool used = s != 3 || lfe_;
    if (!used || (s == kExtraSlot2 && extended_->dependent_channels < 4)) continue;
    ConditionSlot(slots[s], input_[s], report);
  }
}

void ProgramEncoder::FoldExtraChannels() {
  for (int f = 0; f < extended_->fold_count; ++f) {
    const Fold& fold = extended_->folds[f];
    const float* into = input_[fold.into_slot];
    const float* from = input_[fold.from_slot];
    float* out = folded_[f];
    for (int n = 0; n < kFrameInput; ++n)
      out[n] = std::clamp(into[n] + kFoldGain * from[n], -1.0f, 1.0f);
  }
}

int ProgramEncoder::EncodeExtended(const float* const slots[kInputSlots], uint8_t* out,
                                   InputReport* report) {
  ConditionInput(slots, report);
  FoldExtraChannels();

  const float* independent[kInputSlots];
  const float* dependent[kInputSlots];
  for (int s = 0; s < kInputSlots; ++s) {
    independent[s] = s < 6 ? input_[s] : silence_;
    dependent[s] = silence_;
  }
  for (int f = 0; f < extended_->fold_count; ++f)
    independent[extended_->folds[f].into_slot] = folded_[f];
  for (int c = 0; c < extended_->dependent_channels; ++c)
    dependent[FbwSlot(extended_->dependent_acmod, c)] = input_[extended_->dependent_source[c]];

  InputReport already_counted;
  const int first = independent_.EncodeFrame(independent, out, &already_counted);
  if (first <= 0) return 0;
  const int second = dependent_.EncodeFrame(dependent, out + first, &already_counted,
                                            &independent_.drc_gains());
  return second > 0 ? first + second : 0;
}

}  // namespace ddpi::enc
