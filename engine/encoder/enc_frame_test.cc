#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ac3_tables.h"
#include "enc_allocate.h"
#include "crc16.h"
#include "enc_bsi.h"
#include "enc_encoder.h"
#include "enc_frame.h"
#include "enc_frame_ac3.h"
#include "enc_frame_test_util.h"

namespace ddpi::enc {
namespace {

// Encodes `frames` frames of a chirp-and-noise signal and returns them concatenated.
std::vector<uint8_t> Encode(const EncoderConfig& cfg, int frames) {
  auto enc = std::make_unique<Encoder>();
  enc->Configure(cfg);
  std::vector<float> planes(kInputSlots * 1536);
  const float* slots[kInputSlots];
  std::vector<uint8_t> out;
  uint32_t seed = 1;
  for (int f = 0; f < frames; ++f) {
    for (int s = 0; s < kInputSlots; ++s) {
      for (int n = 0; n < 1536; ++n) {
        const double t = (f * 1536 + n) / 48000.0;
        planes[s * 1536 + n] = static_cast<float>(
            0.3 * std::sin(2 * M_PI * (200 + 3000 * t) * t * (s + 1)) + 0.05 * Noise(&seed));
      }
      slots[s] = &planes[s * 1536];
    }
    uint8_t frame[4096];
    InputReport report;
    const int bytes = enc->EncodeFrame(slots, frame, &report);
    EXPECT_EQ(bytes, cfg.kbps * 4);
    if (bytes <= 0) break;
    out.insert(out.end(), frame, frame + bytes);
  }
  return out;
}

TEST(Frame, Ac3FramesHaveExactSizeAndBothCrcs) {
  for (int acmod : {0, 1, 2, 7}) {
    for (int kbps : {MinimumRate(acmod), 448, 640}) {
      EncoderConfig cfg;
      cfg.eac3 = false;
      cfg.acmod = acmod;
      cfg.lfe = acmod != 0;
      cfg.kbps = kbps;
      const std::vector<uint8_t> s = Encode(cfg, 3);
      const int frame = kbps * 4;
      ASSERT_EQ(static_cast<int>(s.size()), 3 * frame);
      for (int f = 0; f < 3; ++f) {
        const uint8_t* p = &s[f * frame];
        EXPECT_EQ(p[0], 0x0B);
        EXPECT_EQ(p[1], 0x77);
        EXPECT_EQ(p[4] & 0x3f, Ac3FrameSizeCode(kbps));
        const int frame58 = ((frame >> 2) + (frame >> 4)) << 1;
        EXPECT_EQ(Crc16(p + 2, frame58 - 2), 0) << "crc1, acmod " << acmod << " " << kbps;
        EXPECT_EQ(Crc16(p + 2, frame - 2), 0) << "crc2, acmod " << acmod << " " << kbps;
      }
    }
  }
}

TEST(Frame, Eac3FramesHaveFrmsizAndCrc) {
  for (int kbps : {192, 333, 1024}) {
    EncoderConfig cfg;
    cfg.eac3 = true;
    cfg.acmod = 7;
    cfg.lfe = true;
    cfg.kbps = kbps;
    const std::vector<uint8_t> s = Encode(cfg, 2);
    const int frame = kbps * 4;
    ASSERT_EQ(static_cast<int>(s.size()), 2 * frame);
    const uint8_t* p = s.data();
    const int frmsiz = ((p[2] & 0x07) << 8) | p[3];
    EXPECT_EQ(frmsiz + 1, frame / 2);
    EXPECT_EQ(Crc16(p + 2, frame - 2), 0);
  }
}

// The plan of every rate fits its frames in the worst case: loud noise in every channel that
// changes from block to block, in bursts whose onsets switch to short transforms, at every
// AC-3 rate and every 32 kbps of E-AC-3, for every channel configuration with and without LFE.
// Side information that outgrows a frame at some rate and layout shows up here as a frame that
// cannot be fitted.
TEST(Frame, EveryRateFitsChangingNoiseBursts) {
  static const int kAc3Rates[] = {32,  40,  48,  56,  64,  80,  96,  112, 128, 160,
                                  192, 224, 256, 320, 384, 448, 512, 576, 640};
  std::vector<float> planes(kInputSlots * 1536);
  const float* slots[kInputSlots];
  for (int s = 0; s < kInputSlots; ++s) slots[s] = &planes[s * 1536];
  auto enc = std::make_unique<Encoder>();
  for (const bool eac3 : {false, true}) {
    std::vector<int> rates;
    if (eac3) for (int kbps = 32; kbps <= 1024; kbps += 32) rates.push_back(kbps);
    else rates.assign(std::begin(kAc3Rates), std::end(kAc3Rates));
    for (int acmod = 0; acmod < 8; ++acmod) {
      for (const bool lfe : {false, true}) {
        for (const int kbps : rates) {
          if (kbps < MinimumRate(acmod)) continue;
          EncoderConfig cfg;
          cfg.eac3 = eac3;
          cfg.acmod = acmod;
          cfg.lfe = lfe;
          cfg.kbps = kbps;
          enc->Configure(cfg);
          uint32_t seed = 7;
          for (int f = 0; f < 5; ++f) {
            // Every 256 samples the noise changes level and colour (plain or differenced),
            // so that no block can reuse the exponents of the one before; frame 2 is silent
            // but for a burst that starts halfway through it; frame 4 is loud in blocks 0 and
            // 1 and quiet after, so that AC-3's first 5/8 bound its offsets and the other
            // blocks send finer ones of their own.
            float last = 0.0f;
            for (int n = 0; n < kInputSlots * 1536; ++n) {
              const int block = n / 256;
              const float white = 0.99f * Noise(&seed);
              const float x = block % 3 == 0 ? white : block % 3 == 1 ? 0.5f * (white - last)
                                                                      : 0.05f * white;
              last = white;
              const bool on = f != 2 || n % 1536 >= 768;
              const float gain = f == 4 && n % 1536 >= 512 ? 0.002f : 2.0f;
              planes[n] = on ? gain * x : 0.0f;
            }
            uint8_t frame[4096];
            InputReport report;
            ASSERT_EQ(enc->EncodeFrame(slots, frame, &report), kbps * 4)
                << (eac3 ? "E-AC-3" : "AC-3") << " acmod " << acmod << (lfe ? " + LFE" : "")
                << " at " << kbps << " kbps, frame " << f;
          }
        }
      }
    }
  }
}

// Loud noise in blocks 0 and 1, quiet noise after: left alone, the allocation would spend
// most of the frame on the first two blocks. With a limit on them the search must respect it,
// and AC-3 gives what the limit leaves to blocks 2 to 5, through their own coarse offsets.
TEST(Frame, AllocationKeepsBlocksZeroAndOneWithinTheirLimit) {
  auto f = NewFrame(2);
  std::vector<float> input(2 * (kHistory + kFrameInput), 0.0f);
  uint32_t seed = 9;
  for (int c = 0; c < 2; ++c)
    for (int n = 0; n < kHistory + kFrameInput; ++n) {
      const float noise = Noise(&seed);
      input[c * (kHistory + kFrameInput) + n] = n < kHistory + 512 ? 0.8f * noise : 0.002f * noise;
    }
  const float* channels[2] = {&input[0], &input[kHistory + kFrameInput]};
  BlockAttack attacks[kMaxChannels][kBlocks] = {};
  const CodingPlan plan = PlanForRate(192, 2, false);
  AnalyzeFrame(channels, attacks, plan, f.get());

  auto bits_of_blocks = [&](int first, int end) {
    int bits = 0;
    for (int b = first; b < end; ++b) {
      MantissaCounter counter;
      for (int c = 0; c < 2; ++c) counter.Add(f->ch[c].bap[b], 0, f->ch[c].end);
      bits += counter.Bits();
    }
    return bits;
  };
  const int budget = 4000;
  ASSERT_TRUE(AllocateFrame(budget, budget, true, f.get()));
  const int free_early = bits_of_blocks(0, 2);
  ASSERT_GT(free_early, budget / 2);  // the loud blocks take most of the frame
  const int limit = free_early / 2;
  for (bool ac3 : {false, true}) {
    SCOPED_TRACE(ac3 ? "AC-3" : "E-AC-3");
    f->snr_index = 0;
    std::fill(f->snr_boost, f->snr_boost + kBlocks, 0);
    ASSERT_TRUE(AllocateFrame(budget, limit, ac3, f.get()));
    EXPECT_LE(bits_of_blocks(0, 2), limit);
    EXPECT_GT(bits_of_blocks(0, 2), limit * 3 / 4);  // and the search still fills what it may
    const int total = bits_of_blocks(0, kBlocks);
    EXPECT_LE(total, budget);
    if (ac3) {
      for (int b = 2; b < kBlocks; ++b) EXPECT_GT(f->BlockCoarseOffset(b), f->BlockCoarseOffset(0));
      EXPECT_GT(total, budget * 9 / 10);
      // Block 2's own offsets (csnroffst, then fsnroffst and fgaincod of each channel) come
      // out of the mantissas' budget, however closely the raise fills it.
      const int offsets_bits = 6 + 7 * f->AllocChannels();
      for (int tight = budget - 400; tight < budget; ++tight) {
        f->snr_index = 0;
        std::fill(f->snr_boost, f->snr_boost + kBlocks, 0);
        ASSERT_TRUE(AllocateFrame(tight, limit, true, f.get()));
        ASSERT_TRUE(f->NewSnrOffsets(2));
        ASSERT_LE(bits_of_blocks(0, kBlocks) + offsets_bits, tight) << "budget " << tight;
      }
    } else {
      for (int b = 0; b < kBlocks; ++b) EXPECT_EQ(f->snr_boost[b], 0);
      EXPECT_LT(total, budget * 9 / 10);
    }
  }
}

// Zero-bit bins of a dense spectrum are filled with noise by the decoder; bins that held
// nothing, and those of the blocks around an attack, stay silent.
TEST(Frame, DitherWhereTheNoiseReplacesWhatWasThere) {
  auto f = NewFrame(2);
  constexpr int kLength = kHistory + kFrameInput;
  std::vector<float> input(2 * kLength);
  uint32_t seed = 3;
  for (int n = 0; n < kLength; ++n) input[n] = 0.3f * Noise(&seed);  // channel 1 stays silent
  const float* channels[2] = {&input[0], &input[kLength]};
  BlockAttack attacks[kMaxChannels][kBlocks] = {};
  attacks[0][4] = kExposedAttack;
  const CodingPlan plan = PlanForRate(128, 2, false);
  AnalyzeFrame(channels, attacks, plan, f.get());
  ASSERT_TRUE(AllocateFrame(1500, 1500, true, f.get()));
  for (int b = 0; b < kBlocks; ++b) {
    EXPECT_EQ(f->dithflag[0][b], b < 4) << "block " << b;
    EXPECT_FALSE(f->dithflag[1][b]) << "block " << b;
  }
}

// An onset the transient detector left on long transforms: the block whose new samples rise
// far above its old ones goes without dither, which would spread the onset's level over the
// quiet samples ahead of it; the loud blocks after it dither as before.
TEST(Frame, NoDitherInALongBlockThatRisesSteeply) {
  auto f = NewFrame(1);
  constexpr int kLength = kHistory + kFrameInput;
  std::vector<float> input(kLength);
  uint32_t seed = 5;
  constexpr int kOnset = 3 * 256 + 256 + 100;  // a quarter into block 3's new samples
  for (int n = 0; n < kLength; ++n) input[n] = (n < kOnset ? 0.01f : 0.3f) * Noise(&seed);
  const float* channels[1] = {input.data()};
  const BlockAttack no_attacks[kMaxChannels][kBlocks] = {};
  AnalyzeFrame(channels, no_attacks, PlanForRate(96, 1, false), f.get());
  ASSERT_TRUE(AllocateFrame(1000, 1000, true, f.get()));
  EXPECT_FALSE(f->ch[0].blksw[3]);
  EXPECT_FALSE(f->dithflag[0][3]);
  EXPECT_TRUE(f->dithflag[0][4]);
  EXPECT_TRUE(f->dithflag[0][5]);
}

// A coupled channel's dither flag fills its zero-bit bins in the coupling range too: both
// channels carry a steady tone below it, whose zero-bit neighbours held next to nothing, and
// the same dense noise in it, which loses most of its bins at this budget. The noise decides.
TEST(Frame, CoupledChannelsDitherForTheirCoupledBand) {
  auto f = NewFrame(2);
  constexpr int kLength = kHistory + kFrameInput;
  std::vector<float> input(2 * kLength);
  uint32_t seed = 4;
  float smooth = 0;
  for (int n = 0; n < kLength; ++n) {
    // Noise low-passed by a one-pole filter and shifted up to 12 kHz: 7 to 17 kHz or so.
    smooth = 0.5f * smooth + 0.5f * Noise(&seed);
    const double t = n / 48000.0;
    input[n] = static_cast<float>(0.5 * std::sin(2 * M_PI * 1000 * t) +
                                  0.2 * smooth * std::cos(2 * M_PI * 12000 * t));
    input[kLength + n] = input[n];
  }
  const float* channels[2] = {&input[0], &input[kLength]};
  BlockAttack attacks[kMaxChannels][kBlocks] = {};
  const CodingPlan plan = PlanForRate(128, 2, false);
  AnalyzeFrame(channels, attacks, plan, f.get());
  ASSERT_TRUE(f->cplinu && f->chincpl[0] && f->chincpl[1]);
  ASSERT_TRUE(AllocateFrame(1500, 1500, true, f.get()));
  for (int c = 0; c < 2; ++c)
    for (int b = 0; b < kBlocks; ++b) EXPECT_TRUE(f->dithflag[c][b]) << c << " block " << b;
}

// Stereo shares its upper band where the rate leaves too little for two full channels, and
// only in frames whose channels carry much the same there. A pair that is one source panned
// (the right channel half the left) shares from 3.5 kHz; one that differs only below the
// planned range (a tone at 4 kHz in one channel) shares from the planned begin.
TEST(Frame, StereoCouplingFollowsRateAndChannelAgreement) {
  EXPECT_FALSE(PlanForRate(96, 2, false).coupling);  // 48 kbps per channel: not worth it
  EXPECT_FALSE(PlanForRate(256, 2, false).coupling);
  EXPECT_LT(PlanForRate(128, 2, false).cplbegf, PlanForRate(192, 2, false).cplbegf);
  constexpr int kLength = kHistory + kFrameInput;
  // kPannedTones: four tones up to 9 kHz, panned, content that ends below an extended range.
  enum Pair { kPanned, kApartBelowRange, kApart, kPannedTones };
  auto tones = [](int n) {
    double v = 0;
    for (double hz : {1000.0, 4000.0, 6000.0, 9000.0})
      v += 0.05 * std::sin(2 * M_PI * hz * n / 48000.0);
    return static_cast<float>(v);
  };
  auto analyze = [&tones](const CodingPlan& plan, Pair pair) {
    auto f = NewFrame(2);
    std::vector<float> input(2 * kLength);
    uint32_t seed = 5;
    for (int c = 0; c < 2; ++c)
      for (int n = 0; n < kLength; ++n) {
        const float noise = Noise(&seed);
        const float tone = 0.1f * static_cast<float>(std::sin(2 * M_PI * 4000 * n / 48000.0));
        const bool panned = pair == kPanned || pair == kPannedTones;
        input[c * kLength + n] = c == 0 && pair == kPannedTones ? tones(n)
                                 : c == 0                       ? 0.3f * noise
                                 : pair == kApart               ? 0.3f * noise
                                 : panned                       ? 0.5f * input[n]
                                                                : 0.5f * input[n] + tone;
      }
    const float* channels[2] = {&input[0], &input[kLength]};
    BlockAttack attacks[kMaxChannels][kBlocks] = {};
    AnalyzeFrame(channels, attacks, plan, f.get());
    return f;
  };
  // AC-3 at both ends of the range, and E-AC-3 where it runs without the extension.
  for (auto [kbps, eac3] : {std::pair{128, false}, {192, false}, {192, true}}) {
    const CodingPlan plan = PlanForRate(kbps, 2, false, eac3);
    ASSERT_TRUE(plan.coupling && plan.cplbegf > 0 && !plan.spx);
    for (Pair pair : {kPanned, kApartBelowRange, kApart}) {
      SCOPED_TRACE(std::to_string(kbps) + (eac3 ? " kbps E-AC-3" : " kbps AC-3") + ", pair " +
                   std::to_string(pair));
      const auto f = analyze(plan, pair);
      EXPECT_EQ(f->cplinu, pair != kApart);
      if (f->cplinu) {
        EXPECT_EQ(f->cpl.begf, pair == kPanned ? 0 : plan.cplbegf);
      }
      // Coupled, the channels end where coupling starts; apart, each keeps its full band, with
      // its spectrum up to the top.
      const ChannelFrame& ch = f->ch[0];
      EXPECT_EQ(ch.end, f->cplinu ? f->cpl.start : 73 + 3 * plan.chbwcod);
      for (int b = 0; b < kBlocks; ++b) EXPECT_LT(ch.exp[b][ch.end - 1], 16) << "block " << b;
    }
  }
  // Where the extension runs, rebuilding its band from below, even a panned pair keeps the
  // planned coupling range.
  const CodingPlan extended = PlanForRate(128, 2, false, true);
  ASSERT_TRUE(extended.spx && extended.coupling);
  const auto f = analyze(extended, kPanned);
  ASSERT_TRUE(f->cplinu && f->spxinu);
  EXPECT_EQ(f->cpl.begf, extended.cplbegf);
  // A panned frame whose content ends below the extended range goes without the extension,
  // and then couples from 3.5 kHz after all.
  const auto below_range = analyze(extended, kPannedTones);
  EXPECT_FALSE(below_range->spxinu);
  ASSERT_TRUE(below_range->cplinu);
  EXPECT_EQ(below_range->cpl.begf, 0);
}

// `length` samples of a held pitch pipe (880 Hz, partials falling as 1 / h up to 19 kHz) or
// of noise.
std::vector<float> PitchPipeOrNoise(bool tone, int length) {
  std::vector<float> signal(length);
  uint32_t seed = 9;
  for (int n = 0; n < length; ++n) {
    double v = 0;
    for (int h = 1; tone && h * 880 < 19000; ++h)
      v += std::sin(2 * M_PI * 880 * h * n / 48000.0) / h;
    signal[n] = tone ? static_cast<float>(0.1 * v) : 0.3f * Noise(&seed);
  }
  return signal;
}

// At AC-3 2.0 128k the coupling range reaches 17 kHz, past the rate's own 15.75 kHz. A held
// harmonic tone (a pitch pipe: 880 Hz, partials falling as 1 / h up to 19 kHz) on both channels
// couples up to 17 kHz at first; once its upper band has read as clearly peaked for a few
// frames, the frame ends with the rate's band. Noise keeps the whole range.
TEST(Frame, ClearlyTonalChannelsEndAtTheRatesBand) {
  const CodingPlan plan = PlanForRate(128, 2, false);
  ASSERT_TRUE(plan.coupling);
  const int rate_end = ac3::ChannelEndMant(plan.chbwcod);
  const int coupling_end = CouplingEndMant(plan.cplendf);
  ASSERT_LT(rate_end, coupling_end);
  constexpr int kFrames = 30;
  constexpr int kLength = kHistory + kFrames * kFrameInput;
  for (bool tone : {true, false}) {
    SCOPED_TRACE(tone ? "tone" : "noise");
    const std::vector<float> signal = PitchPipeOrNoise(tone, kLength);
    auto f = NewFrame(2);
    BlockAttack attacks[kMaxChannels][kBlocks] = {};
    for (int frame = 0; frame < kFrames; ++frame) {
      const float* channels[2] = {&signal[frame * kFrameInput], &signal[frame * kFrameInput]};
      AnalyzeFrame(channels, attacks, plan, f.get());
      ASSERT_TRUE(f->cplinu) << "frame " << frame;
      if (frame == 0) {
        EXPECT_EQ(f->cpl.end, coupling_end);
      }
    }
    // The coupling range ends on a sub-band's edge: the first at or past the rate's band.
    if (tone) {
      EXPECT_GE(f->cpl.end, rate_end);
      EXPECT_LT(f->cpl.end, rate_end + 12);
    } else {
      EXPECT_EQ(f->cpl.end, coupling_end);
    }
  }
}

// Mono at AC-3 64k: a held pitch pipe in a stream whose offset search leaves the noise 7.5 dB
// above the masking curve (SNR index 200) ends, within about a second, at the tonal share of
// the rate's band; with the noise under the curve (index 260) it keeps the rate's band, and
// so does noise however starved.
TEST(Frame, StarvedSteadyChannelsEndLower) {
  const CodingPlan plan = PlanForRate(64, 1, false);
  ASSERT_FALSE(plan.coupling);
  const int rate_end = ac3::ChannelEndMant(plan.chbwcod);
  const int tonal_end = ac3::ChannelEndMant(plan.tonal_chbwcod);
  ASSERT_LT(tonal_end, rate_end);
  constexpr int kFrames = 40;
  constexpr int kLength = kHistory + kFrames * kFrameInput;
  for (bool tone : {true, false}) {
    for (int snr_index : {200, 260}) {
      SCOPED_TRACE(std::string(tone ? "tone" : "noise") + ", index " + std::to_string(snr_index));
      const std::vector<float> signal = PitchPipeOrNoise(tone, kLength);
      auto f = NewFrame(1);
      BlockAttack attacks[kMaxChannels][kBlocks] = {};
      for (int frame = 0; frame < kFrames; ++frame) {
        f->snr_index = snr_index;
        const float* channels[1] = {&signal[frame * kFrameInput]};
        AnalyzeFrame(channels, attacks, plan, f.get());
        if (frame == 0) {
          EXPECT_EQ(f->ch[0].end, rate_end);
        }
      }
      EXPECT_EQ(f->ch[0].end, tone && snr_index == 200 ? tonal_end : rate_end);
    }
  }
}

// E-AC-3 2.0 128k, where the extension begins at 14.7 kHz: starved, a held pitch pipe on both
// channels ends below it, so the frame goes without the extension and its coupling range ends
// on the first sub-band edge at or past the tonal share of the rate's band; with the noise
// under the curve the frame keeps the extension, coupled up to where it begins.
TEST(Frame, StarvedSteadyChannelsEndLowerWhereTheExtensionGivesWay) {
  const CodingPlan plan = PlanForRate(128, 2, false, true);
  ASSERT_TRUE(plan.spx && plan.spx_yields_to_coupling);
  const int tonal_end = ac3::ChannelEndMant(plan.tonal_chbwcod);
  constexpr int kFrames = 40;
  constexpr int kLength = kHistory + kFrames * kFrameInput;
  const std::vector<float> signal = PitchPipeOrNoise(true, kLength);
  for (int snr_index : {200, 260}) {
    SCOPED_TRACE("index " + std::to_string(snr_index));
    auto f = NewFrame(2);
    BlockAttack attacks[kMaxChannels][kBlocks] = {};
    for (int frame = 0; frame < kFrames; ++frame) {
      f->snr_index = snr_index;
      const float* channels[2] = {&signal[frame * kFrameInput], &signal[frame * kFrameInput]};
      AnalyzeFrame(channels, attacks, plan, f.get());
    }
    ASSERT_TRUE(f->cplinu);
    if (snr_index == 200) {
      EXPECT_FALSE(f->spxinu);
      EXPECT_GE(f->cpl.end, tonal_end);
      EXPECT_LT(f->cpl.end, tonal_end + 12);
    } else {
      EXPECT_TRUE(f->spxinu);
      EXPECT_EQ(f->cpl.end, f->spx.begin);
    }
  }
}

// A channel that leaves coupling codes up to its own band, also where that band reaches past
// the coupling range (a plan may end coupling below the rate's bandwidth).
TEST(Frame, ChannelsLeavingCouplingKeepTheirOwnBand) {
  CodingPlan plan = PlanForRate(192, 2, false);
  ASSERT_TRUE(plan.coupling);
  plan.chbwcod = 48;  // 20.3 kHz, past the coupling range's 17 kHz
  ASSERT_GT(ac3::ChannelEndMant(plan.chbwcod), CouplingEndMant(plan.cplendf));
  constexpr int kLength = kHistory + kFrameInput;
  std::vector<float> input(2 * kLength);
  uint32_t seed = 3;
  for (float& x : input) x = 0.3f * Noise(&seed);  // two unrelated channels
  const float* channels[2] = {&input[0], &input[kLength]};
  BlockAttack attacks[kMaxChannels][kBlocks] = {};
  auto f = NewFrame(2);
  AnalyzeFrame(channels, attacks, plan, f.get());
  ASSERT_FALSE(f->cplinu);
  for (int c = 0; c < 2; ++c) {
    const ChannelFrame& ch = f->ch[c];
    ASSERT_EQ(ch.end, ac3::ChannelEndMant(plan.chbwcod));
    for (int b = 0; b < kBlocks; ++b)
      for (int i = CouplingEndMant(plan.cplendf); i < ch.end; ++i)
        ASSERT_LT(ch.exp[b][i], 16) << "channel " << c << ", block " << b << ", bin " << i;
  }
}

// An attack leaves coupling, whose band would carry its noise ahead of it: in stereo the whole
// frame, as the shared mantissas would take one channel's attack to the other (and E-AC-3's
// boost by delta bit allocation misses the coupling channel); in a 5.1 mix, boosted by delta
// in either codec, only the attack's channel, the others staying coupled.
TEST(Frame, AttacksLeaveCoupling) {
  constexpr int kLength = kHistory + kFrameInput;
  std::vector<float> noise(kLength);
  uint32_t seed = 9;
  for (float& x : noise) x = 0.3f * Noise(&seed);
  for (int acmod : {2, 7}) {
    const int nfch = FbwChannels(acmod);
    std::vector<float> input(nfch * kLength);
    const float* channels[kMaxChannels];
    for (int c = 0; c < nfch; ++c) {
      for (int n = 0; n < kLength; ++n) input[c * kLength + n] = (1.0f - 0.1f * c) * noise[n];
      channels[c] = &input[c * kLength];
    }
    for (bool extension : {false, true}) {
      const CodingPlan plan = PlanForRate(acmod == 2 ? 128 : 448, acmod, false, extension);
      ASSERT_TRUE(plan.coupling);
      for (bool attack : {false, true}) {
        auto f = NewFrame(acmod);
        BlockAttack attacks[kMaxChannels][kBlocks] = {};
        attacks[1][3] = attack ? kExposedAttack : BlockAttack();
        AnalyzeFrame(channels, attacks, plan, f.get());
        SCOPED_TRACE(testing::Message() << "acmod " << acmod << (extension ? " E-AC-3" : " AC-3")
                                        << (attack ? ", attack" : ", steady"));
        if (acmod == 2) {
          EXPECT_EQ(f->cplinu, !attack);
          continue;
        }
        ASSERT_TRUE(f->cplinu);
        for (int c = 0; c < nfch; ++c) EXPECT_EQ(f->chincpl[c], !(attack && c == 1)) << c;
      }
    }
  }
}

// 5.1 couples only the channels that carry much the same in the coupling band: fronts
// sharing one signal couple, surrounds with their own signals keep their own mantissas up
// to their bandwidth; with nothing shared no channel couples.
TEST(Frame, MultichannelCouplingChoosesItsChannels) {
  const CodingPlan plan = PlanForRate(448, 7, true);
  ASSERT_TRUE(plan.coupling);
  ASSERT_GT(plan.cpl_min_coherence, 0);
  constexpr int kLength = kHistory + kFrameInput;
  // Bitstream order L C R Ls Rs, then LFE.
  for (bool fronts_shared : {true, false}) {
    auto f = std::make_unique<FrameData>();
    f->acmod = 7;
    f->nfch = 5;
    f->lfe = true;
    f->channels = 6;
    std::vector<float> input(6 * kLength);
    uint32_t seed = 9;
    for (int c = 0; c < 6; ++c)
      for (int n = 0; n < kLength; ++n) {
        const float noise = Noise(&seed);
        const bool copy = fronts_shared && (c == 1 || c == 2);
        input[c * kLength + n] = copy ? (c == 1 ? 0.7f : 0.4f) * input[n] : 0.3f * noise;
      }
    const float* channels[6];
    for (int c = 0; c < 6; ++c) channels[c] = &input[c * kLength];
    BlockAttack attacks[kMaxChannels][kBlocks] = {};
    AnalyzeFrame(channels, attacks, plan, f.get());
    EXPECT_EQ(f->cplinu, fronts_shared);
    for (int c = 0; c < 5; ++c) {
      const bool coupled = fronts_shared && c < 3;
      EXPECT_EQ(f->chincpl[c], coupled) << "channel " << c;
      EXPECT_EQ(f->ch[c].end, coupled ? f->cpl.start : 73 + 3 * plan.chbwcod) << "channel " << c;
    }
    if (fronts_shared) {
      EXPECT_EQ(f->FirstCoupled(), 0);
    }
  }
}

// What a common offset step leaves over goes to single channels' fine offsets: more of the
// budget is used, never more than the budget.
TEST(Frame, PerChannelFineOffsetsFillTheFrame) {
  auto f = NewFrame(7);
  constexpr int kLength = kHistory + kFrameInput;
  std::vector<float> input(5 * kLength);
  uint32_t seed = 4;
  for (int c = 0; c < 5; ++c)
    for (int n = 0; n < kLength; ++n) {
      input[c * kLength + n] = static_cast<float>((0.05 + 0.1 * c) * Noise(&seed) +
                                                  0.3 * std::sin(0.01 * (c + 1) * n));
    }
  const float* channels[5];
  for (int c = 0; c < 5; ++c) channels[c] = &input[c * kLength];
  BlockAttack attacks[kMaxChannels][kBlocks] = {};
  AnalyzeFrame(channels, attacks, PlanForRate(448, 7, false), f.get());

  auto used_bits = [&] {
    int bits = 0;
    for (int b = 0; b < kBlocks; ++b) {
      MantissaCounter counter;
      for (int c = 0; c < 5; ++c) counter.Add(f->ch[c].bap[b], 0, f->ch[c].end);
      bits += counter.Bits();
    }
    return bits;
  };
  const int budget = 11000;
  ASSERT_TRUE(AllocateFrame(budget, budget, false, f.get()));
  const int common = used_bits();
  for (int c = 1; c < 5; ++c) EXPECT_EQ(f->fsnroffst[c], f->fsnroffst[0]);
  f->snr_index = 0;
  ASSERT_TRUE(AllocateFrame(budget, budget, true, f.get()));
  const int filled = used_bits();
  EXPECT_LE(filled, budget);
  EXPECT_GT(filled, common);
}

TEST(Frame, FrameSizeCodesCoverExactlyTheTableRates) {
  for (int i = 0; i < 19; ++i) EXPECT_EQ(Ac3FrameSizeCode(ac3::kFrameSizeRates[i]), 2 * i);
  EXPECT_EQ(Ac3FrameSizeCode(100), -1);
  EXPECT_EQ(Ac3FrameSizeCode(1024), -1);
}

TEST(Bsi, AlternateSyntaxOnlyWhenNeeded) {
  Metadata md;
  EXPECT_EQ(Ac3Bsid(md), 8);
  md.lorocmixlev = 6;
  md.ltrtcmixlev = 6;
  EXPECT_EQ(Ac3Bsid(md), 8);  // -6 dB is a cmixlev code
  md.lorocmixlev = md.ltrtcmixlev = 2;
  EXPECT_EQ(Ac3Bsid(md), 6);  // 0 dB is not
  md = Metadata();
  md.dmixmod = 2;
  EXPECT_EQ(Ac3Bsid(md), 6);
  md = Metadata();
  md.ltrtsurmixlev = 6;
  EXPECT_EQ(Ac3Bsid(md), 6);
  md = Metadata();
  md.adconvtyp = 1;
  EXPECT_EQ(Ac3Bsid(md), 6);
  md = Metadata();
  md.dsurexmod = 1;
  EXPECT_EQ(Ac3Bsid(md), 6);
}

}  // namespace
}  // namespace ddpi::enc
