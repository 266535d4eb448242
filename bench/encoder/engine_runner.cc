#include "engine_runner.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <ddpi/ddpi_enc.h>

namespace ddbench {
namespace {

struct EngineApi {
  decltype(&ddpi_enc_querymem) querymem = nullptr;
  decltype(&ddpi_enc_open) open = nullptr;
  decltype(&ddpi_enc_setparams) setparams = nullptr;
  decltype(&ddpi_enc_process) process = nullptr;
  decltype(&ddpi_enc_close) close = nullptr;

  bool Load(void* module) {
    querymem = reinterpret_cast<decltype(querymem)>(dlsym(module, "ddpi_enc_querymem"));
    open = reinterpret_cast<decltype(open)>(dlsym(module, "ddpi_enc_open"));
    setparams = reinterpret_cast<decltype(setparams)>(dlsym(module, "ddpi_enc_setparams"));
    process = reinterpret_cast<decltype(process)>(dlsym(module, "ddpi_enc_process"));
    close = reinterpret_cast<decltype(close)>(dlsym(module, "ddpi_enc_close"));
    return querymem && open && setparams && process && close;
  }
};

// Our own float WAV files: finds the fmt and data chunks and then reads frames on demand.
class FloatWavStream {
 public:
  bool Open(const std::string& path, std::string* error) {
    file_ = std::fopen(path.c_str(), "rb");
    if (file_ == nullptr) return Fail(error, "cannot open " + path);
    unsigned char riff[12];
    if (std::fread(riff, 1, 12, file_) != 12 || std::memcmp(riff, "RIFF", 4) != 0) {
      return Fail(error, "not a WAV file");
    }
    unsigned char chunk[8];
    while (std::fread(chunk, 1, 8, file_) == 8) {
      uint32_t size;
      std::memcpy(&size, chunk + 4, 4);
      if (std::memcmp(chunk, "fmt ", 4) == 0) {
        std::vector<unsigned char> fmt(size);
        if (std::fread(fmt.data(), 1, size, file_) != size) break;
        channels_ = fmt[2] | (fmt[3] << 8);
        const int bits = fmt[14] | (fmt[15] << 8);
        if (bits != 32) return Fail(error, "the engine bench reads 32-bit float WAV only");
        if (size & 1) std::fseek(file_, 1, SEEK_CUR);
      } else if (std::memcmp(chunk, "data", 4) == 0) {
        return channels_ > 0 ? true : Fail(error, "data before fmt");
      } else {
        std::fseek(file_, size + (size & 1), SEEK_CUR);
      }
    }
    return Fail(error, "no data chunk");
  }

  ~FloatWavStream() {
    if (file_ != nullptr) std::fclose(file_);
  }

  int channels() const { return channels_; }

  // Fills planes[c][0..frames) (zero past the end); returns the frames actually read.
  size_t Read(std::vector<std::vector<float>>* planes, size_t frames) {
    interleaved_.resize(frames * channels_);
    const size_t got = std::fread(interleaved_.data(), sizeof(float) * channels_, frames, file_);
    for (int c = 0; c < channels_; ++c) {
      for (size_t i = 0; i < frames; ++i) {
        (*planes)[c][i] = i < got ? interleaved_[i * channels_ + c] : 0.0f;
      }
    }
    return got;
  }

 private:
  static bool Fail(std::string* error, const std::string& text) {
    *error = text;
    return false;
  }

