#include "container_writer.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/intreadwrite.h>
}

#include <cstring>
#include <vector>

#include "av_error.h"
#include "output_file.h"
#include "sync_frames.h"

namespace ddhost {
namespace {

class ContainerWriter : public StreamWriter {
 public:
  ContainerWriter(AVFormatContext* context, AVStream* stream, std::string kind, int rate)
      : context_(context), stream_(stream), kind_(std::move(kind)), rate_(rate) {}
  ~ContainerWriter() override {
    if (context_) {
      if (context_->pb) avio_closep(&context_->pb);
      avformat_free_context(context_);
    }
  }

  bool Write(const std::uint8_t* bytes, std::size_t size, std::string& error) override {
    std::vector<AccessUnit> units;
    if (!splitter_.Add(bytes, size, units, error)) return false;
    return Queue(units, error);
  }

  bool Finish(std::uint64_t samples, std::string& error) override {
    std::vector<AccessUnit> units;
    if (!splitter_.Finish(units, error) || !Queue(units, error)) return false;
    // Units that decode wholly after the programme's end carry only the encoder's flush.
    while (!held_.empty() && held_start_.back() >= samples) {
      held_.pop_back();
      held_start_.pop_back();
    }
    for (std::size_t i = 0; i < held_.size(); ++i) {
      const std::uint64_t start = held_start_[i];
      const std::uint64_t end = start + held_[i].samples;
      const std::uint64_t padding = end > samples ? end - samples : 0;
      if (!Send(held_[i], start, padding, error)) return false;
    }
    held_.clear();
    const int result = av_write_trailer(context_);
    if (result < 0) return error = AvError(result), false;
    if (context_->pb->error < 0) return error = AvError(context_->pb->error), false;
    avio_flush(context_->pb);
    if (context_->pb->error < 0) return error = AvError(context_->pb->error), false;
    return true;
  }

  std::string Kind() const override { return kind_; }

 private:
  // The last few units are held back until the programme's length is known, so that the
  // final one can be marked with its padding.
  bool Queue(std::vector<AccessUnit>& units, std::string& error) {
    for (AccessUnit& unit : units) {
      held_start_.push_back(next_start_);
      next_start_ += static_cast<std::uint64_t>(unit.samples);
      held_.push_back(std::move(unit));
    }
    while (held_.size() > kHeldUnits) {
      if (!Send(held_.front(), held_start_.front(), 0, error)) return false;
      held_.erase(held_.begin());
      held_start_.erase(held_start_.begin());
    }
    return true;
  }

  bool Send(const AccessUnit& unit, std::uint64_t start, std::uint64_t padding, std::string& error) {
    AVPacket* packet = av_packet_alloc();
    if (!packet || av_new_packet(packet, static_cast<int>(unit.bytes.size())) < 0) {
      av_packet_free(&packet);
      return error = "out of memory", false;
    }
    std::memcpy(packet->data, unit.bytes.data(), unit.bytes.size());
    packet->stream_index = stream_->index;
    packet->pts = packet->dts = static_cast<int64_t>(start);
    // The last packet lasts only as long as the programme still runs: MP4 turns that into the
    // last sample's duration and an edit list, Matroska into the block's duration and the
    // segment's length. (A skip-samples mark is not used: FFmpeg's AC-3 parser moves it onto
    // the packet before when it reads the file back, cutting real audio.)
    packet->duration = unit.samples - static_cast<int64_t>(padding);
    av_packet_rescale_ts(packet, AVRational{1, rate_}, stream_->time_base);

    const int result = av_interleaved_write_frame(context_, packet);
    av_packet_free(&packet);
    if (result < 0) return error = AvError(result), false;
    return true;
  }

