// The engine's exported encoder functions (ddpi_enc.h). The instance is placement-constructed
// at the start of the caller's memory pool; nothing else is allocated.
//
// Parameter 69 (priming frames): the host discards that many leading frames. Those frames are
// encoded normally (a decoder needs them to fill its overlap), but the engine knows their
// output is never heard: it keeps quiet about input repairs in them (they hold the host's
// padding) and lets the adaptive state (DRC smoothing, transient history) settle on them.
#include <cstdint>
#include <cstring>
#include <new>

#include "capability_table.h"
#include "ddpi/ddpi_enc.h"
#include "ddpi/ddpi_export.h"
#include "enc_encoder.h"
#include "enc_params.h"
#include "enc_program.h"

using ddpi::enc::ProgramEncoder;
using ddpi::enc::StreamSettings;

struct ddpi_enc_instance_s {
  static constexpr uint32_t kMagic = 0x44445045;  // "DDPE"
  uint32_t magic = kMagic;
  int mode = 0;
  ddpi_enc_message_callback callback = nullptr;
  void* callback_context = nullptr;
  StreamSettings settings;
  bool started = false;
  long frames = 0;
  bool warned_non_finite = false;
  bool warned_clipped = false;
  ProgramEncoder encoder;
};

namespace {

constexpr size_t kAlignment = 64;
// Program numbers other than 0 (DDPI_ENC_ERR_PGM_NUM): the engine codes one programme.
constexpr int kErrProgramNumber = 20;

bool ModeAvailable(int mode) {
  if (mode < 0 || mode >= DDPI_ENC_MAX_MODES) return false;
  ddpi_enc_query_op_s caps;
  ddpi::FillEncoderCapabilities(&caps);
  return caps.modes[mode].available != 0;
}

void Message(ddpi_enc_instance_s* inst, int is_error, const char* text, int line) {
  if (inst->callback) inst->callback(is_error, text, __FILE__, line, inst->callback_context);
}

bool Valid(ddpi_enc_handle h) { return h && h->magic == ddpi_enc_instance_s::kMagic; }

void ReportInput(ddpi_enc_instance_s* inst, const ddpi::enc::InputReport& report) {
  if (inst->frames < inst->settings.priming_frames) return;
  if (report.non_finite && !inst->warned_non_finite) {
    inst->warned_non_finite = true;
    Message(inst, 0, "input holds NaN or infinite samples; they are coded as silence", __LINE__);
  }
  if (report.clipped && !inst->warned_clipped) {
    inst->warned_clipped = true;
    Message(inst, 0, "input exceeds full scale; samples clipped to +-1.0", __LINE__);
  }
}

}  // namespace

