// Dynamic range control: gain words computed from the programme, relative to its dialogue level,
// for a decoder to apply. Line mode gets one dynrng word per 256-sample block; RF mode gets one
// compr word per frame.
//
// Gain word formats
//   dynrng (8 bits): X = bits 7..5, a signed exponent -4..3; Y = bits 4..0, a mantissa.
//     gain = 2^X * (1 + Y/32), from -24.08 dB (X=-4, Y=0) to +23.94 dB (X=3, Y=31); 0 is 0 dB.
//   compr (8 bits): X = bits 7..4, a signed exponent -8..7; Y = bits 3..0, a mantissa.
//     gain = 2^X * (1 + Y/16), from -48.16 dB to +47.89 dB; 0 is 0 dB.
//
// Profile characteristics. Levels are the programme level in dB relative to the dialogue level
// (-dialnorm dBFS); gains are what the decoder applies on top of its dialogue normalisation.
//
//   profile         max boost  boost range       null band      early cut         cut
//   1 Film Std      6 dB       -12..0 dB  2:1    0..+5 dB       +5..+15 dB  2:1   +15..+35 dB 20:1
//   2 Film Light    6 dB       -22..-10   2:1    -10..+10       -                 +10..+40    2:1
//   3 Music Std     12 dB      -24..0     2:1    0..+5          +5..+15     2:1   +15..+35    20:1
//   4 Music Light   12 dB      -34..-10   2:1    -10..+10       -                 +10..+40    2:1
//   5 Speech        15 dB      -19..0     5:1    0..+5          +5..+15     2:1   +15..+35    20:1
//
// Below a boost range the boost stays at its maximum; above the last segment the gain keeps
// falling at that segment's ratio. A gain reduction (attack) follows the level within
// kAttackMs; a recovery (release) takes the profile's release time constant (film and speech
// 800 ms, music 2 s) so that boosts do not pump between words or notes.
//
// Level is the RMS of the full-bandwidth channels' summed power over about 50 ms, in dB relative
// to a full-scale sine, plus dialnorm.
//
// Headroom: line mode limits its gain so that the peak around each block, after the decoder's
// dialogue normalisation to -31 dBFS, stays at or below full scale. A decoder in RF mode plays
// dialogue 11 dB higher (-20 dBFS); the compr word carries the RF profile's gain limited so that
// the frame's peak, normalised and lifted by those 11 dB, never exceeds full scale either. A
// limited gain is always rounded down to a code at or below the limit.
#ifndef DDPI_ENGINE_ENCODER_ENC_DRC_H
#define DDPI_ENGINE_ENCODER_ENC_DRC_H

namespace ddpi::enc {

enum DrcProfile {
  kDrcNone = 0,
  kDrcFilmStandard = 1,
  kDrcFilmLight = 2,
  kDrcMusicStandard = 3,
  kDrcMusicLight = 4,
  kDrcSpeech = 5,
};

struct DrcFrameGains {
  int dynrng[6];   // line-mode word per block (8-bit code)
  int compr;       // RF-mode word for the frame (8-bit code)
  bool dynrng_on;  // false when the line profile is None: no dynrng words in the stream
  bool compr_on;   // false when the RF profile is None: no compr word in the stream
};

// Code <-> gain conversions. *FromDb rounds to the nearest representable gain (in linear
// terms) and saturates outside the word's range.
// *AtMostDb returns the largest representable gain not above gain_db (the lowest code's gain
// when gain_db is below the range).
int DynrngCodeFromDb(double gain_db);
int DynrngCodeAtMostDb(double gain_db);
double DynrngDbFromCode(int code);
int ComprCodeFromDb(double gain_db);
int ComprCodeAtMostDb(double gain_db);
double ComprDbFromCode(int code);

// Static curve of a profile: gain in dB for a programme level relative to dialogue level.
// Profile None gives 0 dB.
double DrcStaticGainDb(int profile, double level_re_dialogue_db);

class DrcAnalyzer {
 public:
  static constexpr int kBlockSamples = 256;
  static constexpr int kMaxBlocks = 6;
  static constexpr double kLineReferenceDbfs = -31.0;  // dialogue level after normalisation
  static constexpr double kRfLiftDb = 11.0;            // RF mode plays dialogue at -20 dBFS
  static constexpr double kAttackMs = 10.0;

  // line_profile / rf_profile: DrcProfile values 0..5; dialnorm: dialogue level 1..31 dB below
  // full scale. Out-of-range profiles act as None; dialnorm is clamped to 1..31.
  void Reset(int line_profile, int rf_profile, int dialnorm);

  // channels[c][0 .. blocks*256): the frame's full-bandwidth channels (LFE excluded by the
  // caller), time-aligned with what is being coded. blocks is 1..6.
  void AnalyzeFrame(const float* const* channels, int channel_count, int blocks,
                    DrcFrameGains* out);

 private:
  struct Smoother {
    double gain_db = 0;
    void Step(double target_db, double attack_coeff, double release_coeff);
  };

  static double BlockPower(const float* const* channels, int channel_count, int offset);
  static double BlockPeak(const float* const* channels, int channel_count, int offset);
  static double ReleaseMs(int profile);
  double TrackLevelDb(double block_power);
  // Largest gain (dB) that keeps `peak`, normalised to the line reference plus lift_db, at or
  // below full scale.
  double HeadroomLimitDb(double peak, double lift_db) const;

  int line_profile_ = 0;
  int rf_profile_ = 0;
  int dialnorm_ = 31;
  double level_power_ = 0;     // smoothed programme power (sum over channels)
  double previous_peak_ = 0;   // peak of the block before the current one
  Smoother line_;
  Smoother rf_;
};

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_DRC_H
