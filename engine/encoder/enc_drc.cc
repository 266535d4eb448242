#include "enc_drc.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace ddpi::enc {
namespace {

constexpr double kBlockMs = 256.0 / 48.0;
constexpr double kLevelAttackMs = 5.0;    // the detector follows a rise within a block or so
constexpr double kLevelReleaseMs = 50.0;  // and bridges the gaps between syllables
constexpr double kSilenceDb = -200.0;

// Four lanes of float: one SSE2 register on x86-64, a plain array elsewhere. The block peak
// runs on two of them; a maximum does not depend on the order it is taken in.
using Float4 = float __attribute__((vector_size(16)));
constexpr float kLargestFloat = std::numeric_limits<float>::max();

// One profile's static curve, levels relative to dialogue level (see the table in the header).
struct Characteristic {
  double max_boost_db;
  double boost_ratio;
  double null_low_db;
  double null_high_db;
  double early_cut_end_db;  // equal to null_high_db when the profile has no early-cut range
  double early_cut_ratio;
  double cut_ratio;
};

constexpr Characteristic kCharacteristics[] = {
    {0, 1, 0, 0, 0, 1, 1},           // None
    {6, 2, 0, 5, 15, 2, 20},         // Film Standard
    {6, 2, -10, 10, 10, 1, 2},       // Film Light
    {12, 2, 0, 5, 15, 2, 20},        // Music Standard
    {12, 2, -10, 10, 10, 1, 2},      // Music Light
    {15, 5, 0, 5, 15, 2, 20},        // Speech
};
constexpr int kProfileCount = sizeof(kCharacteristics) / sizeof(kCharacteristics[0]);

bool ValidProfile(int profile) { return profile > 0 && profile < kProfileCount; }

double Slope(double ratio) { return 1.0 - 1.0 / ratio; }

double CoefficientForTimeConstant(double ms) { return 1.0 - std::exp(-kBlockMs / ms); }

double DbFromPower(double power) {
  return power > 0 ? 10.0 * std::log10(power) : kSilenceDb;
}

double DbFromAmplitude(double amplitude) {
  return amplitude > 0 ? 20.0 * std::log10(amplitude) : kSilenceDb;
}

// An 8-bit gain word: a signed exponent X in the high bits, a mantissa Y in the low bits,
// gain = 2^X * (1 + Y / 2^mantissa_bits).
struct GainWord {
  int exponent_bits;
  int mantissa_bits;

  int MinExponent() const { return -(1 << (exponent_bits - 1)); }
  int MaxExponent() const { return (1 << (exponent_bits - 1)) - 1; }
  int Steps() const { return 1 << mantissa_bits; }
  int Code(int x, int y) const {
    return ((x & ((1 << exponent_bits) - 1)) << mantissa_bits) | y;
  }

  double Gain(int code) const {
    int x = (code >> mantissa_bits) & ((1 << exponent_bits) - 1);
    if (x > MaxExponent()) x -= 1 << exponent_bits;
    const int y = code & (Steps() - 1);
    return std::ldexp(1.0 + static_cast<double>(y) / Steps(), x);
  }

  int Encode(double gain_db, bool round_down) const {
    const double lowest = std::ldexp(1.0, MinExponent());
    const double highest = std::ldexp(1.0 + (Steps() - 1.0) / Steps(), MaxExponent());
    const double gain = std::pow(10.0, gain_db / 20.0);
    if (!(gain > lowest)) return Code(MinExponent(), 0);  // also catches NaN
    if (gain >= highest) return Code(MaxExponent(), Steps() - 1);
    int x = 0;
    const double fraction = std::frexp(gain, &x);  // gain = fraction * 2^x, fraction in [0.5, 1)
    x -= 1;
    const double position = (2.0 * fraction - 1.0) * Steps();
    // A gain that is exactly representable may arrive a few ulps low after the dB round trip.
    int y = round_down ? static_cast<int>(std::floor(position + 1e-9))
                       : static_cast<int>(std::lround(position));
    if (y == Steps()) {
      y = 0;
      x += 1;
    }
    return Code(x, y);
  }
};

constexpr GainWord kDynrngWord{3, 5};
constexpr GainWord kComprWord{4, 4};

// Nearest code to gain_db unless rounding up would pass the headroom limit.
int LimitedDynrngCode(double gain_db, double limit_db) {
  const int code = kDynrngWord.Encode(std::min(gain_db, limit_db), false);
  return DbFromAmplitude(kDynrngWord.Gain(code)) > limit_db ? kDynrngWord.Encode(limit_db, true)
                                                             : code;
}

int LimitedComprCode(double gain_db, double limit_db) {
  const int code = kComprWord.Encode(std::min(gain_db, limit_db), false);
  return DbFromAmplitude(kComprWord.Gain(code)) > limit_db ? kComprWord.Encode(limit_db, true)
                                                            : code;
}

}  // namespace

