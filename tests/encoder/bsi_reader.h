// Test-side reader of the syncinfo and bit stream information of AC-3 (bsid 6 and 8) and
// E-AC-3 (bsid 16) frames, written independently of the encoder from A/52 section 5.4.2,
// Annex D and Annex E, to check the metadata a stream carries.
#ifndef DD_TESTS_ENCODER_BSI_READER_H
#define DD_TESTS_ENCODER_BSI_READER_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ddenc_test {

struct FrameInfo {
  bool ok = false;
  int frame_bytes = 0;
  int bsid = -1;
  int acmod = -1, lfeon = -1, bsmod = -1, dialnorm = -1;
  int cmixlev = -1, surmixlev = -1, dsurmod = -1;
  int compre = -1, compr = -1;
  int audprodie = -1, mixlevel = -1, roomtyp = -1, adconvtyp = -1;
  int copyrightb = -1, origbs = -1;
  int dmixmod = -1, ltrtcmixlev = -1, ltrtsurmixlev = -1, lorocmixlev = -1, lorosurmixlev = -1;
  int dsurexmod = -1, dheadphonmod = -1;
  int strmtyp = -1, numblkscod = -1;
};

// Parses the frame at `data` (at least its header must be present).
FrameInfo ReadFrame(const uint8_t* data, size_t size);
// Every frame of a stream, in order (stops at the first unparseable one).
std::vector<FrameInfo> ReadStream(const std::vector<uint8_t>& stream);

}  // namespace ddenc_test

#endif  // DD_TESTS_ENCODER_BSI_READER_H
