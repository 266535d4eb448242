// libavcodec and libavutil, loaded when the first decoder opens rather than with the engine.
//
// The engine module serves encoders and decoders alike, and an encode never calls libavcodec.
// Linking it would make every load of the engine load libavcodec's dependency tree as well
// (about ninety shared objects: some 20 ms and several megabytes before the first sample is
// encoded). Loading it on first use keeps that cost with the decoder, and an encoder keeps
// working on a machine without libavcodec.
//
// The libraries are opened by the sonames this engine was compiled against, so the structure
// layouts the decoder reads (AVFrame, AVCodecContext) are the ones its headers describe.
#ifndef DDPI_ENGINE_DECODER_LIBAV_RUNTIME_H
#define DDPI_ENGINE_DECODER_LIBAV_RUNTIME_H

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

namespace ddpi::udc {

// The libavcodec and libavutil functions the decoder calls.
struct LibavApi {
  decltype(&::avcodec_find_decoder) avcodec_find_decoder;
  decltype(&::avcodec_alloc_context3) avcodec_alloc_context3;
  decltype(&::avcodec_open2) avcodec_open2;
  decltype(&::avcodec_free_context) avcodec_free_context;
  decltype(&::avcodec_send_packet) avcodec_send_packet;
  decltype(&::avcodec_receive_frame) avcodec_receive_frame;
  decltype(&::av_packet_alloc) av_packet_alloc;
  decltype(&::av_packet_free) av_packet_free;
  decltype(&::av_frame_alloc) av_frame_alloc;
  decltype(&::av_frame_free) av_frame_free;
  decltype(&::av_frame_unref) av_frame_unref;
  decltype(&::av_malloc) av_malloc;
  decltype(&::av_free) av_free;
  decltype(&::av_opt_set_int) av_opt_set_int;
  decltype(&::av_opt_set_double) av_opt_set_double;
  decltype(&::av_channel_layout_channel_from_index) av_channel_layout_channel_from_index;
};

// The functions, loaded on the first call (thread-safe); null when a library or one of the
// functions cannot be found. The libraries stay loaded for the life of the process.
const LibavApi* Libav();

}  // namespace ddpi::udc

#endif  // DDPI_ENGINE_DECODER_LIBAV_RUNTIME_H
