#include "encoder/delay_compensation.h"

#include "ddpi/ddpi_enc.h"

namespace dolbydigital {

DelayCompensation CompensateEngineDelay(std::int32_t engineDelay) {
  const std::size_t delay = engineDelay > 0 ? static_cast<std::size_t>(engineDelay) : 0;
  const std::size_t frame = DDPI_ENC_FRAME_SAMPLES;
  DelayCompensation result;
  result.primingSamples = (delay / frame) * frame + frame;
  result.framesToSkip = -static_cast<std::int32_t>(result.primingSamples / frame);
  result.leadingSilence = result.primingSamples - delay;
  return result;
}

}  // namespace dolbydigital
