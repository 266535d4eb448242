#include "engine_session.h"

#include <cstdlib>
#include <memory>

#include "enc_frame.h"

namespace ddenc_test {
namespace {

void OnMessage(int is_error, const char* message, const char* file, int line, void* context) {
  auto* messages = static_cast<std::vector<std::string>*>(context);
  messages->push_back(std::string(is_error ? "error: " : "warning: ") + (message ? message : "") +
                      " (" + (file ? file : "?") + ":" + std::to_string(line) + ")");
}

struct AlignedFree {
  void operator()(void* p) const { std::free(p); }
};

}  // namespace

EncodeResult EncodeWithEngine(const EncodeRequest& request) {
  EncodeResult result;
  ddpi_enc_static_params_s setup{request.mode, DDPI_ENC_NUM_SLOTS};
  ddpi_enc_querymem_op_s mem{};
  if ((result.error = ddpi_enc_querymem(&setup, &mem))) return result;
  result.delay = mem.delay_samples;
  const size_t size = (mem.memory_size + 63) / 64 * 64;
  std::unique_ptr<void, AlignedFree> memory(std::aligned_alloc(64, size));
  ddpi_enc_memory_pool_s pool{size, memory.get()};
  ddpi_enc_handle handle = nullptr;
  if ((result.error = ddpi_enc_open(&handle, &setup, &pool, OnMessage, &result.messages)))
    return result;
  std::vector<ddpi_enc_param_s> params;
  for (const auto& p : request.params) params.push_back({p.first, p.second});
  result.error = ddpi_enc_setparams(handle, 0, static_cast<int32_t>(params.size()),
                                    params.empty() ? nullptr : params.data());
  if (result.error) {
    ddpi_enc_close(handle);
    return result;
  }

  const size_t samples = request.input.frames();
  const size_t total = samples + mem.tail_samples;
  const int frames = static_cast<int>((total + 1535) / 1536);
  std::vector<std::vector<float>> planes(DDPI_ENC_NUM_SLOTS, std::vector<float>(1536));
  std::vector<uint8_t> out(DDPI_ENC_OUTPUT_BYTES);
  for (int f = 0; f < frames && !result.error; ++f) {
    ddpi_enc_process_ip_s ip{};
    ip.samples = 1536;
    for (auto& p : planes) std::fill(p.begin(), p.end(), 0.0f);
    for (size_t c = 0; c < request.slots.size(); ++c) {
      const std::vector<float>& src = request.input.channels[c];
      for (size_t n = 0; n < 1536; ++n) {
        const size_t i = f * 1536 + n;
        planes[request.slots[c]][n] = i < src.size() ? src[i] : 0.0f;
      }
    }
    for (int s = 0; s < DDPI_ENC_NUM_SLOTS; ++s) ip.channels[s] = planes[s].data();
    ddpi_enc_process_op_s op{out.data(), out.size(), 0};
    result.error = ddpi_enc_process(handle, &ip, &op);
    if (!result.error) {
      result.stream.insert(result.stream.end(), out.begin(), out.begin() + op.bytes_written);
      ++result.frames;
    }
  }
  ddpi_enc_close(handle);
  return result;
}

double WaveformBandHz(int kbps, int acmod, bool lfe, bool eac3) {
  const ddpi::enc::CodingPlan plan = ddpi::enc::PlanForRate(kbps, acmod, lfe, eac3);
  return plan.spx ? plan.spx_layout.begin * 93.75 : 24000;  // bins of 48000 / 512 Hz
}

double CodedBandHz(int kbps, int acmod, bool lfe, bool eac3) {
  return ddpi::enc::CodedBandEnd(ddpi::enc::PlanForRate(kbps, acmod, lfe, eac3)) * 93.75;
}

StereoRoundTrip RoundTripStereo(int mode, int kbps, const ddtest::Planar& input,
                                const std::string& extension) {
  EncodeRequest req;
  req.mode = mode;
  req.slots = ddtest::SlotsForLayout(2, false);
  req.input = input;
  req.params = {{DDPI_ENC_PARAM_DATARATE, kbps}, {DDPI_ENC_PARAM_ACMOD, 2},
                {DDPI_ENC_PARAM_LFE, 0},         {DDPI_ENC_PARAM_DRC_LINE, 0},
                {DDPI_ENC_PARAM_DRC_RF, 0}};
  StereoRoundTrip rt;
  rt.enc = EncodeWithEngine(req);
  if (rt.enc.error != 0) {
    rt.failure = "engine error " + std::to_string(rt.enc.error);
    return rt;
  }
  rt.dec = ddtest::DecodeBytes(rt.enc.stream, extension);
  if (!rt.dec.Clean()) rt.failure = "decode: " + rt.dec.stderr_text;
  else if (rt.dec.audio.channels.size() != 2) rt.failure = "decoded channels differ from 2";
  else if (rt.dec.audio.channels[0].size() < input.channels[0].size() + rt.enc.delay)
    rt.failure = "decoded stream shorter than the input after the delay";
  return rt;
}

}  // namespace ddenc_test
