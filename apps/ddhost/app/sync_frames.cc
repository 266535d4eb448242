#include "sync_frames.h"

namespace ddhost {
namespace {

// AC-3 frame sizes in 16-bit words for each frmsizecod / 2 at 48, 44.1 and 32 kHz.
const int kAc3FrameWords[19][3] = {
    {64, 69, 96},     {80, 87, 120},    {96, 104, 144},   {112, 121, 168},  {128, 139, 192},
    {160, 174, 240},  {192, 208, 288},  {224, 243, 336},  {256, 278, 384},  {320, 348, 480},
    {384, 417, 576},  {448, 487, 672},  {512, 557, 768},  {640, 696, 960},  {768, 835, 1152},
    {896, 975, 1344}, {1024, 1114, 1536}, {1152, 1253, 1728}, {1280, 1393, 1920}};

struct FrameHeader {
  std::size_t size = 0;
  int samples = 0;
  bool dependent = false;  // an E-AC-3 dependent substream, part of the unit before it
};

bool ReadHeader(const std::uint8_t* p, FrameHeader& header) {
  if (p[0] != 0x0B || p[1] != 0x77) return false;
  const int bsid = p[5] >> 3;
  if (bsid <= 10) {
    const int fscod = p[4] >> 6, frmsizecod = p[4] & 0x3F;
    if (fscod == 3 || frmsizecod >= 38) return false;
    int words = kAc3FrameWords[frmsizecod / 2][fscod];
    if (fscod == 1 && (frmsizecod & 1)) ++words;
    header.size = static_cast<std::size_t>(words) * 2;
    header.samples = 1536;
    header.dependent = false;
    return true;
  }
  if (bsid > 16) return false;
  const int strmtyp = p[2] >> 6;
  const int frmsiz = ((p[2] & 0x07) << 8) | p[3];
  const int fscod = p[4] >> 6;
  const int numblkscod = fscod == 3 ? 3 : (p[4] >> 4) & 0x03;
  static const int kBlocks[4] = {1, 2, 3, 6};
  header.size = static_cast<std::size_t>(frmsiz + 1) * 2;
  header.samples = 256 * kBlocks[numblkscod];
  header.dependent = strmtyp == 1;
  return true;
}

}  // namespace

bool SyncFrameSplitter::Add(const std::uint8_t* bytes, std::size_t size,
                            std::vector<AccessUnit>& units, std::string& error) {
  pending_.insert(pending_.end(), bytes, bytes + size);
  return TakeFrames(units, error);
}

bool SyncFrameSplitter::Finish(std::vector<AccessUnit>& units, std::string& error) {
  if (!TakeFrames(units, error)) return false;
  if (!pending_.empty()) return error = "the stream ends inside a frame", false;
  if (!current_.bytes.empty()) units.push_back(std::move(current_));
  current_ = AccessUnit();
  return true;
}

bool SyncFrameSplitter::TakeFrames(std::vector<AccessUnit>& units, std::string& error) {
  std::size_t offset = 0;
  while (pending_.size() - offset >= 6) {
    FrameHeader header;
    if (!ReadHeader(pending_.data() + offset, header) || header.size < 6)
      return error = "the encoder's output is not a sequence of sync frames", false;
    if (pending_.size() - offset < header.size) break;
    if (!header.dependent && !current_.bytes.empty()) {
      units.push_back(std::move(current_));
      current_ = AccessUnit();
    }
    current_.bytes.insert(current_.bytes.end(), pending_.begin() + offset,
                          pending_.begin() + offset + header.size);
    if (!header.dependent) current_.samples = header.samples;
    offset += header.size;
  }
  pending_.erase(pending_.begin(), pending_.begin() + offset);
  return true;
}

}  // namespace ddhost
