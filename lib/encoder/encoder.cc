// dolbydigital::Encoder: re-blocks planar float input into engine frames, drives the engine
// module through the host's module loader and hands back the bitstream bytes.
//
// Copies of an Encoder are handles on one session (as copies of a Decoder are): an engine
// instance in the middle of a stream cannot be duplicated, and a copy that silently started
// a new stream would lose the samples buffered so far. The last handle to go ends the session.
#include "dolbydigital/encoder.h"

#include <algorithm>

#include "basalt/memory_recycler.h"
#include "dolbydigital/parameters.h"
#include "encoder/channel_routing.h"
#include "encoder/delay_compensation.h"
#include "encoder/encoder_session.h"
#include "encoder/engine_capabilities.h"
#include "encoder/engine_message_handler.h"
#include "moduledepot/codec_module_loader.h"
#include "parameters/engine_mapping.h"

namespace dolbydigital {
namespace {

using Loader = ModuleDepot::CodecModuleLoader;
using Session = EncoderSession;

constexpr std::size_t kFrameSamples = DDPI_ENC_FRAME_SAMPLES;
constexpr int kEngineModeDolbyDigitalAlternate = 7;  // the other engine mode fed as 5.1
constexpr int kPlanarFloatInput = 1;

// Counted once when the library is loaded: the engine's AC-3 modes take 5.1 input slots.
const std::size_t kBroadcast51Channels = tidemark::CreateBroadcast51ChannelLayout().size();

void CloseEngine(ddpi_enc_instance_s* instance) {
  if (instance) Loader::ddpi_enc_close(instance);
}

bool IsModeAvailable(const Session& s, int engineMode) {
  return engineMode >= 0 && engineMode < DDPI_ENC_MAX_MODES && s.modeAvailable[engineMode] != 0;
}

int InputChannelCount(int engineMode, const ParameterMap& params) {
  if (engineMode == DDPI_ENC_MODE_DD || engineMode == kEngineModeDolbyDigitalAlternate)
    return static_cast<int>(kBroadcast51Channels);
  if (engineMode == DDPI_ENC_MODE_BLURAY_SECONDARY)
    return static_cast<int>(GetAudioChannelLayout(params).size());
  return DDPI_ENC_NUM_SLOTS;
}

// The engine lives inside the working memory: close it before the memory is given back.
void ReleaseEngine(Session& s) {
  s.engine.reset();
  s.memory.reset();
}

EngineSlots RouteBufferedChannels(const Session& s) {
  std::array<const float*, DDPI_ENC_NUM_SLOTS> buffers{};
  const std::size_t count = std::min(s.frameBuffers.size(), buffers.size());
  for (std::size_t i = 0; i < count; ++i) buffers[i] = s.frameBuffers[i].data();
  return RouteChannels(s.channelLayout, s.channelConfiguration, s.fullLayout, buffers.data(),
                       count);
}

EngineSlots AllSlotsSilent() {
  EngineSlots slots;
  slots.fill(SilentFrame());
  return slots;
}

int ProcessFrame(Session& s, const EngineSlots& slots) {
  // After FinishEncode the session stays "initialized" but has no engine; answer as the
  // engine answers a null instance instead of handing it one.
  if (!s.engine) return DDPI_ENC_ERR_NULL_PARAMETER;
  s.processInput.samples = static_cast<int32_t>(kFrameSamples);
  std::copy(slots.begin(), slots.end(), s.processInput.channels);
  s.processOutput.buffer = s.outputBuffer.data();
  s.processOutput.buffer_size = s.outputBuffer.size();
  s.processOutput.bytes_written = 0;
  return Loader::ddpi_enc_process(s.engine.get(), &s.processInput, &s.processOutput);
}

void AppendProducedBytes(const Session& s, ByteVector& out) {
  const std::size_t produced = std::min(
      s.outputBuffer.size(), static_cast<std::size_t>(std::max(0, s.processOutput.bytes_written)));
  out.insert(out.end(), s.outputBuffer.begin(), s.outputBuffer.begin() + produced);
}

// Writes `count` samples at the fill position of the first `channels` frame buffers, from
// the planes at `offset`, or zeros when `planes` is null.
void FillFrameBuffers(Session& s, const float** planes, std::size_t channels, std::size_t offset,
                      std::size_t count) {
  const std::size_t fed = std::min(channels, s.frameBuffers.size());
  for (std::size_t c = 0; c < fed; ++c) {
    float* destination = s.frameBuffers[c].data() + s.frameFill;
    if (planes && planes[c])
      std::copy(planes[c] + offset, planes[c] + offset + count, destination);
    else
      std::fill(destination, destination + count, 0.0f);
  }
  s.frameFill += count;
}

void ApplyDelayCompensation(Session& s, const ddpi_enc_query_op_s& capabilities) {
  const DelayCompensation compensation = CompensateEngineDelay(s.memoryQuery.delay_samples);
  s.framesToSkip = compensation.framesToSkip;
  int accepted = 0;
  if (ValidateEngineParameter(capabilities, s.engineMode, DDPI_ENC_PARAM_PRIMING_FRAMES,
                              s.framesToSkip, accepted))
    s.engineParams.push_back(ddpi_enc_param_s{DDPI_ENC_PARAM_PRIMING_FRAMES, s.framesToSkip});
  s.leadingSilence = compensation.leadingSilence;
  s.tailSamples = static_cast<std::size_t>(std::max(0, s.memoryQuery.tail_samples));
}

// Opens the engine inside fresh working memory; returns the engine's result.
int OpenEngine(Session& s) {
  ReleaseEngine(s);
  s.initialized = false;
  const std::size_t size = s.memoryQuery.memory_size;
  void* block = basalt::utility::MemoryRecycler::Allocate(size);
  if (!block && size > 0) return DDPI_ENC_ERR_FATAL;
  s.memory.reset(block, &basalt::utility::MemoryRecycler::Recycle);
  const ddpi_enc_memory_pool_s pool{size, block};
  ddpi_enc_handle instance = nullptr;
  const int opened =
      Loader::ddpi_enc_open(&instance, &s.staticParams, &pool, &HandleEngineMessage, nullptr);
  if (opened != 0) {
    CloseEngine(instance);
    s.memory.reset();
    return opened;
  }
  s.engine.reset(instance, &CloseEngine);
  return 0;
}

int SetEngineParameters(Session& s) {
  std::sort(s.engineParams.begin(), s.engineParams.end(),
            [](const ddpi_enc_param_s& a, const ddpi_enc_param_s& b) { return a.id < b.id; });
  const int32_t count = static_cast<int32_t>(s.engineParams.size());
  return Loader::ddpi_enc_setparams(s.engine.get(), 0, count,
                                    count ? s.engineParams.data() : nullptr);
}

}  // namespace

EncoderSession::EncoderSession()
    : frameBuffers(DDPI_ENC_NUM_SLOTS, FrameBuffer(kFrameSamples, 0.0f)) {
  const ddpi_enc_query_op_s& capabilities = EngineCapabilities();
  for (int m = 0; m < DDPI_ENC_MAX_MODES; ++m) modeAvailable[m] = capabilities.modes[m].available;
  outputBuffer.resize(DDPI_ENC_OUTPUT_BYTES);
}

struct Encoder::Session : EncoderSession {};

Encoder::Encoder() : session_(new Session) {}

Encoder::Encoder(const Encoder& other) : session_(other.session_) { ++session_->handles; }

Encoder& Encoder::operator=(const Encoder& other) {
  if (session_ == other.session_) return *this;
  ++other.session_->handles;
  if (--session_->handles == 0) delete session_;
  session_ = other.session_;
  return *this;
}

Encoder::~Encoder() {
  if (--session_->handles == 0) delete session_;
}

bool Encoder::InitializeEncode(CodecMode mode, const ParameterMap& params, int& error) {
  EncoderSession& s = *session_;
  error = DDPI_ENC_ERR_FATAL;
  s.engineMode = EngineModeFromCodecMode(mode);
  const ddpi_enc_query_op_s& capabilities = EngineCapabilities();
  s.engineParams = TranslateParameters(capabilities, s.engineMode, params);

  const bool hasConfiguration = params.count(kParameterID_ChannelConfiguration) != 0;
  s.channelConfiguration = GetParameter(kParameterID_ChannelConfiguration, params);
  const auto lfeEntry = params.find(kParameterID_EnableLFE);
  const bool lfe = lfeEntry == params.end() || lfeEntry->second != 0;
  const auto configuration = static_cast<AudioChannelConfiguration>(s.channelConfiguration);
  s.channelLayout = GetAudioChannelLayout(configuration, lfe);
  s.fullLayout = GetAudioChannelLayout(configuration, true);
  s.engineParams.push_back(ddpi_enc_param_s{DDPI_ENC_PARAM_INPUT_FORMAT, kPlanarFloatInput});

  if (!hasConfiguration) error = DDPI_ENC_ERR_CHANS;
  if (s.channelLayout.empty()) {
    error = DDPI_ENC_ERR_CHANS;
    return false;
  }
  if (s.engineMode == DDPI_ENC_MODE_NONE || !IsModeAvailable(s, s.engineMode)) {
    error = DDPI_ENC_ERR_UNSUPPORTED_MODE;
    return false;
  }

  s.staticParams.mode = s.engineMode;
  s.staticParams.input_channels = InputChannelCount(s.engineMode, params);
  const int queried = Loader::ddpi_enc_querymem(&s.staticParams, &s.memoryQuery);
  if (queried != 0) {
    error = queried;
    return false;
  }
  ApplyDelayCompensation(s, capabilities);

  const int opened = OpenEngine(s);
  if (opened != 0) {
    error = opened;
    return false;
  }
  error = SetEngineParameters(s);

  s.frameBuffers.assign(s.channelLayout.size(), FrameBuffer(kFrameSamples, 0.0f));
  s.frameFill = 0;
  s.initialized = error == 0;
  return error == 0;
}

bool Encoder::Encode(const float** planes, std::size_t channels, std::size_t samples,
                     ByteVector& out, int& error) {
  EncoderSession& s = *session_;
  out.clear();
  error = DDPI_ENC_ERR_FATAL;
  if (!s.initialized) return false;
  if (!planes || channels == 0) {
    error = DDPI_ENC_ERR_CHANS;
    return false;
  }
  error = 0;
  std::size_t position = 0;
  while (position < samples) {
    if (s.leadingSilence > 0) {
      const std::size_t n = std::min(kFrameSamples - s.frameFill, s.leadingSilence);
      FillFrameBuffers(s, nullptr, channels, 0, n);
      s.leadingSilence -= n;
    }
    if (s.frameFill < kFrameSamples) {
      const std::size_t n = std::min(kFrameSamples - s.frameFill, samples - position);
      FillFrameBuffers(s, planes, channels, position, n);
      position += n;
    }
    if (s.frameFill != kFrameSamples) continue;

    error = ProcessFrame(s, RouteBufferedChannels(s));
    s.frameFill = 0;
    if (error == 0 && s.framesToSkip >= 0) AppendProducedBytes(s, out);
    ++s.framesToSkip;  // counts every processed frame, kept or not
    if (error != 0) return false;
  }
  return error == 0;
}

bool Encoder::FinishEncode(ByteVector& out, int& error) {
  EncoderSession& s = *session_;
  error = 0;
  out.clear();
  if (s.frameFill > 0) {
    const std::size_t rest = kFrameSamples - s.frameFill;
    FillFrameBuffers(s, nullptr, s.frameBuffers.size(), 0, rest);
    // The zeros just added already carry part of the engine's tail out.
    s.tailSamples = s.tailSamples > rest ? s.tailSamples - rest : 0;
    error = ProcessFrame(s, RouteBufferedChannels(s));
    s.frameFill = 0;
    if (error == 0) AppendProducedBytes(s, out);
  }
  // A failed last frame ends the flush: flushing on would hand back a stream with a frame
  // missing and report success.
  if (error == 0 && s.tailSamples > 0) {
    s.tailSamples = (s.tailSamples / kFrameSamples) * kFrameSamples + kFrameSamples;
    const EngineSlots silence = AllSlotsSilent();
    for (std::size_t frames = s.tailSamples / kFrameSamples; frames > 0 && error == 0; --frames) {
      error = ProcessFrame(s, silence);
      if (error == 0) AppendProducedBytes(s, out);
    }
  }
  ReleaseEngine(s);
  return error == 0;
}

}  // namespace dolbydigital
