// The measuring half of the quality benchmark (bench/quality/run.sh): synthesizes the critical
// items, and measures a decoded stream against its reference where PEAQ says nothing specific:
// coded bandwidth, energy above it, pre-echo before each attack, and each channel's lag.
//
//   quality_probe synth KIND OUT.wav        castanets | harpsichord | applause | glockenspiel |
//                                           pitchpipe | reed: 10 s of stereo, 48 kHz float
//   quality_probe split REF.wav TEST.wav SKIP DIR
//       writes DIR/ref_P.wav and DIR/test_P.wav for each graded group P of channels (LR; and
//       for 5.1 in slot order L R C LFE Ls Rs also C and S), TEST read from sample SKIP on;
//       SKIP -1 finds the lag of channel 0 by correlation (FFmpeg's streams carry no delay).
//   quality_probe measure REF.wav TEST.wav SKIP [STREAM]
//       prints "skip N", "bandwidth HZ", "above_band DB" (and where), "lag CH N" and
//       "fine_lag CH F" (to a fraction of a sample) per channel, and
//       "attack SECONDS DB" per attack of the reference: the energy of the 5 ms before it
//       against the reference's, in dB (a 5.1 file's attacks found in L/R, C and Ls/Rs apart,
//       in that order). With the STREAM that TEST was decoded from, the energy above the band
//       is measured above each frame's coded band as the stream states it (stream_band.h), and
//       "coded_band HZ" gives the median of those bands.
#include <sndfile.h>

#include "ffmpeg_streams.h"
#include "metrics.h"
#include "stream_band.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kRate = 48000;
using Planes = std::vector<std::vector<float>>;

bool ReadWav(const std::string& path, Planes* planes) {
  SF_INFO info{};
  SNDFILE* f = sf_open(path.c_str(), SFM_READ, &info);
  if (f == nullptr) {
    std::fprintf(stderr, "cannot read %s: %s\n", path.c_str(), sf_strerror(nullptr));
    return false;
  }
  std::vector<float> interleaved(static_cast<size_t>(info.frames) * info.channels);
  sf_readf_float(f, interleaved.data(), info.frames);
  sf_close(f);
  planes->assign(info.channels, std::vector<float>(info.frames));
  for (sf_count_t i = 0; i < info.frames; ++i)
    for (int c = 0; c < info.channels; ++c) (*planes)[c][i] = interleaved[i * info.channels + c];
  return true;
}

bool WriteWav(const std::string& path, const Planes& planes) {
  SF_INFO info{};
  info.samplerate = kRate;
  info.channels = static_cast<int>(planes.size());
  info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
  SNDFILE* f = sf_open(path.c_str(), SFM_WRITE, &info);
  if (f == nullptr) {
    std::fprintf(stderr, "cannot write %s\n", path.c_str());
    return false;
  }
  const size_t n = planes[0].size();
  std::vector<float> interleaved(n * planes.size());
  for (size_t i = 0; i < n; ++i)
    for (size_t c = 0; c < planes.size(); ++c) interleaved[i * planes.size() + c] = planes[c][i];
  sf_writef_float(f, interleaved.data(), static_cast<sf_count_t>(n));
  sf_close(f);
  return true;
}

// ---- synthesized critical items ----

// Percussive hits: a burst of `hz` resonances under a fast exponential decay.
void AddHit(std::vector<float>* x, size_t at, double decay_ms, double amplitude,
            const std::vector<double>& partials, std::mt19937* rng, double noise_share) {
  std::normal_distribution<double> noise(0.0, 1.0);
  const size_t length = static_cast<size_t>(decay_ms * 48 * 6);
  for (size_t i = 0; i < length && at + i < x->size(); ++i) {
    const double t = static_cast<double>(i) / kRate;
    const double env = std::exp(-t * 1000.0 / decay_ms);
    double v = noise_share * noise(*rng);
    for (size_t k = 0; k < partials.size(); ++k)
      v += std::sin(2 * kPi * partials[k] * t) / (1.0 + k);
    (*x)[at + i] += static_cast<float>(amplitude * env * v);
  }
}

