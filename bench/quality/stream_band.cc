#include "stream_band.h"

#include <algorithm>

#include "ac3_tables.h"
#include "bit_reader.h"
#include "bitstream_info.h"

namespace ddpi::bench {
namespace {

using bitstream::FrameInfo;

constexpr int kUnreadable = -1;

using ac3::SpxBeginSubband;
using ac3::SpxEndSubband;

// What block 0 says about the channels' bands.
struct BlockZero {
  int nfch = 0;
  bool cplinu = false;
  bool chincpl[5] = {};
  int cplbegf = 0, cplendf = 0;
  bool phsflginu = false;
  bool spxinu = false;
  bool chinspx[5] = {};
  int spx_end_bin = 0;
  int chbwcod[5] = {};

  int Top() const {
    int top = 0;
    for (int c = 0; c < nfch; ++c) {
      if (spxinu && chinspx[c]) top = std::max(top, spx_end_bin);
      else if (cplinu && chincpl[c]) top = std::max(top, ac3::CouplingSubbandBin(cplendf + 3));
      else top = std::max(top, ac3::ChannelEndMant(chbwcod[c]));
    }
    return top;
  }
};

// Number of bands a band structure leaves of `subbands` sub-bands, reading its merge bits
// (one per sub-band after the first).
int ReadBandStructure(BitReader& bits, int subbands) {
  int bands = subbands > 0 ? 1 : 0;
  for (int s = 1; s < subbands; ++s) bands += bits.ReadFlag() ? 0 : 1;
  return bands;
}

// E-AC-3's default coupling band structure (Annex E, Table E2.16): whether each of the 18
// coupling sub-bands merges into the band before it.
constexpr bool kDefaultCouplingMerge[18] = {0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 1, 1, 0, 1, 1, 1, 1, 1};

int DefaultCouplingBands(int begf, int endf) {
  int bands = 0;
  for (int s = begf; s < endf + 3; ++s) bands += s == begf || !kDefaultCouplingMerge[s];
  return bands;
}

// Coupling coordinates of block 0 (cplcoe implied in E-AC-3, read in AC-3), then phase flags.
void SkipCouplingCoords(BitReader& bits, const BlockZero& z, int bands, bool implied) {
  bool any = false;
  for (int c = 0; c < z.nfch; ++c) {
    if (!z.chincpl[c]) continue;
    if (implied || bits.ReadFlag()) {
      any = true;
      bits.Skip(2 + 8 * bands);  // mstrcplco, cplcoexp and cplcomant per band
    }
  }
  if (z.phsflginu && any) bits.Skip(bands);  // phsflg
}

// Rematrixing flags a 2/0 block sends: four bands, fewer where coupling begins inside them.
// (Both encoders' extended ranges begin above the fourth band's start.)
int RematrixFlags(const BlockZero& z) {
  return !z.cplinu || z.cplbegf > 2 ? 4 : z.cplbegf > 0 ? 3 : 2;
}

// blksw, dithflag and dynrng, as both syntaxes open a block (E-AC-3 may leave the first two
// out).
void SkipBlockOpening(BitReader& bits, int nfch, int acmod, bool blksw, bool dither) {
  if (blksw) bits.Skip(nfch);
  if (dither) bits.Skip(nfch);
  for (int prog = 0; prog < (acmod == 0 ? 2 : 1); ++prog)
    if (bits.ReadFlag()) bits.Skip(8);  // dynrng
}

// A/52 section 5.4.3, block 0 up to the bandwidth codes.
int Ac3Top(BitReader& bits, const FrameInfo& info) {
  const int acmod = info.header.acmod;
  BlockZero z;
  z.nfch = ac3::kFbwChannels[acmod];
  SkipBlockOpening(bits, z.nfch, acmod, true, true);
  int bands = 0;
  if (bits.ReadFlag() && (z.cplinu = bits.ReadFlag())) {  // cplstre, cplinu
    for (int c = 0; c < z.nfch; ++c) z.chincpl[c] = bits.ReadFlag();
    if (acmod == 2) z.phsflginu = bits.ReadFlag();
    z.cplbegf = bits.ReadInt(4);
    z.cplendf = bits.ReadInt(4);
    bands = ReadBandStructure(bits, 3 + z.cplendf - z.cplbegf);
  }
  if (z.cplinu) SkipCouplingCoords(bits, z, bands, false);
  if (acmod == 2 && bits.ReadFlag()) bits.Skip(RematrixFlags(z));  // rematstr
  if (z.cplinu) bits.Skip(2);  // cplexpstr
  int chexpstr[5];
  for (int c = 0; c < z.nfch; ++c) chexpstr[c] = bits.ReadInt(2);
  if (info.header.lfeon) bits.Skip(1);  // lfeexpstr
  for (int c = 0; c < z.nfch; ++c)
    if (chexpstr[c] != 0 && !z.chincpl[c]) z.chbwcod[c] = bits.ReadInt(6);
  return bits.Overrun() ? kUnreadable : z.Top();
}

// A/52 Annex E: the audio frame element, then block 0 up to the bandwidth codes.
int Eac3Top(BitReader& bits, const FrameInfo& info) {
  const bitstream::FrameHeader& h = info.header;
  const int acmod = h.acmod, blocks = h.blocks;
  BlockZero z;
  z.nfch = ac3::kFbwChannels[acmod];
  const bool expstre = blocks == 6 ? bits.ReadFlag() : true;
  const bool ahte = blocks == 6 ? bits.ReadFlag() : false;
  const int snroffststr = bits.ReadInt(2);
  const bool transproce = bits.ReadFlag();
  const bool blkswe = bits.ReadFlag();
  const bool dithflage = bits.ReadFlag();
  bits.Skip(1 + 1);  // bamode, frmfgaincode
  bits.Skip(1 + 1);  // dbaflde, skipflde
  const bool spxattene = bits.ReadFlag();
  bool cplinu[6] = {};
  if (acmod > 1) {
    cplinu[0] = bits.ReadFlag();
    for (int b = 1; b < blocks; ++b) cplinu[b] = bits.ReadFlag() ? bits.ReadFlag() : cplinu[b - 1];
  }
  int chexpstr0[5] = {};
  if (expstre) {
    for (int b = 0; b < blocks; ++b) {
      if (cplinu[b]) bits.Skip(2);  // cplexpstr
      for (int c = 0; c < z.nfch; ++c) {
        const int s = bits.ReadInt(2);
        if (b == 0) chexpstr0[c] = s;
      }
    }
  } else {
    if (acmod > 1 && std::count(cplinu, cplinu + blocks, true) > 0) bits.Skip(5);
    for (int c = 0; c < z.nfch; ++c) {
      bits.Skip(5);       // frmchexpstr: every one sends new exponents in block 0
      chexpstr0[c] = 1;
    }
  }
  if (h.lfeon) bits.Skip(blocks);  // lfeexpstr
  if (h.strmtyp == bitstream::kIndependent && (blocks == 6 || bits.ReadFlag()))
    bits.Skip(5 * z.nfch);  // convexpstr
  if (ahte) return kUnreadable;
  if (snroffststr == 0) bits.Skip(6 + 4);  // frmcsnroffst, frmfsnroffst
  if (transproce)
    for (int c = 0; c < z.nfch; ++c)
      if (bits.ReadFlag()) bits.Skip(10 + 8);  // transprocloc, transproclen
  if (spxattene)
    for (int c = 0; c < z.nfch; ++c)
      if (bits.ReadFlag()) bits.Skip(5);  // spxattencod
  if (blocks != 1 && bits.ReadFlag()) {  // blkstrtinfoe
    int words_bits = 0;
    while ((1 << words_bits) < h.frame_bytes / 2) ++words_bits;
    bits.Skip((blocks - 1) * (4 + words_bits));
  }

  SkipBlockOpening(bits, z.nfch, acmod, blkswe, dithflage);
  if ((z.spxinu = bits.ReadFlag())) {  // spxinu (spxstre implied in block 0)
    for (int c = 0; c < z.nfch; ++c) z.chinspx[c] = acmod == 1 || bits.ReadFlag();
    bits.Skip(2);  // spxstrtf
    const int begin = SpxBeginSubband(bits.ReadInt(3));
    const int end = SpxEndSubband(bits.ReadInt(3));
    z.spx_end_bin = ac3::SpxSubbandBin(end);
    if (!bits.ReadFlag()) return kUnreadable;  // spxbndstrce: the default structure
    const int bands = ReadBandStructure(bits, end - begin);
    for (int c = 0; c < z.nfch; ++c)  // spxcoe implied in the frame's first block
      if (z.chinspx[c]) bits.Skip(5 + 2 + 6 * bands);  // spxblnd, mstrspxco, per band
    z.cplendf = begin - 4;  // a coupling range ends where the extension begins
  }
  if ((z.cplinu = cplinu[0])) {
    if (bits.ReadFlag()) return kUnreadable;  // ecplinu
    for (int c = 0; c < z.nfch; ++c) z.chincpl[c] = acmod == 2 || bits.ReadFlag();
    if (acmod == 2) z.phsflginu = bits.ReadFlag();
    z.cplbegf = bits.ReadInt(4);
    if (!z.spxinu) z.cplendf = bits.ReadInt(4);
    const int bands = bits.ReadFlag() ? ReadBandStructure(bits, 3 + z.cplendf - z.cplbegf)
                                      : DefaultCouplingBands(z.cplbegf, z.cplendf);
    SkipCouplingCoords(bits, z, bands, true);
  }
  if (acmod == 2) bits.Skip(RematrixFlags(z));  // rematstr implied in block 0
  for (int c = 0; c < z.nfch; ++c)
    if (chexpstr0[c] != 0 && !z.chincpl[c] && !z.chinspx[c]) z.chbwcod[c] = bits.ReadInt(6);
  return bits.Overrun() ? kUnreadable : z.Top();
}

}  // namespace

std::vector<int> CodedBandTops(const std::vector<std::uint8_t>& stream) {
  std::vector<int> tops;
  for (std::size_t at = 0; at + bitstream::kHeaderBytes <= stream.size();) {
    FrameInfo info;
    if (!bitstream::ParseFrame(stream.data() + at, stream.size() - at, &info)) break;
    const int bytes = info.header.frame_bytes;
    if (bytes <= 0 || at + bytes > stream.size()) break;
    if (info.header.StartsProgramZero()) {
      BitReader bits(stream.data() + at, bytes);
      bits.Skip(info.audio_bits);
      tops.push_back(info.header.IsEac3() ? Eac3Top(bits, info) : Ac3Top(bits, info));
    }
    at += bytes;
  }
  return tops;
}

}  // namespace ddpi::bench
