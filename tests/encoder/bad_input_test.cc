// Bad calls and bad samples: every misuse returns its code, nothing crashes, and samples that
// are not numbers or far beyond full scale never break a frame.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <vector>

#include "dd_test_support.h"
#include "engine_session.h"

namespace ddenc_test {
namespace {

struct Instance {
  std::vector<uint8_t> pool;
  ddpi_enc_handle handle = nullptr;
  explicit Instance(int mode) {
    ddpi_enc_static_params_s setup{mode, DDPI_ENC_NUM_SLOTS};
    ddpi_enc_querymem_op_s mem{};
    EXPECT_EQ(ddpi_enc_querymem(&setup, &mem), 0);
    pool.resize(mem.memory_size);
    ddpi_enc_memory_pool_s p{pool.size(), pool.data()};
    EXPECT_EQ(ddpi_enc_open(&handle, &setup, &p, nullptr, nullptr), 0);
  }
  ~Instance() {
    if (handle) ddpi_enc_close(handle);
  }
  int Set(int id, int value) {
    ddpi_enc_param_s p{id, value};
    return ddpi_enc_setparams(handle, 0, 1, &p);
  }
};

TEST(BadCalls, NullPointers) {
  ddpi_enc_static_params_s setup{DDPI_ENC_MODE_DD, 6};
  ddpi_enc_querymem_op_s mem{};
  std::vector<uint8_t> buf(1 << 20);
  ddpi_enc_memory_pool_s pool{buf.size(), buf.data()};
  ddpi_enc_handle h = nullptr;
  EXPECT_EQ(ddpi_enc_query(nullptr), DDPI_ENC_ERR_NULL_PARAMETER);
  EXPECT_EQ(ddpi_enc_querymem(nullptr, &mem), DDPI_ENC_ERR_NULL_PARAMETER);
  EXPECT_EQ(ddpi_enc_querymem(&setup, nullptr), DDPI_ENC_ERR_NULL_PARAMETER);
  EXPECT_EQ(ddpi_enc_open(nullptr, &setup, &pool, nullptr, nullptr), DDPI_ENC_ERR_NULL_PARAMETER);
  EXPECT_EQ(ddpi_enc_open(&h, nullptr, &pool, nullptr, nullptr), DDPI_ENC_ERR_NULL_PARAMETER);
  EXPECT_EQ(ddpi_enc_open(&h, &setup, nullptr, nullptr, nullptr), DDPI_ENC_ERR_NULL_PARAMETER);
  ddpi_enc_memory_pool_s no_data{buf.size(), nullptr};
  EXPECT_EQ(ddpi_enc_open(&h, &setup, &no_data, nullptr, nullptr), DDPI_ENC_ERR_NULL_PARAMETER);
  EXPECT_EQ(ddpi_enc_setparams(nullptr, 0, 0, nullptr), DDPI_ENC_ERR_NULL_PARAMETER);
  EXPECT_EQ(ddpi_enc_process(nullptr, nullptr, nullptr), DDPI_ENC_ERR_NULL_PARAMETER);
  EXPECT_EQ(ddpi_enc_close(nullptr), DDPI_ENC_ERR_NULL_PARAMETER);

  Instance inst(DDPI_ENC_MODE_DD);
  EXPECT_EQ(ddpi_enc_setparams(inst.handle, 0, 2, nullptr), DDPI_ENC_ERR_NULL_PARAMETER);
  ddpi_enc_process_op_s op{buf.data(), buf.size(), 0};
  EXPECT_EQ(ddpi_enc_process(inst.handle, nullptr, &op), DDPI_ENC_ERR_NULL_PARAMETER);
  ddpi_enc_process_ip_s ip{};
  ip.samples = 1536;  // channel pointers left null
  EXPECT_EQ(ddpi_enc_process(inst.handle, &ip, &op), DDPI_ENC_ERR_INPUT_BUFFER_DESCRIPTOR);
}

TEST(BadCalls, ModesAndPools) {
  ddpi_enc_querymem_op_s mem{};
  for (int mode : {-1, 2, 5, 9, 10, 1000}) {
    ddpi_enc_static_params_s setup{mode, 11};
    EXPECT_EQ(ddpi_enc_querymem(&setup, &mem), DDPI_ENC_ERR_UNSUPPORTED_MODE) << mode;
  }
  ddpi_enc_static_params_s setup{DDPI_ENC_MODE_DDPLUS, 11};
  ASSERT_EQ(ddpi_enc_querymem(&setup, &mem), 0);
  EXPECT_EQ(mem.delay_samples, 767);  // 511 pre-processing + 256 transform overlap
  EXPECT_EQ(mem.tail_samples, 767);
  std::vector<uint8_t> buf(mem.memory_size);
  ddpi_enc_handle h = nullptr;
  ddpi_enc_memory_pool_s zero{0, buf.data()};
  EXPECT_EQ(ddpi_enc_open(&h, &setup, &zero, nullptr, nullptr), DDPI_ENC_ERR_FATAL);
  ddpi_enc_memory_pool_s small{mem.memory_size / 2, buf.data()};
  EXPECT_EQ(ddpi_enc_open(&h, &setup, &small, nullptr, nullptr), DDPI_ENC_ERR_FATAL);
  EXPECT_EQ(h, nullptr);
  ddpi_enc_static_params_s bad_channels{DDPI_ENC_MODE_DDPLUS, 0};
  EXPECT_EQ(ddpi_enc_querymem(&bad_channels, &mem), DDPI_ENC_ERR_CHANS);
}

TEST(BadCalls, ParametersOutsideTheirDomains) {
  Instance ac3(DDPI_ENC_MODE_DD);
  EXPECT_EQ(ac3.Set(2, 0), DDPI_ENC_ERR_UNSUPPORTED_PARAM);
  EXPECT_EQ(ac3.Set(999, 0), DDPI_ENC_ERR_UNSUPPORTED_PARAM);
  EXPECT_EQ(ac3.Set(DDPI_ENC_PARAM_DATARATE, 100), DDPI_ENC_ERR_BITRATE);
  EXPECT_EQ(ac3.Set(DDPI_ENC_PARAM_DATARATE, 768), DDPI_ENC_ERR_BITRATE);
  EXPECT_EQ(ac3.Set(DDPI_ENC_PARAM_ACMOD, 8), DDPI_ENC_ERR_INVALID_AUDIO_CODING_MODE);
  EXPECT_EQ(ac3.Set(DDPI_ENC_PARAM_LFE, 2), DDPI_ENC_ERR_INVALID_LFE_MODE);
  EXPECT_EQ(ac3.Set(DDPI_ENC_PARAM_DIALNORM, 0), DDPI_ENC_ERR_INVALID_DIALNORM);
  EXPECT_EQ(ac3.Set(DDPI_ENC_PARAM_DIALNORM, 32), DDPI_ENC_ERR_INVALID_DIALNORM);
  EXPECT_EQ(ac3.Set(DDPI_ENC_PARAM_DMIXMOD, 3), DDPI_ENC_ERR_INVALID_DMIXMOD);  // E-AC-3 only
  EXPECT_EQ(ac3.Set(DDPI_ENC_PARAM_LTRTSURMIXLEV, 2), DDPI_ENC_ERR_INVALID_LTRTSURMIXLEV);
  EXPECT_EQ(ac3.Set(DDPI_ENC_PARAM_LOROCMIXLEV, 8), DDPI_ENC_ERR_INVALID_LOROCMIXLEV);
  EXPECT_EQ(ac3.Set(DDPI_ENC_PARAM_MIXLEVEL, 79), DDPI_ENC_ERR_INVALID_MIXLEVEL);
  EXPECT_EQ(ac3.Set(DDPI_ENC_PARAM_DRC_LINE, 6), DDPI_ENC_ERR_INVALID_DYNRNG_PROFILE);
  EXPECT_EQ(ac3.Set(DDPI_ENC_PARAM_DRC_RF, -1), DDPI_ENC_ERR_INVALID_COMPR_PROFILE);
  EXPECT_EQ(ac3.Set(DDPI_ENC_PARAM_BSMOD, 8), DDPI_ENC_ERR_INVALID_BSMOD);
  EXPECT_EQ(ac3.Set(DDPI_ENC_PARAM_ROOMTYP, 3), DDPI_ENC_ERR_INVALID_ROOMTYP);
  EXPECT_EQ(ac3.Set(DDPI_ENC_PARAM_DSURMOD, 3), DDPI_ENC_ERR_INVALID_DSURMOD);
  EXPECT_EQ(ac3.Set(DDPI_ENC_PARAM_INPUT_FORMAT, 2), DDPI_ENC_ERR_INPUT_BUFFER_DESCRIPTOR);
  EXPECT_EQ(ac3.Set(DDPI_ENC_PARAM_MODE, DDPI_ENC_MODE_DDPLUS), DDPI_ENC_ERR_READONLY_PARAM);
  EXPECT_EQ(ac3.Set(DDPI_ENC_PARAM_DATARATE, 64), DDPI_ENC_ERR_RATE);  // too low for 3/2
  ddpi_enc_param_s other_program{DDPI_ENC_PARAM_BSMOD, 1};
  EXPECT_NE(ddpi_enc_setparams(ac3.handle, 1, 1, &other_program), 0);

  Instance ddp(DDPI_ENC_MODE_DDPLUS);
  EXPECT_EQ(ddp.Set(DDPI_ENC_PARAM_DATARATE, 333), 0);  // any integer rate
  EXPECT_EQ(ddp.Set(DDPI_ENC_PARAM_DATARATE, 1025), DDPI_ENC_ERR_BITRATE);
  Instance secondary(DDPI_ENC_MODE_BLURAY_SECONDARY);
  EXPECT_EQ(secondary.Set(DDPI_ENC_PARAM_ACMOD, 3), DDPI_ENC_ERR_INVALID_AUDIO_CODING_MODE);
  EXPECT_EQ(secondary.Set(DDPI_ENC_PARAM_DATARATE, 320), DDPI_ENC_ERR_BITRATE);
}

TEST(BadCalls, ProcessingRules) {
  Instance inst(DDPI_ENC_MODE_DD);
  std::vector<float> zeros(1536);
  ddpi_enc_process_ip_s ip{};
  ip.samples = 1536;
  for (auto& c : ip.channels) c = zeros.data();
  std::vector<uint8_t> out(DDPI_ENC_OUTPUT_BYTES);
  ddpi_enc_process_op_s small{out.data(), 100, 0};
  EXPECT_EQ(ddpi_enc_process(inst.handle, &ip, &small), DDPI_ENC_ERR_OUTPUT_BUFFER_DESCRIPTOR);
  ddpi_enc_process_op_s op{out.data(), out.size(), 0};
  ip.samples = 1024;
  EXPECT_EQ(ddpi_enc_process(inst.handle, &ip, &op), DDPI_ENC_ERR_BLOCKSIZE);
  ip.samples = 1536;
  ASSERT_EQ(ddpi_enc_process(inst.handle, &ip, &op), 0);
  EXPECT_EQ(op.bytes_written, 448 * 4);  // mode 1 defaults: 448 kbps 3/2 + LFE
  EXPECT_EQ(inst.Set(DDPI_ENC_PARAM_BSMOD, 1), DDPI_ENC_ERR_READONLY_PARAM);
}

TEST(BadSamples, NonFiniteAndHugeInputIsClippedWithAWarning) {
  for (int mode : {1, 0}) {
    EncodeRequest req;
    req.mode = mode;
    req.slots = ddtest::SlotsForLayout(7, true);
    req.input = ddtest::SpeechForLayout(7, true, 24000);
    const float bad[4] = {std::numeric_limits<float>::quiet_NaN(),
                          std::numeric_limits<float>::infinity(),
                          -std::numeric_limits<float>::infinity(), 1e30f};
    for (size_t c = 0; c < req.input.channels.size(); ++c)
      for (size_t n = c; n < 24000; n += 97) req.input.channels[c][n] = bad[(n / 97) % 4];
    for (size_t n = 5000; n < 9000; ++n) req.input.channels[0][n] *= 1000.0f;
    req.params = {{DDPI_ENC_PARAM_DATARATE, 384}};
    const EncodeResult r = EncodeWithEngine(req);
    ASSERT_EQ(r.error, 0);
    EXPECT_GE(r.messages.size(), 2u);  // one warning per kind of repair
    const ddtest::DecodeResult d = ddtest::DecodeBytes(r.stream, mode == 1 ? "ac3" : "ec3");
    EXPECT_TRUE(d.Clean()) << d.stderr_text;
    for (const auto& ch : d.audio.channels)
      for (float x : ch) ASSERT_TRUE(std::isfinite(x));
  }
}

}  // namespace
}  // namespace ddenc_test
