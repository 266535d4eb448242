// The state of one encoding session behind dolbydigital::Encoder.
#ifndef DOLBYDIGITAL_ENCODER_ENCODER_SESSION_H
#define DOLBYDIGITAL_ENCODER_ENCODER_SESSION_H

#include <atomic>
#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "ddpi/ddpi_enc.h"
#include "dolbydigital/types.h"
#include "encoder/engine_parameter_translation.h"

namespace dolbydigital {

using FrameBuffer = std::vector<float, Allocator<float>>;

// Encoder::Session derives from this record; the helpers of encoder.cc work on it.
struct EncoderSession {
  EncoderSession();

  // Copies of an Encoder are handles on one session; the last handle to go ends it.
  std::atomic<int> handles{1};

  bool initialized = false;
  std::int32_t engineMode = DDPI_ENC_MODE_NONE;
  std::int32_t channelConfiguration = kAudioChannelConfiguration_Acmod_32;
  ChannelLayout channelLayout;
  ChannelLayout fullLayout;  // channelLayout's configuration with LFE, for channel routing
  EngineParameterList engineParams;
  ddpi_enc_static_params_s staticParams{};
  std::int32_t modeAvailable[DDPI_ENC_MAX_MODES] = {};
  ddpi_enc_querymem_op_s memoryQuery{};
  // Declared before the engine so that the engine, which lives inside this memory, is
  // closed before the memory goes back to the recycler.
  boost::shared_ptr<void> memory;
  boost::shared_ptr<ddpi_enc_instance_s> engine;
  std::vector<FrameBuffer> frameBuffers;
  std::size_t frameFill = 0;
  std::size_t leadingSilence = 0;
  std::int32_t framesToSkip = 0;
  std::size_t tailSamples = 0;
  ddpi_enc_process_ip_s processInput{};
  ddpi_enc_process_op_s processOutput{};
  std::vector<std::uint8_t, Allocator<std::uint8_t>> outputBuffer;
};

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_ENCODER_ENCODER_SESSION_H
