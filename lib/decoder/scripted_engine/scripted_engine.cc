// The stand-in engine module described in scripted_engine.h. One instance at a time.
#include "scripted_engine.h"

#include <cstring>

#include "ddpi/ddpi_enc.h"
#include "ddpi/ddpi_udc.h"

#define SCRIPTED_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

constexpr std::size_t kMaxSliceSamples = 6 * DDPI_UDC_BLOCK_SAMPLES;

ScriptedEngineControl control;

struct Instance {
  std::size_t bytes_toward_slice = 0;
  int slices_waiting = 0;
  std::int64_t produced = 0;
} instance;

}  // namespace

SCRIPTED_EXPORT ScriptedEngineControl* scripted_engine_control() { return &control; }

SCRIPTED_EXPORT int ddpi_enc_query(ddpi_enc_query_op_s*) { return 1; }
SCRIPTED_EXPORT int ddpi_enc_querymem(const ddpi_enc_static_params_s*, ddpi_enc_querymem_op_s*) {
  return 1;
}
SCRIPTED_EXPORT int ddpi_enc_open(ddpi_enc_handle*, const ddpi_enc_static_params_s*,
                                  const ddpi_enc_memory_pool_s*, ddpi_enc_message_callback, void*) {
  return 1;
}
SCRIPTED_EXPORT int ddpi_enc_setparams(ddpi_enc_handle, int32_t, int32_t, const ddpi_enc_param_s*) {
  return 1;
}
SCRIPTED_EXPORT int ddpi_enc_process(ddpi_enc_handle, const ddpi_enc_process_ip_s*,
                                     ddpi_enc_process_op_s*) {
  return 1;
}
SCRIPTED_EXPORT int ddpi_enc_close(ddpi_enc_handle) { return 1; }

SCRIPTED_EXPORT int ddpi_udc_query(ddpi_udc_query_op* result) {
  result->decoder_delay = control.decoder_delay;
  return 0;
}
SCRIPTED_EXPORT int ddpi_udc_query_mem(const ddpi_udc_query_ip*, ddpi_udc_query_mem_op* result) {
  result->instance_size = 8192;
  result->output_size = DDPI_UDC_MAX_OUTPUT_CHANNELS * kMaxSliceSamples * sizeof(std::int32_t);
  return 0;
}
SCRIPTED_EXPORT int ddpi_udc_open(const ddpi_udc_query_ip*, void* memory, ddpi_udc_handle* handle) {
  instance = Instance();
  *handle = static_cast<ddpi_udc_handle>(memory);
  return 0;
}
SCRIPTED_EXPORT int ddpi_udc_setprocessparam(ddpi_udc_handle, int32_t, const void*, int32_t) {
  return 0;
}
SCRIPTED_EXPORT int ddpi_udc_setoutparam(ddpi_udc_handle, int32_t, int32_t, const void*, int32_t) {
  return 0;
}
SCRIPTED_EXPORT int ddpi_udc_addbytes(ddpi_udc_handle, const uint8_t*, size_t size, int32_t,
                                      size_t* used, int32_t* complete) {
  *used = 0;
  int result = 0;
  if (size > 0 && control.addbytes_result_next < control.addbytes_result_count)
    result = control.addbytes_results[control.addbytes_result_next++];
  if (result == 0) {
    *used = size;
    instance.bytes_toward_slice += size;
    while (instance.bytes_toward_slice >= control.slice_bytes) {
      instance.bytes_toward_slice -= control.slice_bytes;
      ++instance.slices_waiting;
    }
  }
  *complete = instance.slices_waiting > 0 ? 1 : 0;
  return result;
}
SCRIPTED_EXPORT int ddpi_udc_processtimeslice(ddpi_udc_handle, ddpi_udc_pt_op* op) {
  if (instance.slices_waiting == 0) return DDPI_UDC_ERR_INVALID_TIMESLICE;
  --instance.slices_waiting;
  const std::int32_t samples = control.blocks_per_slice * DDPI_UDC_BLOCK_SAMPLES;
  op->output->sample_stride = 1;
  op->output->mode = control.output_channel_mode;
  op->output_present = 1;
  op->error_or_skip = 0;
  op->block_count = control.blocks_per_slice;
  op->channel_count = DDPI_UDC_MAX_OUTPUT_CHANNELS;
  for (int channel = 0; channel < DDPI_UDC_MAX_OUTPUT_CHANNELS; ++channel) {
    std::int32_t* plane = op->output->buffer + channel * kMaxSliceSamples;
    for (std::int32_t i = 0; i < samples; ++i)
      plane[i] = ScriptedSample(instance.produced + i, channel);
    op->channels[channel] = plane;
  }
  instance.produced += samples;
  return 0;
}
SCRIPTED_EXPORT int ddpi_udc_gettimeslice_mdat(ddpi_udc_handle, int32_t,
                                               ddpi_udc_timeslice_mdat* m) {
  std::memset(m, 0, sizeof *m);
  m->sample_rate_code = control.sample_rate_code;
  m->output_channel_mode = control.output_channel_mode;
  m->channel_map = control.channel_map;
  m->lfe_present = control.channel_map & 1;
  m->block_count = control.blocks_per_slice;
  return 0;
}
SCRIPTED_EXPORT int ddpi_udc_getframe_mdat(ddpi_udc_handle, int32_t, int32_t,
                                           ddpi_udc_frame_mdat* m) {
  std::memset(m, 0, sizeof *m);
  m->bsid = 8;
  return 0;
}
SCRIPTED_EXPORT int ddpi_udc_close(ddpi_udc_handle) { return 0; }
