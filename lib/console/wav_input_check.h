// What the Encode command tells the user about a WAV file before encoding it. The command
// reads every file the same way (the reader's header walk, its sample conversion, no
// resampling), so nothing here changes what is encoded: each warning says what in the file
// is questionable and what the stream will hold because of it.
#ifndef DOLBYDIGITAL_CONSOLE_WAV_INPUT_CHECK_H
#define DOLBYDIGITAL_CONSOLE_WAV_INPUT_CHECK_H

#include <string>
#include <vector>

#include "console/wav_reader.h"

namespace dolbydigital {

// The sample rate of every stream the encoder writes.
constexpr std::uint32_t kStreamSampleRate = 48000;

// One line per questionable finding, in the order header, sample format, sample rate, data
// length; empty for a file that is read as what it says it is.
std::vector<std::string> CheckWavInput(const WavReader& reader);

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_CONSOLE_WAV_INPUT_CHECK_H
