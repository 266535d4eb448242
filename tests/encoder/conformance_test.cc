// Every channel configuration, with and without LFE, in every engine mode, at the lowest, a
// middle and the highest data rate: the stream decodes with FFmpeg's CRC and bitstream checks,
// FFmpeg reports the right layout and rate, every channel's speech lands on its own channel,
// the round trip of every channel, the low-passed LFE included, is aligned after the reported
// delay and its SNR clears the pinned floor.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "dd_test_support.h"
#include "engine_session.h"

namespace ddenc_test {
namespace {

struct Case {
  int mode;
  int acmod;
  bool lfe;
  int kbps;
};

// FFmpeg's names of the decoded layouts, by acmod and LFE.
const char* const kLayouts[8][2] = {{"stereo", "2.1"},
                                    {"mono", "2 channels (FC+LFE)"},
                                    {"stereo", "2.1"},
                                    {"3.0", "3.1"},
                                    {"3.0(back)", "4 channels (FL+FR+LFE+BC)"},
                                    {"4.0", "4.1"},
                                    {"quad(side)", "5 channels (FL+FR+LFE+SL+SR)"},
                                    {"5.0(side)", "5.1(side)"}};

int MinimumRate(int acmod) {
  static const int kMin[8] = {64, 32, 64, 128, 128, 160, 160, 192};
  return kMin[acmod];
}

int NearestAc3Rate(int kbps) {
  static const int kRates[19] = {32,  40,  48,  56,  64,  80,  96,  112, 128, 160,
                                 192, 224, 256, 320, 384, 448, 512, 576, 640};
  int best = kRates[0];
  for (int r : kRates)
    if (std::abs(r - kbps) < std::abs(best - kbps)) best = r;
  return best;
}

std::vector<Case> AllCases() {
  std::vector<Case> cases;
  for (int mode : {0, 1, 3, 4}) {
    const bool ac3 = mode == 1 || mode == 3;
    const int max_rate = ac3 ? 640 : (mode == 0 ? 1024 : 256);
    for (int acmod = 0; acmod < 8; ++acmod) {
      if (mode == 4 && acmod != 1 && acmod != 2 && acmod != 7) continue;
      for (bool lfe : {false, true}) {
        const int low = MinimumRate(acmod);
        int mid = (low + max_rate) / 2;
        if (ac3) mid = NearestAc3Rate(mid);
        for (int kbps : {low, mid, max_rate}) cases.push_back({mode, acmod, lfe, kbps});
      }
    }
  }
  return cases;
}

std::string CaseName(const testing::TestParamInfo<Case>& info) {
  const Case& c = info.param;
  return "mode" + std::to_string(c.mode) + "_acmod" + std::to_string(c.acmod) +
         (c.lfe ? "_lfe_" : "_") + std::to_string(c.kbps);
}

// SNR floors (dB) of the full-bandwidth channels (DC filter off, DRC off) in their
// waveform-coded band, by data rate per full-bandwidth channel. The encoder is tuned by ear
// (PEAQ), not for waveform error: these floors only catch gross faults (a lost band, a wrong
// scale, a broken transform). Measured on the speech programme (lowest figure of each class in
// brackets) and pinned 2-3 dB below.
double SnrFloorDb(int kbps, int acmod) {
  static const int kFbw[8] = {2, 1, 2, 3, 3, 4, 4, 5};
  const double per_channel = static_cast<double>(kbps) / kFbw[acmod];
  if (per_channel >= 250) return 45;  // [47.3] mono 256
  if (per_channel >= 150) return 43;  // [45.8] 3/1 640
  if (per_channel >= 100) return 30;  // [32.1] mono 144
  if (per_channel >= 60) return 29;   // [31.9] 3/2 384
  if (per_channel >= 36) return 20;   // [22.8] 3/0 128
  return 10;                          // [12.2] mono 32
}

// How far the LFE's tones may drift from their phase (samples), see below.
constexpr double kLfePhaseSlack = 8.0;

// Delay (samples) of `out` against `in` at one frequency, from the phases of their projections
// on that tone: finer than a correlation peak, which the LFE's low tones make broad.
double ToneDelaySamples(const std::vector<float>& in, const std::vector<float>& out, double hz) {
  const double kPi = 3.14159265358979323846;
  double in_s = 0, in_c = 0, out_s = 0, out_c = 0;
  for (size_t n = 0; n < in.size() && n < out.size(); ++n) {
    const double w = 2 * kPi * hz * n / 48000.0;
    in_s += in[n] * std::sin(w), in_c += in[n] * std::cos(w);
    out_s += out[n] * std::sin(w), out_c += out[n] * std::cos(w);
  }
  const double lag = std::remainder(std::atan2(in_c, in_s) - std::atan2(out_c, out_s), 2 * kPi);
  return lag / (2 * kPi * hz) * 48000.0;
}

class Conformance : public testing::TestWithParam<Case> {};

TEST_P(Conformance, DecodesAlignedOnItsOwnChannels) {
  const Case c = GetParam();
  constexpr size_t kSamples = 48000;
  EncodeRequest req;
  req.mode = c.mode;
  req.slots = ddtest::SlotsForLayout(c.acmod, c.lfe);
  req.input = ddtest::SpeechForLayout(c.acmod, c.lfe, kSamples);
  req.params = {{DDPI_ENC_PARAM_DATARATE, c.kbps}, {DDPI_ENC_PARAM_ACMOD, c.acmod},
                {DDPI_ENC_PARAM_LFE, c.lfe},       {DDPI_ENC_PARAM_DRC_LINE, 0},
                {DDPI_ENC_PARAM_DRC_RF, 0},        {DDPI_ENC_PARAM_LFEFILT, 1}, {DDPI_ENC_PARAM_DCFILT, 0}};
  const EncodeResult enc = EncodeWithEngine(req);
  ASSERT_EQ(enc.error, 0);
  ASSERT_FALSE(enc.stream.empty());
  EXPECT_EQ(enc.stream.size() % (c.kbps * 4), 0u);

  const bool eac3 = c.mode == 0 || c.mode == 4;
  const std::string ext = eac3 ? "ec3" : "ac3";
  const ddtest::DecodeResult dec = ddtest::DecodeBytes(enc.stream, ext);
  ASSERT_TRUE(dec.Clean()) << dec.stderr_text;
  ASSERT_EQ(dec.channels, static_cast<int>(req.slots.size()));

  // A directory of this test's own: other test runs on the machine write their probes too.
  const std::string path = ddtest::TestTempDir().path() + "/probe." + ext;
  if (FILE* f = std::fopen(path.c_str(), "wb")) {
    std::fwrite(enc.stream.data(), 1, enc.stream.size(), f);
    std::fclose(f);
  }
  const ddtest::StreamInfo info = ddtest::ProbeFile(path);
  ASSERT_TRUE(info.ok) << info.error;
  EXPECT_EQ(info.codec_name, eac3 ? "eac3" : "ac3");
  EXPECT_EQ(info.channel_layout, kLayouts[c.acmod][c.lfe]);
  EXPECT_EQ(info.bit_rate, c.kbps * 1000L);

  // Decoded channel i (FFmpeg's order is ascending slot order) against input channel i.
  const double band = ddenc_test::WaveformBandHz(c.kbps, c.acmod, c.lfe, eac3);
  double signal = 0, noise = 0;
  for (size_t i = 0; i < req.slots.size(); ++i) {
    const std::vector<float>& in = req.input.channels[i];
    std::vector<float> out(dec.audio.channels[i].begin() + enc.delay,
                           dec.audio.channels[i].end());
    const bool is_lfe = req.slots[i] == 3;
    // Above the waveform-coded band the decoder synthesizes the signal: lag and error are
    // measured below it.
    const std::vector<float> in_band = band < 24000 ? ddtest::LowPass(in, band) : in;
    const std::vector<float> out_band = band < 24000 ? ddtest::LowPass(out, band) : out;
    if (!is_lfe) {
      EXPECT_EQ(ddtest::BestLag(in_band, out_band, 400), 0) << "channel " << i;
    }
    // The LFE's 120 Hz low-pass is linear-phase and its delay is the other channels' own: its
    // 40 and 70 Hz tones keep their phase (a minimum-phase low-pass would lag by about 180
    // samples; coding noise at the lowest rates moves the phase by a few samples' worth: 6.2
    // at 70 Hz in 1/0 + LFE at 32 kbps).
    if (is_lfe) {
      EXPECT_LT(std::fabs(ToneDelaySamples(in, out, 40)), kLfePhaseSlack) << "channel " << i;
      EXPECT_LT(std::fabs(ToneDelaySamples(in, out, 70)), kLfePhaseSlack) << "channel " << i;
    }
    const double own = ddtest::NormalizedCorrelation(in, out);
    EXPECT_GT(own, is_lfe ? 0.9 : 0.8) << "channel " << i;
    for (size_t j = 0; j < req.slots.size(); ++j) {
      if (j == i || req.slots[j] == 3) continue;
      EXPECT_GT(own, ddtest::NormalizedCorrelation(req.input.channels[j], out) + 0.3)
          << "channel " << i << " sounds like channel " << j;
    }
    if (is_lfe) continue;
    for (size_t n = 0; n < in_band.size() && n < out_band.size(); ++n) {
      signal += static_cast<double>(in_band[n]) * in_band[n];
      noise += static_cast<double>(out_band[n] - in_band[n]) * (out_band[n] - in_band[n]);
    }
    // Whatever the band's coding, the channel keeps its level.
    EXPECT_NEAR(ddtest::BandEnergyRatioDb(in, out, 0, 24000), 0.0, 1.5) << "channel " << i;
  }
  const double snr = 10 * std::log10(signal / noise);
  RecordProperty("snr_db", std::to_string(snr));
  std::printf("SNR mode %d acmod %d lfe %d %4d kbps: %.1f dB\n", c.mode, c.acmod, c.lfe, c.kbps,
              snr);
  EXPECT_GT(snr, SnrFloorDb(c.kbps, c.acmod));
}

INSTANTIATE_TEST_SUITE_P(Matrix, Conformance, testing::ValuesIn(AllCases()), CaseName);

// Two tones in stereo whose best matrix flips every half frame: L = R (sum and difference
// pays) for 768 samples, then L alone with R silent (left and right pays). A block sends its rematrixing
// flags only when they change, and the decoder keeps the previous ones otherwise: a change
// that failed to arrive would decode the silent R as a copy of L, or the shared half as
// sum and difference.
TEST(Rematrixing, FlagsThatChangeWithinAFrameReachTheDecoder) {
  constexpr size_t kSamples = 48000, kHalf = 768, kGuard = 512;
  std::vector<float> x(kSamples);
  for (size_t n = 0; n < kSamples; ++n)
    x[n] = static_cast<float>(0.3 * std::sin(2 * M_PI * 440 * n / 48000.0) +
                              0.1 * std::sin(2 * M_PI * 2930 * n / 48000.0));
  EncodeRequest req;
  req.slots = {0, 1};
  req.input.channels = {x, x};
  for (size_t n = 0; n < kSamples; ++n)
    if ((n / kHalf) % 2) req.input.channels[1][n] = 0;
  for (int mode : {DDPI_ENC_MODE_DD, DDPI_ENC_MODE_DDPLUS}) {
    req.mode = mode;
    req.params = {{DDPI_ENC_PARAM_DATARATE, 192}, {DDPI_ENC_PARAM_ACMOD, 2},
                  {DDPI_ENC_PARAM_LFE, 0},        {DDPI_ENC_PARAM_DRC_LINE, 0},
                  {DDPI_ENC_PARAM_DRC_RF, 0},     {DDPI_ENC_PARAM_DCFILT, 0}};
    const EncodeResult enc = EncodeWithEngine(req);
    ASSERT_EQ(enc.error, 0);
    const ddtest::DecodeResult dec =
        ddtest::DecodeBytes(enc.stream, mode == DDPI_ENC_MODE_DD ? "ac3" : "ec3");
    ASSERT_TRUE(dec.Clean()) << dec.stderr_text;
    ASSERT_EQ(dec.channels, 2);
    // Per half frame, away from the switches (the transform overlaps them): the error of R
    // against its source, relative to L's level.
    double worst_db = -200;
    for (size_t start = 4 * kHalf; start + kHalf < kSamples; start += kHalf) {
      double level = 0, error = 0;
      for (size_t n = start + kGuard / 2; n < start + kHalf - kGuard / 2; ++n) {
        const float out = dec.audio.channels[1][n + enc.delay];
        level += double(x[n]) * x[n];
        error += (out - req.input.channels[1][n]) * double(out - req.input.channels[1][n]);
      }
      worst_db = std::max(worst_db, 10 * std::log10(error / level));
    }
    EXPECT_LT(worst_db, -30) << "mode " << mode;
  }
}

// Loud noise in the five full-bandwidth channels pushes the shared SNR offset of E-AC-3 5.1 at
// its lowest usual rate down; the LFE's low tones must still come through clean (at the
// offset alone they kept only about 15 dB, enough to move their phase by a sample or two).
TEST(Lfe, StaysPreciseUnderLoudFullBandwidthChannels) {
  constexpr size_t kSamples = 96000;
  EncodeRequest req;
  req.mode = DDPI_ENC_MODE_DDPLUS;
  req.slots = ddtest::SlotsForLayout(7, true);
  for (int slot : req.slots) {
    if (slot != 3) {
      req.input.channels.push_back(ddtest::PinkNoise(kSamples, 0.2, 11 + slot));
      continue;
    }
    std::vector<float> lfe = ddtest::Sine(kSamples, 40.0, 0.03);
    ddtest::MixInto(&lfe, ddtest::Sine(kSamples, 70.0, 0.02));
    req.input.channels.push_back(lfe);
  }
  req.params = {{DDPI_ENC_PARAM_DATARATE, 192}, {DDPI_ENC_PARAM_ACMOD, 7},
                {DDPI_ENC_PARAM_LFE, 1},        {DDPI_ENC_PARAM_DRC_LINE, 0},
                {DDPI_ENC_PARAM_DRC_RF, 0},     {DDPI_ENC_PARAM_LFEFILT, 1},
                {DDPI_ENC_PARAM_DCFILT, 0}};
  const EncodeResult enc = EncodeWithEngine(req);
  ASSERT_EQ(enc.error, 0);
  const ddtest::DecodeResult dec = ddtest::DecodeBytes(enc.stream, "ec3");
  ASSERT_TRUE(dec.Clean()) << dec.stderr_text;
  ASSERT_EQ(dec.channels, 6);
  const size_t lfe = 3;  // FFmpeg's order is ascending slot order
  // Past the first frames, where the encoder's delay line still fills.
  const double snr = ddtest::SnrDb(req.input.channels[lfe], dec.audio.channels[lfe], 4800,
                                   4800 + enc.delay, kSamples - 9600);
  std::printf("LFE SNR under loud channels: %.1f dB\n", snr);
  EXPECT_GT(snr, 24);
}

// The frame budget's worst case: full-scale white noise in every channel, cut by gaps of
// silence so that each burst's onset switches to short transforms (fresh exponents in every
// block, the costliest side information there is). At each layout's lowest rate and the
// highest, every frame still fits: the stream keeps its size, decodes clean and every
// full-bandwidth channel keeps its level in the waveform-coded band.
TEST(Budget, FullScaleNoiseBurstsFitEveryFrame) {
  constexpr size_t kSamples = 24000;
  constexpr size_t kBurst = 4800, kGap = 2400;
  struct Layout {
    int acmod;
    bool lfe;
  };
  for (int mode : {DDPI_ENC_MODE_DDPLUS, DDPI_ENC_MODE_DD}) {
    const bool ac3 = mode == DDPI_ENC_MODE_DD;
    for (const Layout layout : {Layout{1, false}, Layout{2, false}, Layout{7, true}}) {
      for (int kbps : {MinimumRate(layout.acmod), ac3 ? 640 : 1024}) {
        SCOPED_TRACE(std::string(ac3 ? "AC-3" : "E-AC-3") + " acmod " +
                     std::to_string(layout.acmod) + " at " + std::to_string(kbps) + " kbps");
        EncodeRequest req;
        req.mode = mode;
        req.slots = ddtest::SlotsForLayout(layout.acmod, layout.lfe);
        for (size_t i = 0; i < req.slots.size(); ++i) {
          std::vector<float> x = ddtest::WhiteNoise(kSamples, 0.57, 40 + static_cast<uint32_t>(i));
          for (size_t n = 0; n < kSamples; ++n)
            if (n % (kBurst + kGap) >= kBurst) x[n] = 0.0f;
          req.input.channels.push_back(std::move(x));
        }
        req.params = {{DDPI_ENC_PARAM_DATARATE, kbps}, {DDPI_ENC_PARAM_ACMOD, layout.acmod},
                      {DDPI_ENC_PARAM_LFE, layout.lfe}, {DDPI_ENC_PARAM_DRC_LINE, 0},
                      {DDPI_ENC_PARAM_DRC_RF, 0},       {DDPI_ENC_PARAM_DCFILT, 0}};
        const EncodeResult enc = EncodeWithEngine(req);
        ASSERT_EQ(enc.error, 0);
        ASSERT_FALSE(enc.stream.empty());
        EXPECT_EQ(enc.stream.size() % (kbps * 4), 0u);
        const ddtest::DecodeResult dec = ddtest::DecodeBytes(enc.stream, ac3 ? "ac3" : "ec3");
        ASSERT_TRUE(dec.Clean()) << dec.stderr_text;
        ASSERT_EQ(dec.channels, static_cast<int>(req.slots.size()));
        // Up to 1 kHz short of the coded band's top, which frames with an attack low-pass.
        const double band = std::min(WaveformBandHz(kbps, layout.acmod, layout.lfe, !ac3),
                                     CodedBandHz(kbps, layout.acmod, layout.lfe, !ac3) - 1000);
        for (size_t i = 0; i < req.slots.size(); ++i) {
          if (req.slots[i] == 3) continue;  // the LFE keeps only its low-passed band
          const std::vector<float> out(dec.audio.channels[i].begin() + enc.delay,
                                       dec.audio.channels[i].end());
          EXPECT_NEAR(ddtest::BandEnergyRatioDb(req.input.channels[i], out, 0, band), 0.0, 1.5)
              << "channel " << i;
        }
      }
    }
  }
}

}  // namespace
}  // namespace ddenc_test
