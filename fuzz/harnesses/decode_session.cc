#include "decode_session.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <boost/make_shared.hpp>

extern "C" {
#include <libavutil/log.h>
}

#include "dolbydigital/decoder.h"
#include "fuzz_harnesses.h"

namespace ddfuzz {
namespace {

class ChunkedReader {
 public:
  ChunkedReader(const std::uint8_t* data, std::size_t size, std::vector<std::size_t> chunks)
      : data_(data), size_(size), chunks_(std::move(chunks)) {}

  bool Read(std::uint8_t* buffer, std::size_t& capacity) {
    if (position_ >= size_) {
      capacity = 0;
      return false;
    }
    const std::size_t chunk = chunks_[next_++ % chunks_.size()];
    const std::size_t count = std::min({capacity, chunk, size_ - position_});
    std::copy_n(data_ + position_, count, buffer);
    position_ += count;
    capacity = count;
    return true;
  }

  void StartOver() { position_ = 0; }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::vector<std::size_t> chunks_;
  std::size_t next_ = 0;
  std::size_t position_ = 0;
};

constexpr std::size_t kFramesPerCall = 700;  // not a multiple of a time slice on purpose
constexpr int kMostCalls = 100000;

}  // namespace

void FuzzCheck(bool condition, const char* promise) {
  if (condition) return;
  std::fprintf(stderr, "broken promise: %s\n", promise);
  std::abort();
}

void DecodeInChunks(const std::uint8_t* stream, std::size_t size,
                    const std::vector<std::size_t>& chunkSizes) {
  // libavcodec's complaints about broken frames are expected here by the thousand.
  static const bool quiet = (av_log_set_level(AV_LOG_QUIET), true);
  (void)quiet;
  std::vector<std::size_t> chunks = chunkSizes;
  // Only zero-sized chunks would hand out nothing for ever.
  if (std::all_of(chunks.begin(), chunks.end(), [](std::size_t c) { return c == 0; }))
    chunks.assign(1, 1);
  auto reader = boost::make_shared<ChunkedReader>(stream, size, chunks);
  auto callback = boost::make_shared<dolbydigital::ReadCallback>(
      [reader](std::uint8_t* buffer, std::size_t& capacity) { return reader->Read(buffer, capacity); });
  dolbydigital::Decoder decoder;
  int error = 0;
  const bool initialized = decoder.InitializeForDecode(callback, error);
  FuzzCheck(initialized == (error == 0), "InitializeForDecode is true exactly when error is 0");
  if (!initialized) return;
  // A host sizes its planes from these: a stream it may play has channels and a rate.
  const std::size_t channels = decoder.GetAudioChannelLayout().size();
  FuzzCheck(channels > 0, "an initialised decoder has at least one channel");
  FuzzCheck(decoder.GetSampleRate() > 0, "an initialised decoder has a sample rate");
  reader->StartOver();
  std::vector<std::vector<float>> planes(channels, std::vector<float>(kFramesPerCall));
  std::vector<float*> pointers;
  for (auto& plane : planes) pointers.push_back(plane.data());
  for (int calls = 0; calls < kMostCalls; ++calls) {
    std::size_t frames = kFramesPerCall;
    const bool decoded = decoder.Decode(pointers.data(), channels, frames, error);
    FuzzCheck(frames <= kFramesPerCall, "Decode never writes more than asked for");
    if (!decoded) break;
  }
  dolbydigital::ParameterMap params;
  decoder.GetParameters(params);
}

}  // namespace ddfuzz
