// A stand-in codec engine module for the loader's tests. Every function returns its own
// recognisable code and echoes an argument where it can, so a test can tell that a call
// reached this module with its arguments intact. Built once complete and once without
// ddpi_udc_getframe_mdat (FAKE_ENGINE_OMIT_GETFRAME_MDAT) to exercise the missing-symbol path.
#include "ddpi/ddpi_enc.h"
#include "ddpi/ddpi_udc.h"

#define FAKE_EXPORT extern "C" __attribute__((visibility("default")))

FAKE_EXPORT int ddpi_enc_query(ddpi_enc_query_op_s* caps) {
  if (caps) caps->version = 4242;
  return 201;
}
FAKE_EXPORT int ddpi_enc_querymem(const ddpi_enc_static_params_s* setup, ddpi_enc_querymem_op_s* result) {
  if (setup && result) result->memory_size = static_cast<size_t>(setup->input_channels) * 1000;
  return 202;
}
FAKE_EXPORT int ddpi_enc_open(ddpi_enc_handle* instance, const ddpi_enc_static_params_s*,
                              const ddpi_enc_memory_pool_s* pool, ddpi_enc_message_callback callback,
                              void* callback_context) {
  if (instance && pool) *instance = static_cast<ddpi_enc_handle>(pool->data);
  if (callback) callback(0, "opened", __FILE__, __LINE__, callback_context);
  return 203;
}
FAKE_EXPORT int ddpi_enc_setparams(ddpi_enc_handle, int32_t program, int32_t count, const ddpi_enc_param_s* params) {
  return params ? 2040000 + program * 100 + count + params[0].value : 204;
}
FAKE_EXPORT int ddpi_enc_process(ddpi_enc_handle, const ddpi_enc_process_ip_s* input, ddpi_enc_process_op_s* output) {
  if (input && output) output->bytes_written = input->samples;
  return 205;
}
FAKE_EXPORT int ddpi_enc_close(ddpi_enc_handle) { return 206; }

FAKE_EXPORT int ddpi_udc_query(ddpi_udc_query_op* result) {
  if (result) result->decoder_delay = 1536;
  return 301;
}
FAKE_EXPORT int ddpi_udc_query_mem(const ddpi_udc_query_ip*, ddpi_udc_query_mem_op*) { return 302; }
FAKE_EXPORT int ddpi_udc_open(const ddpi_udc_query_ip*, void* instance_memory, ddpi_udc_handle* instance) {
  if (instance) *instance = static_cast<ddpi_udc_handle>(instance_memory);
  return 303;
}
FAKE_EXPORT int ddpi_udc_setprocessparam(ddpi_udc_handle, int32_t id, const void*, int32_t size) {
  return 3040000 + id * 100 + size;
}
FAKE_EXPORT int ddpi_udc_setoutparam(ddpi_udc_handle, int32_t output, int32_t id, const void*, int32_t) {
  return 3050000 + output * 100 + id;
}
FAKE_EXPORT int ddpi_udc_addbytes(ddpi_udc_handle, const uint8_t*, size_t size, int32_t, size_t* used,
                                  int32_t* timeslice_complete) {
  if (used) *used = size;
  if (timeslice_complete) *timeslice_complete = 1;
  return 306;
}
FAKE_EXPORT int ddpi_udc_processtimeslice(ddpi_udc_handle, ddpi_udc_pt_op*) { return 307; }
FAKE_EXPORT int ddpi_udc_gettimeslice_mdat(ddpi_udc_handle, int32_t, ddpi_udc_timeslice_mdat*) { return 308; }
#ifndef FAKE_ENGINE_OMIT_GETFRAME_MDAT
FAKE_EXPORT int ddpi_udc_getframe_mdat(ddpi_udc_handle, int32_t frame_index, int32_t, ddpi_udc_frame_mdat* mdat) {
  if (mdat) mdat->frame_size = frame_index;
  return 309;
}
#endif
FAKE_EXPORT int ddpi_udc_close(ddpi_udc_handle) { return 310; }
