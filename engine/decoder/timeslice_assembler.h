// Collects stream bytes into time slices: one frame of independent substream 0 together
// with the frames that follow it up to the next such frame (its dependent substreams and
// the frames of further programs). Garbage between frames is skipped, byte-swapped streams
// are turned around, and the buffer never grows beyond a fixed capacity.
//
// Where a slice ends is known for sure only once the next slice's first header arrives. The
// assembler learns from that how many frames a slice holds and, from then on, completes a
// slice as soon as that many frames are in, so the last slice of a stream is not held back.
#ifndef DDPI_ENGINE_DECODER_TIMESLICE_ASSEMBLER_H
#define DDPI_ENGINE_DECODER_TIMESLICE_ASSEMBLER_H

#include <cstddef>
#include <cstdint>

#include "bitstream_info.h"

namespace ddpi::udc {

constexpr int kMaxSliceFrames = 16;

struct SliceView {
  const std::uint8_t* data = nullptr;
  std::size_t size = 0;
  int frame_count = 0;
  std::size_t offsets[kMaxSliceFrames] = {};
  bitstream::FrameHeader headers[kMaxSliceFrames];
};

class TimesliceAssembler {
 public:
  static constexpr std::size_t kCapacity = 64 * 1024;

  // Takes as many of `size` bytes as there is room for; returns the count taken.
  std::size_t Add(const std::uint8_t* bytes, std::size_t size);
  bool HasCompleteSlice() const { return complete_; }
  // The complete slice at the front; valid until Release.
  const SliceView& Front() const { return slice_; }
  // Drops the front slice and looks for the next.
  void Release();
  void Reset();

 private:
  void Append(const std::uint8_t* bytes, std::size_t size);
  void Scan();
  bool LockByteOrder(std::size_t position);
  void Drop(std::size_t count);
  void DropUntilNextSyncCandidate();
  void FinishSlice();
  void StartOver();

  std::uint8_t buffer_[kCapacity];
  std::size_t fill_ = 0;
  SliceView slice_;
  bool complete_ = false;
  int expected_frames_ = 0;  // 0 while the slice shape is unknown
  enum class ByteOrder { kUnknown, kNormal, kSwapped } order_ = ByteOrder::kUnknown;
  bool has_held_byte_ = false;  // swapped streams: first byte of a pair waiting for its mate
  std::uint8_t held_byte_ = 0;
};

}  // namespace ddpi::udc

#endif  // DDPI_ENGINE_DECODER_TIMESLICE_ASSEMBLER_H
