// A mono source panned off centre, through FFmpeg's decoder: rematrixing codes it as a sum and
// a weak difference, whose noise the decoder spreads into both outputs under the sum's masking.
// The encoder lowers the difference channel's precision to match (see RematrixMaskRelief) and
// spends the bits elsewhere. Both outputs keep the pan, and at E-AC-3 96k the rematrixed range
// comes out more precise than with both coded channels quantized alike. At AC-3 128k such a
// pair couples from 3.5 kHz (see PannedPair), whose coordinates must keep the pan as well.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "dd_test_support.h"
#include "engine_session.h"
#include "ffmpeg_tool.h"
#include "metrics.h"
#include "planar.h"
#include "signals.h"

namespace {

constexpr size_t kSamples = 96000;
constexpr float kRightGain = 0.8f;  // the difference lies 19 dB below the sum
// The range measured: the bins below 1.2 kHz are coded as left and right either way.
constexpr double kLowHz = 1200, kHighHz = 10000;

// x within [kLowHz, kHighHz).
std::vector<float> MeasuredRange(const std::vector<float>& x) {
  std::vector<float> band = ddtest::LowPass(x, kHighHz);
  ddtest::MixInto(&band, ddtest::LowPass(x, kLowHz), -1.0f);
  return band;
}

TEST(Rematrix, PannedMonoSourceKeepsItsPanAndPrecision) {
  struct Setting {
    int mode;
    int kbps;
    double min_snr_db;  // both outputs together: measured (35.7 and 27.0 dB), less 0.3-0.5 dB
    const char* format;
  };
  // E-AC-3 96k without the relief: 26.6 dB. At AC-3 128k, coupled from 3.5 kHz, the relief
  // moves it by 0.1 dB.
  const Setting settings[] = {{DDPI_ENC_MODE_DD, 128, 35.2, "ac3"},
                              {DDPI_ENC_MODE_DDPLUS, 96, 26.7, "ec3"}};
  // A held chord of harmonic tones: stable partials, which take bits at every rate.
  const std::vector<float> source = ddtest::ToneChords(kSamples, kSamples, 0.25, 3);
  ddtest::Planar input;
  input.channels = {source, source};
  for (float& x : input.channels[1]) x *= kRightGain;
  for (const Setting& s : settings) {
    SCOPED_TRACE(std::string(s.format) + " at " + std::to_string(s.kbps));
    const ddenc_test::StereoRoundTrip rt =
        ddenc_test::RoundTripStereo(s.mode, s.kbps, input, s.format);
    ASSERT_TRUE(rt.failure.empty()) << rt.failure;
    // Both outputs end to end, so that one error energy covers the pair.
    std::vector<float> ref, out;
    for (int c = 0; c < 2; ++c) {
      const std::vector<float>& d = rt.dec.audio.channels[c];
      const std::vector<float> r = MeasuredRange(input.channels[c]);
      const std::vector<float> o = MeasuredRange(
          std::vector<float>(d.begin() + rt.enc.delay, d.begin() + rt.enc.delay + kSamples));
      ref.insert(ref.end(), r.begin(), r.end());
      out.insert(out.end(), o.begin(), o.end());
    }
    const double pan_db = ddtest::BandEnergyRatioDb(
        std::vector<float>(out.begin(), out.begin() + kSamples),
        std::vector<float>(out.begin() + kSamples, out.end()), kLowHz, kHighHz);
    const double snr = ddtest::SnrDb(ref, out, 0, 0, ref.size());
    std::printf("%s %d kbps: SNR %.1f dB over %.0f-%.0f Hz, right against left %.2f dB\n",
                s.format, s.kbps, snr, kLowHz, kHighHz, pan_db);
    EXPECT_NEAR(pan_db, 20 * std::log10(kRightGain), 0.3);
    EXPECT_GT(snr, s.min_snr_db);
  }
}

}  // namespace
