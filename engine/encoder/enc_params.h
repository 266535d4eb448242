// Engine parameters: validation against the capability table and their effect on the stream
// settings.
#ifndef DDPI_ENGINE_ENCODER_ENC_PARAMS_H
#define DDPI_ENGINE_ENCODER_ENC_PARAMS_H

#include "ddpi/ddpi_enc.h"
#include "enc_config.h"

namespace ddpi::enc {

struct StreamSettings {
  EncoderConfig config;
  // Frames the host discards at the start (the absolute value of parameter 69).
  int priming_frames = 0;
};

// The settings a mode starts from: every parameter at its table default.
void DefaultSettings(int mode, StreamSettings* settings);

// Validates and applies one (id, value) pair for `mode`. Returns 0 or the DDPI_ENC_ERR_* code.
int ApplyParameter(int mode, int id, int value, StreamSettings* settings);

// Whether the rate can carry the channels (DDPI_ENC_ERR_RATE otherwise).
int CheckRateForChannels(const EncoderConfig& config);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_PARAMS_H
