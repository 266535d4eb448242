// Loads the codec engine module (libddpi_engine.so) at run time and forwards the engine's
// flat functions. By default the module is looked for next to this loader's own library;
// a host may name another file with SetModulePath before first use.
// Every forwarding function returns the engine's generic error while nothing is loaded:
// DDPI_ENC_ERR_FATAL for the encoder, DDPI_UDC_ERR_GENERIC for the decoder.
#ifndef MODULEDEPOT_CODEC_MODULE_LOADER_H
#define MODULEDEPOT_CODEC_MODULE_LOADER_H

#include <string>

#include "ddpi/ddpi_enc.h"
#include "ddpi/ddpi_udc.h"

namespace ModuleDepot {

class CodecModuleLoader {
 public:
  static void SetModulePath(const std::string& path);  // empty: the default place
  static std::string GetModulePath();                  // the file tried or loaded
  // Whether the module is loaded; the first call tries to load it.
  static bool IsLoaded();
  static bool Load();  // (re)tries; true when every ddpi_* symbol resolved
  static void Unload();
  static std::string GetLastError();

  static int ddpi_enc_query(ddpi_enc_query_op_s* caps);
  static int ddpi_enc_querymem(const ddpi_enc_static_params_s* setup, ddpi_enc_querymem_op_s* result);
  static int ddpi_enc_open(ddpi_enc_handle* instance, const ddpi_enc_static_params_s* setup,
                           const ddpi_enc_memory_pool_s* pool, ddpi_enc_message_callback callback,
                           void* callback_context);
  static int ddpi_enc_setparams(ddpi_enc_handle instance, int32_t program, int32_t count,
                                const ddpi_enc_param_s* params);
  static int ddpi_enc_process(ddpi_enc_handle instance, const ddpi_enc_process_ip_s* input,
                              ddpi_enc_process_op_s* output);
  static int ddpi_enc_close(ddpi_enc_handle instance);

  static int ddpi_udc_query(ddpi_udc_query_op* result);
  static int ddpi_udc_query_mem(const ddpi_udc_query_ip* setup, ddpi_udc_query_mem_op* result);
  static int ddpi_udc_open(const ddpi_udc_query_ip* setup, void* instance_memory,
                           ddpi_udc_handle* instance);
  static int ddpi_udc_setprocessparam(ddpi_udc_handle instance, int32_t id, const void* value,
                                      int32_t size);
  static int ddpi_udc_setoutparam(ddpi_udc_handle instance, int32_t output, int32_t id,
                                  const void* value, int32_t size);
  static int ddpi_udc_addbytes(ddpi_udc_handle instance, const uint8_t* bytes, size_t size,
                               int32_t flags, size_t* used, int32_t* timeslice_complete);
  static int ddpi_udc_processtimeslice(ddpi_udc_handle instance, ddpi_udc_pt_op* result);
  static int ddpi_udc_gettimeslice_mdat(ddpi_udc_handle instance, int32_t id,
                                        ddpi_udc_timeslice_mdat* mdat);
  static int ddpi_udc_getframe_mdat(ddpi_udc_handle instance, int32_t frame_index, int32_t id,
                                    ddpi_udc_frame_mdat* mdat);
  static int ddpi_udc_close(ddpi_udc_handle instance);
};

}  // namespace ModuleDepot

#endif  // MODULEDEPOT_CODEC_MODULE_LOADER_H