Planes Synthesize(const std::string& kind) {
  const size_t n = 10 * kRate;
  Planes out(2, std::vector<float>(n));
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> uniform(0.0, 1.0);
  if (kind == "castanets") {
    // Clicks of a few ms with a resonance near 2-3 kHz, in irregular rolls.
    double t = 0.2;
    while (t < 9.8) {
      for (int c = 0; c < 2; ++c) {
        const double pan = c == 0 ? 0.5 + 0.5 * uniform(rng) : 1.0 - 0.4 * uniform(rng);
        AddHit(&out[c], static_cast<size_t>(t * kRate), 4.0, 0.35 * pan,
               {2300 + 500 * uniform(rng), 3900 + 700 * uniform(rng), 7100}, &rng, 0.6);
      }
      t += uniform(rng) < 0.3 ? 0.06 + 0.03 * uniform(rng) : 0.18 + 0.25 * uniform(rng);
    }
  } else if (kind == "glockenspiel") {
    // Struck bars: inharmonic partials (1, 2.76, 5.4, 8.9) decaying over a second or two.
    const double notes[] = {1046.5, 1318.5, 1568.0, 2093.0, 1760.0, 1396.9, 2637.0, 1174.7};
    for (int k = 0; k < 20; ++k) {
      const double f = notes[k % 8];
      const size_t at = static_cast<size_t>((0.1 + 0.48 * k) * kRate);
      for (int c = 0; c < 2; ++c) {
        std::vector<float>& x = out[c];
        const double gain = 0.25 * (c == k % 2 ? 1.0 : 0.6);
        const double ratios[] = {1.0, 2.76, 5.40, 8.93};
        for (size_t i = 0; i < static_cast<size_t>(2.5 * kRate) && at + i < n; ++i) {
          const double t = static_cast<double>(i) / kRate;
          double v = 0;
          for (int p = 0; p < 4; ++p)
            v += std::exp(-t * (1.2 + 3.0 * p)) * std::sin(2 * kPi * f * ratios[p] * t) / (1 + p);
          x[at + i] += static_cast<float>(gain * v * std::min(1.0, t * 20000));
        }
      }
    }
  } else if (kind == "harpsichord") {
    // Plucked strings: a bright harmonic series with a sharp onset, an arpeggio of chords.
    const double roots[] = {130.8, 164.8, 196.0, 261.6, 220.0, 174.6, 146.8, 196.0};
    for (int k = 0; k < 40; ++k) {
      const double f = roots[k % 8] * (k % 3 == 2 ? 2.0 : 1.0);
      const size_t at = static_cast<size_t>((0.05 + 0.245 * k) * kRate);
      for (int c = 0; c < 2; ++c) {
        const double gain = 0.12 * (c == 0 ? 1.0 - 0.02 * (k % 8) : 0.86 + 0.02 * (k % 8));
        for (size_t i = 0; i < static_cast<size_t>(1.5 * kRate) && at + i < n; ++i) {
          const double t = static_cast<double>(i) / kRate;
          double v = 0;
          for (int h = 1; h * f < 18000; ++h)
            v += std::exp(-t * (1.5 + 0.35 * h)) * std::sin(2 * kPi * f * h * t * (1 + 1e-4 * h)) /
                 std::sqrt(static_cast<double>(h));
          out[c][at + i] += static_cast<float>(gain * v);
        }
      }
    }
  } else if (kind == "applause") {
    // Many claps: short noise bursts at random times, each band-limited by a one-pole pair.
    for (int c = 0; c < 2; ++c) {
      for (int k = 0; k < 900; ++k) {
        const size_t at = static_cast<size_t>(uniform(rng) * (n - 4000));
        AddHit(&out[c], at, 6.0 + 6.0 * uniform(rng), 0.08 + 0.08 * uniform(rng),
               {900 + 1500 * uniform(rng)}, &rng, 1.0);
      }
    }
  } else if (kind == "pitchpipe" || kind == "reed") {
    // A held reed-like tone: many stable harmonics with a slow vibrato (pitch pipe: brighter
    // and higher, notes change every 2.5 s).
    const bool pipe = kind == "pitchpipe";
    for (int c = 0; c < 2; ++c) {
      double phase[64] = {};
      for (size_t i = 0; i < n; ++i) {
        const double t = static_cast<double>(i) / kRate;
        const double base = pipe ? 440.0 * std::pow(2.0, (static_cast<int>(t / 2.5) % 4) / 12.0)
                                 : 233.1;
        const double f0 = base * (1 + 0.003 * std::sin(2 * kPi * 5.0 * t));
        double v = 0;
        for (int h = 1; h < 64 && h * f0 < 19000; ++h) {
          phase[h] += 2 * kPi * f0 * h / kRate;
          const double amp = pipe ? 1.0 / h : (h % 2 ? 1.0 : 0.45) / std::pow(h, 0.8);
          v += amp * std::sin(phase[h]);
        }
        const double env = std::min(1.0, t * 20) * std::min(1.0, (10.0 - t) * 20);
        out[c][i] = static_cast<float>((c == 0 ? 0.16 : 0.13) * env * v);
      }
    }
  } else {
    out.clear();
  }
  // Peak at -3 dB below full scale: room for the codecs' overshoot, no clipping.
  float peak = 0;
  for (const auto& ch : out)
    for (float v : ch) peak = std::max(peak, std::fabs(v));
  for (auto& ch : out)
    for (float& v : ch) v *= 0.7f / peak;
  return out;
}

