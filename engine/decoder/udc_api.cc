// The flat C functions of the unified decoder. Each checks its arguments and hands over to
// the instance that ddpi_udc_open built in the caller's memory.
#include <cstdint>
#include <cstring>
#include <new>

#include "ddpi/ddpi_export.h"
#include "ddpi/ddpi_udc.h"
#include "libav_runtime.h"
#include "udc_instance.h"

using ddpi::udc::UdcInstance;

namespace {

constexpr std::int32_t kVersion = 1;
// libavcodec delivers each frame's samples with the frame itself, so nothing precedes the
// first input sample beyond what the encoder already accounts for.
constexpr std::int32_t kDecoderDelay = 0;

UdcInstance* InstanceOf(ddpi_udc_handle handle) { return reinterpret_cast<UdcInstance*>(handle); }

bool IsValidSetup(const ddpi_udc_query_ip* setup) {
  return setup && setup->max_output_channels >= 1 &&
         setup->max_output_channels <= DDPI_UDC_MAX_OUTPUT_CHANNELS;
}

int ReadInt32(const void* value, std::int32_t size, std::int32_t* out) {
  if (!value) return DDPI_UDC_ERR_INVALID_PARAM;
  if (size != static_cast<std::int32_t>(sizeof(std::int32_t)))
    return DDPI_UDC_ERR_INVALID_PARAM_SIZE;
  std::memcpy(out, value, sizeof *out);
  return DDPI_UDC_ERR_NO_ERROR;
}

}  // namespace

extern "C" {

DDPI_EXPORT int ddpi_udc_query(ddpi_udc_query_op* result) {
  if (!result) return DDPI_UDC_ERR_INVALID_PARAM;
  result->version = kVersion;
  result->decoder_delay = kDecoderDelay;
  return DDPI_UDC_ERR_NO_ERROR;
}

DDPI_EXPORT int ddpi_udc_query_mem(const ddpi_udc_query_ip* setup, ddpi_udc_query_mem_op* result) {
  if (!IsValidSetup(setup) || !result) return DDPI_UDC_ERR_INVALID_PARAM;
  result->instance_size = sizeof(UdcInstance);
  result->output_size = ddpi::udc::kOutputBufferBytes;
  return DDPI_UDC_ERR_NO_ERROR;
}

DDPI_EXPORT int ddpi_udc_open(const ddpi_udc_query_ip* setup, void* instance_memory,
                              ddpi_udc_handle* instance) {
  if (!IsValidSetup(setup) || !instance_memory || !instance) return DDPI_UDC_ERR_INVALID_PARAM;
  if (reinterpret_cast<std::uintptr_t>(instance_memory) % 32 != 0)
    return DDPI_UDC_ERR_MEMORY_NOT_ALIGNED;
  // The signal decoding's libraries are loaded here, not with the engine; without them no
  // decoder can run, so it is refused now rather than at the first time slice.
  if (!ddpi::udc::Libav()) return DDPI_UDC_ERR_GENERIC;
  *instance = reinterpret_cast<ddpi_udc_handle>(new (instance_memory) UdcInstance());
  return DDPI_UDC_ERR_NO_ERROR;
}

DDPI_EXPORT int ddpi_udc_setprocessparam(ddpi_udc_handle instance, int32_t id, const void* value,
                                         int32_t size) {
  if (!instance) return DDPI_UDC_ERR_GENERIC;
  std::int32_t v = 0;
  if (const int status = ReadInt32(value, size, &v)) return status;
  return InstanceOf(instance)->SetProcessParam(id, v);
}

DDPI_EXPORT int ddpi_udc_setoutparam(ddpi_udc_handle instance, int32_t output, int32_t id,
                                     const void* value, int32_t size) {
  if (!instance) return DDPI_UDC_ERR_GENERIC;
  if (output != 0) return DDPI_UDC_ERR_INVALID_PARAM;
  std::int32_t v = 0;
  if (const int status = ReadInt32(value, size, &v)) return status;
  return InstanceOf(instance)->SetOutputParam(id, v);
}

DDPI_EXPORT int ddpi_udc_addbytes(ddpi_udc_handle instance, const uint8_t* bytes, size_t size,
                                  int32_t flags, size_t* used, int32_t* timeslice_complete) {
  if (!instance) return DDPI_UDC_ERR_GENERIC;
  if ((!bytes && size) || !used || !timeslice_complete) return DDPI_UDC_ERR_INVALID_PARAM;
  return InstanceOf(instance)->AddBytes(bytes, size, used, timeslice_complete);
}

DDPI_EXPORT int ddpi_udc_processtimeslice(ddpi_udc_handle instance, ddpi_udc_pt_op* result) {
  if (!instance) return DDPI_UDC_ERR_GENERIC;
  if (!result) return DDPI_UDC_ERR_INVALID_PARAM;
  return InstanceOf(instance)->ProcessTimeslice(result);
}

DDPI_EXPORT int ddpi_udc_gettimeslice_mdat(ddpi_udc_handle instance, int32_t id,
                                           ddpi_udc_timeslice_mdat* mdat) {
  if (!instance) return DDPI_UDC_ERR_GENERIC;
  if (!mdat) return DDPI_UDC_ERR_INVALID_PARAM;
  if (id != DDPI_UDC_MDAT_TIMESLICE) return DDPI_UDC_ERR_INVALID_MDAT_ID;
  return InstanceOf(instance)->GetTimesliceMetadata(mdat);
}

DDPI_EXPORT int ddpi_udc_getframe_mdat(ddpi_udc_handle instance, int32_t frame_index, int32_t id,
                                       ddpi_udc_frame_mdat* mdat) {
  if (!instance) return DDPI_UDC_ERR_GENERIC;
  if (!mdat) return DDPI_UDC_ERR_INVALID_PARAM;
  if (id != DDPI_UDC_MDAT_FRAME_BSI && id != DDPI_UDC_MDAT_FRAME_SYNC &&
      id != DDPI_UDC_MDAT_FRAME_DRC)
    return DDPI_UDC_ERR_INVALID_MDAT_ID;
  return InstanceOf(instance)->GetFrameMetadata(frame_index, mdat);
}

DDPI_EXPORT int ddpi_udc_close(ddpi_udc_handle instance) {
  if (!instance) return DDPI_UDC_ERR_GENERIC;
  InstanceOf(instance)->~UdcInstance();
  return DDPI_UDC_ERR_NO_ERROR;
}

}  // extern "C"
