#include "libav_runtime.h"

#include <dlfcn.h>

namespace ddpi::udc {
namespace {

#define DDPI_STRINGIFY_VALUE(x) #x
#define DDPI_STRINGIFY(x) DDPI_STRINGIFY_VALUE(x)
constexpr const char* kLibavcodec = "libavcodec.so." DDPI_STRINGIFY(LIBAVCODEC_VERSION_MAJOR);
constexpr const char* kLibavutil = "libavutil.so." DDPI_STRINGIFY(LIBAVUTIL_VERSION_MAJOR);
#undef DDPI_STRINGIFY
#undef DDPI_STRINGIFY_VALUE

template <typename Function>
bool Resolve(void* library, const char* name, Function* function) {
  *function = reinterpret_cast<Function>(dlsym(library, name));
  return *function != nullptr;
}

bool Load(LibavApi* api) {
  // Never closed: libavcodec keeps global state, and decoders may live until the process ends.
  void* avutil = dlopen(kLibavutil, RTLD_NOW | RTLD_LOCAL);
  void* avcodec = dlopen(kLibavcodec, RTLD_NOW | RTLD_LOCAL);
  if (!avutil || !avcodec) return false;
  return Resolve(avcodec, "avcodec_find_decoder", &api->avcodec_find_decoder) &&
         Resolve(avcodec, "avcodec_alloc_context3", &api->avcodec_alloc_context3) &&
         Resolve(avcodec, "avcodec_open2", &api->avcodec_open2) &&
         Resolve(avcodec, "avcodec_free_context", &api->avcodec_free_context) &&
         Resolve(avcodec, "avcodec_send_packet", &api->avcodec_send_packet) &&
         Resolve(avcodec, "avcodec_receive_frame", &api->avcodec_receive_frame) &&
         Resolve(avcodec, "av_packet_alloc", &api->av_packet_alloc) &&
         Resolve(avcodec, "av_packet_free", &api->av_packet_free) &&
         Resolve(avutil, "av_frame_alloc", &api->av_frame_alloc) &&
         Resolve(avutil, "av_frame_free", &api->av_frame_free) &&
         Resolve(avutil, "av_frame_unref", &api->av_frame_unref) &&
         Resolve(avutil, "av_malloc", &api->av_malloc) &&
         Resolve(avutil, "av_free", &api->av_free) &&
         Resolve(avutil, "av_opt_set_int", &api->av_opt_set_int) &&
         Resolve(avutil, "av_opt_set_double", &api->av_opt_set_double) &&
         Resolve(avutil, "av_channel_layout_channel_from_index",
                 &api->av_channel_layout_channel_from_index);
}

}  // namespace

const LibavApi* Libav() {
  static LibavApi api;
  static const bool loaded = Load(&api);
  return loaded ? &api : nullptr;
}

}  // namespace ddpi::udc