// ---- measurements ----

constexpr int kFrame = 2048;
constexpr double kBinHz = static_cast<double>(kRate) / kFrame;

// Power spectrum (bins 0..kFrame/2) of frame `f` (hop kFrame/2), Hann-windowed, summed over
// the channels.
std::vector<double> FramePower(const Planes& x, size_t first_sample) {
  std::vector<double> power(kFrame / 2 + 1, 0.0);
  std::vector<std::complex<double>> a(kFrame);
  for (const auto& ch : x) {
    for (int i = 0; i < kFrame; ++i) {
      const size_t at = first_sample + i;
      const double w = 0.5 - 0.5 * std::cos(2 * kPi * (i + 0.5) / kFrame);
      a[i] = at < ch.size() ? w * ch[at] : 0.0;
    }
    ddtest::Fft(&a, false);
    for (int k = 0; k <= kFrame / 2; ++k) power[k] += std::norm(a[k]);
  }
  return power;
}

// Correlation of ref with test shifted by lag, over four seconds from the second one on: past
// any start-up, and enough for a sharp peak.
double Correlation(const std::vector<float>& ref, const std::vector<float>& test, int lag) {
  const size_t begin = std::min<size_t>(ref.size(), kRate);
  const size_t n = std::min<size_t>(ref.size(), 5 * kRate);
  double sum = 0;
  for (size_t i = begin; i < n; ++i) {
    const long j = static_cast<long>(i) + lag;
    if (j >= 0 && j < static_cast<long>(test.size())) sum += static_cast<double>(ref[i]) * test[j];
  }
  return sum;
}

int BestLag(const std::vector<float>& ref, const std::vector<float>& test, int first, int last) {
  int best = first;
  double best_value = -1e300;
  for (int lag = first; lag <= last; ++lag) {
    const double sum = Correlation(ref, test, lag);
    if (sum > best_value) best_value = sum, best = lag;
  }
  return best;
}

// The lag to a fraction of a sample: the peak of the parabola through the correlation at the
// best whole lag and its two neighbours. A low-passed channel such as the LFE has a broad,
// smooth peak, so coding noise alone moves it by tenths of a sample; the whole lag says
// nothing of how close it sits to the next one.
double FineLag(const std::vector<float>& ref, const std::vector<float>& test, int best) {
  const double before = Correlation(ref, test, best - 1);
  const double at = Correlation(ref, test, best);
  const double after = Correlation(ref, test, best + 1);
  const double curvature = before - 2 * at + after;
  if (!(curvature < 0)) return best;
  return best + 0.5 * (before - after) / curvature;
}

