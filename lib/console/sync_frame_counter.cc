#include "console/sync_frame_counter.h"

namespace dolbydigital {
namespace {

constexpr std::size_t kHeaderBytes = 6;  // up to bsid in either format
// AC-3 data rates (kbps) by frame-size code / 2.
constexpr int kAc3Rates[19] = {32,  40,  48,  56,  64,  80,  96,  112, 128, 160,
                               192, 224, 256, 320, 384, 448, 512, 576, 640};
// Words per frame at 44.1 kHz for each frame-size code / 2 (the odd codes add one).
constexpr int kAc3Words441[19] = {69,  87,  104, 121, 139, 174, 208,  243,  278, 348,
                                  417, 487, 557, 696, 835, 975, 1114, 1253, 1393};
constexpr int kEac3BlocksPerFrame[4] = {1, 2, 3, 6};

// Frame size in bytes from the header, 0 when the header cannot be a frame's. Sets the
// number of audio blocks the frame carries.
std::size_t FrameBytes(const std::uint8_t* h, int& blocks) {
  const int bsid = h[5] >> 3;
  if (bsid <= 8) {  // AC-3: size from fscod and frmsizecod
    blocks = 6;
    const int fscod = h[4] >> 6, code = h[4] & 0x3F;
    if (code >= 38) return 0;
    const int rate = kAc3Rates[code / 2];
    if (fscod == 0) return static_cast<std::size_t>(rate) * 4;          // 48 kHz
    if (fscod == 1) return (kAc3Words441[code / 2] + (code & 1)) * 2u;  // 44.1 kHz
    if (fscod == 2) return static_cast<std::size_t>(rate) * 6;          // 32 kHz
    return 0;
  }
  if (bsid >= 11 && bsid <= 16) {  // E-AC-3: frmsiz counts 16-bit words minus one
    const int fscod = h[4] >> 6, numblkscod = (h[4] >> 4) & 3;
    const bool dependent = (h[2] >> 6) == 1;  // extends the independent frame before it
    blocks = dependent ? 0 : fscod == 3 ? 6 : kEac3BlocksPerFrame[numblkscod];
    return ((static_cast<std::size_t>(h[2] & 0x07) << 8 | h[3]) + 1) * 2;
  }
  return 0;
}

}  // namespace

void SyncFrameCounter::Add(const std::uint8_t* bytes, std::size_t size) {
  if (!consistent_) return;
  pending_.insert(pending_.end(), bytes, bytes + size);
  while (consistent_ && TakeFrame()) {
  }
}

bool SyncFrameCounter::TakeFrame() {
  if (pending_.size() < kHeaderBytes) return false;
  if (pending_[0] != 0x0B || pending_[1] != 0x77) {
    consistent_ = false;
    return false;
  }
  int blocks = 0;
  const std::size_t size = FrameBytes(pending_.data(), blocks);
  if (size < kHeaderBytes) {
    consistent_ = false;
    return false;
  }
  if (pending_.size() < size) return false;
  pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(size));
  if (blocks > 0) ++frames_;
  blocks_ += static_cast<std::uint64_t>(blocks);
  return true;
}

}  // namespace dolbydigital
