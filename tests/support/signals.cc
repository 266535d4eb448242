#include "signals.h"

#include <cmath>
#include <random>

namespace ddtest {
namespace {

constexpr double kPi = 3.14159265358979323846;

void ScaleToRms(std::vector<float>* x, double rms) {
  double sum = 0;
  for (float v : *x) sum += static_cast<double>(v) * v;
  if (sum <= 0) return;
  const double gain = rms / std::sqrt(sum / x->size());
  for (float& v : *x) v = static_cast<float>(v * gain);
}

}  // namespace

std::vector<float> Silence(size_t frames) { return std::vector<float>(frames, 0.0f); }

std::vector<float> DcOffset(size_t frames, float value) {
  return std::vector<float>(frames, value);
}

std::vector<float> Sine(size_t frames, double hz, double amplitude, double phase, int rate) {
  std::vector<float> x(frames);
  for (size_t i = 0; i < frames; ++i) {
    x[i] = static_cast<float>(amplitude * std::sin(2 * kPi * hz * i / rate + phase));
  }
  return x;
}

std::vector<float> WhiteNoise(size_t frames, double rms, uint32_t seed) {
  std::mt19937 rng(seed);
  std::uniform_real_distribution<float> uniform(-1.0f, 1.0f);
  std::vector<float> x(frames);
  for (float& v : x) v = uniform(rng);
  ScaleToRms(&x, rms);
  return x;
}

std::vector<float> PinkNoise(size_t frames, double rms, uint32_t seed) {
  // Low-passes with corners an octave apart from 10 Hz up, equal input: their sum falls at
  // about 3 dB per octave between the lowest and highest corner.
  constexpr int kStages = 12;
  std::mt19937 rng(seed);
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  double coeff[kStages], state[kStages] = {};
  for (int s = 0; s < kStages; ++s) {
    const double corner = 10.0 * std::pow(2.0, s);
    coeff[s] = std::exp(-2 * kPi * corner / 48000.0);
  }
  std::vector<float> x(frames);
  for (size_t i = 0; i < frames; ++i) {
    const double white = uniform(rng);
    double sum = 0;
    for (int s = 0; s < kStages; ++s) {
      // Gain^2 proportional to 1/corner: the stages above f sum to ~1/f, those below too.
      state[s] = coeff[s] * state[s] + (1 - coeff[s]) * white / std::sqrt(std::pow(2.0, s));
      sum += state[s];
    }
    x[i] = static_cast<float>(sum);
  }
  ScaleToRms(&x, rms);
  return x;
}

std::vector<float> Clicks(size_t frames, size_t interval, float amplitude) {
  std::vector<float> x(frames, 0.0f);
  if (interval == 0) return x;
  for (size_t i = interval / 2; i < frames; i += interval) x[i] = amplitude;
  return x;
}

std::vector<float> CastanetBursts(size_t frames, size_t interval, float peak, uint32_t seed) {
  std::vector<float> x(frames, 0.0f);
  if (interval == 0) return x;
  std::mt19937 rng(seed);
  std::uniform_real_distribution<float> uniform(-1.0f, 1.0f);
  const size_t length = 48000 * 15 / 1000;  // 60 dB down after 15 ms
  const double decay = std::pow(10.0, -3.0 / length);
  for (size_t start = interval / 2; start < frames; start += interval) {
    double envelope = peak;
    for (size_t i = start; i < frames && i < start + length; ++i) {
      x[i] = static_cast<float>(envelope * uniform(rng));
      envelope *= decay;
    }
  }
  return x;
}

std::vector<float> ToneChords(size_t frames, size_t note_frames, double amplitude,
                              uint32_t seed) {
  std::mt19937 rng(seed);
  std::uniform_int_distribution<int> semitone(-12, 12);
  std::vector<float> x(frames, 0.0f);
  if (note_frames == 0) return x;
  for (size_t start = 0; start < frames; start += note_frames) {
    const double roots[3] = {220.0 * std::pow(2.0, semitone(rng) / 12.0),
                             330.0 * std::pow(2.0, semitone(rng) / 12.0),
                             440.0 * std::pow(2.0, semitone(rng) / 12.0)};
    const size_t end = std::min(frames, start + note_frames);
    for (size_t i = start; i < end; ++i) {
      const double t = static_cast<double>(i - start) / 48000.0;
      // Soft 10 ms attack, slow decay: notes without clicks at their joins.
      const double envelope = std::min(1.0, t / 0.01) * std::exp(-1.5 * t) *
                              std::min(1.0, static_cast<double>(end - i) / 480.0);
      double v = 0;
      for (double root : roots) {
        for (int h = 1; h <= 6; ++h) v += std::sin(2 * kPi * root * h * t) / (h * 3.0);
      }
      x[i] = static_cast<float>(amplitude * envelope * v);
    }
  }
  return x;
}

void MixInto(std::vector<float>* a, const std::vector<float>& b, float gain) {
  const size_t n = std::min(a->size(), b.size());
  for (size_t i = 0; i < n; ++i) (*a)[i] += gain * b[i];
}

}  // namespace ddtest
