#include "container_reader.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <boost/make_shared.hpp>

#include <cstring>

#include "av_error.h"

namespace ddhost {
namespace {

bool IsContainerFormat(const AVInputFormat* format) {
  if (!format || !format->name) return false;
  const std::string name = format->name;
  return name.find("mp4") != std::string::npos || name.find("matroska") != std::string::npos;
}

}  // namespace

bool IsContainerFile(const std::string& path) {
  AVFormatContext* context = nullptr;
  if (avformat_open_input(&context, path.c_str(), nullptr, nullptr) < 0) return false;
  const bool container = IsContainerFormat(context->iformat);
  avformat_close_input(&context);
  return container;
}

std::unique_ptr<ContainerReader> ContainerReader::Open(const std::string& path, std::string& error) {
  std::unique_ptr<ContainerReader> reader(new ContainerReader());
  reader->path_ = path;
  if (!reader->OpenFile(error)) return nullptr;
  return reader;
}

bool ContainerReader::OpenFile(std::string& error) {
  int result = avformat_open_input(&context_, path_.c_str(), nullptr, nullptr);
  if (result < 0) return error = "cannot read " + path_ + ": " + AvError(result), false;
  avformat_find_stream_info(context_, nullptr);
  track_ = -1;
  bool anyAudio = false;
  for (unsigned i = 0; i < context_->nb_streams; ++i) {
    const AVCodecParameters* par = context_->streams[i]->codecpar;
    if (par->codec_type != AVMEDIA_TYPE_AUDIO) continue;
    anyAudio = true;
    if (par->codec_id == AV_CODEC_ID_AC3 || par->codec_id == AV_CODEC_ID_EAC3) {
      track_ = static_cast<int>(i);
      break;
    }
  }
  if (track_ < 0) {
    error = path_ + (anyAudio ? " has no AC-3 or E-AC-3 audio track" : " has no audio track");
    return false;
  }
  packet_ = av_packet_alloc();
  return packet_ != nullptr || (error = "out of memory", false);
}

void ContainerReader::CloseFile() {
  av_packet_free(&packet_);
  if (context_) avformat_close_input(&context_);
}

ContainerReader::~ContainerReader() { CloseFile(); }

bool ContainerReader::Rewind() {
  CloseFile();
  pending_.clear();
  pendingOffset_ = 0;
  reachedEnd_ = false;
  std::string error;
  return OpenFile(error);
}

double ContainerReader::Progress() const {
  if (!context_ || !context_->pb) return 1.0;
  const int64_t size = avio_size(context_->pb);
  return size > 0 ? static_cast<double>(avio_tell(context_->pb)) / static_cast<double>(size) : 1.0;
}

bool ContainerReader::Read(std::uint8_t* buffer, std::size_t& size) {
  while (pendingOffset_ >= pending_.size()) {
    if (!context_) return size = 0, false;
    const int result = av_read_frame(context_, packet_);
    if (result < 0) {
      reachedEnd_ = result == AVERROR_EOF;
      size = 0;
      return false;
    }
    if (packet_->stream_index == track_) {
      pending_.assign(packet_->data, packet_->data + packet_->size);
      pendingOffset_ = 0;
    }
    av_packet_unref(packet_);
  }
  size = std::min(size, pending_.size() - pendingOffset_);
  std::memcpy(buffer, pending_.data() + pendingOffset_, size);
  pendingOffset_ += size;
  return size > 0;
}

std::uint64_t ContainerReader::DeclaredSamples(int rate) const {
  if (!context_ || track_ < 0) return 0;
  const AVStream* stream = context_->streams[track_];
  // Only a track duration counted in samples is exact (MP4's media time scale is the sample
  // rate); Matroska's millisecond timestamps could cut the last few samples.
  if (stream->duration <= 0 || stream->time_base.num != 1 || stream->time_base.den != rate) return 0;
  return static_cast<std::uint64_t>(stream->duration);
}

dolbydigital::ReadCallbackPtr ContainerReader::Callback() {
  return boost::make_shared<dolbydigital::ReadCallback>(
      [this](std::uint8_t* buffer, std::size_t& size) { return Read(buffer, size); });
}

}  // namespace ddhost
