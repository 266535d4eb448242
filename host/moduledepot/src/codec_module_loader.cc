// Run-time loading of the codec engine module. The module's functions are resolved into one
// table that is published atomically: forwarding functions read the table once per call and
// use it, or report the engine's generic error when no module is loaded.
#include "moduledepot/codec_module_loader.h"

#include <atomic>
#include <cstdlib>
#include <mutex>

#include <dlfcn.h>

namespace ModuleDepot {
namespace {

constexpr char kModuleFileName[] = "libddpi_engine.so";

// One pointer per engine function, typed from the engine's own declarations.
struct EngineFunctions {
  decltype(&::ddpi_enc_query) enc_query;
  decltype(&::ddpi_enc_querymem) enc_querymem;
  decltype(&::ddpi_enc_open) enc_open;
  decltype(&::ddpi_enc_setparams) enc_setparams;
  decltype(&::ddpi_enc_process) enc_process;
  decltype(&::ddpi_enc_close) enc_close;
  decltype(&::ddpi_udc_query) udc_query;
  decltype(&::ddpi_udc_query_mem) udc_query_mem;
  decltype(&::ddpi_udc_open) udc_open;
  decltype(&::ddpi_udc_setprocessparam) udc_setprocessparam;
  decltype(&::ddpi_udc_setoutparam) udc_setoutparam;
  decltype(&::ddpi_udc_addbytes) udc_addbytes;
  decltype(&::ddpi_udc_processtimeslice) udc_processtimeslice;
  decltype(&::ddpi_udc_gettimeslice_mdat) udc_gettimeslice_mdat;
  decltype(&::ddpi_udc_getframe_mdat) udc_getframe_mdat;
  decltype(&::ddpi_udc_close) udc_close;
};

struct LoaderState {
  std::mutex mutex;                      // guards everything below except `functions`
  std::string configured_path;           // empty: next to this library
  std::string tried_path;
  std::string last_error;
  bool first_attempt_done = false;
  void* module = nullptr;
  EngineFunctions table{};
  std::atomic<const EngineFunctions*> functions{nullptr};
};

LoaderState& State() {
  // Never destroyed: engines may be closed from other static destructors.
  static LoaderState* state = new LoaderState();
  return *state;
}

// The folder of the shared library this code lives in.
std::string OwnFolder() {
  Dl_info info{};
  if (::dladdr(reinterpret_cast<void*>(&OwnFolder), &info) == 0 || info.dli_fname == nullptr)
    return ".";
  const std::string path(info.dli_fname);
  const std::size_t slash = path.find_last_of('/');
  if (slash == std::string::npos) return ".";
  const std::string folder = slash == 0 ? "/" : path.substr(0, slash);
  // The run path may have found us through "bin/../lib"; name the folder plainly.
  char* resolved = ::realpath(folder.c_str(), nullptr);
  if (resolved == nullptr) return folder;
  const std::string plain(resolved);
  std::free(resolved);
  return plain;
}

std::string EffectivePath(const LoaderState& state) {
  if (!state.configured_path.empty()) return state.configured_path;
  return OwnFolder() + "/" + kModuleFileName;
}

template <class Function>
bool Resolve(void* module, const char* name, Function& target, std::string& missing) {
  ::dlerror();
  void* symbol = ::dlsym(module, name);
  if (symbol == nullptr) {
    if (!missing.empty()) missing += ", ";
    missing += name;
    return false;
  }
  target = reinterpret_cast<Function>(symbol);
  return true;
}

// Fills `table` from `module`; the names of missing symbols end up in `missing`.
bool ResolveAll(void* module, EngineFunctions& table, std::string& missing) {
  bool ok = true;
  ok &= Resolve(module, "ddpi_enc_query", table.enc_query, missing);
  ok &= Resolve(module, "ddpi_enc_querymem", table.enc_querymem, missing);
  ok &= Resolve(module, "ddpi_enc_open", table.enc_open, missing);
  ok &= Resolve(module, "ddpi_enc_setparams", table.enc_setparams, missing);
  ok &= Resolve(module, "ddpi_enc_process", table.enc_process, missing);
  ok &= Resolve(module, "ddpi_enc_close", table.enc_close, missing);
  ok &= Resolve(module, "ddpi_udc_query", table.udc_query, missing);
  ok &= Resolve(module, "ddpi_udc_query_mem", table.udc_query_mem, missing);
  ok &= Resolve(module, "ddpi_udc_open", table.udc_open, missing);
  ok &= Resolve(module, "ddpi_udc_setprocessparam", table.udc_setprocessparam, missing);
  ok &= Resolve(module, "ddpi_udc_setoutparam", table.udc_setoutparam, missing);
  ok &= Resolve(module, "ddpi_udc_addbytes", table.udc_addbytes, missing);
  ok &= Resolve(module, "ddpi_udc_processtimeslice", table.udc_processtimeslice, missing);
  ok &= Resolve(module, "ddpi_udc_gettimeslice_mdat", table.udc_gettimeslice_mdat, missing);
  ok &= Resolve(module, "ddpi_udc_getframe_mdat", table.udc_getframe_mdat, missing);
  ok &= Resolve(module, "ddpi_udc_close", table.udc_close, missing);
  return ok;
}

void UnloadLocked(LoaderState& state) {
  state.functions.store(nullptr);
  if (state.module != nullptr) ::dlclose(state.module);
  state.module = nullptr;
  state.table = EngineFunctions{};
}

bool LoadLocked(LoaderState& state) {
  UnloadLocked(state);
  state.first_attempt_done = true;
  state.tried_path = EffectivePath(state);
  void* module = ::dlopen(state.tried_path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (module == nullptr) {
    const char* reason = ::dlerror();
    state.last_error = "cannot load codec engine module " + state.tried_path + ": " +
                       (reason ? reason : "unknown reason");
    return false;
  }
  EngineFunctions table{};
  std::string missing;
  if (!ResolveAll(module, table, missing)) {
    ::dlclose(module);
    state.last_error = "codec engine module " + state.tried_path + " lacks " + missing;
    return false;
  }
  state.module = module;
  state.table = table;
  state.last_error.clear();
  state.functions.store(&state.table);
  return true;
}

// The loaded functions, after the one automatic load attempt; null when not loaded.
const EngineFunctions* Functions() {
  LoaderState& state = State();
  if (const EngineFunctions* functions = state.functions.load()) return functions;
  std::lock_guard<std::mutex> lock(state.mutex);
  if (!state.first_attempt_done) LoadLocked(state);
  return state.functions.load();
}

}  // namespace

void CodecModuleLoader::SetModulePath(const std::string& path) {
  LoaderState& state = State();
  std::lock_guard<std::mutex> lock(state.mutex);
  state.configured_path = path;
}

std::string CodecModuleLoader::GetModulePath() {
  LoaderState& state = State();
  std::lock_guard<std::mutex> lock(state.mutex);
  return state.module != nullptr ? state.tried_path : EffectivePath(state);
}

bool CodecModuleLoader::IsLoaded() { return Functions() != nullptr; }

bool CodecModuleLoader::Load() {
  LoaderState& state = State();
  std::lock_guard<std::mutex> lock(state.mutex);
  return LoadLocked(state);
}

void CodecModuleLoader::Unload() {
  LoaderState& state = State();
  std::lock_guard<std::mutex> lock(state.mutex);
  state.first_attempt_done = true;  // an explicit unload is not undone behind the host's back
  UnloadLocked(state);
}

std::string CodecModuleLoader::GetLastError() {
  LoaderState& state = State();
  std::lock_guard<std::mutex> lock(state.mutex);
  return state.last_error;
}

// ---- forwarding ------------------------------------------------------------------------

#define DDPI_FORWARD(member, error, ...)                   \
  const EngineFunctions* functions = Functions();         \
  return functions ? functions->member(__VA_ARGS__) : (error)

int CodecModuleLoader::ddpi_enc_query(ddpi_enc_query_op_s* caps) {
  DDPI_FORWARD(enc_query, DDPI_ENC_ERR_FATAL, caps);
}

int CodecModuleLoader::ddpi_enc_querymem(const ddpi_enc_static_params_s* setup,
                                         ddpi_enc_querymem_op_s* result) {
  DDPI_FORWARD(enc_querymem, DDPI_ENC_ERR_FATAL, setup, result);
}

int CodecModuleLoader::ddpi_enc_open(ddpi_enc_handle* instance, const ddpi_enc_static_params_s* setup,
                                     const ddpi_enc_memory_pool_s* pool,
                                     ddpi_enc_message_callback callback, void* callback_context) {
  DDPI_FORWARD(enc_open, DDPI_ENC_ERR_FATAL, instance, setup, pool, callback, callback_context);
}

int CodecModuleLoader::ddpi_enc_setparams(ddpi_enc_handle instance, int32_t program, int32_t count,
                                          const ddpi_enc_param_s* params) {
  DDPI_FORWARD(enc_setparams, DDPI_ENC_ERR_FATAL, instance, program, count, params);
}

int CodecModuleLoader::ddpi_enc_process(ddpi_enc_handle instance, const ddpi_enc_process_ip_s* input,
                                        ddpi_enc_process_op_s* output) {
  DDPI_FORWARD(enc_process, DDPI_ENC_ERR_FATAL, instance, input, output);
}

int CodecModuleLoader::ddpi_enc_close(ddpi_enc_handle instance) {
  DDPI_FORWARD(enc_close, DDPI_ENC_ERR_FATAL, instance);
}

int CodecModuleLoader::ddpi_udc_query(ddpi_udc_query_op* result) {
  DDPI_FORWARD(udc_query, DDPI_UDC_ERR_GENERIC, result);
}

int CodecModuleLoader::ddpi_udc_query_mem(const ddpi_udc_query_ip* setup, ddpi_udc_query_mem_op* result) {
  DDPI_FORWARD(udc_query_mem, DDPI_UDC_ERR_GENERIC, setup, result);
}

int CodecModuleLoader::ddpi_udc_open(const ddpi_udc_query_ip* setup, void* instance_memory,
                                     ddpi_udc_handle* instance) {
  DDPI_FORWARD(udc_open, DDPI_UDC_ERR_GENERIC, setup, instance_memory, instance);
}

int CodecModuleLoader::ddpi_udc_setprocessparam(ddpi_udc_handle instance, int32_t id, const void* value,
                                                int32_t size) {
  DDPI_FORWARD(udc_setprocessparam, DDPI_UDC_ERR_GENERIC, instance, id, value, size);
}

int CodecModuleLoader::ddpi_udc_setoutparam(ddpi_udc_handle instance, int32_t output, int32_t id,
                                            const void* value, int32_t size) {
  DDPI_FORWARD(udc_setoutparam, DDPI_UDC_ERR_GENERIC, instance, output, id, value, size);
}

int CodecModuleLoader::ddpi_udc_addbytes(ddpi_udc_handle instance, const uint8_t* bytes, size_t size,
                                         int32_t flags, size_t* used, int32_t* timeslice_complete) {
  DDPI_FORWARD(udc_addbytes, DDPI_UDC_ERR_GENERIC, instance, bytes, size, flags, used,
               timeslice_complete);
}

int CodecModuleLoader::ddpi_udc_processtimeslice(ddpi_udc_handle instance, ddpi_udc_pt_op* result) {
  DDPI_FORWARD(udc_processtimeslice, DDPI_UDC_ERR_GENERIC, instance, result);
}

int CodecModuleLoader::ddpi_udc_gettimeslice_mdat(ddpi_udc_handle instance, int32_t id,
                                                  ddpi_udc_timeslice_mdat* mdat) {
  DDPI_FORWARD(udc_gettimeslice_mdat, DDPI_UDC_ERR_GENERIC, instance, id, mdat);
}

int CodecModuleLoader::ddpi_udc_getframe_mdat(ddpi_udc_handle instance, int32_t frame_index, int32_t id,
                                              ddpi_udc_frame_mdat* mdat) {
  DDPI_FORWARD(udc_getframe_mdat, DDPI_UDC_ERR_GENERIC, instance, frame_index, id, mdat);
}

int CodecModuleLoader::ddpi_udc_close(ddpi_udc_handle instance) {
  DDPI_FORWARD(udc_close, DDPI_UDC_ERR_GENERIC, instance);
}

#undef DDPI_FORWARD

}  // namespace ModuleDepot
