// Signal decoding of one time slice with libavcodec, and the step from its planar float
// output to the engine's integer output: every channel lands in its engine slot (0 L, 1 C,
// 2 R, 3 Ls, 4 Rs, 5 LFE, 6 and 7 the extra pair), quantised to the requested word length.
#ifndef DDPI_ENGINE_DECODER_SLICE_DECODER_H
#define DDPI_ENGINE_DECODER_SLICE_DECODER_H

#include <cstddef>
#include <cstdint>

struct AVCodecContext;
struct AVPacket;
struct AVFrame;

namespace ddpi::udc {

struct LibavApi;

constexpr int kEngineChannels = 8;
constexpr int kMaxSliceSamples = 1536;
constexpr int kLfeSlot = 5;

struct DecodeSettings {
  int output_bits = 24;   // significant bits of each 32-bit output sample
  double drc_scale = 1;   // 0: ignore the stream's dynamic range words
  bool heavy_compression = false;
  bool output_lfe = true;
};

// Where the integer samples go: channel c starts at planes + c * stride_between_channels.
struct SliceOutput {
  std::int32_t* planes = nullptr;
  int samples = 0;  // per channel, a multiple of 256
  int channel_mask = 0;  // bit c set: slot c holds a decoded channel
};

enum class DecodeResult { kDecoded, kSkipped, kFailed };

class SliceDecoder {
 public:
  SliceDecoder() = default;
  ~SliceDecoder();
  SliceDecoder(const SliceDecoder&) = delete;
  SliceDecoder& operator=(const SliceDecoder&) = delete;

  // Decodes the frames of one program (independent frame plus its dependent frames) into
  // `output->planes`, kMaxSliceSamples samples apart per slot. `dual_mono` sends the second
  // channel of a 1+1 program to slot 1 so that both programs keep their own slot.
  DecodeResult Decode(const std::uint8_t* data, std::size_t size, bool eac3, bool dual_mono,
                      const DecodeSettings& settings, SliceOutput* output);

 private:
  bool Open(bool eac3);
  void Close();
  void ApplySettings(const DecodeSettings& settings);

  const LibavApi* av_ = nullptr;  // set by Open
  AVCodecContext* context_ = nullptr;
  AVPacket* packet_ = nullptr;
  AVFrame* frame_ = nullptr;
  std::uint8_t* packet_buffer_ = nullptr;  // padded as libavcodec requires
  std::size_t packet_capacity_ = 0;
  bool eac3_ = false;
  double applied_drc_scale_ = -1;
  int applied_heavy_ = -1;
};

// Engine slot of a libavcodec channel (an AVChannel value) given the channel mask of the
// whole layout; -1 when the engine has no slot for it.
int EngineSlotOf(int av_channel, std::uint64_t layout_mask);

// Quantises `count` float samples to `bits` significant bits, left-aligned in 32 bits.
void QuantiseToInt32(const float* in, int count, int bits, std::int32_t* out);

}  // namespace ddpi::udc

#endif  // DDPI_ENGINE_DECODER_SLICE_DECODER_H
