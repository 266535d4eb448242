// Drives the engine module through its C interface, loaded with dlopen exactly as the library
// does: one WAV in, one elementary stream out.
#ifndef DD_BENCH_ENCODER_ENGINE_RUNNER_H
#define DD_BENCH_ENCODER_ENGINE_RUNNER_H

#include <string>

namespace ddbench {

struct EngineJob {
  std::string engine_path;  // libddpi_engine.so
  int mode = 1;             // engine mode (0 E-AC-3, 1 AC-3)
  int kbps = 448;
  std::string input_wav;    // 32-bit float WAV, 48 kHz, channels in slot order L R C LFE Ls Rs
                            // (Lrs Rrs: 8 channels are 7.1)
  std::string output_path;
};

struct EngineReport {
  bool ok = false;
  std::string error;
  int delay_samples = 0;
  int tail_samples = 0;
  long frames = 0;
  long bytes = 0;
};

// Streams the WAV through the engine a frame at a time (so memory stays the engine's own),
// then flushes the tail.
EngineReport RunEngine(const EngineJob& job);

}  // namespace ddbench

#endif  // DD_BENCH_ENCODER_ENGINE_RUNNER_H
