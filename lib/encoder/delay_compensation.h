// Compensation of the engine's input-to-output delay. The session puts silence in front of
// the input and drops whole leading frames so that the first sample of the stream is the
// first sample of the input.
#ifndef DOLBYDIGITAL_ENCODER_DELAY_COMPENSATION_H
#define DOLBYDIGITAL_ENCODER_DELAY_COMPENSATION_H

#include <cstddef>
#include <cstdint>

namespace dolbydigital {

struct DelayCompensation {
  std::size_t primingSamples;  // delay plus leading silence: a whole number of frames
  std::int32_t framesToSkip;   // minus the number of leading output frames to drop
  std::size_t leadingSilence;  // zeros to insert before the first input sample
};

// Priming is the next multiple of the frame length strictly above the delay: a delay that
// already is a whole number of frames still gets one frame more, so that the silence in
// front of the input is never empty and the engine always starts from a silent frame.
DelayCompensation CompensateEngineDelay(std::int32_t engineDelay);

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_ENCODER_DELAY_COMPENSATION_H
