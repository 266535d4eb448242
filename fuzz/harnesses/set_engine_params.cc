#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "ddpi/ddpi_enc.h"
#include "fuzz_harnesses.h"

namespace ddfuzz {
namespace {

// Engine modes to open, the real ones more often than the ones the engine must refuse.
constexpr int kModes[] = {DDPI_ENC_MODE_DDPLUS, DDPI_ENC_MODE_DD, DDPI_ENC_MODE_BLURAY_PRIMARY,
                          DDPI_ENC_MODE_BLURAY_SECONDARY, DDPI_ENC_MODE_DDPLUS, DDPI_ENC_MODE_DD,
                          2, DDPI_ENC_MODE_NONE};
constexpr std::size_t kPairBytes = 5;

struct FreeMemory {
  void operator()(void* p) const { std::free(p); }
};

void IgnoreMessage(int, const char*, const char*, int, void*) {}

std::vector<ddpi_enc_param_s> ReadPairs(const std::uint8_t* data, std::size_t count) {
  std::vector<ddpi_enc_param_s> pairs(count);
  for (std::size_t i = 0; i < count; ++i, data += kPairBytes) {
    pairs[i].id = data[0];
    pairs[i].value = static_cast<std::int32_t>(std::uint32_t{data[1]} | std::uint32_t{data[2]} << 8 |
                                               std::uint32_t{data[3]} << 16 |
                                               std::uint32_t{data[4]} << 24);
  }
  return pairs;
}

// One frame in every slot: a tone of its own pitch over a click, loud enough to make
// every coding tool work.
class Frames {
 public:
  Frames() : planes_(DDPI_ENC_NUM_SLOTS, std::vector<float>(DDPI_ENC_FRAME_SAMPLES)) {
    for (std::size_t s = 0; s < planes_.size(); ++s)
      for (int n = 0; n < DDPI_ENC_FRAME_SAMPLES; ++n)
        planes_[s][n] = 0.5f * std::sin(0.01f * (s + 1) * n) + (n % 512 == 0 ? 0.4f : 0.0f);
  }

  int Process(ddpi_enc_handle engine) {
    ddpi_enc_process_ip_s input{};
    input.samples = DDPI_ENC_FRAME_SAMPLES;
    for (int s = 0; s < DDPI_ENC_NUM_SLOTS; ++s) input.channels[s] = planes_[s].data();
    ddpi_enc_process_op_s output{out_.data(), out_.size(), 0};
    const int result = ddpi_enc_process(engine, &input, &output);
    FuzzCheck(output.bytes_written >= 0 && static_cast<std::size_t>(output.bytes_written) <= out_.size(),
              "a frame fits the output buffer");
    return result;
  }

 private:
  std::vector<std::vector<float>> planes_;
  std::vector<std::uint8_t> out_ = std::vector<std::uint8_t>(DDPI_ENC_OUTPUT_BYTES);
};

}  // namespace

void SetEngineParams(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return;
  ddpi_enc_static_params_s setup{kModes[data[0] & 7], (data[0] >> 3) & 15};
  const std::int32_t program = data[0] >> 7;
  const std::vector<ddpi_enc_param_s> pairs = ReadPairs(data + 1, (size - 1) / kPairBytes);

  ddpi_enc_querymem_op_s need{};
  if (ddpi_enc_querymem(&setup, &need) != 0) return;
  // One pool serves every run, as a host reusing its buffer would: a fresh multi-megabyte
  // allocation per run costed more than the encoding itself.
  static std::unique_ptr<void, FreeMemory> memory;
  static std::size_t capacity = 0;
  if (capacity < need.memory_size) {
    capacity = (need.memory_size + 63) / 64 * 64;
    memory.reset(std::aligned_alloc(64, capacity));
  }
  ddpi_enc_memory_pool_s pool{need.memory_size, memory.get()};
  ddpi_enc_handle engine = nullptr;
  if (ddpi_enc_open(&engine, &setup, &pool, IgnoreMessage, nullptr) != 0) return;

  // Half the pairs before the first frame, the rest between frames, as a host changing
  // settings mid-stream would.
  static Frames frames;
  const std::size_t half = pairs.size() / 2;
  ddpi_enc_setparams(engine, program, static_cast<std::int32_t>(half), pairs.empty() ? nullptr : pairs.data());
  frames.Process(engine);
  ddpi_enc_setparams(engine, program, static_cast<std::int32_t>(pairs.size() - half),
                     pairs.empty() ? nullptr : pairs.data() + half);
  frames.Process(engine);
  frames.Process(engine);
  ddpi_enc_close(engine);
}

}  // namespace ddfuzz