  FILE* file_ = nullptr;
  int channels_ = 0;
  std::vector<float> interleaved_;
};

}  // namespace

EngineReport RunEngine(const EngineJob& job) {
  EngineReport report;
  void* module = dlopen(job.engine_path.c_str(), RTLD_NOW | RTLD_LOCAL);
  EngineApi api;
  if (module == nullptr || !api.Load(module)) {
    report.error = "cannot load the engine: " + std::string(module ? "missing symbols" : dlerror());
    return report;
  }
  FloatWavStream input;
  if (!input.Open(job.input_wav, &report.error)) return report;

  ddpi_enc_static_params_s setup{job.mode, input.channels()};
  ddpi_enc_querymem_op_s memory{};
  int rc = api.querymem(&setup, &memory);
  if (rc != 0) {
    report.error = "ddpi_enc_querymem failed: " + std::to_string(rc);
    return report;
  }
  report.delay_samples = memory.delay_samples;
  report.tail_samples = memory.tail_samples;
  const size_t pool_size = (memory.memory_size + 63) / 64 * 64;
  void* pool_data = std::aligned_alloc(64, pool_size);
  ddpi_enc_memory_pool_s pool{memory.memory_size, pool_data};
  ddpi_enc_handle handle = nullptr;
  rc = api.open(&handle, &setup, &pool, nullptr, nullptr);
  if (rc == 0) {
    // 8 channels are 7.1 (configuration 21: L R C LFE Ls Rs Lrs Rrs, the slots in order).
    const int channels = input.channels();
    const int acmod = channels == 8 ? 21 : channels >= 5 ? 7 : channels == 1 ? 1 : 2;
    const bool lfe = channels == 6 || channels == 8;
    const ddpi_enc_param_s params[] = {{DDPI_ENC_PARAM_DATARATE, job.kbps},
                                       {DDPI_ENC_PARAM_ACMOD, acmod},
                                       {DDPI_ENC_PARAM_LFE, lfe ? 1 : 0},
                                       {DDPI_ENC_PARAM_INPUT_FORMAT, 1}};
    rc = api.setparams(handle, 0, sizeof(params) / sizeof(params[0]), params);
  }
  if (rc != 0) {
    report.error = "engine open/setparams failed: " + std::to_string(rc);
    if (handle != nullptr) api.close(handle);
    std::free(pool_data);
    return report;
  }

  FILE* out = std::fopen(job.output_path.c_str(), "wb");
  std::vector<std::vector<float>> planes(input.channels(),
                                         std::vector<float>(DDPI_ENC_FRAME_SAMPLES));
  const std::vector<float> zeros(DDPI_ENC_FRAME_SAMPLES, 0.0f);
  std::vector<uint8_t> buffer(DDPI_ENC_OUTPUT_BYTES);
  long flush_frames = (memory.tail_samples + DDPI_ENC_FRAME_SAMPLES - 1) / DDPI_ENC_FRAME_SAMPLES;
  bool more = true;
  while (rc == 0 && (more || flush_frames > 0)) {
    if (more) {
      more = input.Read(&planes, DDPI_ENC_FRAME_SAMPLES) == DDPI_ENC_FRAME_SAMPLES;
    } else {
      for (auto& plane : planes) std::fill(plane.begin(), plane.end(), 0.0f);
      --flush_frames;
    }
    ddpi_enc_process_ip_s in{};
    in.samples = DDPI_ENC_FRAME_SAMPLES;
    for (int slot = 0; slot < DDPI_ENC_NUM_SLOTS; ++slot) {
      in.channels[slot] = slot < input.channels() ? planes[slot].data() : zeros.data();
    }
    if (input.channels() == 2) in.channels[2] = zeros.data();
    if (input.channels() == 1) {  // a mono programme is its centre channel
      in.channels[0] = zeros.data();
      in.channels[2] = planes[0].data();
    }
    ddpi_enc_process_op_s result{buffer.data(), buffer.size(), 0};
    rc = api.process(handle, &in, &result);
    if (rc == 0 && result.bytes_written > 0) {
      std::fwrite(buffer.data(), 1, static_cast<size_t>(result.bytes_written), out);
      report.bytes += result.bytes_written;
    }
    ++report.frames;
  }
  std::fclose(out);
  api.close(handle);
  std::free(pool_data);
  if (rc != 0) {
    report.error = "ddpi_enc_process failed: " + std::to_string(rc);
    return report;
  }
  report.ok = true;
  return report;
}

}  // namespace ddbench
