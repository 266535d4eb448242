// The progress line of long work: a bar, the speed as a multiple of real time and the time
// left, redrawn on stderr when it is a terminal and silent otherwise (a pipe or a log file
// gets only the result lines).
#ifndef DDHOST_PROGRESS_BAR_H
#define DDHOST_PROGRESS_BAR_H

#include <chrono>
#include <string>

#include "basalt/console.h"

namespace ddhost {

class ProgressBar {
 public:
  explicit ProgressBar(const std::string& label);
  // `fraction` of the work done so far, `audioSeconds` of audio handled so far.
  void Update(double fraction, double audioSeconds);
  void Finish();

 private:
  basalt::console::ProgressReporter reporter_;
  std::chrono::steady_clock::time_point start_;
};

}  // namespace ddhost

#endif  // DDHOST_PROGRESS_BAR_H