// The lag of channel 0: FFmpeg's raw streams start with their encoder's priming samples.
int FindSkip(const Planes& ref, const Planes& test) { return BestLag(ref[0], test[0], 0, 3072); }

Planes Aligned(const Planes& test, int skip, size_t length) {
  Planes out(test.size(), std::vector<float>(length, 0.0f));
  for (size_t c = 0; c < test.size(); ++c)
    for (size_t i = 0; i < length && skip + i < test[c].size(); ++i) out[c][i] = test[c][skip + i];
  return out;
}

Planes Pick(const Planes& x, const std::vector<int>& channels) {
  Planes out;
  for (int c : channels) out.push_back(x[c]);
  return out;
}

// The groups of channels heard together in a 5.1 file, graded and measured apart: L/R, C and
// Ls/Rs (the LFE is not a full-band channel). A stereo file is one group, "LR".
struct ChannelGroup {
  const char* name;
  std::vector<int> channels;
};
const ChannelGroup kSurroundGroups[] = {{"LR", {0, 1}}, {"C", {2}}, {"S", {4, 5}}};

int Split(const std::string& ref_path, const std::string& test_path, int skip,
          const std::string& dir) {
  Planes ref, test;
  if (!ReadWav(ref_path, &ref) || !ReadWav(test_path, &test)) return 1;
  if (ref.size() != test.size()) {
    std::fprintf(stderr, "channel counts differ\n");
    return 1;
  }
  if (skip < 0) skip = FindSkip(ref, test);
  const Planes aligned = Aligned(test, skip, ref[0].size());
  bool ok = true;
  if (ref.size() == 6) {
    for (const ChannelGroup& g : kSurroundGroups)
      ok &= WriteWav(dir + "/ref_" + g.name + ".wav", Pick(ref, g.channels)) &&
            WriteWav(dir + "/test_" + g.name + ".wav", Pick(aligned, g.channels));
  } else {
    ok &= WriteWav(dir + "/ref_LR.wav", ref) && WriteWav(dir + "/test_LR.wav", aligned);
  }
  return ok ? 0 : 1;
}

// Attacks of the reference (the group's channels summed): 1 ms steps where the next 5 ms hold
// 15 dB more energy than the 5 ms before, and at least 0.3% of full scale; one attack per 50 ms.
// Pre-echo: energy of the decoded signal's error in the 5 ms before, added to the reference's
// energy there, in dB (0 dB: nothing added). The reference's energy is floored 40 dB below
// the attack's, since backward masking hides error below that even before a silent gap.
void PrintAttacks(const Planes& ref, const Planes& out) {
  constexpr int kMs = 48, kWindow = 5 * kMs;
  const size_t n = ref[0].size();
  auto energy = [&](const Planes& x, size_t from) {
    double e = 0;
    for (const auto& ch : x)
      for (size_t i = from; i < from + kWindow && i < ch.size(); ++i) e += double{ch[i]} * ch[i];
    return e;
  };
  auto error_energy = [&](size_t from) {
    double e = 0;
    for (size_t c = 0; c < ref.size(); ++c)
      for (size_t i = from; i < from + kWindow && i < n; ++i) {
        const double d = out[c][i] - ref[c][i];
        e += d * d;
      }
    return e;
  };
  size_t last = 0;
  for (size_t at = kWindow + kMs; at + kWindow < n; at += kMs) {
    if (last && at < last + 50 * kMs) continue;
    const double before = energy(ref, at - kWindow);
    const double after = energy(ref, at);
    if (after < 0.003 * 0.003 * kWindow * ref.size() || after < before * 31.6) continue;
    // The onset itself: the first 1 ms step whose energy jumps.
    size_t onset = at;
    for (size_t s = at; s < at + kWindow; s += kMs / 4) {
      double e = 0;
      for (const auto& ch : ref)
        for (size_t i = s; i < s + kMs / 4; ++i) e += double{ch[i]} * ch[i];
      if (e > after / 40) {
        onset = s;
        break;
      }
    }
    const double reference = energy(ref, onset - kWindow) + 1e-4 * energy(ref, onset);
    std::printf("attack %.4f %.1f\n", static_cast<double>(onset) / kRate,
                10 * std::log10((reference + error_energy(onset - kWindow)) / reference));
    last = at;
  }
}

