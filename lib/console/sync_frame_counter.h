// Counts the sync frames of an AC-3 / E-AC-3 elementary stream as it is written, from each
// frame's own size field, so that the Encode command can say what it wrote and notice a
// stream that does not hold together.
#ifndef DOLBYDIGITAL_CONSOLE_SYNC_FRAME_COUNTER_H
#define DOLBYDIGITAL_CONSOLE_SYNC_FRAME_COUNTER_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace dolbydigital {

class SyncFrameCounter {
 public:
  // Feeds the next bytes of the stream (in any pieces).
  void Add(const std::uint8_t* bytes, std::size_t size);

  // Independent frames (an E-AC-3 dependent substream belongs to the frame before it).
  std::uint64_t Frames() const { return frames_; }
  // Audio blocks of 256 samples in the counted frames.
  std::uint64_t AudioBlocks() const { return blocks_; }
  // False once a frame did not start with the sync word or had a size it cannot have.
  bool Consistent() const { return consistent_; }

 private:
  bool TakeFrame();

  std::vector<std::uint8_t> pending_;
  std::uint64_t frames_ = 0;
  std::uint64_t blocks_ = 0;
  bool consistent_ = true;
};

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_CONSOLE_SYNC_FRAME_COUNTER_H
