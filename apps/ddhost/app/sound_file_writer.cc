#include "sound_file_writer.h"

#include <sndfile.h>

#include <algorithm>
#include <cstdio>

#include "file_extension.h"
#include "output_file.h"

namespace ddhost {
namespace {

struct Container {
  const char* extension;
  int format;
  const char* name;
};

const Container kContainers[] = {
    {"wav", SF_FORMAT_RF64, "WAV"}, {"rf64", SF_FORMAT_RF64, "RF64"},
    {"w64", SF_FORMAT_W64, "W64"},  {"flac", SF_FORMAT_FLAC, "FLAC"},
    {"aif", SF_FORMAT_AIFF, "AIFF"}, {"aiff", SF_FORMAT_AIFF, "AIFF"},
    {"caf", SF_FORMAT_CAF, "CAF"}};


const Container* ContainerFor(const std::string& path) {
  const std::string ext = LowerCaseExtension(path);
  for (const Container& c : kContainers)
    if (ext == c.extension) return &c;
  return nullptr;
}

int Subtype(SampleFormat format, int container) {
  switch (format) {
    case SampleFormat::kS16: return SF_FORMAT_PCM_16;
    case SampleFormat::kS24: return SF_FORMAT_PCM_24;
    case SampleFormat::kS32: return SF_FORMAT_PCM_32;
    case SampleFormat::kF32: return SF_FORMAT_FLOAT;
    case SampleFormat::kDefault: break;
  }
  return container == SF_FORMAT_FLAC ? SF_FORMAT_PCM_24 : SF_FORMAT_FLOAT;
}

const char* SubtypeName(int subtype) {
  switch (subtype) {
    case SF_FORMAT_PCM_16: return "16-bit integer";
    case SF_FORMAT_PCM_24: return "24-bit integer";
    case SF_FORMAT_PCM_32: return "32-bit integer";
    default: return "32-bit float";
  }
}

// libsndfile names the WAV mask positions L, R, C rather than front left, right, centre.
int WavePosition(int position) {
  switch (position) {
    case SF_CHANNEL_MAP_FRONT_LEFT: return SF_CHANNEL_MAP_LEFT;
    case SF_CHANNEL_MAP_FRONT_RIGHT: return SF_CHANNEL_MAP_RIGHT;
    case SF_CHANNEL_MAP_FRONT_CENTER: return SF_CHANNEL_MAP_CENTER;
    default: return position;
  }
}

// FLAC keeps no speaker positions: a reader assumes the default order of the channel count
// (which, like most players, does not tell side from back surrounds).
bool IsFlacDefaultOrder(const std::vector<int>& positions) {
  auto plain = [](int p) {
    if (p == SF_CHANNEL_MAP_SIDE_LEFT) return static_cast<int>(SF_CHANNEL_MAP_REAR_LEFT);
    if (p == SF_CHANNEL_MAP_SIDE_RIGHT) return static_cast<int>(SF_CHANNEL_MAP_REAR_RIGHT);
    return p;
  };
  std::vector<int> expected = DefaultPositions(static_cast<int>(positions.size()));
  if (expected.size() != positions.size()) return false;
  for (std::size_t i = 0; i < positions.size(); ++i)
    if (plain(positions[i]) != plain(expected[i]) &&
        !(positions.size() == 1 && positions[i] == SF_CHANNEL_MAP_MONO))
      return false;
  return true;
}

std::string LayoutText(const dolbydigital::ChannelLayout& layout, const StoredOrder& order) {
  std::string text;
  for (std::size_t i : order.source) text += (text.empty() ? "" : " ") + LabelName(layout[i].label);
  return text;
}

}  // namespace

bool ParseSampleFormat(const std::string& text, SampleFormat& format) {
  if (text == "s16") format = SampleFormat::kS16;
  else if (text == "s24") format = SampleFormat::kS24;
  else if (text == "s32") format = SampleFormat::kS32;
  else if (text == "f32") format = SampleFormat::kF32;
  else return false;
  return true;
}

std::unique_ptr<SoundFileWriter> SoundFileWriter::Open(OutputFile& output, int rate,
                                                       const dolbydigital::ChannelLayout& layout,
                                                       SampleFormat format, std::string& error) {
  const Container* container = ContainerFor(output.Target());
  if (!container) {
    error = output.Target() + ": unknown file type (use .wav, .rf64, .w64, .flac, .aiff or .caf)";
    return nullptr;
  }
  const int subtype = Subtype(format, container->format);
  if (container->format == SF_FORMAT_FLAC && (subtype == SF_FORMAT_PCM_32 || subtype == SF_FORMAT_FLOAT)) {
    error = "FLAC holds at most 24-bit samples; use --format s16 or s24";
    return nullptr;
  }
  StoredOrder order = StoredOrderFor(layout);
  if (container->format == SF_FORMAT_FLAC && !(order.hasPositions && IsFlacDefaultOrder(order.positions))) {
    error = "FLAC cannot record the speakers of this layout (" + LayoutText(layout, order) +
            "); write a .wav file instead";
    return nullptr;
  }
  SF_INFO info = {};
  info.samplerate = rate;
  info.channels = static_cast<int>(layout.size());
  info.format = container->format | subtype;
  if (!sf_format_check(&info)) {
    error = std::string(container->name) + " cannot hold " + std::to_string(layout.size()) +
            " channels of " + SubtypeName(subtype) + " samples at " + std::to_string(rate) + " Hz";
    return nullptr;
  }
  SNDFILE* file = sf_open_fd(output.Descriptor(), SFM_WRITE, &info, SF_FALSE);
  if (!file) {
    error = "cannot write " + output.Target() + ": " + sf_strerror(nullptr);
    return nullptr;
  }
  // Samples beyond full scale are clipped, not wrapped, in integer formats.
  sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
  if (container->format == SF_FORMAT_RF64 && std::string(container->extension) == "wav")
    sf_command(file, SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);

  std::string description = std::string(container->name) + ", " + SubtypeName(subtype);
  std::string note;
  bool recorded = false;
  if (order.hasPositions && container->format != SF_FORMAT_FLAC) {
    std::vector<int> map;
    for (int p : order.positions) map.push_back(WavePosition(p));
    recorded = sf_command(file, SFC_SET_CHANNEL_MAP_INFO, map.data(),
                          static_cast<int>(map.size() * sizeof(int))) == SF_TRUE;
  }
  if (order.hasPositions && (recorded || container->format == SF_FORMAT_FLAC)) {
    description += ", channels " + LayoutText(layout, order);
  } else if (layout.size() > 2 || order.hasPositions) {
    description += ", channels " + LayoutText(layout, order);
    note = std::string(container->name) + " does not record speaker positions for this layout";
  }
  return std::unique_ptr<SoundFileWriter>(
      new SoundFileWriter(file, std::move(order), std::move(description), std::move(note)));
}

SoundFileWriter::SoundFileWriter(SNDFILE* file, StoredOrder order, std::string description,
                                 std::string note)
    : file_(file), order_(std::move(order)), description_(std::move(description)),
      note_(std::move(note)) {}

SoundFileWriter::~SoundFileWriter() {
  if (file_) sf_close(file_);
}

bool SoundFileWriter::Write(const float* const* planes, std::size_t frames, std::string& error) {
  const std::size_t channels = order_.source.size();
  interleaved_.resize(frames * channels);
  for (std::size_t i = 0; i < frames; ++i)
    for (std::size_t c = 0; c < channels; ++c)
      interleaved_[i * channels + c] = planes[order_.source[c]][i];
  const sf_count_t written = sf_writef_float(file_, interleaved_.data(), static_cast<sf_count_t>(frames));
  if (written != static_cast<sf_count_t>(frames)) {
    error = sf_strerror(file_);
    return false;
  }
  return true;
}

bool SoundFileWriter::Close(std::string& error) {
  sf_write_sync(file_);
  const int failed = sf_error(file_);
  const int closed = sf_close(file_);
  file_ = nullptr;
  if (failed || closed) {
    error = sf_error_number(failed ? failed : closed);
    return false;
  }
  return true;
}

}  // namespace ddhost