// Per measuring frame (kFrame samples of the reference at a hop of kFrame / 2), the top of the
// band the stream codes there in Hz: the highest of the stream frames whose output reaches
// into it (a frame's first block overlaps the frame before). Empty when any frame is
// unreadable.
std::vector<double> FrameBandTops(const std::vector<int>& tops, int skip, size_t frames) {
  constexpr int kStreamFrame = 1536, kBlock = 256;
  constexpr double kStreamBinHz = kRate / 512.0;
  if (std::find(tops.begin(), tops.end(), -1) != tops.end()) return {};
  std::vector<double> hz(frames, 0.0);
  for (size_t f = 0; f < frames; ++f) {
    const long begin = static_cast<long>(f * (kFrame / 2)) + skip - kBlock;
    const long end = static_cast<long>(f * (kFrame / 2)) + skip + kFrame;
    int top = 0;
    for (long k = std::max(0L, begin / kStreamFrame);
         k <= (end - 1) / kStreamFrame && k < static_cast<long>(tops.size()); ++k)
      top = std::max(top, tops[k]);
    hz[f] = top * kStreamBinHz;
  }
  return hz;
}

int Measure(const std::string& ref_path, const std::string& test_path, int skip,
            const std::string& stream_path) {
  Planes ref, test;
  if (!ReadWav(ref_path, &ref) || !ReadWav(test_path, &test)) return 1;
  if (ref.size() != test.size()) {
    std::fprintf(stderr, "channel counts differ\n");
    return 1;
  }
  if (skip < 0) skip = FindSkip(ref, test);
  std::printf("skip %d\n", skip);
  const size_t n = ref[0].size();
  const Planes out = Aligned(test, skip, n);
  // The LFE (slot 3 of a 5.1 file) is not a full-band channel: bandwidth and the rest look at
  // the others.
  Planes ref_fbw = ref, out_fbw = out;
  if (ref.size() == 6) {
    ref_fbw.erase(ref_fbw.begin() + 3);
    out_fbw.erase(out_fbw.begin() + 3);
  }

  // Coded bandwidth: per frame, the top of the highest 187.5 Hz band where the decoded signal
  // keeps at least a thousandth of the reference's energy, among the bands where the reference
  // holds something (within 70 dB of its loudest band); the median over frames with signal.
  std::vector<std::vector<double>> ref_power, out_power;
  std::vector<double> edges;
  constexpr int kBand = 8;
  auto bands_of = [&](const std::vector<double>& p) {
    std::vector<double> bands;
    for (int k = 0; k + kBand <= kFrame / 2; k += kBand) {
      double e = 0;
      for (int j = 0; j < kBand; ++j) e += p[k + j];
      bands.push_back(e);
    }
    return bands;
  };
  for (size_t at = 0; at + kFrame <= n; at += kFrame / 2) {
    ref_power.push_back(FramePower(ref_fbw, at));
    out_power.push_back(FramePower(out_fbw, at));
    const std::vector<double> rb = bands_of(ref_power.back()), ob = bands_of(out_power.back());
    const double loudest = *std::max_element(rb.begin(), rb.end());
    if (loudest < 1e-4 * kFrame * kFrame) continue;  // under about -60 dBFS: no signal
    int top = 0;
    for (size_t b = 0; b < rb.size(); ++b)
      if (rb[b] > loudest * 1e-7 && ob[b] > rb[b] * 1e-3) top = static_cast<int>(b);
    edges.push_back((top + 1) * kBand * kBinHz);
  }
  double bandwidth = 0;
  if (!edges.empty()) {
    std::nth_element(edges.begin(), edges.begin() + edges.size() / 2, edges.end());
    bandwidth = edges[edges.size() / 2];
  }
  std::printf("bandwidth %.0f\n", bandwidth);

  // Energy above the coded band: 1 kHz bands from 500 Hz above it, the decoded against the
  // reference, worst over frames; both floored at about -100 dB below full scale per band so
  // that silence against silence counts as equal. The band is the stream's own in each frame
  // where the stream is given, else the measured one.
  std::vector<double> band_tops;
  if (!stream_path.empty()) {
    band_tops = FrameBandTops(ddpi::bench::CodedBandTops(ddtest::ReadFile(stream_path)), skip,
                              ref_power.size());
    if (band_tops.empty()) {
      std::fprintf(stderr, "%s: frames this reader cannot follow\n", stream_path.c_str());
      return 1;
    }
    std::vector<double> sorted = band_tops;
    std::nth_element(sorted.begin(), sorted.begin() + sorted.size() / 2, sorted.end());
    std::printf("coded_band %.0f\n", sorted[sorted.size() / 2]);
  }
  double worst = -100, worst_hz = 0, worst_s = 0;
  const int band_bins = static_cast<int>(1000 / kBinHz);
  const double floor = 1e-10 * kFrame * kFrame;
  bool any_band_above = false;
  for (size_t f = 0; f < ref_power.size(); ++f) {
    const double top = band_tops.empty() ? bandwidth : band_tops[f];
    const int first_bin = static_cast<int>((top + 500) / kBinHz);
    any_band_above |= first_bin + band_bins <= kFrame / 2;
    for (int k = first_bin; k + band_bins <= kFrame / 2; k += band_bins) {
      double er = floor, eo = floor;
      for (int j = 0; j < band_bins; ++j) er += ref_power[f][k + j], eo += out_power[f][k + j];
      const double excess = 10 * std::log10(eo / er);
      if (excess > worst) {
        worst = excess;
        worst_hz = k * kBinHz;
        worst_s = f * (kFrame / 2.0) / kRate;
      }
    }
  }
  if (!any_band_above) worst = 0;
  std::printf("above_band %.1f\n", worst);
  std::printf("above_band_worst_at %.0f Hz %.2f s\n", worst_hz, worst_s);

  // Lag of every channel against its reference after the given skip.
  for (size_t c = 0; c < ref.size(); ++c) {
    const int lag = BestLag(ref[c], out[c], -400, 400);
    std::printf("lag %zu %d\n", c, lag);
    std::printf("fine_lag %zu %.2f\n", c, FineLag(ref[c], out[c], lag));
  }

  // Attacks per group, so that one channel's quiet part is not filled by another's and its
  // attacks count.
  if (ref.size() == 6) {
    for (const ChannelGroup& g : kSurroundGroups)
      PrintAttacks(Pick(ref, g.channels), Pick(out, g.channels));
  } else {
    PrintAttacks(ref_fbw, out_fbw);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string verb = argc > 1 ? argv[1] : "";
  if (verb == "synth" && argc == 4) {
    const Planes x = Synthesize(argv[2]);
    if (x.empty()) {
      std::fprintf(stderr, "unknown item kind %s\n", argv[2]);
      return 2;
    }
    return WriteWav(argv[3], x) ? 0 : 1;
  }
  if (verb == "split" && argc == 6) return Split(argv[2], argv[3], std::atoi(argv[4]), argv[5]);
  if (verb == "measure" && (argc == 5 || argc == 6))
    return Measure(argv[2], argv[3], std::atoi(argv[4]), argc == 6 ? argv[5] : "");
  std::fprintf(stderr,
               "usage: quality_probe synth KIND OUT.wav | split REF TEST SKIP DIR | "
               "measure REF TEST SKIP [STREAM]\n");
  return 2;
}
