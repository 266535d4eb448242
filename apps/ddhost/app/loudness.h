// Integrated loudness of a programme (ITU-R BS.1770-4 with its absolute and relative gates)
// through libebur128, with each channel weighted by its speaker position: the surrounds by
// +1.5 dB, the LFE left out.
#ifndef DDHOST_LOUDNESS_H
#define DDHOST_LOUDNESS_H

#include <memory>
#include <string>
#include <vector>

#include "dolbydigital/types.h"

#include <ebur128.h>

namespace ddhost {

class LoudnessMeter {
 public:
  LoudnessMeter(int rate, const dolbydigital::ChannelLayout& layout);
  ~LoudnessMeter();
  LoudnessMeter(const LoudnessMeter&) = delete;
  LoudnessMeter& operator=(const LoudnessMeter&) = delete;

  bool IsValid() const { return state_ != nullptr; }
  bool Add(const std::vector<std::vector<float>>& planes, std::size_t frames);
  // LUFS; false for a programme too short or too quiet to measure (all of it gated away).
  bool Integrated(double& lufs) const;

 private:
  ebur128_state* state_ = nullptr;
  std::vector<float> interleaved_;
  std::size_t channels_;
};

}  // namespace ddhost

#endif  // DDHOST_LOUDNESS_H
