#include "progress_bar.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "basalt/string.h"

namespace ddhost {
namespace {

constexpr int kBarWidth = 24;

std::string Clock(double seconds) {
  const long s = std::lround(std::max(0.0, seconds));
  char text[32];
  if (s >= 3600)
    std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", s / 3600, s / 60 % 60, s % 60);
  else
    std::snprintf(text, sizeof text, "%ld:%02ld", s / 60, s % 60);
  return text;
}

}  // namespace

ProgressBar::ProgressBar(const std::string& label)
    : reporter_(basalt::UTF8to16(label.c_str())), start_(std::chrono::steady_clock::now()) {}

void ProgressBar::Update(double fraction, double audioSeconds) {
  if (!(fraction >= 0.0)) fraction = 0.0;
  fraction = std::min(fraction, 1.0);
  const double elapsed =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  const int filled = static_cast<int>(fraction * kBarWidth);
  std::string detail = "[" + std::string(filled, '#') + std::string(kBarWidth - filled, '.') + "]";
  if (elapsed > 0.2 && fraction > 0.0) {
    char rate[64];
    std::snprintf(rate, sizeof rate, " %.1fx real time, %s left", audioSeconds / elapsed,
                  Clock(elapsed * (1.0 - fraction) / fraction).c_str());
    detail += rate;
  }
  reporter_.Update(fraction, basalt::UTF8to16(detail.c_str()));
}

void ProgressBar::Finish() { reporter_.Finish(); }

}  // namespace ddhost
