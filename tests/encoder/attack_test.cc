// Attacks through FFmpeg's decoder: castanet-like bursts over a quiet tone keep the noise the
// encoder puts ahead of them low. In stereo the block that holds an attack switches to short
// transforms (a 5.1 mix keeps long ones), and it and the next block are quantized more finely
// than the rest of the frame (without that, the worst attack's noise ahead of it is 1.5-2 dB
// stronger).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
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
constexpr size_t kInterval = 9600;  // an attack every 200 ms, the first at 100 ms
constexpr size_t kWindow = 240;     // 5 ms

double Energy(const std::vector<float>& x, size_t from, size_t count) {
  double e = 0;
  for (size_t i = from; i < from + count && i < x.size(); ++i) e += double{x[i]} * x[i];
  return e;
}

// A burst every kInterval samples, the first at kInterval / 2: a raised-cosine rise over 1 ms,
// then 60 dB down after 15 ms.
double BurstEnvelope(size_t n) {
  if (n < kInterval / 2) return 0;
  const double t = static_cast<double>((n - kInterval / 2) % kInterval);
  constexpr double kRise = 48, kLength = 48000 * 15 / 1000;
  if (t < kRise) return 0.5 - 0.5 * std::cos(M_PI * t / kRise);
  return std::pow(10.0, -3.0 * (t - kRise) / kLength);
}

// Error energy in the 5 ms before each attack against the attack's first 5 ms, in dB, for
// every attack of every channel.
std::vector<double> PreEchoDb(const ddtest::Planar& input, const ddtest::Planar& decoded,
                              int delay) {
  std::vector<double> out;
  for (size_t c = 0; c < input.channels.size(); ++c) {
    const std::vector<float>& ref = input.channels[c];
    std::vector<float> error(kWindow);
    for (size_t onset = kInterval / 2; onset + kWindow < kSamples; onset += kInterval) {
      for (size_t i = 0; i < kWindow; ++i) {
        const size_t n = onset - kWindow + i;
        error[i] = decoded.channels[c][n + delay] - ref[n];
      }
      out.push_back(10 * std::log10(Energy(error, 0, kWindow) / Energy(ref, onset, kWindow)));
    }
  }
  return out;
}

TEST(Attacks, NoiseAheadOfAnAttackStaysFarBelowIt) {
  struct Setting {
    int mode;
    int kbps;
    double worst_db;  // measured worst over the attacks, plus about 2 dB
    const char* format;
  };
  // AC-3 raises the SNR offset around attacks, E-AC-3 (one offset per frame) lowers the
  // masking curves there by delta bit allocation: without it, 2 dB more at 96 kbps. At 128
  // kbps E-AC-3 couples its channels, except in frames with an attack, as the coupling
  // channel takes no delta.
  const Setting settings[] = {{DDPI_ENC_MODE_DD, 128, -14.5, "ac3"},
                              {DDPI_ENC_MODE_DD, 192, -15.5, "ac3"},
                              {DDPI_ENC_MODE_DDPLUS, 96, -15.5, "ec3"},
                              {DDPI_ENC_MODE_DDPLUS, 128, -15.0, "ec3"}};
  ddtest::Planar input;
  for (uint32_t seed : {1u, 2u}) {
    std::vector<float> x = ddtest::CastanetBursts(kSamples, kInterval, 0.5f, seed);
    ddtest::MixInto(&x, ddtest::Sine(kSamples, 440.0 * seed, 0.01));
    input.channels.push_back(x);
  }
  for (const Setting& s : settings) {
    SCOPED_TRACE(std::string(s.format) + " at " + std::to_string(s.kbps));
    const ddenc_test::StereoRoundTrip rt =
        ddenc_test::RoundTripStereo(s.mode, s.kbps, input, s.format);
    ASSERT_TRUE(rt.failure.empty()) << rt.failure;
    const std::vector<double> pre_echo = PreEchoDb(input, rt.dec.audio, rt.enc.delay);
    const double worst = *std::max_element(pre_echo.begin(), pre_echo.end());
    std::printf("%s %d kbps: worst pre-echo %.1f dB over %zu attacks\n", s.format, s.kbps, worst,
                pre_echo.size());
    EXPECT_LT(worst, s.worst_db);
  }
}

