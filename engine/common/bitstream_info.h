// Reading the syncinfo and bitstream information (BSI) of AC-3 frames (ATSC A/52, bsid up
// to 10) and E-AC-3 frames (A/52 Annex E, bsid 11 to 16). The decoder frames its input and
// fills its metadata records from this; the library checks a stream's first frame with the
// frame-size table.
#ifndef DDPI_ENGINE_COMMON_BITSTREAM_INFO_H
#define DDPI_ENGINE_COMMON_BITSTREAM_INFO_H

#include <cstddef>
#include <cstdint>

namespace ddpi::bitstream {

constexpr int kSyncWord = 0x0B77;
// Bytes ProbeHeader needs to judge a frame start and learn the frame's size.
constexpr std::size_t kHeaderBytes = 8;
constexpr int kMaxFrameBytes = 4096;  // E-AC-3: 2048 16-bit words
constexpr int kFrameSizeCodes = 38;

// The last bsid that uses the AC-3 syntax, and the range of E-AC-3's.
constexpr int kLastAc3Bsid = 10;
constexpr int kFirstEac3Bsid = 11;
constexpr int kLastEac3Bsid = 16;

enum StreamType { kIndependent = 0, kDependent = 1, kConvertedAc3 = 2 };

// Length of an AC-3 frame in 16-bit words by frame-size code and fscod (48, 44.1, 32 kHz);
// 0 for a code outside the table or fscod 3.
int Ac3FrameWords(int fscod, int frmsizecod);
// Nominal data rate of an AC-3 frame-size code, kbps; 0 outside the table.
int Ac3DataRate(int frmsizecod);
// Sample rate of fscod (and fscod2 for E-AC-3's reduced rates); 0 when invalid.
int SampleRateOf(int fscod, int fscod2);

// What the first kHeaderBytes of a frame tell.
struct FrameHeader {
  int bsid = 0;
  int strmtyp = kIndependent;  // AC-3 frames count as independent substream 0
  int substreamid = 0;
  int fscod = 0;
  int sample_rate = 0;  // Hz
  int frame_bytes = 0;
  int blocks = 6;       // 256-sample audio blocks
  int acmod = 0;
  int lfeon = 0;
  int frmsizecod = -1;  // AC-3 only

  bool IsEac3() const { return bsid > kLastAc3Bsid; }
  // The first frame of a time slice: AC-3, or E-AC-3 independent substream 0.
  bool StartsProgramZero() const { return strmtyp != kDependent && substreamid == 0; }
};

enum class HeaderStatus { kValid, kNeedMoreBytes, kInvalid };

// Judges whether `data` starts with a decodable frame header (big-endian sync word).
HeaderStatus ProbeHeader(const std::uint8_t* data, std::size_t size, FrameHeader* header);

// Every BSI field the decoder reports; -1 marks a field the frame does not carry.
struct FrameInfo {
  FrameHeader header;
  int bsmod = -1;
  int dialnorm = -1;  // 1..31 dB below full scale (the reserved code 0 reads as 31)
  int copyrightb = -1;
  int origbs = -1;
  int dsurmod = -1;
  int dsurexmod = -1;
  int dheadphonmod = -1;
  int dmixmod = -1;
  int ltrtcmixlev = -1;  // mix levels as the 3-bit codes: 0 +3 dB ... 7 -inf
  int ltrtsurmixlev = -1;
  int lorocmixlev = -1;
  int lorosurmixlev = -1;
  int cmixlev = -1;      // AC-3's 2-bit legacy codes
  int surmixlev = -1;
  int audprodie = 0;
  int mixlevel = -1;     // peak mixing level in dB SPL (80 + the 5-bit code)
  int roomtyp = -1;
  int adconvtyp = -1;
  int compre = 0;
  int compr = -1;
  int dynrng0 = -1;      // block 0's dynamic range word (AC-3 only), -1 when not sent
  int chanmape = 0;
  std::uint16_t chanmap = 0;  // dependent substreams with a custom channel map
  // Where the audio data begins, in bits from the sync word: audio block 0 of an AC-3 frame,
  // the audio frame element (audfrm) of an E-AC-3 one.
  std::size_t audio_bits = 0;
};

// Reads syncinfo and BSI of a whole frame. False when the frame is shorter than its BSI or
// the header is invalid.
bool ParseFrame(const std::uint8_t* frame, std::size_t size, FrameInfo* info);

// The 16-bit channel-location map (0x8000 L, 0x4000 C, 0x2000 R, 0x1000 Ls, 0x0800 Rs, ...,
// 0x0001 LFE) of a coding mode. A lone surround (2/1, 3/1) sits at Ls; the two programs of
// dual mono (1+1) sit at L and C, so that the map never reads as a stereo pair.
std::uint16_t ChannelMapOf(int acmod, int lfeon);

// The channel-location map a dependent substream contributes: its custom map when it sends
// one, else the map of its own coding mode.
std::uint16_t DependentChannelMap(const FrameInfo& info);

}  // namespace ddpi::bitstream

#endif  // DDPI_ENGINE_COMMON_BITSTREAM_INFO_H
