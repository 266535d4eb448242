#include "loudness.h"

#include <ebur128.h>

#include <cmath>

namespace ddhost {
namespace {

int ChannelWeight(tidemark::AudioChannelLabel label) {
  switch (static_cast<int>(label)) {
    case 100: return EBUR128_LEFT;
    case 101: return EBUR128_RIGHT;
    case 102: return EBUR128_CENTER;
    case 103: return EBUR128_UNUSED;
    case 104: case 109: case 129: return EBUR128_LEFT_SURROUND;
    case 105: case 110: case 130: return EBUR128_RIGHT_SURROUND;
    case 106: return EBUR128_Mp180;
    default: return EBUR128_CENTER;  // other positions count like a front channel
  }
}

}  // namespace

LoudnessMeter::LoudnessMeter(int rate, const dolbydigital::ChannelLayout& layout)
    : channels_(layout.size()) {
  state_ = ebur128_init(static_cast<unsigned>(channels_), static_cast<unsigned long>(rate), EBUR128_MODE_I);
  if (!state_) return;
  // A lone channel is heard as a centre speaker.
  if (channels_ == 1) {
    ebur128_set_channel(state_, 0, EBUR128_CENTER);
    return;
  }
  for (std::size_t c = 0; c < channels_; ++c)
    ebur128_set_channel(state_, static_cast<unsigned>(c), ChannelWeight(layout[c].label));
}

LoudnessMeter::~LoudnessMeter() {
  if (state_) ebur128_destroy(&state_);
}

bool LoudnessMeter::Add(const std::vector<std::vector<float>>& planes, std::size_t frames) {
  if (!state_ || frames == 0) return state_ != nullptr;
  interleaved_.resize(frames * channels_);
  for (std::size_t i = 0; i < frames; ++i)
    for (std::size_t c = 0; c < channels_; ++c) interleaved_[i * channels_ + c] = planes[c][i];
  return ebur128_add_frames_float(state_, interleaved_.data(), frames) == EBUR128_SUCCESS;
}

bool LoudnessMeter::Integrated(double& lufs) const {
  if (!state_ || ebur128_loudness_global(state_, &lufs) != EBUR128_SUCCESS) return false;
  return std::isfinite(lufs);
}

}  // namespace ddhost
