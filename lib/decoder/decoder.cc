// dolbydigital::Decoder: opens the unified decoder engine through the host's module
// loader, probes the stream for its shape, and delivers decoded samples in the caller's
// block sizes.
#include "dolbydigital/decoder.h"

#include <algorithm>
#include <cstring>

#include <boost/make_shared.hpp>
#include "once_record.h"

#include "decoder/channel_map_layout.h"
#include "decoder/decoder_session.h"
#include "decoder/engine_memory.h"
#include "decoder/first_frame_check.h"
#include "dolbydigital/parameters.h"
#include "moduledepot/codec_module_loader.h"

namespace dolbydigital {
namespace {

using Engine = ModuleDepot::CodecModuleLoader;
using Session = DecoderSession;
constexpr int kGeneric = DDPI_UDC_ERR_GENERIC;
constexpr float kSampleScale = 1.0f / 2147483648.0f;

OnceRecord decoderStaticsOnce;
ddpi_udc_query_op decoderQuery;

void QueryDecoderOnce() {
  std::memset(&decoderQuery, 0, sizeof decoderQuery);
  Engine::ddpi_udc_query(&decoderQuery);
  BuildCrc16Table();
}

int SetProcessParameter(Session& s, std::int32_t id, std::int32_t value) {
  return Engine::ddpi_udc_setprocessparam(s.engineHandle, id, &value, sizeof value);
}

int SetOutputParameter(Session& s, std::int32_t id, std::int32_t value) {
  return Engine::ddpi_udc_setoutparam(s.engineHandle, 0, id, &value, sizeof value);
}

void CloseEngine(Session& s) {
  if (!s.engineOpen) return;
  Engine::ddpi_udc_close(s.engineHandle);
  s.engineOpen = false;
  s.engineHandle = nullptr;
}

int AllocateEngineMemory(Session& s) {
  void* input = nullptr;
  void* output = nullptr;
  s.instanceMemory = AllocateEngineBlock(s.memoryRecord.instance_size, &s.instanceBlock);
  s.inputMemory = AllocateEngineBlock(s.inputCapacity, &input);
  s.outputMemory = AllocateEngineBlock(s.memoryRecord.output_size, &output);
  if (!s.instanceMemory || !s.inputMemory || !s.outputMemory) return kGeneric;
  s.inputBuffer = static_cast<std::uint8_t*>(input);
  s.outputBuffer = static_cast<std::int32_t*>(output);
  std::memset(s.outputBuffer, 0, s.memoryRecord.output_size);
  s.outputDescription = ddpi_udc_output_desc();
  s.outputDescription.buffer = s.outputBuffer;
  s.outputDescription.buffer_size = s.memoryRecord.output_size;
  s.processRecord = ddpi_udc_pt_op();
  s.processRecord.output = &s.outputDescription;
  return 0;
}

int ConfigureEngine(Session& s) {
  const std::int32_t processParameters[][2] = {{0, 0}, {7, 0}, {6, 1}, {2, 1}, {3, 24}};
  for (const auto& p : processParameters)
    if (const int error = SetProcessParameter(s, p[0], p[1])) return error;
  const std::int32_t outputParameters[][2] = {
      {0, s.outputMode}, {1, s.hasLFE ? 1 : 0}, {2, 0}, {3, 0}, {5, 0}, {6, 0}};
  for (const auto& p : outputParameters)
    if (const int error = SetOutputParameter(s, p[0], p[1])) return error;
  return 0;
}

int OpenEngine(Session& s) {
  CloseEngine(s);
  s.timesliceComplete = 0;
  s.openingRecord = ddpi_udc_query_ip();
  s.openingRecord.decode_main = 1;
  s.openingRecord.pcm_output = 1;
  s.openingRecord.max_output_channels = 8;
  s.openingRecord.input_mode = s.inputMode;
  if (const int error = Engine::ddpi_udc_query_mem(&s.openingRecord, &s.memoryRecord)) return error;
  if (const int error = AllocateEngineMemory(s)) return error;
  if (const int error = Engine::ddpi_udc_open(&s.openingRecord, s.instanceBlock, &s.engineHandle))
    return error;
  s.engineOpen = true;
  return ConfigureEngine(s);
}

bool SliceHasOutput(const Session& s) {
  return s.processRecord.output_present != 0 && s.processRecord.error_or_skip == 0;
}

std::int32_t SampleRateOf(std::int32_t code) {
  if (code == 1) return 44100;
  if (code == 2) return 32000;
  return 48000;
}

// What the first decoded slice tells about the stream; the metadata result.
int LearnStream(Session& s) {
  int error = Engine::ddpi_udc_gettimeslice_mdat(s.engineHandle, 1, &s.timesliceMetadata);
  if (!error) {
    const ddpi_udc_timeslice_mdat& ts = s.timesliceMetadata;
    s.sampleRate = SampleRateOf(ts.sample_rate_code);
    s.outputMode = ts.output_channel_mode;
    s.channelConfiguration = static_cast<AudioChannelConfiguration>(ts.output_channel_mode);
    s.hasLFE = ts.lfe_present != 0;
    StreamChannels channels = ChannelsFromMap(ts.channel_map, s.outputMode);
    s.outputMode = channels.outputMode;
    s.channelConfiguration = channels.channelConfiguration;
    s.hasLFE = channels.hasLFE;
    s.channelLayout.swap(channels.channelLayout);
    if (ts.program_count > 0)
      error = Engine::ddpi_udc_getframe_mdat(s.engineHandle, ts.programs[0].frame_index, 0,
                                             &s.frameMetadata[0]);
    if (!error) error = Engine::ddpi_udc_getframe_mdat(s.engineHandle, 0, 1, &s.frameMetadata[1]);
    if (!error) error = Engine::ddpi_udc_getframe_mdat(s.engineHandle, 0, 2, &s.frameMetadata[2]);
  }
  s.lastMetadataError = error;
  return error;
}

// Reads through the callback into the input buffer; false at the end of the stream.
bool ReadInput(Session& s, std::size_t& size) {
  size = s.inputCapacity;
  const bool more = (*s.reader)(s.inputBuffer, size);
  size = std::min(size, s.inputCapacity);
  return more;
}

// Feeds the stream until the first slice with output has been decoded. Bytes are not moved
// forward between engine calls: this pass only learns the stream's shape.
int Probe(Session& s) {
  FirstFrameCheck check;
  std::size_t fed = 0;
  const std::size_t budget = s.memoryRecord.instance_size;
  for (;;) {
    std::size_t size = 0;
    if (!ReadInput(s, size)) return kGeneric;
    if (!check.Feed(s.inputBuffer, size)) return kGeneric;
    fed += size;
    if (fed > budget) return kGeneric;
    std::size_t remaining = size;
    while (remaining > 0) {
      std::size_t used = 0;
      const int error = Engine::ddpi_udc_addbytes(s.engineHandle, s.inputBuffer, remaining, 0,
                                                  &used, &s.timesliceComplete);
      if (error) return error;
      if (used == 0) break;  // the engine takes nothing more now; go on with the next read
      remaining -= std::min(used, remaining);
    }
    if (!s.timesliceComplete) continue;
    s.timesliceComplete = 0;
    if (const int error = Engine::ddpi_udc_processtimeslice(s.engineHandle, &s.processRecord))
      return error;
    fed = remaining;
    if (SliceHasOutput(s)) return LearnStream(s);
  }
}

}  // namespace

DecoderSession::DecoderSession()
    : channelLayout(dolbydigital::GetAudioChannelLayout(kAudioChannelConfiguration_21, true)) {
  BuildOnce(decoderStaticsOnce, QueryDecoderOnce);
  samplesToSkip = decoderQuery.decoder_delay;
}

DecoderSession::~DecoderSession() { CloseEngine(*this); }

Decoder::Decoder() : session_(boost::make_shared<Session>()) {}
Decoder::Decoder(const Decoder& other) = default;
Decoder& Decoder::operator=(const Decoder& other) = default;
Decoder::~Decoder() = default;

tidemark::AudioSampleType Decoder::GetSampleType() const {
  return tidemark::kAudioSampleType_32BitFloat;
}

std::int32_t Decoder::GetSampleRate() const { return session_->sampleRate; }

ChannelLayout Decoder::GetAudioChannelLayout() const { return session_->channelLayout; }

bool Decoder::InitializeForDecode(const ReadCallbackPtr& reader, int& error) {
  DecoderSession& s = *session_;
  error = kGeneric;
  s.initialized = false;
  if (!reader) return false;
  s.reader = reader;
  error = OpenEngine(s);
  if (!error) error = Probe(s);
  if (!error) {
    s.inputMode = s.outputDescription.mode;
    CloseEngine(s);
    error = OpenEngine(s);
  }
  // Samples kept from an earlier Decode stay owed: they come first in the next call.
  s.initialized = error == 0;
  return s.initialized;
}

namespace {

// Copies what the previous call kept, as much as fits.
void DeliverLeftover(Session& s, float** planes, std::size_t channelCount, std::size_t frames,
                     std::size_t& written) {
  if (s.leftover.empty()) return;
  const std::size_t available = s.leftover[0].size() - s.leftoverOffset;
  const std::size_t take = std::min(available, frames - written);
  const std::size_t channels = std::min(channelCount, s.leftover.size());
  for (std::size_t c = 0; c < channels; ++c)
    std::copy_n(s.leftover[c].begin() + s.leftoverOffset, take, planes[c] + written);
  written += take;
  s.leftoverOffset += take;
  if (s.leftoverOffset >= s.leftover[0].size()) {
    s.leftover.clear();
    s.leftoverOffset = 0;
  }
}

void ConvertSamples(const std::int32_t* source, std::int32_t stride, std::size_t count,
                    float* target) {
  for (std::size_t i = 0; i < count; ++i) target[i] = static_cast<float>(source[i * stride]) * kSampleScale;
}

// Converts the processed slice into the planes, keeping what does not fit.
void DeliverSlice(Session& s, float** planes, std::size_t channelCount, std::size_t frames,
                  std::size_t& written) {
  // A channel map can name more labels than the engine has output channels (up to 19);
  // positions past the engine's channels simply get no samples from this slice.
  constexpr std::size_t kMaxLayoutChannels = 32;
  const std::size_t channels =
      std::min({s.channelLayout.size(), channelCount, kMaxLayoutChannels});
  const std::int32_t stride = std::max(s.outputDescription.sample_stride, 1);
  const std::int32_t* sources[kMaxLayoutChannels] = {};
  for (std::size_t c = 0; c < channels; ++c) {
    const int engineChannel = EngineChannelFor(s.channelLayout[c].label, c, s.channelConfiguration);
    if (engineChannel >= 0 && engineChannel < DDPI_UDC_MAX_OUTPUT_CHANNELS)
      sources[c] = s.processRecord.channels[engineChannel];
  }
  std::size_t count = std::size_t{DDPI_UDC_BLOCK_SAMPLES} *
                      static_cast<std::size_t>(std::max(s.processRecord.block_count, 0));
  std::size_t start = 0;
  if (s.samplesToSkip > 0) {
    start = std::min<std::size_t>(static_cast<std::size_t>(s.samplesToSkip), count);
    s.samplesToSkip -= static_cast<std::int64_t>(start);
    count -= start;
  }
  const std::size_t take = std::min(frames - written, count);
  for (std::size_t c = 0; c < channels; ++c)
    if (sources[c]) ConvertSamples(sources[c] + start * stride, stride, take, planes[c] + written);
  if (take < count) {
    s.leftover.assign(channels, FloatVector(count - take, 0.0f));
    s.leftoverOffset = 0;
    for (std::size_t c = 0; c < channels; ++c)
      if (sources[c])
        ConvertSamples(sources[c] + (start + take) * stride, stride, count - take, s.leftover[c].data());
  }
  written += take;
  std::memset(s.outputBuffer, 0, s.memoryRecord.output_size);
}

}  // namespace

bool Decoder::Decode(float** planes, std::size_t channelCount, std::size_t& frames, int& error) {
  error = kGeneric;
  DecoderSession& s = *session_;
  if (!s.initialized || !planes || channelCount == 0 || frames == 0) return false;
  error = 0;
  std::size_t written = 0;
  std::size_t pending = 0;
  bool forgiven = false;
  s.timesliceComplete = 0;
  for (;;) {
    if (error) {
      frames = written;
      return false;
    }
    DeliverLeftover(s, planes, channelCount, frames, written);
    if (written >= frames) break;
    if (pending == 0 && !s.timesliceComplete) {
      // The engine may already hold a complete slice from bytes fed earlier: decode that
      // before reading on, so slices never pile up inside the engine.
      std::size_t used = 0;
      Engine::ddpi_udc_addbytes(s.engineHandle, s.inputBuffer, 0, 0, &used, &s.timesliceComplete);
      if (!s.timesliceComplete) {
        if (!ReadInput(s, pending)) {
          error = kGeneric;
          frames = written;
          return false;
        }
        forgiven = false;
      }
    }
    while (written < frames) {
      if (s.timesliceComplete) {
        if (error) break;
        s.timesliceComplete = 0;
        error = Engine::ddpi_udc_processtimeslice(s.engineHandle, &s.processRecord);
        if (error) break;
        if (SliceHasOutput(s)) DeliverSlice(s, planes, channelCount, frames, written);
        continue;
      }
      if (pending == 0) break;
      std::size_t used = 0;
      int result = Engine::ddpi_udc_addbytes(s.engineHandle, s.inputBuffer, pending, 0, &used,
                                             &s.timesliceComplete);
      used = std::min(used, pending);
      // One generic error per read is ignored; the engine is simply asked again.
      const bool forgivenNow = result == kGeneric && !forgiven;
      if (forgivenNow) {
        forgiven = true;
        result = 0;
      }
      error = result;
      if (used > 0 && used < pending) std::memmove(s.inputBuffer, s.inputBuffer + used, pending - used);
      pending -= used;
      if (error && used == 0) break;
      if (!error && !forgivenNow && used == 0 && !s.timesliceComplete) {
        error = kGeneric;  // the engine takes nothing and has nothing to give
        break;
      }
    }
    if (!error && written >= frames) break;
  }
  frames = written;
  return true;
}

}  // namespace dolbydigital