// Struck bars over bars still ringing (a glockenspiel): each strike rises too little over
// what rings before it to be heard ahead of its onset, and its spectrum is a few partials, so
// its block keeps the long transform. Two short ones would smear every partial's quantization
// noise over the band around the onset.
TEST(Attacks, MaskedTonalOnsetsKeepTheirPartialsClean) {
  constexpr size_t kLength = 3 * 48000;
  constexpr size_t kStrike = 23040;  // every 480 ms, the first at 240 ms
  ddtest::Planar input;
  input.channels.assign(2, std::vector<float>(kLength));
  const double notes[] = {1046.5, 1318.5, 1568.0, 2093.0, 1760.0, 1396.9, 2637.0, 1174.7};
  const double ratios[] = {1.0, 2.76, 5.40, 8.93};  // a bar's inharmonic partials
  std::vector<size_t> onsets;
  for (size_t k = 0; (k + 1) * kStrike < kLength; ++k) {
    const size_t at = kStrike / 2 + k * kStrike;
    onsets.push_back(at);
    for (size_t c = 0; c < 2; ++c)
      for (size_t i = 0; at + i < kLength; ++i) {
        const double t = static_cast<double>(i) / 48000;
        double v = 0;
        for (int p = 0; p < 4; ++p)
          v += std::exp(-t * (1.2 + 3.0 * p)) *
               std::sin(2 * M_PI * notes[k % 8] * ratios[p] * t) / (1 + p);
        input.channels[c][at + i] += static_cast<float>(
            0.2 * (c == k % 2 ? 1.0 : 0.6) * v * std::min(1.0, t * 20000));
      }
  }
  const ddenc_test::StereoRoundTrip rt =
      ddenc_test::RoundTripStereo(DDPI_ENC_MODE_DD, 128, input, "ac3");
  ASSERT_TRUE(rt.failure.empty()) << rt.failure;
  // SNR below 15 kHz (the coded band at this rate) over the 20 ms from 5 ms before each
  // strike that sounds over an earlier one: 34-40 dB; with short transforms one of them falls
  // to 24 dB.
  double worst = 200;
  for (size_t c = 0; c < 2; ++c) {
    const std::vector<float> ref = ddtest::LowPass(input.channels[c], 15000.0);
    std::vector<float> out(rt.dec.audio.channels[c].begin() + rt.enc.delay,
                           rt.dec.audio.channels[c].begin() + rt.enc.delay + kLength);
    out = ddtest::LowPass(out, 15000.0);
    for (size_t k = 1; k < onsets.size(); ++k) {
      double signal = 0, noise = 0;
      for (size_t i = onsets[k] - 240; i < onsets[k] + 720; ++i) {
        signal += double{ref[i]} * ref[i];
        noise += (double{out[i]} - ref[i]) * (double{out[i]} - ref[i]);
      }
      worst = std::min(worst, 10 * std::log10(signal / noise));
    }
  }
  std::printf("SNR around the strikes: worst %.1f dB\n", worst);
  EXPECT_GT(worst, 30.0);
}

// A 5.1 mix keeps long transforms at its attacks, whose pre-echo its bits hold: a short block
// would put a burst across every frequency above the coded band at its centre. Noise bursts
// below 12 kHz over a low tone in each of the five channels, at AC-3 448k and E-AC-3 256k: the
// decoded channels keep 90-93 dB between their whole band and 20-24 kHz, where short
// transforms at the attacks leave 69-71.
TEST(Attacks, MultichannelAttacksAddNothingAboveTheBand) {
  const std::vector<int> slots = {0, 1, 2, 4, 5};
  ddtest::Planar input;
  for (size_t c = 0; c < slots.size(); ++c) {
    // Noise below 12 kHz under the bursts' envelope, which rises over 1 ms so that they hold
    // nothing above 13 kHz either; a low tone gives every block's centre something to hold.
    std::vector<float> x = ddtest::LowPass(
        ddtest::WhiteNoise(kSamples, 0.5, static_cast<uint32_t>(3 + c)), 12000.0);
    for (size_t i = 0; i < kSamples; ++i) x[i] *= BurstEnvelope(i);
    ddtest::MixInto(&x, ddtest::Sine(kSamples, 110.0 * static_cast<double>(c + 1), 0.2));
    input.channels.push_back(x);
  }
  struct Setting {
    int mode;
    int kbps;
    double worst_db;  // measured worst pre-echo over the attacks, plus about 2 dB
    const char* format;
  };
  for (const Setting& s : {Setting{DDPI_ENC_MODE_DD, 448, -25.5, "ac3"},
                           Setting{DDPI_ENC_MODE_DDPLUS, 256, -13.0, "ec3"}}) {
    SCOPED_TRACE(std::string(s.format) + " at " + std::to_string(s.kbps));
    ddenc_test::EncodeRequest request;
    request.mode = s.mode;
    request.slots = slots;
    request.input = input;
    request.params = {{DDPI_ENC_PARAM_DATARATE, s.kbps}, {DDPI_ENC_PARAM_ACMOD, 7},
                      {DDPI_ENC_PARAM_LFE, 0},           {DDPI_ENC_PARAM_DRC_LINE, 0},
                      {DDPI_ENC_PARAM_DRC_RF, 0}};
    const ddenc_test::EncodeResult enc = ddenc_test::EncodeWithEngine(request);
    ASSERT_EQ(enc.error, 0);
    const ddtest::DecodeResult dec = ddtest::DecodeBytes(enc.stream, s.format);
    ASSERT_TRUE(dec.Clean()) << dec.stderr_text;
    ASSERT_EQ(dec.channels, 5);
    const std::vector<double> pre_echo = PreEchoDb(input, dec.audio, enc.delay);
    const double worst = *std::max_element(pre_echo.begin(), pre_echo.end());
    double closest = -200;  // 20-24 kHz against the whole band, the closest channel
    for (size_t c = 0; c < slots.size(); ++c) {
      const std::vector<float> out(dec.audio.channels[c].begin() + enc.delay,
                                   dec.audio.channels[c].begin() + enc.delay + kSamples);
      closest = std::max(closest, ddtest::BandEnergyDb(out, 20000, 24000) -
                                      ddtest::BandEnergyDb(out, 0, 24000));
    }
    std::printf("%s %d kbps: worst pre-echo %.1f dB over %zu attacks, 20-24 kHz %.1f dB\n",
                s.format, s.kbps, worst, pre_echo.size(), closest);
    EXPECT_LT(worst, s.worst_db);
    EXPECT_LT(closest, -85.0);
  }
}

}  // namespace
