// Programmes beyond 5.1 (configurations 19, 21 and 24, with and without LFE): an independent
// 5.1 substream and a dependent substream in every frame. At the lowest, a middle and the
// highest offered rate, FFmpeg decodes the stream with CRC and bitstream checks into 7 or 8
// channels in the right layout, each channel saying its own name at lag 0 above a pinned SNR.
// Without its dependent substream the stream is a valid 5.1 programme whose surrounds (or
// fronts) carry the extra channels.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "bitstream_info.h"
#include "dd_test_support.h"
#include "enc_encoder.h"
#include "enc_extended_layout.h"
#include "enc_extended_layout.h"
#include "engine_session.h"

namespace {

using ddenc_test::EncodeRequest;
using ddenc_test::EncodeResult;
using ddenc_test::EncodeWithEngine;

constexpr size_t kSamples = 72000;  // 1.5 s

// A source channel: its engine slot, the recording in it, and FFmpeg's name for its position.
struct Source {
  int slot;
  const char* recording;  // nullptr: the LFE tone
  const char* ffmpeg_name;
};

struct Configuration {
  int id;
  std::vector<Source> extra;  // slots 6 and up
  const char* layout_with_lfe;
  const char* layout_without_lfe;
};

// Heights have no recording of their own: they take the rear ones, which no other channel of
// configuration 19 uses.
const Configuration kConfigurations[] = {
    {19, {{6, "Rear_Left", "TFL"}, {7, "Rear_Right", "TFR"}}, "8 channels (FL+FR+FC+LFE+SL+SR+TFL+TFR)", "7 channels (FL+FR+FC+SL+SR+TFL+TFR)"},
    {21, {{6, "Rear_Left", "BL"}, {7, "Rear_Right", "BR"}}, "7.1", "7.0"},
    {24, {{6, "Rear_Center", "BC"}}, "6.1", "6.0"},
};

// The sources of a configuration in engine-slot order.
std::vector<Source> Sources(const Configuration& c, bool lfe) {
  std::vector<Source> s = {{0, "Front_Left", "FL"}, {1, "Front_Right", "FR"}, {2, "Front_Center", "FC"}};
  if (lfe) s.push_back({3, nullptr, "LFE"});
  s.push_back({4, "Side_Left", "SL"});
  s.push_back({5, "Side_Right", "SR"});
  for (const Source& e : c.extra) s.push_back(e);
  return s;
}

ddtest::Planar Programme(const std::vector<Source>& sources) {
  ddtest::Planar p;
  for (const Source& s : sources) {
    if (s.recording) {
      p.channels.push_back(ddtest::LoadAlsaSpeech({s.recording}, kSamples).channels[0]);
    } else {
      std::vector<float> tone = ddtest::Sine(kSamples, 40.0, 0.2);
      ddtest::MixInto(&tone, ddtest::Sine(kSamples, 70.0, 0.1));
      p.channels.push_back(tone);
    }
  }
  return p;
}

EncodeResult Encode(int configuration, bool lfe, int kbps, const ddtest::Planar& input,
                    const std::vector<Source>& sources) {
  EncodeRequest req;
  req.mode = DDPI_ENC_MODE_DDPLUS;
  req.input = input;
  for (const Source& s : sources) req.slots.push_back(s.slot);
  // Without DRC words, so that the decoded level is the input's.
  req.params = {{DDPI_ENC_PARAM_DATARATE, kbps}, {DDPI_ENC_PARAM_ACMOD, configuration},
                {DDPI_ENC_PARAM_LFE, lfe},       {DDPI_ENC_PARAM_DRC_LINE, 0},
                {DDPI_ENC_PARAM_DRC_RF, 0}};
  return EncodeWithEngine(req);
}

// Positions of FFmpeg's decoded channels, from the layout it probes ("FL+FR+..." or a name
// whose channel order is FFmpeg's native order).
std::vector<std::string> NativeOrder(std::vector<std::string> names) {
  static const char* kOrder[] = {"FL", "FR", "FC", "LFE", "BL", "BR", "BC", "SL", "SR", "TFL", "TFR"};
  std::vector<std::string> out;
  for (const char* n : kOrder)
    for (const std::string& m : names)
      if (m == n) out.push_back(m);
  return out;
}

bool WriteBytes(const std::string& path, const std::vector<uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return static_cast<bool>(out);
}

size_t IndexOfSlot(const std::vector<Source>& sources, int slot) {
  size_t i = 0;
  while (i < sources.size() && sources[i].slot != slot) ++i;
  return i;
}

std::vector<uint8_t> IndependentFramesOnly(const std::vector<uint8_t>& stream) {
  std::vector<uint8_t> out;
  for (size_t at = 0; at + ddpi::bitstream::kHeaderBytes <= stream.size();) {
    ddpi::bitstream::FrameHeader h;
    const auto status = ddpi::bitstream::ProbeHeader(stream.data() + at, stream.size() - at, &h);
    EXPECT_EQ(status, ddpi::bitstream::HeaderStatus::kValid) << "at byte " << at;
    if (status != ddpi::bitstream::HeaderStatus::kValid) break;
    if (h.strmtyp != ddpi::bitstream::kDependent)
      out.insert(out.end(), stream.begin() + at, stream.begin() + at + h.frame_bytes);
    at += h.frame_bytes;
  }
  return out;
}

struct Rate {
  int kbps;
  double snr_floor_db;  // lowest SNR of any full-bandwidth channel, measured and pinned
};

// Top of the band both substreams code as a waveform (see WaveformBandHz).
double WaveformBandHz(int configuration, bool lfe, int kbps) {
  const ddpi::enc::ExtendedLayout* layout = ddpi::enc::ExtendedLayoutOf(configuration);
  const int independent = ddpi::enc::IndependentShare(kbps, *layout);
  return std::min(ddenc_test::WaveformBandHz(independent, 7, lfe, true),
                  ddenc_test::WaveformBandHz(kbps - independent, layout->dependent_acmod, false, true));
}

std::vector<Rate> Rates(int configuration) {
  // The lowest rates the parameter model offers (384 for 19 and 21, 640 for 24), a middle and
  // the highest one. Floors: the weakest channel measured in the waveform-coded band (the
  // side-left recording, quiet and sibilant), less about 3 dB. Measured 19: 17.9, 18.3,
  // 24.2 dB; 21: 21.4, 22.1, 30.2 dB; 24: 22.6, 26.9, 32.5 dB.
  if (configuration == 24) return {{640, 19.5}, {832, 24}, {1024, 29.5}};
  if (configuration == 19) return {{384, 15}, {640, 15.5}, {1024, 21}};
  return {{384, 18.5}, {640, 19}, {1024, 27}};
}

TEST(ExtendedProgrammes, DecodeAsSevenOrEightChannelsEachInItsPlace) {
  for (const Configuration& c : kConfigurations) {
    for (bool lfe : {false, true}) {
      const std::vector<Source> sources = Sources(c, lfe);
      const ddtest::Planar input = Programme(sources);
      for (const Rate& r : Rates(c.id)) {
        SCOPED_TRACE("configuration " + std::to_string(c.id) + (lfe ? " with LFE at " : " at ") +
                     std::to_string(r.kbps) + " kbps");
        const EncodeResult enc = Encode(c.id, lfe, r.kbps, input, sources);
        ASSERT_EQ(enc.error, 0);
        const std::string path = ddtest::TestTempDir().File("extended.ec3");
        ASSERT_TRUE(WriteBytes(path, enc.stream));
        const ddtest::StreamInfo probe = ddtest::ProbeFile(path);
        ASSERT_TRUE(probe.ok) << probe.error;
        EXPECT_EQ(probe.channels, static_cast<int>(sources.size()));
        EXPECT_EQ(probe.channel_layout, lfe ? c.layout_with_lfe : c.layout_without_lfe);
        EXPECT_EQ(probe.bit_rate, r.kbps * 1000L);
        const ddtest::DecodeResult dec = ddtest::DecodeFile(path);
        ASSERT_TRUE(dec.Clean()) << dec.stderr_text;
        ASSERT_EQ(dec.channels, static_cast<int>(sources.size()));

        std::vector<std::string> names;
        for (const Source& s : sources) names.push_back(s.ffmpeg_name);
        const std::vector<std::string> order = NativeOrder(names);
        const double band = WaveformBandHz(c.id, lfe, r.kbps);
        double worst_snr = 1e9;
        for (size_t d = 0; d < order.size(); ++d) {
          size_t own = 0;
          while (sources[own].ffmpeg_name != order[d]) ++own;
          if (!sources[own].recording) continue;  // LFE: band-limited by design
          const std::vector<float> out(dec.audio.channels[d].begin() + enc.delay,
                                       dec.audio.channels[d].end());
          EXPECT_EQ(ddtest::BestLag(input.channels[own], out, 256), 0) << order[d];
          double best = -2;
          size_t best_source = 0;
          for (size_t s = 0; s < sources.size(); ++s) {
            const double corr = ddtest::NormalizedCorrelation(input.channels[s], out);
            if (corr > best) best = corr, best_source = s;
          }
          EXPECT_EQ(best_source, own) << order[d] << " sounds like " << sources[best_source].recording;
          // Above the waveform-coded band the decoder synthesizes the signal; the channel
          // keeps its level all the same.
          EXPECT_NEAR(ddtest::BandEnergyRatioDb(input.channels[own], out, 0, 24000), 0.0, 1.5)
              << order[d];
          const double snr =
              band < 24000 ? ddtest::SnrDb(ddtest::LowPass(input.channels[own], band),
                                           ddtest::LowPass(out, band), 0, 0, kSamples)
                           : ddtest::SnrDb(input.channels[own], out, 0, 0, kSamples);
          worst_snr = std::min(worst_snr, snr);
          if (std::getenv("DD_PRINT_SNR")) std::printf("%d %d %d %s %.2f\n", c.id, lfe, r.kbps, order[d].c_str(), snr);
        }
        EXPECT_GE(worst_snr, r.snr_floor_db);
      }
    }
  }
}

TEST(ExtendedProgrammes, WithoutTheDependentSubstreamAFiveChannelProgrammeRemains) {
  for (const Configuration& c : kConfigurations) {
    const bool lfe = true;
    const std::vector<Source> sources = Sources(c, lfe);
    const ddtest::Planar input = Programme(sources);
    const int kbps = Rates(c.id)[1].kbps;
    SCOPED_TRACE("configuration " + std::to_string(c.id));
    const EncodeResult enc = Encode(c.id, lfe, kbps, input, sources);
    ASSERT_EQ(enc.error, 0);
    const std::vector<uint8_t> independent = IndependentFramesOnly(enc.stream);
    ASSERT_LT(independent.size(), enc.stream.size());
    const ddtest::DecodeResult dec = ddtest::DecodeBytes(independent, "ec3");
    ASSERT_TRUE(dec.Clean()) << dec.stderr_text;
    ASSERT_EQ(dec.channels, 6);  // 5.1(side): FL FR FC LFE SL SR

    // Each channel an extra one folds into carries that fold: the carried channel plus the
    // extra one at -3 dB, at about the energy of that mix.
    const ddpi::enc::ExtendedLayout* layout = ddpi::enc::ExtendedLayoutOf(c.id);
    ASSERT_NE(layout, nullptr);
    // 5.1(side) decodes in slot order.
    for (int f = 0; f < layout->fold_count; ++f) {
      const ddpi::enc::Fold fold = layout->folds[f];
      const std::vector<float>& extra = input.channels[IndexOfSlot(sources, fold.from_slot)];
      std::vector<float> mix = input.channels[IndexOfSlot(sources, fold.into_slot)];
      ddtest::MixInto(&mix, extra, ddpi::enc::kFoldGain);
      const auto& decoded = dec.audio.channels[fold.into_slot];
      const std::vector<float> out(decoded.begin() + enc.delay, decoded.end());
      EXPECT_GT(ddtest::SnrDb(mix, out, 0, 0, kSamples), 10.0) << "fold " << f;
      EXPECT_NEAR(ddtest::RmsDb(out), ddtest::RmsDb(mix), 1.0) << "fold " << f;
      EXPECT_GT(ddtest::NormalizedCorrelation(extra, out), 0.3)
          << "fold " << f << " lost its extra channel";
    }
  }
}

// Dolby Digital and Blu-ray streams have no dependent substreams: the engine refuses the
// extended configurations there; in Dolby Digital Plus it refuses rates below the floor.
TEST(ExtendedProgrammes, RefusedWhereTheyCannotBeCarried) {
  const std::vector<Source> sources = Sources(kConfigurations[1], true);
  ddtest::Planar input;
  input.channels.assign(sources.size(), std::vector<float>(1536, 0.0f));
  struct Refusal {
    int mode;
    int configuration;
    int kbps;
    int error;
  };
  for (const Refusal& r : {Refusal{DDPI_ENC_MODE_DD, 21, 640, DDPI_ENC_ERR_INVALID_AUDIO_CODING_MODE},
                           Refusal{DDPI_ENC_MODE_BLURAY_PRIMARY, 24, 640, DDPI_ENC_ERR_INVALID_AUDIO_CODING_MODE},
                           Refusal{DDPI_ENC_MODE_BLURAY_SECONDARY, 19, 256, DDPI_ENC_ERR_INVALID_AUDIO_CODING_MODE},
                           Refusal{DDPI_ENC_MODE_DDPLUS, 21, 320, DDPI_ENC_ERR_RATE},
                           Refusal{DDPI_ENC_MODE_DDPLUS, 24, ddpi::enc::kExtendedMinimumRate - 8, DDPI_ENC_ERR_RATE}}) {
    EncodeRequest req;
    req.mode = r.mode;
    req.input = input;
    for (const Source& s : sources) req.slots.push_back(s.slot);
    req.params = {{DDPI_ENC_PARAM_DATARATE, r.kbps}, {DDPI_ENC_PARAM_ACMOD, r.configuration}};
    EXPECT_EQ(EncodeWithEngine(req).error, r.error)
        << "mode " << r.mode << " configuration " << r.configuration << " at " << r.kbps;
  }
}

// The dependent substream runs every coding tool of the independent one. At the rates offered
// it does not couple, so this drives the two substream encoders directly at 64 kbps per
// channel, where both couple and extend their upper band, with DRC words on: FFmpeg decodes
// the pair as 7.1, and the dependent frames carry their channel map and the programme's DRC
// words.
TEST(ExtendedProgrammes, DependentSubstreamCouplesAndCarriesDrc) {
  const std::vector<Source> sources = Sources(kConfigurations[1], true);  // 7.1
  const ddtest::Planar input = Programme(sources);
  const ddpi::enc::ExtendedLayout* layout = ddpi::enc::ExtendedLayoutOf(21);
  ASSERT_NE(layout, nullptr);

  ddpi::enc::EncoderConfig independent;  // defaults: E-AC-3 3/2 + LFE, DRC profiles on
  independent.kbps = 5 * 64 + 4;
  ddpi::enc::EncoderConfig dependent = independent;
  dependent.acmod = layout->dependent_acmod;
  dependent.lfe = false;
  dependent.kbps = 4 * 64;
  dependent.substream.dependent = true;
  dependent.substream.chanmap = layout->chanmap;
  ASSERT_TRUE(ddpi::enc::PlanForRate(independent.kbps, 7, true, true).coupling);
  ASSERT_TRUE(ddpi::enc::PlanForRate(dependent.kbps, dependent.acmod, false, true).coupling);
  auto first = std::make_unique<ddpi::enc::Encoder>();
  auto second = std::make_unique<ddpi::enc::Encoder>();
  first->Configure(independent);
  second->Configure(dependent);

  std::vector<float> silence(1536, 0.0f);
  std::vector<std::vector<float>> planes(ddpi::enc::kInputSlots, silence);
  std::vector<uint8_t> stream, frame(8192);
  const size_t frames = (kSamples + ddpi::enc::Encoder::kDelaySamples) / 1536 + 1;
  for (size_t f = 0; f < frames; ++f) {
    for (size_t i = 0; i < sources.size(); ++i)
      for (size_t n = 0; n < 1536; ++n) {
        const size_t at = f * 1536 + n;
        planes[sources[i].slot][n] = at < kSamples ? input.channels[i][at] : 0.0f;
      }
    const float* indep_slots[ddpi::enc::kInputSlots];
    const float* dep_slots[ddpi::enc::kInputSlots];
    for (int s = 0; s < ddpi::enc::kInputSlots; ++s) indep_slots[s] = dep_slots[s] = silence.data();
    for (int s = 0; s < 6; ++s) indep_slots[s] = planes[s].data();
    for (int c = 0; c < layout->dependent_channels; ++c)
      dep_slots[ddpi::enc::FbwSlot(layout->dependent_acmod, c)] = planes[layout->dependent_source[c]].data();
    ddpi::enc::InputReport report;
    const int a = first->EncodeFrame(indep_slots, frame.data(), &report);
    ASSERT_GT(a, 0);
    const int b = second->EncodeFrame(dep_slots, frame.data() + a, &report, &first->drc_gains());
    ASSERT_GT(b, 0);
    ddpi::bitstream::FrameInfo info;
    ASSERT_TRUE(ddpi::bitstream::ParseFrame(frame.data() + a, b, &info));
    EXPECT_EQ(info.header.strmtyp, ddpi::bitstream::kDependent);
    EXPECT_EQ(info.chanmape, 1);
    EXPECT_EQ(info.chanmap, layout->chanmap);
    EXPECT_EQ(info.compre, first->drc_gains().compr_on ? 1 : 0);
    stream.insert(stream.end(), frame.begin(), frame.begin() + a + b);
  }
  const ddtest::DecodeResult dec = ddtest::DecodeBytes(stream, "ec3", {"-drc_scale", "0"});
  ASSERT_TRUE(dec.Clean()) << dec.stderr_text;
  ASSERT_EQ(dec.channels, 8);
  // 7.1 decodes FL FR FC LFE BL BR SL SR: the rear pair and the side pair come from the
  // coupled dependent substream.
  // At these rates both substreams extend their upper band: the lag is measured below it.
  const double band = std::min(ddenc_test::WaveformBandHz(independent.kbps, 7, true, true),
                               ddenc_test::WaveformBandHz(dependent.kbps, dependent.acmod, false, true));
  const struct { size_t decoded; int slot; } kChecks[] = {{4, 6}, {5, 7}, {6, 4}, {7, 5}};
  for (const auto& check : kChecks) {
    const std::vector<float> out(dec.audio.channels[check.decoded].begin() + ddpi::enc::Encoder::kDelaySamples,
                                 dec.audio.channels[check.decoded].end());
    const std::vector<float>& source = input.channels[IndexOfSlot(sources, check.slot)];
    EXPECT_EQ(ddtest::BestLag(ddtest::LowPass(source, band), ddtest::LowPass(out, band), 256), 0)
        << "slot " << check.slot;
    EXPECT_GT(ddtest::NormalizedCorrelation(source, out), 0.7) << "slot " << check.slot;
  }
}

}  // namespace
