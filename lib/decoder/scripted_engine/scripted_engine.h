// A stand-in unified decoder engine for the session's tests. Bytes are opaque: every
// `slice_bytes` bytes taken complete one time slice, and each processed slice holds
// `blocks_per_slice` blocks whose samples count on across the instance, so a test can tell
// exactly which samples reached it. Everything is steered through one control record that
// the test reaches with dlsym.
#ifndef DOLBYDIGITAL_DECODER_SCRIPTED_ENGINE_H
#define DOLBYDIGITAL_DECODER_SCRIPTED_ENGINE_H

#include <cstddef>
#include <cstdint>

struct ScriptedEngineControl {
  std::int32_t decoder_delay = 0;
  std::size_t slice_bytes = 512;
  std::int32_t blocks_per_slice = 6;
  // Time-slice metadata reported for every slice.
  std::int32_t sample_rate_code = 0;
  std::int32_t output_channel_mode = 2;
  std::uint16_t channel_map = 0xA000;  // L, R
  // Results of the next ddpi_udc_addbytes calls that are handed bytes, in order; a non-zero
  // result takes no bytes. Once they are used up every call takes all it is given.
  std::int32_t addbytes_results[8] = {};
  int addbytes_result_count = 0;
  int addbytes_result_next = 0;
};

// Sample `n` (counted from the instance's opening) of engine channel `channel`.
inline std::int32_t ScriptedSample(std::int64_t n, int channel) {
  return static_cast<std::int32_t>((n * 8 + channel) * 128);
}

extern "C" ScriptedEngineControl* scripted_engine_control();

#endif  // DOLBYDIGITAL_DECODER_SCRIPTED_ENGINE_H
