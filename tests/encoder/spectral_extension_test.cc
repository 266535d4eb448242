// Spectral extension through FFmpeg's decoder: at the E-AC-3 rates that use it, a broadband
// signal decodes with each channel's upper band back at the original's level (or the share of
// it the plan asks for) although no mantissas carry it, a signal with nothing up there gets
// nothing there, a stable partial up there stays where it is, and a held harmonic tone gets no
// copies of its lower partials.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "dd_test_support.h"
#include "enc_frame.h"
#include "engine_session.h"
#include "ffmpeg_tool.h"
#include "metrics.h"
#include "planar.h"
#include "signals.h"

namespace {

using ddenc_test::EncodeRequest;
using ddenc_test::EncodeResult;
using ddenc_test::EncodeWithEngine;

struct Case {
  int acmod;
  bool lfe;
  int kbps;
};

constexpr Case kCases[] = {{1, false, 48}, {2, false, 96}, {7, true, 192}};
constexpr size_t kSamples = 48000;

// Every full-bandwidth channel gets `signal(channel)`; the LFE stays silent.
template <typename Signal>
ddtest::Planar Programme(const Case& c, Signal signal) {
  ddtest::Planar input;
  const std::vector<int> slots = ddtest::SlotsForLayout(c.acmod, c.lfe);
  for (size_t i = 0; i < slots.size(); ++i)
    input.channels.push_back(slots[i] == 3 ? ddtest::Silence(kSamples) : signal(i));
  return input;
}

ddtest::Planar Decode(const Case& c, const ddtest::Planar& input, int* delay) {
  EncodeRequest req;
  req.mode = DDPI_ENC_MODE_DDPLUS;
  req.slots = ddtest::SlotsForLayout(c.acmod, c.lfe);
  req.input = input;
  req.params = {{DDPI_ENC_PARAM_DATARATE, c.kbps}, {DDPI_ENC_PARAM_ACMOD, c.acmod},
                {DDPI_ENC_PARAM_LFE, c.lfe},       {DDPI_ENC_PARAM_DRC_LINE, 0},
                {DDPI_ENC_PARAM_DRC_RF, 0}};
  const EncodeResult enc = EncodeWithEngine(req);
  EXPECT_EQ(enc.error, 0);
  const ddtest::DecodeResult dec = ddtest::DecodeBytes(enc.stream, "ec3");
  EXPECT_TRUE(dec.Clean()) << dec.stderr_text;
  *delay = enc.delay;
  return dec.audio;
}

// The extension's range [begin, end) in Hz.
std::pair<double, double> ExtensionRange(const Case& c) {
  const ddpi::enc::CodingPlan plan = ddpi::enc::PlanForRate(c.kbps, c.acmod, c.lfe, true);
  EXPECT_TRUE(plan.spx);
  return {plan.spx_layout.begin * 93.75, plan.spx_layout.end * 93.75};
}

// The level the extension rebuilds its range at, against the original's, in dB.
double RebuiltLevelDb(const Case& c) {
  const ddpi::enc::CodingPlan plan = ddpi::enc::PlanForRate(c.kbps, c.acmod, c.lfe, true);
  return 10 * std::log10(plan.spx_energy);
}

std::vector<float> Aligned(const std::vector<float>& decoded, int delay) {
  std::vector<float> out(decoded.begin() + delay, decoded.end());
  out.resize(kSamples);
  return out;
}

// Encodes `input` at every case's setting and calls check(range, level, channel, input
// channel, decoded channel) for each full-bandwidth channel, level being RebuiltLevelDb.
template <typename Signal, typename Check>
void ForEachDecodedChannel(Signal signal, Check check) {
  for (const Case& c : kCases) {
    SCOPED_TRACE("acmod " + std::to_string(c.acmod) + " at " + std::to_string(c.kbps));
    const std::pair<double, double> range = ExtensionRange(c);
    const double level = RebuiltLevelDb(c);
    const ddtest::Planar input = Programme(c, signal);
    int delay = 0;
    const ddtest::Planar decoded = Decode(c, input, &delay);
    ASSERT_EQ(decoded.channels.size(), input.channels.size());
    const std::vector<int> slots = ddtest::SlotsForLayout(c.acmod, c.lfe);
    for (size_t i = 0; i < slots.size(); ++i)
      if (slots[i] != 3)
        check(range, level, i, input.channels[i], Aligned(decoded.channels[i], delay));
  }
}

TEST(SpectralExtension, RestoresTheUpperBandsLevel) {
  const auto noise = [](size_t i) { return ddtest::PinkNoise(kSamples, 0.1, static_cast<uint32_t>(i + 1)); };
  ForEachDecodedChannel(noise, [](std::pair<double, double> range, double level, size_t i,
                                  const std::vector<float>& in, const std::vector<float>& out) {
    const auto [begin, end] = range;
    // Within the range, band by band halves: the coordinates follow the spectrum's slope
    // (1.5 kHz slices measured within 1.7 dB).
    const double middle = 0.5 * (begin + end);
    EXPECT_NEAR(ddtest::BandEnergyRatioDb(in, out, begin, middle), level, 1.5) << "channel " << i;
    EXPECT_NEAR(ddtest::BandEnergyRatioDb(in, out, middle, end), level, 1.5) << "channel " << i;
    // The channel is still its own below the range.
    EXPECT_GT(ddtest::SnrDb(ddtest::LowPass(in, begin), ddtest::LowPass(out, begin), 0, 0, kSamples), 8.0)
        << "channel " << i;
  });
}

TEST(SpectralExtension, InventsNothingAboveAToneThatHasNothingThere) {
  const auto tone = [](size_t i) { return ddtest::Sine(kSamples, 500.0 * static_cast<double>(i + 1), 0.3); };
  ForEachDecodedChannel(tone, [](std::pair<double, double> range, double, size_t i,
                                 const std::vector<float>&, const std::vector<float>& out) {
    const auto [begin, end] = range;
    // Against the channel's own tone the extended range stays 50 dB down: measured 56-75 dB
    // down, where coding the range as mantissas leaves 49-67 dB.
    EXPECT_LT(ddtest::BandEnergyDb(out, begin, end) - ddtest::BandEnergyDb(out, 0, begin), -50.0)
        << "channel " << i;
  });
}

TEST(SpectralExtension, KeepsAStableUpperPartialWhereItIs) {
  // A partial above where the extension begins would be rebuilt from copies of the partials
  // below it, at the wrong frequencies: the channel keeps its own mantissas there instead,
  // while its noisy neighbour is extended.
  const Case c = {2, false, 96};
  const auto [begin, end] = ExtensionRange(c);
  ASSERT_LT(begin, 10400.0);
  ddtest::Planar input;
  input.channels.push_back(ddtest::Sine(kSamples, 1000, 0.3));
  ddtest::MixInto(&input.channels[0], ddtest::Sine(kSamples, 10500, 0.05));
  input.channels.push_back(ddtest::PinkNoise(kSamples, 0.1, 7));
  int delay = 0;
  const ddtest::Planar decoded = Decode(c, input, &delay);
  ASSERT_EQ(decoded.channels.size(), 2u);
  const std::vector<float> tonal = Aligned(decoded.channels[0], delay);
  // Measured: the partial -5.8 dB (the rate starves it a little), the rest of the range 20-29
  // dB below it, its quantization noise; rebuilt from copies it was -37.6 dB, with the range 5
  // dB above it.
  EXPECT_GT(ddtest::BandEnergyRatioDb(input.channels[0], tonal, 10400, 10600), -8.0);
  EXPECT_LT(ddtest::BandEnergyDb(tonal, 10700, end) - ddtest::BandEnergyDb(tonal, 10400, 10600),
            -15.0);
  const std::vector<float> noisy = Aligned(decoded.channels[1], delay);
  EXPECT_NEAR(ddtest::BandEnergyRatioDb(input.channels[1], noisy, begin, end), RebuiltLevelDb(c),
              1.5);
}

TEST(SpectralExtension, HeldHarmonicToneGetsNoCopiesOfItsLowerPartials) {
  // A reed-like tone (880 Hz, partials up to 19 kHz falling as 1 / h, a slow vibrato that
  // blurs each frame's spectrum) fills the upper band with partials a copy from below would
  // put between the true ones. Once the channel's band has read as clearly peaked for a few
  // frames it is no longer extended: its own mantissas reach the narrower bandwidth of such
  // channels, and nothing is rebuilt above. Its noisy neighbour is still extended.
  const Case c = {2, false, 96};
  const auto [begin, end] = ExtensionRange(c);
  const ddpi::enc::CodingPlan plan = ddpi::enc::PlanForRate(c.kbps, c.acmod, c.lfe, true);
  ASSERT_LT(plan.tonal_chbwcod, plan.chbwcod);
  const double top = (plan.tonal_chbwcod * 3 + 73) * 93.75;
  constexpr size_t kLength = 3 * kSamples;
  std::vector<float> reed(kLength);
  double phase = 0;
  for (size_t n = 0; n < kLength; ++n) {
    const double f0 = 880 * (1 + 0.003 * std::sin(2 * M_PI * 5 * n / 48000.0));
    phase += 2 * M_PI * f0 / 48000.0;
    double v = 0;
    for (int h = 1; h * 880 < 19000; ++h) v += std::sin(h * phase) / h;
    reed[n] = static_cast<float>(0.15 * v);
  }
  ddtest::Planar input;
  input.channels = {reed, ddtest::PinkNoise(kLength, 0.1, 7)};
  int delay = 0;
  const ddtest::Planar decoded = Decode(c, input, &delay);
  ASSERT_EQ(decoded.channels.size(), 2u);
  // The last two seconds, past the frames the decision takes to settle.
  auto settled = [&](const std::vector<float>& x, int offset) {
    return std::vector<float>(x.begin() + offset + kSamples, x.begin() + offset + kLength);
  };
  const std::vector<float> tonal = settled(decoded.channels[0], delay);
  // Measured: 41 dB below the original above the narrower bandwidth, where the copies of an
  // extended channel came within about 1 dB of it; the partials below it within 0.2 dB.
  EXPECT_LT(ddtest::BandEnergyRatioDb(settled(reed, 0), tonal, top + 500, end), -15.0);
  EXPECT_NEAR(ddtest::BandEnergyRatioDb(settled(reed, 0), tonal, 1000, top - 500), 0.0, 1.0);
  const std::vector<float> noisy = settled(decoded.channels[1], delay);
  EXPECT_NEAR(ddtest::BandEnergyRatioDb(settled(input.channels[1], 0), noisy, begin, end),
              RebuiltLevelDb(c), 1.5);
}

TEST(SpectralExtension, CoupledChannelsKeepAStableUpperPartialWhereItIs) {
  // At rates that couple, the coupling range ends where the extension begins, so a frame whose
  // channels hold a partial up there goes without the extension and couples up to its own end.
  const Case c = {2, false, 128};
  const ddpi::enc::CodingPlan plan = ddpi::enc::PlanForRate(c.kbps, c.acmod, c.lfe, true);
  ASSERT_TRUE(plan.coupling);
  const auto [begin, end] = ExtensionRange(c);
  const double partial = begin + 800;
  ASSERT_LT(partial + 200, ddpi::enc::CouplingEndMant(plan.cplendf_alone) * 93.75);
  ddtest::Planar input;
  for (int ch = 0; ch < 2; ++ch) {
    input.channels.push_back(ddtest::Sine(kSamples, 1000, 0.3));
    ddtest::MixInto(&input.channels[ch], ddtest::Sine(kSamples, partial, 0.05));
  }
  int delay = 0;
  const ddtest::Planar decoded = Decode(c, input, &delay);
  ASSERT_EQ(decoded.channels.size(), 2u);
  // Rebuilt from copies, the partial came out 33-34 dB down with the range 8 dB above it.
  for (int ch = 0; ch < 2; ++ch) {
    SCOPED_TRACE("channel " + std::to_string(ch));
    const std::vector<float> out = Aligned(decoded.channels[ch], delay);
    EXPECT_GT(ddtest::BandEnergyRatioDb(input.channels[ch], out, partial - 100, partial + 100), -8.0);
    EXPECT_LT(ddtest::BandEnergyDb(out, partial + 300, end) -
                  ddtest::BandEnergyDb(out, partial - 100, partial + 100),
              -20.0);
  }
}

}  // namespace
