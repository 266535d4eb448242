#include "bitstream_info.h"

#include "bit_reader.h"

namespace ddpi::bitstream {
namespace {

// A/52 Table 5.18: frame length in 16-bit words by frame-size code, for 48, 44.1 and 32 kHz.
// Codes come in pairs; at 44.1 kHz the odd code of a pair is one word longer.
const std::uint16_t kAc3FrameWords[kFrameSizeCodes][3] = {
    {64, 69, 96},       {64, 70, 96},       {80, 87, 120},      {80, 88, 120},
    {96, 104, 144},     {96, 105, 144},     {112, 121, 168},    {112, 122, 168},
    {128, 139, 192},    {128, 140, 192},    {160, 174, 240},    {160, 175, 240},
    {192, 208, 288},    {192, 209, 288},    {224, 243, 336},    {224, 244, 336},
    {256, 278, 384},    {256, 279, 384},    {320, 348, 480},    {320, 349, 480},
    {384, 417, 576},    {384, 418, 576},    {448, 487, 672},    {448, 488, 672},
    {512, 557, 768},    {512, 558, 768},    {640, 696, 960},    {640, 697, 960},
    {768, 835, 1152},   {768, 836, 1152},   {896, 975, 1344},   {896, 976, 1344},
    {1024, 1114, 1536}, {1024, 1115, 1536}, {1152, 1253, 1728}, {1152, 1254, 1728},
    {1280, 1393, 1920}, {1280, 1394, 1920}};

const int kAc3Rates[kFrameSizeCodes / 2] = {32,  40,  48,  56,  64,  80,  96,  112, 128, 160,
                                            192, 224, 256, 320, 384, 448, 512, 576, 640};

const int kFullBandwidthChannels[8] = {2, 1, 2, 3, 3, 4, 4, 5};
const int kEac3Blocks[4] = {1, 2, 3, 6};

bool HasThreeFronts(int acmod) { return (acmod & 1) && acmod != 1; }
bool HasSurround(int acmod) { return (acmod & 4) != 0; }

// fscod, frmsizecod, bsid, bsmod and the fields up to lfeon of an AC-3 frame.
HeaderStatus ProbeAc3(const std::uint8_t* data, FrameHeader* h) {
  h->fscod = data[4] >> 6;
  h->frmsizecod = data[4] & 0x3F;
  const int words = Ac3FrameWords(h->fscod, h->frmsizecod);
  if (words == 0) return HeaderStatus::kInvalid;
  h->frame_bytes = words * 2;
  // bsid 9 and 10 are the AC-3 syntax at half and quarter sample rate.
  const int shift = h->bsid > 8 ? h->bsid - 8 : 0;
  h->sample_rate = SampleRateOf(h->fscod, 0) >> shift;
  h->blocks = 6;
  h->strmtyp = kIndependent;
  h->substreamid = 0;
  BitReader bits(data + 6, kHeaderBytes - 6);
  h->acmod = bits.ReadInt(3);
  if (HasThreeFronts(h->acmod)) bits.Skip(2);
  if (HasSurround(h->acmod)) bits.Skip(2);
  if (h->acmod == 2) bits.Skip(2);
  h->lfeon = bits.ReadInt(1);
  return HeaderStatus::kValid;
}

HeaderStatus ProbeEac3(const std::uint8_t* data, FrameHeader* h) {
  BitReader bits(data + 2, kHeaderBytes - 2);
  h->strmtyp = bits.ReadInt(2);
  if (h->strmtyp == 3) return HeaderStatus::kInvalid;
  h->substreamid = bits.ReadInt(3);
  h->frame_bytes = (bits.ReadInt(11) + 1) * 2;
  h->fscod = bits.ReadInt(2);
  int fscod2 = 0;
  if (h->fscod == 3) {
    fscod2 = bits.ReadInt(2);
    h->blocks = 6;
  } else {
    h->blocks = kEac3Blocks[bits.ReadInt(2)];
  }
  h->sample_rate = SampleRateOf(h->fscod, fscod2);
  if (h->sample_rate == 0) return HeaderStatus::kInvalid;
  h->acmod = bits.ReadInt(3);
  h->lfeon = bits.ReadInt(1);
  h->frmsizecod = -1;
  if (h->frame_bytes <= static_cast<int>(kHeaderBytes)) return HeaderStatus::kInvalid;
  return HeaderStatus::kValid;
}

int LegacyCentreLevel(int cmixlev) {
  // A/52 Table 5.9 (-3, -4.5, -6 dB, reserved read as -4.5) as 3-bit mix-level codes.
  static const int kCodes[4] = {4, 5, 6, 5};
  return kCodes[cmixlev & 3];
}

int LegacySurroundLevel(int surmixlev) {
  // A/52 Table 5.10 (-3, -6 dB, -inf, reserved read as -6) as 3-bit mix-level codes.
  static const int kCodes[4] = {4, 6, 7, 6};
  return kCodes[surmixlev & 3];
}

int DialnormOf(int code) { return code == 0 ? 31 : code; }

void ReadProductionInfo(BitReader& bits, bool with_converter, FrameInfo* info) {
  info->audprodie = bits.ReadInt(1);
  if (!info->audprodie) return;
  info->mixlevel = 80 + bits.ReadInt(5);
  info->roomtyp = bits.ReadInt(2);
  if (with_converter) info->adconvtyp = bits.ReadInt(1);
}

// A/52 section 5.4.2 with Annex D's alternate syntax (bsid 6: xbsi1 and xbsi2).
void ParseAc3Bsi(BitReader& bits, FrameInfo* info) {
  const int acmod = info->header.acmod;
  bits.Skip(16 + 16 + 8);  // syncword, crc1, fscod, frmsizecod
  bits.Skip(5);       // bsid
  info->bsmod = bits.ReadInt(3);
  bits.Skip(3);       // acmod
  if (HasThreeFronts(acmod)) {
    info->cmixlev = bits.ReadInt(2);
    info->ltrtcmixlev = info->lorocmixlev = LegacyCentreLevel(info->cmixlev);
  }
  if (HasSurround(acmod)) {
    info->surmixlev = bits.ReadInt(2);
    info->ltrtsurmixlev = info->lorosurmixlev = LegacySurroundLevel(info->surmixlev);
  }
  if (acmod == 2) info->dsurmod = bits.ReadInt(2);
  bits.Skip(1);  // lfeon
  info->dialnorm = DialnormOf(bits.ReadInt(5));
  info->compre = bits.ReadInt(1);
  if (info->compre) info->compr = bits.ReadInt(8);
  if (bits.ReadFlag()) bits.Skip(8);  // langcod
  ReadProductionInfo(bits, false, info);
  if (acmod == 0) {
    bits.Skip(5);                       // dialnorm2
    if (bits.ReadFlag()) bits.Skip(8);  // compr2
    if (bits.ReadFlag()) bits.Skip(8);  // langcod2
    if (bits.ReadFlag()) bits.Skip(7);  // mixlevel2, roomtyp2
  }
  info->copyrightb = bits.ReadInt(1);
  info->origbs = bits.ReadInt(1);
  if (info->header.bsid == 6) {
    if (bits.ReadFlag()) {  // xbsi1e
      info->dmixmod = bits.ReadInt(2);
      info->ltrtcmixlev = bits.ReadInt(3);
      info->ltrtsurmixlev = bits.ReadInt(3);
      info->lorocmixlev = bits.ReadInt(3);
      info->lorosurmixlev = bits.ReadInt(3);
    }
    if (bits.ReadFlag()) {  // xbsi2e
      info->dsurexmod = bits.ReadInt(2);
      info->dheadphonmod = bits.ReadInt(2);
      info->adconvtyp = bits.ReadInt(1);
      bits.Skip(8 + 1);  // xbsi2, encinfo
    }
  } else {
    if (bits.ReadFlag()) bits.Skip(14);  // timecod1
    if (bits.ReadFlag()) bits.Skip(14);  // timecod2
  }
  if (bits.ReadFlag()) bits.Skip((bits.Read(6) + 1) * 8);  // addbsi
  info->audio_bits = bits.Position();
  // The start of audio block 0 carries the first dynamic range word.
  const int channels = kFullBandwidthChannels[acmod];
  bits.Skip(2 * channels);  // blksw, dithflag
  if (bits.ReadFlag()) info->dynrng0 = bits.ReadInt(8);
}

void ParseEac3MixingMetadata(BitReader& bits, FrameInfo* info) {
  const FrameHeader& h = info->header;
  if (h.acmod > 2) info->dmixmod = bits.ReadInt(2);
  if ((h.acmod & 1) && h.acmod > 2) {
    info->ltrtcmixlev = bits.ReadInt(3);
    info->lorocmixlev = bits.ReadInt(3);
  }
  if (HasSurround(h.acmod)) {
    info->ltrtsurmixlev = bits.ReadInt(3);
    info->lorosurmixlev = bits.ReadInt(3);
  }
  if (h.lfeon && bits.ReadFlag()) bits.Skip(5);  // lfemixlevcod
  if (h.strmtyp != kIndependent) return;
  if (bits.ReadFlag()) bits.Skip(6);                    // pgmscl
  if (h.acmod == 0 && bits.ReadFlag()) bits.Skip(6);    // pgmscl2
  if (bits.ReadFlag()) bits.Skip(6);                    // extpgmscl
  switch (bits.ReadInt(2)) {                            // mixdef
    case 1: bits.Skip(5); break;
    case 2: bits.Skip(12); break;
    case 3: bits.Skip((bits.Read(5) + 2) * 8); break;
    default: break;
  }
  if (h.acmod < 2) {
    if (bits.ReadFlag()) bits.Skip(14);                  // panmean, paninfo
    if (h.acmod == 0 && bits.ReadFlag()) bits.Skip(14);  // panmean2, paninfo2
  }
  if (bits.ReadFlag()) {  // frmmixcfginfoe
    if (h.blocks == 1) {
      bits.Skip(5);
    } else {
      for (int block = 0; block < h.blocks; ++block)
        if (bits.ReadFlag()) bits.Skip(5);
    }
  }
}

void ParseEac3InformationalMetadata(BitReader& bits, FrameInfo* info) {
  const FrameHeader& h = info->header;
  info->bsmod = bits.ReadInt(3);
  info->copyrightb = bits.ReadInt(1);
  info->origbs = bits.ReadInt(1);
  if (h.acmod == 2) {
    info->dsurmod = bits.ReadInt(2);
    info->dheadphonmod = bits.ReadInt(2);
  }
  if (h.acmod >= 6) info->dsurexmod = bits.ReadInt(2);
  ReadProductionInfo(bits, true, info);
  if (h.acmod == 0 && bits.ReadFlag()) bits.Skip(8);  // mixlevel2, roomtyp2, adconvtyp2
  if (h.fscod < 3) bits.Skip(1);                      // sourcefscod
}

// A/52 Annex E, section E.1.2.2.
void ParseEac3Bsi(BitReader& bits, FrameInfo* info) {
  const FrameHeader& h = info->header;
  bits.Skip(16 + 2 + 3 + 11 + 2 + 2 + 3 + 1 + 5);  // up to and including bsid
  info->dialnorm = DialnormOf(bits.ReadInt(5));
  info->compre = bits.ReadInt(1);
  if (info->compre) info->compr = bits.ReadInt(8);
  if (h.acmod == 0) {
    bits.Skip(5);                       // dialnorm2
    if (bits.ReadFlag()) bits.Skip(8);  // compr2
  }
  if (h.strmtyp == kDependent) {
    info->chanmape = bits.ReadInt(1);
    if (info->chanmape) info->chanmap = static_cast<std::uint16_t>(bits.Read(16));
  }
  if (bits.ReadFlag()) ParseEac3MixingMetadata(bits, info);
  if (bits.ReadFlag()) ParseEac3InformationalMetadata(bits, info);
  if (h.strmtyp == kIndependent && h.blocks != 6) bits.Skip(1);  // convsync
  if (h.strmtyp == kConvertedAc3 && (h.blocks == 6 || bits.ReadFlag()))  // blkid
    bits.Skip(6);                                                         // frmsizecod
  if (bits.ReadFlag()) bits.Skip((bits.Read(6) + 1) * 8);  // addbsi
  info->audio_bits = bits.Position();
}

}  // namespace

int Ac3FrameWords(int fscod, int frmsizecod) {
  if (fscod < 0 || fscod > 2 || frmsizecod < 0 || frmsizecod >= kFrameSizeCodes) return 0;
  return kAc3FrameWords[frmsizecod][fscod];
}

int Ac3DataRate(int frmsizecod) {
  if (frmsizecod < 0 || frmsizecod >= kFrameSizeCodes) return 0;
  return kAc3Rates[frmsizecod / 2];
}

int SampleRateOf(int fscod, int fscod2) {
  static const int kRates[3] = {48000, 44100, 32000};
  if (fscod >= 0 && fscod < 3) return kRates[fscod];
  if (fscod == 3 && fscod2 >= 0 && fscod2 < 3) return kRates[fscod2] / 2;
  return 0;
}

HeaderStatus ProbeHeader(const std::uint8_t* data, std::size_t size, FrameHeader* header) {
  if (size >= 2 && (data[0] != 0x0B || data[1] != 0x77)) return HeaderStatus::kInvalid;
  if (size < kHeaderBytes) return HeaderStatus::kNeedMoreBytes;
  FrameHeader h;
  h.bsid = data[5] >> 3;
  HeaderStatus status = HeaderStatus::kInvalid;
  if (h.bsid <= kLastAc3Bsid)
    status = ProbeAc3(data, &h);
  else if (h.bsid <= kLastEac3Bsid)
    status = ProbeEac3(data, &h);
  if (status == HeaderStatus::kValid) *header = h;
  return status;
}

bool ParseFrame(const std::uint8_t* frame, std::size_t size, FrameInfo* info) {
  *info = FrameInfo();
  if (ProbeHeader(frame, size, &info->header) != HeaderStatus::kValid) return false;
  BitReader bits(frame, size);
  if (info->header.IsEac3())
    ParseEac3Bsi(bits, info);
  else
    ParseAc3Bsi(bits, info);
  return !bits.Overrun();
}

std::uint16_t ChannelMapOf(int acmod, int lfeon) {
  static const std::uint16_t kMaps[8] = {
      0xC000,  // 1+1: L, C
      0x4000,  // 1/0: C
      0xA000,  // 2/0: L, R
      0xE000,  // 3/0: L, C, R
      0xB000,  // 2/1: L, R, S (at Ls)
      0xF000,  // 3/1: L, C, R, S (at Ls)
      0xB800,  // 2/2: L, R, Ls, Rs
      0xF800   // 3/2: L, C, R, Ls, Rs
  };
  return static_cast<std::uint16_t>(kMaps[acmod & 7] | (lfeon ? 0x0001 : 0));
}

std::uint16_t DependentChannelMap(const FrameInfo& info) {
  if (info.chanmape) return info.chanmap;
  return ChannelMapOf(info.header.acmod, info.header.lfeon);
}

}  // namespace ddpi::bitstream
