// Several threads, released at the same moment, each make the library's first use of one
// of the once-only records (the parameter constraint table, the encoder engine's
// capabilities, the decoder engine's query record with the CRC table), then encode a short
// stream and decode it again. Each session is used by its own thread only, as the library
// requires; everything the sessions share is the library's and the engine's process-wide
// state. Under ThreadSanitizer a race in that state fails the test; everywhere, each thread
// must get back the channels and the length it encoded.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <boost/make_shared.hpp>

#include "dolbydigital/decoder.h"
#include "dolbydigital/encoder.h"
#include "dolbydigital/parameters.h"

namespace {

using namespace dolbydigital;

constexpr int kThreads = 6;
constexpr int kFrames = 4;  // blocks of 1536 samples per stream

// Holds every thread until all are ready, so that their first calls meet.
class StartingGate {
 public:
  explicit StartingGate(int count) : waiting_(count) {}
  void ArriveAndWait() {
    std::unique_lock<std::mutex> lock(mutex_);
    if (--waiting_ == 0) opened_.notify_all();
    opened_.wait(lock, [this] { return waiting_ == 0; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable opened_;
  int waiting_;
};

struct SessionResult {
  std::string failure;      // empty when every step succeeded
  std::size_t channels = 0;  // decoded
  std::size_t frames = 0;    // decoded samples per channel
};

// The first call each thread makes: one of the three once-only records, in turn.
void FirstUse(int thread) {
  switch (thread % 3) {
    case 0: GetParameterDependency(kParameterID_ChannelConfiguration); break;
    case 1: { ParameterMap map; GetDefaults(kCodecMode_DolbyDigital, map); } break;
    case 2: { Decoder decoder; } break;
  }
}

ByteVector EncodeTone(CodecMode mode, AudioChannelConfiguration cfg, int thread, std::string& failure) {
  ParameterMap map;
  GetDefaults(mode, map);
  map[kParameterID_ChannelConfiguration] = cfg;
  map[kParameterID_EnableLFE] = 0;
  map[kParameterID_DataRate] = 192;
  const std::size_t channels = GetAudioChannelLayout(cfg, false).size();
  std::vector<std::vector<float>> planes(channels, std::vector<float>(1536));
  std::vector<const float*> pointers;
  for (std::size_t c = 0; c < channels; ++c) {
    for (int n = 0; n < 1536; ++n) planes[c][n] = 0.25f * std::sin(0.01f * (thread + c + 1) * n);
    pointers.push_back(planes[c].data());
  }
  Encoder encoder;
  int error = 0;
  ByteVector stream, out;
  if (!encoder.InitializeEncode(mode, map, error)) {
    failure = "InitializeEncode: " + std::to_string(error);
    return stream;
  }
  for (int f = 0; f < kFrames; ++f) {
    if (!encoder.Encode(pointers.data(), channels, 1536, out, error)) {
      failure = "Encode: " + std::to_string(error);
      return stream;
    }
    stream.insert(stream.end(), out.begin(), out.end());
  }
  if (!encoder.FinishEncode(out, error)) failure = "FinishEncode: " + std::to_string(error);
  stream.insert(stream.end(), out.begin(), out.end());
  return stream;
}

void DecodeAll(const ByteVector& stream, SessionResult& result) {
  auto position = boost::make_shared<std::size_t>(0);
  auto reader = boost::make_shared<ReadCallback>([&stream, position](std::uint8_t* buffer, std::size_t& size) {
    size = std::min(size, stream.size() - *position);
    std::copy_n(stream.data() + *position, size, buffer);
    *position += size;
    return size > 0;
  });
  Decoder decoder;
  int error = 0;
  if (!decoder.InitializeForDecode(reader, error)) {
    result.failure = "InitializeForDecode: " + std::to_string(error);
    return;
  }
  *position = 0;
  result.channels = decoder.GetAudioChannelLayout().size();
  std::vector<std::vector<float>> planes(result.channels, std::vector<float>(1024));
  std::vector<float*> pointers;
  for (auto& plane : planes) pointers.push_back(plane.data());
  for (;;) {
    std::size_t frames = 1024;
    const bool more = decoder.Decode(pointers.data(), result.channels, frames, error);
    result.frames += frames;
    if (!more) break;
  }
}

void RunSession(int thread, StartingGate& gate, SessionResult& result) {
  gate.ArriveAndWait();
  FirstUse(thread);
  // Alternate the two stream syntaxes and the channel counts across threads.
  const bool ac3 = thread % 2 == 0;
  const AudioChannelConfiguration cfg =
      thread % 4 < 2 ? kAudioChannelConfiguration_Acmod_20 : kAudioChannelConfiguration_Acmod_30;
  const ByteVector stream =
      EncodeTone(ac3 ? kCodecMode_DolbyDigital : kCodecMode_DolbyDigitalPlus, cfg, thread, result.failure);
  if (result.failure.empty()) DecodeAll(stream, result);
}

TEST(SessionsOnThreads, EncodeAndDecodeAtOnceFromTheFirstUseOn) {
  StartingGate gate(kThreads);
  std::vector<SessionResult> results(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back(RunSession, t, std::ref(gate), std::ref(results[t]));
  for (std::thread& thread : threads) thread.join();

  for (int t = 0; t < kThreads; ++t) {
    SCOPED_TRACE("thread " + std::to_string(t));
    EXPECT_EQ(results[t].failure, "");
    EXPECT_EQ(results[t].channels, t % 4 < 2 ? 2u : 3u);
    // The stream holds every input sample; the decoder drops its own delay only.
    EXPECT_GE(results[t].frames, (kFrames - 1) * 1536u);
  }
}

}  // namespace
