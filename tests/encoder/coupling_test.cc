// Channel coupling through FFmpeg: every audio coding mode that can couple, in AC-3 and E-AC-3,
// at a rate where the encoder couples, decodes with CRC and bitstream checks, and each channel
// still correlates with its own source. Silence (frames whose coupled band is empty go
// uncoupled) decodes too.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dd_test_support.h"
#include "enc_frame.h"
#include "engine_session.h"
#include "ffmpeg_tool.h"
#include "metrics.h"
#include "planar.h"

namespace {

using ddenc_test::EncodeRequest;
using ddenc_test::EncodeResult;
using ddenc_test::EncodeWithEngine;

struct Case {
  bool eac3;
  int acmod;
  bool lfe;
  int kbps;
};

std::vector<Case> Cases() {
  std::vector<Case> cases;
  for (bool eac3 : {false, true})
    for (int acmod = 2; acmod < 8; ++acmod)
      for (bool lfe : {false, true}) {
        // The lowest rate, 32 to 43 kbps per channel, where the encoder couples; 2/0 at 80 kbps,
        // as below that its band is too narrow for a coupling range above the rematrixing bands.
        cases.push_back({eac3, acmod, lfe, acmod == 2 ? 80 : ddpi::enc::MinimumRate(acmod)});
      }
  return cases;
}

std::string Name(const testing::TestParamInfo<Case>& info) {
  const Case& c = info.param;
  return std::string(c.eac3 ? "eac3_" : "ac3_") + std::to_string(c.acmod) +
         (c.lfe ? "_lfe_" : "_") + std::to_string(c.kbps);
}

class Coupling : public testing::TestWithParam<Case> {};

EncodeResult Encode(const Case& c, const ddtest::Planar& input, const std::vector<int>& slots) {
  EncodeRequest req;
  req.mode = c.eac3 ? DDPI_ENC_MODE_DDPLUS : DDPI_ENC_MODE_DD;
  req.slots = slots;
  req.input = input;
  req.params = {{DDPI_ENC_PARAM_DATARATE, c.kbps}, {DDPI_ENC_PARAM_ACMOD, c.acmod},
                {DDPI_ENC_PARAM_LFE, c.lfe},       {DDPI_ENC_PARAM_DRC_LINE, 0},
                {DDPI_ENC_PARAM_DRC_RF, 0}};
  return EncodeWithEngine(req);
}

TEST_P(Coupling, CoupledStreamsDecodeCleanly) {
  const Case c = GetParam();
  ASSERT_TRUE(ddpi::enc::PlanForRate(c.kbps, c.acmod, c.lfe).coupling) << "case must couple";
  constexpr size_t kSamples = 24000;
  const std::vector<int> slots = ddtest::SlotsForLayout(c.acmod, c.lfe);
  const ddtest::Planar speech = ddtest::SpeechForLayout(c.acmod, c.lfe, kSamples);
  ddtest::Planar silence = speech;
  for (auto& ch : silence.channels) std::fill(ch.begin(), ch.end(), 0.0f);
  const std::string ext = c.eac3 ? "ec3" : "ac3";
  const ddtest::Planar* inputs[] = {&speech, &silence};
  for (const ddtest::Planar* input : inputs) {
    const EncodeResult enc = Encode(c, *input, slots);
    ASSERT_EQ(enc.error, 0);
    const ddtest::DecodeResult dec = ddtest::DecodeBytes(enc.stream, ext);
    ASSERT_TRUE(dec.Clean()) << dec.stderr_text;
    ASSERT_EQ(dec.channels, static_cast<int>(slots.size()));
    if (input != &speech) continue;
    for (size_t i = 0; i < slots.size(); ++i) {
      if (slots[i] == 3) continue;  // LFE is not coupled
      std::vector<float> out(dec.audio.channels[i].begin() + enc.delay,
                             dec.audio.channels[i].end());
      out.resize(kSamples);
      EXPECT_GT(ddtest::NormalizedCorrelation(speech.channels[i], out), 0.8) << "channel " << i;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(EveryCouplingMode, Coupling, testing::ValuesIn(Cases()), Name);

}  // namespace
