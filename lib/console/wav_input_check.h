// Judges what the WAV reader found in a file for the Encode command: which problems make
// the audio unusable, and which only deserve a word to the user.
#ifndef DOLBYDIGITAL_CONSOLE_WAV_INPUT_CHECK_H
#define DOLBYDIGITAL_CONSOLE_WAV_INPUT_CHECK_H

#include <string>
#include <vector>

#include "console/wav_reader.h"

namespace dolbydigital {

struct WavInputCheck {
  std::vector<std::string> errors;    // the file cannot be encoded
  std::vector<std::string> warnings;  // it can, but the user should know
  bool Usable() const { return errors.empty(); }
};

WavInputCheck CheckWavInput(const WavReader& reader);

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_CONSOLE_WAV_INPUT_CHECK_H
