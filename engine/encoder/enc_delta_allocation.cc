#include "enc_delta_allocation.h"

#include <algorithm>
#include <cstring>

namespace ddpi::enc {
namespace {

constexpr int kMaxSegments = 8;
constexpr int kMaxDeltaChannels = 6;  // five full-bandwidth channels and the coupling channel
constexpr int kMaxOffset = 31;
constexpr int kMaxLength = 15;

int CodeOfStep(int step) { return step > 0 ? step + 3 : step + 4; }

bool AddSegment(int offset, int length, int step, DeltaSegments* out) {
  if (out->count == kMaxSegments) return false;
  out->offset[out->count] = static_cast<uint8_t>(offset);
  out->length[out->count] = static_cast<uint8_t>(length);
  out->code[out->count] = static_cast<uint8_t>(CodeOfStep(step));
  ++out->count;
  return true;
}

void WriteSegments(BitWriter* bw, const DeltaSegments& s) {
  bw->Put(s.count - 1, 3);  // deltnseg
  for (int i = 0; i < s.count; ++i) {
    bw->Put(s.offset[i], 5);  // deltoffst
    bw->Put(s.length[i], 4);  // deltlen
    bw->Put(s.code[i], 3);    // deltba
  }
}

}  // namespace

bool MaskDelta::Any() const {
  static const MaskDelta kNone;
  return std::memcmp(step, kNone.step, sizeof step) != 0;
}

bool MaskDelta::operator==(const MaskDelta& other) const {
  return std::memcmp(step, other.step, sizeof step) == 0;
}

MaskDelta UniformMaskDelta(int step) {
  MaskDelta d;
  std::fill(d.step, d.step + ac3::kBands, static_cast<int8_t>(step));
  return d;
}

MaskDelta NegatedMaskDelta(const MaskDelta& a) {
  MaskDelta d;
  for (int band = 0; band < ac3::kBands; ++band) d.step[band] = static_cast<int8_t>(-a.step[band]);
  return d;
}

MaskDelta FollowingMaskDelta(const MaskDelta& own, const MaskDelta& leader,
                             const MaskDelta& lift) {
  MaskDelta d = own;
  for (int band = 0; band < ac3::kBands; ++band)
    if (lift.step[band] > 0)
      d.step[band] = static_cast<int8_t>(std::clamp(leader.step[band] + lift.step[band], -4, 4));
  return d;
}

void ApplyMaskDelta(const MaskDelta& delta, int first, int end, int16_t* mask) {
  for (int band = first; band < end; ++band)
    mask[band] = static_cast<int16_t>(mask[band] + delta.step[band] * kMaskStepUnits);
}

bool MakeDeltaSegments(const MaskDelta& delta, DeltaSegments* out) {
  *out = DeltaSegments();
  int end = 0;  // where the previous segment ended
  for (int band = 0; band < ac3::kBands;) {
    const int step = delta.step[band];
    if (step == 0) {
      ++band;
      continue;
    }
    if (step < -4 || step > 4) return false;
    // Gaps wider than an offset can skip take empty segments.
    while (band - end > kMaxOffset) {
      if (!AddSegment(kMaxOffset, 0, 1, out)) return false;
      end += kMaxOffset;
    }
    int length = 1;
    while (band + length < ac3::kBands && length < kMaxLength && delta.step[band + length] == step)
      ++length;
    if (!AddSegment(band - end, length, step, out)) return false;
    band += length;
    end = band;
  }
  return out->count > 0;
}

bool WriteDeltaAllocation(BitWriter* bw, const MaskDelta* now, MaskDelta* before, int nfch,
                          bool coupling, bool first_block) {
  const int count = nfch + (coupling ? 1 : 0);
  // deltbae per channel: 0 reuse, 1 new segments, 2 none. A channel without a delta always
  // says none: some decoders apply the last segments they read on a reuse, whatever came
  // between.
  int mode[kMaxDeltaChannels] = {};
  DeltaSegments segments[kMaxDeltaChannels];
  bool any_sent = false;
  for (int i = 0; i < count; ++i)
    any_sent |= now[i] != before[i] || (first_block && (now[i].Any() || before[i].Any()));
  for (int i = 0; i < count && any_sent; ++i) {
    if (!now[i].Any()) {
      mode[i] = 2;
    } else if (now[i] != before[i] || first_block) {
      mode[i] = 1;
      if (!MakeDeltaSegments(now[i], &segments[i])) return false;
    }
  }
  bw->Put(any_sent, 1);  // deltbaie
  if (!any_sent) return true;
  const int cpl = nfch;  // the coupling channel comes first in the syntax
  if (coupling) bw->Put(mode[cpl], 2);  // cpldeltbae
  for (int c = 0; c < nfch; ++c) bw->Put(mode[c], 2);  // deltbae
  if (coupling && mode[cpl] == 1) WriteSegments(bw, segments[cpl]);
  for (int c = 0; c < nfch; ++c)
    if (mode[c] == 1) WriteSegments(bw, segments[c]);
  for (int i = 0; i < count; ++i) before[i] = now[i];
  return true;
}

}  // namespace ddpi::enc