extern "C" {

DDPI_EXPORT int ddpi_enc_query(ddpi_enc_query_op_s* caps) {
  if (!caps) return DDPI_ENC_ERR_NULL_PARAMETER;
  ddpi::FillEncoderCapabilities(caps);
  return DDPI_ENC_ERR_NO_ERROR;
}

DDPI_EXPORT int ddpi_enc_querymem(const ddpi_enc_static_params_s* setup,
                                  ddpi_enc_querymem_op_s* result) {
  if (!setup || !result) return DDPI_ENC_ERR_NULL_PARAMETER;
  if (!ModeAvailable(setup->mode)) return DDPI_ENC_ERR_UNSUPPORTED_MODE;
  if (setup->input_channels < 1 || setup->input_channels > DDPI_ENC_NUM_SLOTS)
    return DDPI_ENC_ERR_CHANS;
  result->memory_size = sizeof(ddpi_enc_instance_s) + kAlignment;
  result->delay_samples = ProgramEncoder::kDelaySamples;
  result->tail_samples = ProgramEncoder::kDelaySamples;
  return DDPI_ENC_ERR_NO_ERROR;
}

DDPI_EXPORT int ddpi_enc_open(ddpi_enc_handle* instance, const ddpi_enc_static_params_s* setup,
                              const ddpi_enc_memory_pool_s* pool,
                              ddpi_enc_message_callback callback, void* callback_context) {
  if (!instance || !setup || !pool) return DDPI_ENC_ERR_NULL_PARAMETER;
  *instance = nullptr;
  if (!ModeAvailable(setup->mode)) return DDPI_ENC_ERR_UNSUPPORTED_MODE;
  if (setup->input_channels < 1 || setup->input_channels > DDPI_ENC_NUM_SLOTS)
    return DDPI_ENC_ERR_CHANS;
  if (!pool->data) return DDPI_ENC_ERR_NULL_PARAMETER;
  const uintptr_t base = reinterpret_cast<uintptr_t>(pool->data);
  const uintptr_t aligned = (base + kAlignment - 1) & ~(uintptr_t)(kAlignment - 1);
  if (pool->size < sizeof(ddpi_enc_instance_s) + (aligned - base)) return DDPI_ENC_ERR_FATAL;

  auto* inst = new (reinterpret_cast<void*>(aligned)) ddpi_enc_instance_s();
  inst->mode = setup->mode;
  inst->callback = callback;
  inst->callback_context = callback_context;
  ddpi::enc::DefaultSettings(setup->mode, &inst->settings);
  *instance = inst;
  return DDPI_ENC_ERR_NO_ERROR;
}

DDPI_EXPORT int ddpi_enc_setparams(ddpi_enc_handle instance, int32_t program, int32_t count,
                                   const ddpi_enc_param_s* params) {
  if (!Valid(instance)) return DDPI_ENC_ERR_NULL_PARAMETER;
  if (count < 0 || (count > 0 && !params)) return DDPI_ENC_ERR_NULL_PARAMETER;
  if (program != 0) return kErrProgramNumber;
  if (instance->started) return DDPI_ENC_ERR_READONLY_PARAM;
  StreamSettings next = instance->settings;
  for (int i = 0; i < count; ++i) {
    const int err = ddpi::enc::ApplyParameter(instance->mode, params[i].id, params[i].value, &next);
    if (err) {
      Message(instance, 1, "parameter rejected", __LINE__);
      return err;
    }
  }
  instance->settings = next;
  return ddpi::enc::CheckRateForChannels(next.config);
}

DDPI_EXPORT int ddpi_enc_process(ddpi_enc_handle instance, const ddpi_enc_process_ip_s* input,
                                 ddpi_enc_process_op_s* output) {
  if (!Valid(instance) || !input || !output) return DDPI_ENC_ERR_NULL_PARAMETER;
  if (input->samples != DDPI_ENC_FRAME_SAMPLES) return DDPI_ENC_ERR_BLOCKSIZE;
  for (int s = 0; s < DDPI_ENC_NUM_SLOTS; ++s)
    if (!input->channels[s]) return DDPI_ENC_ERR_INPUT_BUFFER_DESCRIPTOR;
  const int frame_bytes = instance->settings.config.kbps * 4;
  if (!output->buffer || output->buffer_size < static_cast<size_t>(frame_bytes))
    return DDPI_ENC_ERR_OUTPUT_BUFFER_DESCRIPTOR;
  output->bytes_written = 0;
  if (!instance->started) {
    const int err = ddpi::enc::CheckRateForChannels(instance->settings.config);
    if (err) return err;
    instance->encoder.Configure(instance->settings.config);
    instance->started = true;
  }
  ddpi::enc::InputReport report;
  const int bytes = instance->encoder.EncodeFrame(input->channels, output->buffer, &report);
  ReportInput(instance, report);
  ++instance->frames;
  if (bytes <= 0) {
    Message(instance, 1, "frame could not be fitted into the data rate", __LINE__);
    return DDPI_ENC_ERR_FATAL;
  }
  output->bytes_written = bytes;
  return DDPI_ENC_ERR_NO_ERROR;
}

DDPI_EXPORT int ddpi_enc_close(ddpi_enc_handle instance) {
  if (!Valid(instance)) return DDPI_ENC_ERR_NULL_PARAMETER;
  instance->~ddpi_enc_instance_s();
  std::memset(static_cast<void*>(instance), 0, sizeof(uint32_t));  // clears the magic
  return DDPI_ENC_ERR_NO_ERROR;
}

}  // extern "C"
