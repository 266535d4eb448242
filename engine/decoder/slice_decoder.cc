#include "slice_decoder.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "libav_runtime.h"

namespace ddpi::udc {
namespace {

bool Has(std::uint64_t mask, AVChannel channel) { return (mask >> channel) & 1u; }

}  // namespace

int EngineSlotOf(int av_channel, std::uint64_t mask) {
  const bool side_pair = Has(mask, AV_CHAN_SIDE_LEFT);
  const bool back_pair = Has(mask, AV_CHAN_BACK_LEFT);
  switch (av_channel) {
    case AV_CHAN_FRONT_LEFT: return 0;
    case AV_CHAN_FRONT_CENTER: return 1;
    case AV_CHAN_FRONT_RIGHT: return 2;
    case AV_CHAN_LOW_FREQUENCY: return kLfeSlot;
    case AV_CHAN_SIDE_LEFT: return 3;
    case AV_CHAN_SIDE_RIGHT: return 4;
    // Rear surrounds are the surround pair unless side surrounds are there too.
    case AV_CHAN_BACK_LEFT: return side_pair ? 6 : 3;
    case AV_CHAN_BACK_RIGHT: return side_pair ? 7 : 4;
    // A lone surround sits in the left-surround slot; beside a pair it is an extra channel.
    case AV_CHAN_BACK_CENTER: return side_pair || back_pair ? 6 : 3;
    case AV_CHAN_TOP_FRONT_LEFT:
    case AV_CHAN_FRONT_LEFT_OF_CENTER:
    case AV_CHAN_WIDE_LEFT:
    case AV_CHAN_SURROUND_DIRECT_LEFT:
    case AV_CHAN_TOP_CENTER:
    case AV_CHAN_TOP_FRONT_CENTER: return 6;
    case AV_CHAN_TOP_FRONT_RIGHT:
    case AV_CHAN_FRONT_RIGHT_OF_CENTER:
    case AV_CHAN_WIDE_RIGHT:
    case AV_CHAN_SURROUND_DIRECT_RIGHT: return 7;
    default: return -1;
  }
}

void QuantiseToInt32(const float* in, int count, int bits, std::int32_t* out) {
  const int shift = 32 - bits;
  const float scale = static_cast<float>(std::uint64_t{1} << (bits - 1));
  const long long highest = (1LL << (bits - 1)) - 1;
  const long long lowest = -(1LL << (bits - 1));
  for (int i = 0; i < count; ++i) {
    long long q = std::llrintf(in[i] * scale);
    q = std::min(std::max(q, lowest), highest);
    out[i] = static_cast<std::int32_t>(static_cast<std::uint32_t>(q) << shift);
  }
}

SliceDecoder::~SliceDecoder() { Close(); }

bool SliceDecoder::Open(bool eac3) {
  av_ = Libav();
  if (!av_) return false;
  const AVCodec* codec = av_->avcodec_find_decoder(eac3 ? AV_CODEC_ID_EAC3 : AV_CODEC_ID_AC3);
  if (!codec) return false;
  context_ = av_->avcodec_alloc_context3(codec);
  packet_ = av_->av_packet_alloc();
  frame_ = av_->av_frame_alloc();
  if (!context_ || !packet_ || !frame_) return false;
  context_->request_sample_fmt = AV_SAMPLE_FMT_FLTP;
  if (av_->avcodec_open2(context_, codec, nullptr) < 0) return false;
  eac3_ = eac3;
  applied_drc_scale_ = -1;
  applied_heavy_ = -1;
  return true;
}

void SliceDecoder::Close() {
  if (!av_) return;  // nothing was allocated
  av_->avcodec_free_context(&context_);
  av_->av_packet_free(&packet_);
  av_->av_frame_free(&frame_);
  av_->av_free(packet_buffer_);
  packet_buffer_ = nullptr;
  packet_capacity_ = 0;
}

void SliceDecoder::ApplySettings(const DecodeSettings& settings) {
  if (settings.drc_scale != applied_drc_scale_) {
    av_->av_opt_set_double(context_->priv_data, "drc_scale", settings.drc_scale, 0);
    applied_drc_scale_ = settings.drc_scale;
  }
  const int heavy = settings.heavy_compression ? 1 : 0;
  if (heavy != applied_heavy_) {
    av_->av_opt_set_int(context_->priv_data, "heavy_compr", heavy, 0);
    applied_heavy_ = heavy;
  }
}

DecodeResult SliceDecoder::Decode(const std::uint8_t* data, std::size_t size, bool eac3,
                                  bool dual_mono, const DecodeSettings& settings,
                                  SliceOutput* output) {
  // One decoder serves the whole stream: libavcodec's decoder reads both syntaxes, and
  // reopening it would lose the overlap state between frames.
  if (!context_) {
    if (!Open(eac3)) {
      Close();
      return DecodeResult::kFailed;
    }
  }
  ApplySettings(settings);
  if (packet_capacity_ < size) {
    av_->av_free(packet_buffer_);
    packet_capacity_ = size;
    packet_buffer_ =
        static_cast<std::uint8_t*>(av_->av_malloc(size + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!packet_buffer_) {
      packet_capacity_ = 0;
      return DecodeResult::kFailed;
    }
  }
  std::memcpy(packet_buffer_, data, size);
  std::memset(packet_buffer_ + size, 0, AV_INPUT_BUFFER_PADDING_SIZE);
  packet_->data = packet_buffer_;
  packet_->size = static_cast<int>(size);
  const int sent = av_->avcodec_send_packet(context_, packet_);
  packet_->data = nullptr;
  packet_->size = 0;
  if (sent < 0) return DecodeResult::kSkipped;
  if (av_->avcodec_receive_frame(context_, frame_) < 0) return DecodeResult::kSkipped;

  DecodeResult result = DecodeResult::kSkipped;
  if (frame_->format == AV_SAMPLE_FMT_FLTP && frame_->nb_samples > 0) {
    const int samples = std::min(frame_->nb_samples, kMaxSliceSamples) / 256 * 256;
    const std::uint64_t mask =
        frame_->ch_layout.order == AV_CHANNEL_ORDER_NATIVE ? frame_->ch_layout.u.mask : 0;
    output->samples = samples;
    output->channel_mask = 0;
    for (int index = 0; index < frame_->ch_layout.nb_channels; ++index) {
      const int channel = av_->av_channel_layout_channel_from_index(&frame_->ch_layout, index);
      const int slot = dual_mono && index == 1 ? 1 : EngineSlotOf(channel, mask);
      if (slot < 0 || (output->channel_mask >> slot) & 1) continue;
      if (slot == kLfeSlot && !settings.output_lfe) continue;
      QuantiseToInt32(reinterpret_cast<const float*>(frame_->extended_data[index]), samples,
                      settings.output_bits, output->planes + slot * kMaxSliceSamples);
      output->channel_mask |= 1 << slot;
    }
    result = samples > 0 ? DecodeResult::kDecoded : DecodeResult::kSkipped;
  }
  av_->av_frame_unref(frame_);
  // The decoder gives one frame per packet; anything more would belong to no slice.
  while (av_->avcodec_receive_frame(context_, frame_) >= 0) av_->av_frame_unref(frame_);
  return result;
}

}  // namespace ddpi::udc
