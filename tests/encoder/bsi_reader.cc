#include "bsi_reader.h"

namespace ddenc_test {
namespace {

class Bits {
 public:
  Bits(const uint8_t* d, size_t n) : d_(d), n_(n) {}
  int Get(int count) {
    int v = 0;
    for (int i = 0; i < count; ++i) {
      const size_t byte = pos_ >> 3;
      const int bit = byte < n_ ? (d_[byte] >> (7 - (pos_ & 7))) & 1 : 0;
      v = (v << 1) | bit;
      ++pos_;
    }
    return v;
  }
  void Skip(int count) { pos_ += count; }

 private:
  const uint8_t* d_;
  size_t n_;
  size_t pos_ = 0;
};

const int kAc3Rates[19] = {32, 40, 48, 56, 64, 80, 96, 112, 128, 160,
                           192, 224, 256, 320, 384, 448, 512, 576, 640};

void ReadAc3(Bits& b, FrameInfo* f) {
  b.Skip(16);  // crc1
  const int fscod = b.Get(2);
  const int frmsizecod = b.Get(6);
  if (fscod != 0 || frmsizecod / 2 >= 19) return;
  f->frame_bytes = kAc3Rates[frmsizecod / 2] * 4;
  f->bsid = b.Get(5);
  f->bsmod = b.Get(3);
  f->acmod = b.Get(3);
  if ((f->acmod & 1) && f->acmod != 1) f->cmixlev = b.Get(2);
  if (f->acmod & 4) f->surmixlev = b.Get(2);
  if (f->acmod == 2) f->dsurmod = b.Get(2);
  f->lfeon = b.Get(1);
  f->dialnorm = b.Get(5);
  f->compre = b.Get(1);
  if (f->compre) f->compr = b.Get(8);
  if (b.Get(1)) b.Skip(8);  // langcod
  f->audprodie = b.Get(1);
  if (f->audprodie) {
    f->mixlevel = b.Get(5);
    f->roomtyp = b.Get(2);
  }
  if (f->acmod == 0) {
    b.Skip(5);
    if (b.Get(1)) b.Skip(8);
    if (b.Get(1)) b.Skip(8);
    if (b.Get(1)) b.Skip(7);
  }
  f->copyrightb = b.Get(1);
  f->origbs = b.Get(1);
  if (f->bsid == 6) {
    if (b.Get(1)) {
      f->dmixmod = b.Get(2);
      f->ltrtcmixlev = b.Get(3);
      f->ltrtsurmixlev = b.Get(3);
      f->lorocmixlev = b.Get(3);
      f->lorosurmixlev = b.Get(3);
    }
    if (b.Get(1)) {
      f->dsurexmod = b.Get(2);
      f->dheadphonmod = b.Get(2);
      f->adconvtyp = b.Get(1);
      b.Skip(9);
    }
  } else {
    if (b.Get(1)) b.Skip(14);
    if (b.Get(1)) b.Skip(14);
  }
  if (b.Get(1)) b.Skip(6 + 8 * (0));  // addbsi length only; contents not needed
  f->ok = true;
}

void ReadEac3(Bits& b, FrameInfo* f) {
  f->strmtyp = b.Get(2);
  b.Skip(3);  // substreamid
  f->frame_bytes = (b.Get(11) + 1) * 2;
  const int fscod = b.Get(2);
  if (fscod == 3) return;
  f->numblkscod = b.Get(2);
  f->acmod = b.Get(3);
  f->lfeon = b.Get(1);
  f->bsid = b.Get(5);
  f->dialnorm = b.Get(5);
  f->compre = b.Get(1);
  if (f->compre) f->compr = b.Get(8);
  if (f->acmod == 0) {
    b.Skip(5);
    if (b.Get(1)) b.Skip(8);
  }
  if (f->strmtyp == 1 && b.Get(1)) b.Skip(16);
  if (b.Get(1)) {  // mixmdate
    if (f->acmod > 2) f->dmixmod = b.Get(2);
    if ((f->acmod & 1) && f->acmod > 2) {
      f->ltrtcmixlev = b.Get(3);
      f->lorocmixlev = b.Get(3);
    }
    if (f->acmod & 4) {
      f->ltrtsurmixlev = b.Get(3);
      f->lorosurmixlev = b.Get(3);
    }
    if (f->lfeon && b.Get(1)) b.Skip(5);
    if (f->strmtyp == 0) {
      if (b.Get(1)) b.Skip(6);
      if (f->acmod == 0 && b.Get(1)) b.Skip(6);
      if (b.Get(1)) b.Skip(6);
      const int mixdef = b.Get(2);
      if (mixdef == 1) b.Skip(5);
      else if (mixdef == 2) b.Skip(12);
      else if (mixdef == 3) return;  // not produced by our encoder
      if (f->acmod < 2) {
        if (b.Get(1)) b.Skip(14);
        if (f->acmod == 0 && b.Get(1)) b.Skip(14);
      }
      if (b.Get(1)) return;  // frame mixing configuration: not produced by our encoder
    }
  }
  if (b.Get(1)) {  // infomdate
    f->bsmod = b.Get(3);
    f->copyrightb = b.Get(1);
    f->origbs = b.Get(1);
    if (f->acmod == 2) {
      f->dsurmod = b.Get(2);
      f->dheadphonmod = b.Get(2);
    }
    if (f->acmod >= 6) f->dsurexmod = b.Get(2);
    f->audprodie = b.Get(1);
    if (f->audprodie) {
      f->mixlevel = b.Get(5);
      f->roomtyp = b.Get(2);
      f->adconvtyp = b.Get(1);
    }
  }
  f->ok = true;
}

}  // namespace

FrameInfo ReadFrame(const uint8_t* data, size_t size) {
  FrameInfo f;
  if (size < 8 || data[0] != 0x0B || data[1] != 0x77) return f;
  const int bsid = data[5] >> 3;
  Bits b(data + 2, size - 2);
  if (bsid <= 10) ReadAc3(b, &f);
  else ReadEac3(b, &f);
  return f;
}

std::vector<FrameInfo> ReadStream(const std::vector<uint8_t>& stream) {
  std::vector<FrameInfo> frames;
  size_t pos = 0;
  while (pos + 8 <= stream.size()) {
    FrameInfo f = ReadFrame(&stream[pos], stream.size() - pos);
    if (!f.ok || f.frame_bytes <= 0) break;
    frames.push_back(f);
    pos += f.frame_bytes;
  }
  return frames;
}

}  // namespace ddenc_test