int DynrngCodeFromDb(double gain_db) { return kDynrngWord.Encode(gain_db, false); }
int DynrngCodeAtMostDb(double gain_db) { return kDynrngWord.Encode(gain_db, true); }
double DynrngDbFromCode(int code) { return DbFromAmplitude(kDynrngWord.Gain(code)); }
int ComprCodeFromDb(double gain_db) { return kComprWord.Encode(gain_db, false); }
int ComprCodeAtMostDb(double gain_db) { return kComprWord.Encode(gain_db, true); }
double ComprDbFromCode(int code) { return DbFromAmplitude(kComprWord.Gain(code)); }

double DrcStaticGainDb(int profile, double level_db) {
  if (!ValidProfile(profile)) return 0.0;
  const Characteristic& c = kCharacteristics[profile];
  if (level_db < c.null_low_db) {
    return std::min(c.max_boost_db, (c.null_low_db - level_db) * Slope(c.boost_ratio));
  }
  if (level_db <= c.null_high_db) return 0.0;
  if (level_db <= c.early_cut_end_db) {
    return -(level_db - c.null_high_db) * Slope(c.early_cut_ratio);
  }
  const double early_cut = (c.early_cut_end_db - c.null_high_db) * Slope(c.early_cut_ratio);
  return -early_cut - (level_db - c.early_cut_end_db) * Slope(c.cut_ratio);
}

void DrcAnalyzer::Smoother::Step(double target_db, double attack_coeff, double release_coeff) {
  const double coeff = target_db < gain_db ? attack_coeff : release_coeff;
  gain_db += (target_db - gain_db) * coeff;
}

void DrcAnalyzer::Reset(int line_profile, int rf_profile, int dialnorm) {
  line_profile_ = ValidProfile(line_profile) ? line_profile : kDrcNone;
  rf_profile_ = ValidProfile(rf_profile) ? rf_profile : kDrcNone;
  dialnorm_ = std::clamp(dialnorm, 1, 31);
  level_power_ = 0;
  previous_peak_ = 0;
  line_ = Smoother();
  rf_ = Smoother();
}

double DrcAnalyzer::ReleaseMs(int profile) {
  return profile == kDrcMusicStandard || profile == kDrcMusicLight ? 2000.0 : 800.0;
}

// Summed mean-square power of the channels over one block.
// Both sums below run over four independent accumulators: a single running sum would make
// every sample wait for the previous addition.
double DrcAnalyzer::BlockPower(const float* const* channels, int channel_count, int offset) {
  static_assert(kBlockSamples % 4 == 0, "four lanes");
  double power = 0;
  for (int c = 0; c < channel_count; ++c) {
    const float* x = channels[c] + offset;
    double lanes[4] = {};
    for (int i = 0; i < kBlockSamples; i += 4) {
      for (int k = 0; k < 4; ++k) {
        const double v = x[i + k];
        const double square = v * v;
        // Non-finite samples (and squares) are left out.
        lanes[k] += square <= std::numeric_limits<double>::max() ? square : 0.0;
      }
    }
    power += (lanes[0] + lanes[1] + lanes[2] + lanes[3]) / kBlockSamples;
  }
  return power;
}

