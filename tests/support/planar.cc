#include "planar.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "signals.h"
#include "wav_file.h"

namespace ddtest {

std::vector<float> Planar::Interleaved() const {
  const size_t n = frames();
  const size_t count = channels.size();
  std::vector<float> out(n * count);
  for (size_t c = 0; c < count; ++c) {
    for (size_t i = 0; i < n; ++i) out[i * count + c] = channels[c][i];
  }
  return out;
}

Planar Planar::FromInterleaved(const float* samples, size_t frames, int channel_count, int rate) {
  Planar p;
  p.rate = rate;
  p.channels.assign(channel_count, std::vector<float>(frames));
  for (int c = 0; c < channel_count; ++c) {
    for (size_t i = 0; i < frames; ++i) p.channels[c][i] = samples[i * channel_count + c];
  }
  return p;
}

std::string AlsaSoundsDir() {
  const char* dir = std::getenv("DD_ALSA_SOUNDS");
  return dir != nullptr && *dir != '\0' ? dir : "/usr/share/sounds/alsa";
}

Planar LoadAlsaSpeech(const std::vector<std::string>& names, size_t frames) {
  Planar out;
  for (const std::string& name : names) {
    Planar recording;
    std::string error;
    const std::string path = AlsaSoundsDir() + "/" + name + ".wav";
    if (!ReadWav(path, &recording, nullptr, &error)) {
      ADD_FAILURE() << "cannot read " << path << ": " << error;
      recording.channels.assign(1, {});
    } else if (recording.rate != 48000 || recording.channels.size() != 1) {
      ADD_FAILURE() << path << " is not 48 kHz mono";
    }
    std::vector<float> channel = recording.channels[0];
    channel.resize(frames, 0.0f);
    out.channels.push_back(std::move(channel));
  }
  return out;
}

std::vector<int> SlotsForLayout(int acmod, bool lfe) {
  static const std::vector<int> kSlots[8] = {
      {0, 1}, {2}, {0, 1}, {0, 1, 2}, {0, 1, 4}, {0, 1, 2, 4}, {0, 1, 4, 5}, {0, 1, 2, 4, 5}};
  if (acmod < 0 || acmod > 7) return {};
  std::vector<int> slots = kSlots[acmod];
  if (lfe) {
    auto position = slots.begin();
    while (position != slots.end() && *position < 3) ++position;
    slots.insert(position, 3);
  }
  return slots;
}

namespace {

// A low tone for the LFE slot: 40 and 70 Hz under a 0.5 Hz envelope, peaks near -10 dBFS.
std::vector<float> LfeTone(size_t frames) {
  std::vector<float> tone = Sine(frames, 40.0, 0.2);
  MixInto(&tone, Sine(frames, 70.0, 0.1));
  for (size_t i = 0; i < frames; ++i) {
    tone[i] *= static_cast<float>(0.6 + 0.4 * std::sin(2 * M_PI * 0.5 * i / 48000.0));
  }
  return tone;
}

}  // namespace

Planar SpeechForLayout(int acmod, bool lfe, size_t frames) {
  static const char* kNames[6] = {"Front_Left", "Front_Right", "Front_Center",
                                  nullptr,      "Rear_Left",   "Rear_Right"};
  Planar out;
  for (int slot : SlotsForLayout(acmod, lfe)) {
    if (slot == 3) {
      out.channels.push_back(LfeTone(frames));
      continue;
    }
    // The single surround of 2/1 and 3/1 is the rear centre.
    const bool mono_surround = slot == 4 && (acmod == 4 || acmod == 5);
    const std::string name = mono_surround ? "Rear_Center" : kNames[slot];
    out.channels.push_back(LoadAlsaSpeech({name}, frames).channels[0]);
  }
  return out;
}

}  // namespace ddtest
