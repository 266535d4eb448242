#include "timeslice_assembler.h"

#include <algorithm>
#include <cstring>

namespace ddpi::udc {

using bitstream::FrameHeader;
using bitstream::HeaderStatus;

std::size_t TimesliceAssembler::Add(const std::uint8_t* bytes, std::size_t size) {
  std::size_t taken = 0;
  while (taken < size) {
    const std::size_t room = kCapacity - fill_ - (has_held_byte_ ? 1 : 0);
    if (room == 0) break;
    const std::size_t count = std::min(size - taken, room);
    Append(bytes + taken, count);
    taken += count;
    Scan();
    // A slice that does not fit the buffer cannot be decoded: give it up and resync.
    if (!complete_ && fill_ + (has_held_byte_ ? 1 : 0) >= kCapacity) StartOver();
  }
  return taken;
}

void TimesliceAssembler::Release() {
  if (!complete_) return;
  Drop(slice_.size);
  slice_ = SliceView();
  complete_ = false;
  Scan();
}

void TimesliceAssembler::Reset() {
  fill_ = 0;
  slice_ = SliceView();
  complete_ = false;
  expected_frames_ = 0;
  order_ = ByteOrder::kUnknown;
  has_held_byte_ = false;
}

void TimesliceAssembler::Append(const std::uint8_t* bytes, std::size_t size) {
  if (order_ != ByteOrder::kSwapped) {
    std::memcpy(buffer_ + fill_, bytes, size);
    fill_ += size;
    return;
  }
  for (std::size_t i = 0; i < size; ++i) {
    if (has_held_byte_) {
      buffer_[fill_++] = bytes[i];
      buffer_[fill_++] = held_byte_;
      has_held_byte_ = false;
    } else {
      held_byte_ = bytes[i];
      has_held_byte_ = true;
    }
  }
}

// Called while the byte order is open and the buffer starts with 0x77 0x0B: if the pair-wise
// swapped bytes make a valid header, the stream is taken as byte-swapped from here on.
bool TimesliceAssembler::LockByteOrder(std::size_t position) {
  std::uint8_t header[bitstream::kHeaderBytes];
  for (std::size_t i = 0; i + 1 < bitstream::kHeaderBytes; i += 2) {
    header[i] = buffer_[position + i + 1];
    header[i + 1] = buffer_[position + i];
  }
  FrameHeader probe;
  if (bitstream::ProbeHeader(header, sizeof header, &probe) != HeaderStatus::kValid) return false;
  order_ = ByteOrder::kSwapped;
  std::size_t i = position;
  for (; i + 1 < fill_; i += 2) std::swap(buffer_[i], buffer_[i + 1]);
  if (i < fill_) {  // an odd byte out waits for its mate
    held_byte_ = buffer_[i];
    has_held_byte_ = true;
    fill_ = i;
  }
  return true;
}

void TimesliceAssembler::Scan() {
  while (!complete_) {
    const int count = slice_.frame_count;
    const std::size_t position =
        count ? slice_.offsets[count - 1] + slice_.headers[count - 1].frame_bytes : 0;
    if (position == 0 && order_ == ByteOrder::kUnknown && fill_ >= 2 && buffer_[0] == 0x77 &&
        buffer_[1] == 0x0B) {
      if (fill_ < bitstream::kHeaderBytes) return;
      if (!LockByteOrder(0)) {
        DropUntilNextSyncCandidate();
        continue;
      }
    }
    FrameHeader header;
    const HeaderStatus status =
        bitstream::ProbeHeader(buffer_ + position, fill_ - position, &header);
    if (status == HeaderStatus::kNeedMoreBytes) return;
    if (status == HeaderStatus::kInvalid) {
      if (position == 0) {
        DropUntilNextSyncCandidate();
        continue;
      }
      FinishSlice();  // what follows is skipped when the next slice is looked for
      return;
    }
    if (position == 0 && !header.StartsProgramZero()) {
      // A frame without its program-0 frame (a truncated slice, or the slice grew): drop it
      // and learn the slice shape anew.
      if (fill_ < static_cast<std::size_t>(header.frame_bytes)) return;
      Drop(header.frame_bytes);
      expected_frames_ = 0;
      continue;
    }
    if (position > 0 && header.StartsProgramZero()) {
      expected_frames_ = count;
      FinishSlice();
      return;
    }
    if (fill_ - position < static_cast<std::size_t>(header.frame_bytes)) return;
    if (order_ == ByteOrder::kUnknown) order_ = ByteOrder::kNormal;
    if (count == kMaxSliceFrames) {
      FinishSlice();
      return;
    }
    slice_.offsets[count] = position;
    slice_.headers[count] = header;
    slice_.frame_count = count + 1;
    if (expected_frames_ > 0 && slice_.frame_count >= expected_frames_) {
      FinishSlice();
      return;
    }
  }
}

void TimesliceAssembler::Drop(std::size_t count) {
  count = std::min(count, fill_);
  std::memmove(buffer_, buffer_ + count, fill_ - count);
  fill_ -= count;
}

void TimesliceAssembler::DropUntilNextSyncCandidate() {
  const bool any_order = order_ == ByteOrder::kUnknown;
  std::size_t i = 1;
  for (; i + 1 < fill_; ++i) {
    if (buffer_[i] == 0x0B && buffer_[i + 1] == 0x77) break;
    if (any_order && buffer_[i] == 0x77 && buffer_[i + 1] == 0x0B) break;
  }
  Drop(std::min(i, fill_));
}

void TimesliceAssembler::FinishSlice() {
  const int last = slice_.frame_count - 1;
  slice_.data = buffer_;
  slice_.size = slice_.offsets[last] + slice_.headers[last].frame_bytes;
  complete_ = true;
}

void TimesliceAssembler::StartOver() {
  const int count = slice_.frame_count;
  const std::size_t cut =
      count ? slice_.offsets[count - 1] + slice_.headers[count - 1].frame_bytes : 1;
  slice_ = SliceView();
  expected_frames_ = 0;
  Drop(cut);
  Scan();
}

}  // namespace ddpi::udc