// A non-finite sample counts as full scale.
double DrcAnalyzer::BlockPeak(const float* const* channels, int channel_count, int offset) {
  static_assert(kBlockSamples % 8 == 0, "eight lanes");
  Float4 low = {0, 0, 0, 0}, high = {0, 0, 0, 0};
  const Float4 full_scale = {1, 1, 1, 1};
  for (int c = 0; c < channel_count; ++c) {
    const float* x = channels[c] + offset;
    for (int i = 0; i < kBlockSamples; i += 8) {
      Float4 a, b;
      std::memcpy(&a, x + i, sizeof a);
      std::memcpy(&b, x + i + 4, sizeof b);
      a = a < 0 ? -a : a;
      b = b < 0 ? -b : b;
      // NaN fails the comparison and infinity exceeds the largest float: both count as 1.
      a = a <= kLargestFloat ? a : full_scale;
      b = b <= kLargestFloat ? b : full_scale;
      low = a > low ? a : low;
      high = b > high ? b : high;
    }
  }
  float peak = 0;
  for (int k = 0; k < 4; ++k) peak = std::max({peak, low[k], high[k]});
  return peak;
}

// Follows the programme power with a fast rise and a slower fall; returns the level relative
// to the dialogue level (a full-scale sine in one channel is 0 dBFS).
double DrcAnalyzer::TrackLevelDb(double block_power) {
  const double coeff = CoefficientForTimeConstant(block_power > level_power_ ? kLevelAttackMs
                                                                              : kLevelReleaseMs);
  level_power_ += (block_power - level_power_) * coeff;
  if (level_power_ < 1e-30) level_power_ = 0;
  return DbFromPower(2.0 * level_power_) + dialnorm_;
}

// The decoder's dialogue normalisation scales by -(31 - dialnorm) dB.
double DrcAnalyzer::HeadroomLimitDb(double peak, double lift_db) const {
  const double normalisation_db = kLineReferenceDbfs + dialnorm_;
  return -(DbFromAmplitude(peak) + normalisation_db + lift_db);
}

void DrcAnalyzer::AnalyzeFrame(const float* const* channels, int channel_count, int blocks,
                               DrcFrameGains* out) {
  blocks = std::clamp(blocks, 1, kMaxBlocks);
  double peaks[kMaxBlocks];
  for (int b = 0; b < blocks; ++b) {
    peaks[b] = BlockPeak(channels, channel_count, b * kBlockSamples);
  }

  const double attack = CoefficientForTimeConstant(kAttackMs);
  const double line_release = CoefficientForTimeConstant(ReleaseMs(line_profile_));
  const double rf_release = CoefficientForTimeConstant(ReleaseMs(rf_profile_));
  double frame_rf_db = 1e9;
  double frame_peak = previous_peak_;

  for (int b = 0; b < blocks; ++b) {
    const double level_db = TrackLevelDb(BlockPower(channels, channel_count, b * kBlockSamples));
    line_.Step(DrcStaticGainDb(line_profile_, level_db), attack, line_release);
    rf_.Step(DrcStaticGainDb(rf_profile_, level_db), attack, rf_release);
    frame_rf_db = std::min(frame_rf_db, rf_.gain_db);

    // A block's gain also reaches into its neighbours through the transform overlap.
    const double next_peak = b + 1 < blocks ? peaks[b + 1] : peaks[b];
    const double around = std::max({previous_peak_, peaks[b], next_peak});
    const double limit_db = HeadroomLimitDb(around, 0.0);
    out->dynrng[b] = LimitedDynrngCode(line_.gain_db, limit_db);
    frame_peak = std::max(frame_peak, peaks[b]);
    previous_peak_ = peaks[b];
  }
  for (int b = blocks; b < kMaxBlocks; ++b) out->dynrng[b] = 0;

  const double rf_limit_db = HeadroomLimitDb(frame_peak, kRfLiftDb);
  out->compr = LimitedComprCode(frame_rf_db, rf_limit_db);
  out->dynrng_on = line_profile_ != kDrcNone;
  out->compr_on = rf_profile_ != kDrcNone;
  if (!out->dynrng_on) {
    for (int& word : out->dynrng) word = 0;
  }
  if (!out->compr_on) out->compr = 0;
}

}  // namespace ddpi::enc
