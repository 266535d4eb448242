// The session record shared by all copies of a dolbydigital::Decoder: the engine instance
// and its memory, the read callback, what the probe learned about the stream, and decoded
// samples kept for the next call.
#ifndef DOLBYDIGITAL_DECODER_DECODER_SESSION_H
#define DOLBYDIGITAL_DECODER_DECODER_SESSION_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "ddpi/ddpi_udc.h"
#include "dolbydigital/decoder.h"
#include "dolbydigital/types.h"

namespace dolbydigital {

using FloatVector = std::vector<float, Allocator<float>>;

struct DecoderSession {
  DecoderSession();
  ~DecoderSession();
  DecoderSession(const DecoderSession&) = delete;
  DecoderSession& operator=(const DecoderSession&) = delete;

  bool initialized = false;
  bool engineOpen = false;
  ReadCallbackPtr reader;
  ddpi_udc_query_ip openingRecord = {};
  ddpi_udc_pt_op processRecord = {};
  ddpi_udc_query_mem_op memoryRecord = {};
  ddpi_udc_timeslice_mdat timesliceMetadata = {};
  ddpi_udc_frame_mdat frameMetadata[3] = {};
  std::int32_t lastMetadataError = 0;
  std::size_t inputCapacity = 256;
  ddpi_udc_handle engineHandle = nullptr;
  std::uint8_t* inputBuffer = nullptr;
  std::int32_t timesliceComplete = 0;
  ddpi_udc_output_desc outputDescription = {};
  boost::shared_ptr<void> instanceMemory;
  void* instanceBlock = nullptr;  // 32-byte-aligned start of instanceMemory
  boost::shared_ptr<void> inputMemory;
  boost::shared_ptr<void> outputMemory;
  std::int32_t* outputBuffer = nullptr;
  std::int32_t inputMode = 5;
  std::int32_t sampleRate = 0;
  std::int32_t outputMode = 21;
  AudioChannelConfiguration channelConfiguration = kAudioChannelConfiguration_21;
  bool hasLFE = true;
  ChannelLayout channelLayout;
  std::int64_t samplesToSkip = 0;
  std::vector<FloatVector, Allocator<FloatVector>> leftover;
  std::size_t leftoverOffset = 0;  // samples of `leftover` already delivered
};

// The handle's session type is private to Decoder; the record itself is shared with the
// decoder's helpers.
struct Decoder::Session : DecoderSession {};

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_DECODER_DECODER_SESSION_H
