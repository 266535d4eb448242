#include "resampler.h"

#include <soxr.h>

namespace ddhost {
namespace {

constexpr std::size_t kFlushChunk = 4096;

}  // namespace

Resampler::Resampler(double inputRate, double outputRate, std::size_t channels)
    : ratio_(inputRate > 0 ? outputRate / inputRate : 1.0), channels_(channels) {
  const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT32_S, SOXR_FLOAT32_S);  // planar both ways
  const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_VHQ, 0);
  soxr_error_t error = nullptr;
  soxr_ = soxr_create(inputRate, outputRate, static_cast<unsigned>(channels), &error, &io, &quality,
                      nullptr);
  if (error) {
    error_ = error;
    soxr_delete(soxr_);
    soxr_ = nullptr;
  }
}

Resampler::~Resampler() { soxr_delete(soxr_); }

bool Resampler::Run(const float* const* planes, std::size_t frames, Planes& out) {
  // A null input asks the filter to drain; it may then take several rounds.
  const bool draining = planes == nullptr;
  const std::size_t capacity =
      draining ? kFlushChunk : static_cast<std::size_t>(frames * ratio_) + 64;
  out.assign(channels_, std::vector<float>());
  std::vector<std::vector<float>> chunk(channels_, std::vector<float>(capacity));
  std::vector<void*> outputs(channels_);
  std::vector<const void*> inputs(channels_);
  std::size_t consumed = 0;
  for (;;) {
    for (std::size_t c = 0; c < channels_; ++c) {
      outputs[c] = chunk[c].data();
      if (!draining) inputs[c] = planes[c] + consumed;
    }
    std::size_t used = 0, produced = 0;
    const soxr_error_t error =
        soxr_process(soxr_, draining ? nullptr : inputs.data(), draining ? 0 : frames - consumed,
                     &used, outputs.data(), capacity, &produced);
    if (error) {
      error_ = error;
      return false;
    }
    consumed += used;
    for (std::size_t c = 0; c < channels_; ++c)
      out[c].insert(out[c].end(), chunk[c].begin(), chunk[c].begin() + produced);
    const bool inputDone = draining || consumed >= frames;
    if (inputDone && produced < capacity) return true;
    if (used == 0 && produced == 0) return true;  // no progress: never spin
  }
}

bool Resampler::Process(const float* const* planes, std::size_t frames, Planes& out) {
  if (!soxr_) return false;
  if (frames == 0) {
    out.assign(channels_, std::vector<float>());
    return true;
  }
  return Run(planes, frames, out);
}

bool Resampler::Flush(Planes& out) { return soxr_ && Run(nullptr, 0, out); }

}  // namespace ddhost