  static constexpr std::size_t kHeldUnits = 4;
  AVFormatContext* context_;
  AVStream* stream_;
  std::string kind_;
  int rate_;
  SyncFrameSplitter splitter_;
  std::vector<AccessUnit> held_;
  std::vector<std::uint64_t> held_start_;
  std::uint64_t next_start_ = 0;
};

}  // namespace

const char* ContainerForExtension(const std::string& extension) {
  if (extension == "mp4" || extension == "m4a") return "mp4";
  if (extension == "mkv" || extension == "mka") return "matroska";
  return nullptr;
}

std::uint64_t ChannelMaskFor(const dolbydigital::ChannelLayout& layout) {
  if (layout.size() == 1) return AV_CH_LAYOUT_MONO;
  std::uint64_t mask = 0;
  for (const auto& channel : layout) {
    std::uint64_t bit = 0;
    switch (static_cast<int>(channel.label)) {
      case 100: bit = AV_CH_FRONT_LEFT; break;
      case 101: bit = AV_CH_FRONT_RIGHT; break;
      case 102: bit = AV_CH_FRONT_CENTER; break;
      case 103: bit = AV_CH_LOW_FREQUENCY; break;
      case 104: bit = AV_CH_SIDE_LEFT; break;
      case 105: bit = AV_CH_SIDE_RIGHT; break;
      case 106: bit = AV_CH_BACK_CENTER; break;
      case 107: bit = AV_CH_FRONT_LEFT_OF_CENTER; break;
      case 108: bit = AV_CH_FRONT_RIGHT_OF_CENTER; break;
      case 111: bit = AV_CH_TOP_CENTER; break;
      case 112: bit = AV_CH_TOP_FRONT_LEFT; break;
      case 113: bit = AV_CH_TOP_FRONT_RIGHT; break;
      case 114: bit = AV_CH_TOP_FRONT_CENTER; break;
      case 118: bit = AV_CH_WIDE_LEFT; break;
      case 119: bit = AV_CH_WIDE_RIGHT; break;
      case 129: bit = AV_CH_BACK_LEFT; break;
      case 130: bit = AV_CH_BACK_RIGHT; break;
      default: return 0;
    }
    if (mask & bit) return 0;
    mask |= bit;
  }
  return mask;
}

std::unique_ptr<StreamWriter> OpenContainerWriter(OutputFile& output, const char* muxer,
                                                  const StreamFormat& format, std::string& error) {
  AVFormatContext* context = nullptr;
  int result = avformat_alloc_output_context2(&context, nullptr, muxer, output.Target().c_str());
  if (result < 0 || !context) return error = "cannot set up " + std::string(muxer) + ": " + AvError(result), nullptr;
  AVStream* stream = avformat_new_stream(context, nullptr);
  const std::string kind = std::strcmp(muxer, "mp4") == 0 ? "MP4" : "Matroska";
  auto writer = std::make_unique<ContainerWriter>(context, stream, kind, format.rate);
  if (!stream) return error = "out of memory", nullptr;
  AVCodecParameters* par = stream->codecpar;
  par->codec_type = AVMEDIA_TYPE_AUDIO;
  par->codec_id = format.mode == dolbydigital::kCodecMode_DolbyDigital ? AV_CODEC_ID_AC3 : AV_CODEC_ID_EAC3;
  par->sample_rate = format.rate;
  par->bit_rate = static_cast<int64_t>(format.kbps) * 1000;
  par->frame_size = 1536;
  const std::uint64_t mask = ChannelMaskFor(format.layout);
  if (mask) av_channel_layout_from_mask(&par->ch_layout, mask);
  else av_channel_layout_default(&par->ch_layout, static_cast<int>(format.layout.size()));
  stream->time_base = AVRational{1, format.rate};
  result = avio_open(&context->pb, output.TemporaryPath().c_str(), AVIO_FLAG_WRITE);
  if (result < 0) return error = "cannot write " + output.Target() + ": " + AvError(result), nullptr;
  // MP4's movie-level durations (mvhd, tkhd, the edit list) in samples rather than in the
  // default milliseconds, so that they state the programme's length exactly.
  AVDictionary* options = nullptr;
  if (kind == "MP4") av_dict_set_int(&options, "movie_timescale", format.rate, 0);
  result = avformat_write_header(context, &options);
  av_dict_free(&options);
  if (result < 0) return error = "cannot write the " + kind + " header: " + AvError(result), nullptr;
  return writer;
}

}  // namespace ddhost
