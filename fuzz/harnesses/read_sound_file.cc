#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "channel_routing.h"
#include "fuzz_harnesses.h"
#include "scratch_files.h"
#include "sound_file_reader.h"
#include "tidemark/audio_channel.h"

namespace ddfuzz {

void ReadSoundFile(const std::uint8_t* data, std::size_t size) {
  const std::string path = WriteScratchFile("input.sound", data, size);
  std::string error;
  std::unique_ptr<ddhost::SoundFileReader> reader = ddhost::SoundFileReader::Open(path, error);
  if (!reader) return;
  const std::size_t channels = reader->Channels();
  FuzzCheck(channels > 0, "an opened file has at least one channel");
  FuzzCheck(reader->Layout().size() == channels, "one label per channel");

  // The routing `ddhost encode` does: 7.1 folded for a 5.1 stream, then matched by label.
  const dolbydigital::ChannelLayout stream = tidemark::CreateBroadcast51ChannelLayout();
  const ddhost::SourceFold fold = ddhost::FoldFor(reader->Layout(), stream);
  const ddhost::ChannelRoute route = ddhost::RouteChannels(fold.layout, stream);
  FuzzCheck(route.source.size() == stream.size(), "every stream channel has a source or silence");
  for (int source : route.source)
    FuzzCheck(source < static_cast<int>(fold.layout.size()), "a route names a file channel");

  // Read it all, in the encoder's blocks, up to a bound that keeps one input quick.
  std::vector<std::vector<float>> planes, routed;
  std::uint64_t total = 0;
  constexpr std::uint64_t kMostFrames = 1 << 20;
  while (total < kMostFrames) {
    std::size_t frames = 0;
    if (!reader->Read(planes, 1536, frames, error) || frames == 0) break;
    FuzzCheck(frames <= 1536 && planes.size() == channels, "a block is what was asked for");
    total += frames;
    ddhost::ApplyFold(fold, planes, frames);
    route.Apply(planes, frames, routed);
  }
}

}  // namespace ddfuzz
