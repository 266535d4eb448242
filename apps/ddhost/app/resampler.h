// Converts planar float audio from one sample rate to another with libsoxr at its very-high
// quality setting. The engine encodes 48 kHz only; sound files at other rates pass through here.
#ifndef DDHOST_RESAMPLER_H
#define DDHOST_RESAMPLER_H

#include <cstddef>
#include <string>
#include <vector>

struct soxr;

namespace ddhost {

class Resampler {
 public:
  using Planes = std::vector<std::vector<float>>;

  Resampler(double inputRate, double outputRate, std::size_t channels);
  ~Resampler();
  Resampler(const Resampler&) = delete;
  Resampler& operator=(const Resampler&) = delete;

  bool IsValid() const { return soxr_ != nullptr; }
  const std::string& GetError() const { return error_; }

  // Resamples `frames` frames of planes[0..channels-1]; `out` is replaced by what came out
  // (which may be nothing until the filter has filled).
  bool Process(const float* const* planes, std::size_t frames, Planes& out);
  // Drains what the filter still holds at the end of the input into `out`.
  bool Flush(Planes& out);

 private:
  bool Run(const float* const* planes, std::size_t frames, Planes& out);

  soxr* soxr_ = nullptr;
  double ratio_;
  std::size_t channels_;
  std::string error_;
};

}  // namespace ddhost

#endif  // DDHOST_RESAMPLER_H
