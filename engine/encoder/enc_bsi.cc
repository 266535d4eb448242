#include "enc_bsi.h"

namespace ddpi::enc {

int CenterMixCode(int level_index, bool* exact) {
  // cmixlev: 0 = -3 dB, 1 = -4.5 dB, 2 = -6 dB (A/52 Table 5.9).
  *exact = level_index >= 4 && level_index <= 6;
  if (level_index <= 4) return 0;
  if (level_index == 5) return 1;
  return 2;
}

int SurroundMixCode(int level_index, bool* exact) {
  // surmixlev: 0 = -3 dB, 1 = -6 dB, 2 = -inf (A/52 Table 5.10).
  *exact = level_index == 4 || level_index == 6 || level_index == 7;
  if (level_index <= 5) return level_index == 5 ? 1 : 0;
  return level_index == 6 ? 1 : 2;
}

int Ac3Bsid(const Metadata& md) {
  bool center_exact, surround_exact;
  CenterMixCode(md.lorocmixlev, &center_exact);
  SurroundMixCode(md.lorosurmixlev, &surround_exact);
  const bool alternate = md.dmixmod != 0 || md.ltrtcmixlev != md.lorocmixlev ||
                         md.ltrtsurmixlev != md.lorosurmixlev || !center_exact ||
                         !surround_exact || md.dsurexmod != 0 || md.adconvtyp != 0;
  return alternate ? 6 : 8;
}

namespace {

void WriteCompr(BitWriter* bw, const DrcFrameGains& drc) {
  bw->Put(drc.compr_on, 1);
  if (drc.compr_on) bw->Put(drc.compr & 0xff, 8);
}

// dialnorm, compr, the language code flag and the audio production information of one
// programme; a 1+1 stream writes it once for each of its two programmes.
void WriteAc3ProgrammeInfo(BitWriter* bw, const Metadata& md, const DrcFrameGains& drc) {
  bw->Put(md.dialnorm, 5);
  WriteCompr(bw, drc);
  bw->Put(0, 1);  // langcode / langcod2e
  bw->Put(1, 1);  // audprodie / audprodi2e
  bw->Put(md.mixlevel - 80, 5);
  bw->Put(md.roomtyp, 2);
}

// Programme scale factors, mixing and panning information: independent substreams only.
void WriteProgrammeMixing(BitWriter* bw, int acmod) {
  bw->Put(0, 1);                  // pgmscle
  if (acmod == 0) bw->Put(0, 1);  // pgmscl2e
  bw->Put(0, 1);                  // extpgmscle
  bw->Put(0, 2);                  // mixdef
  if (acmod < 2) {
    bw->Put(0, 1);                  // paninfoe
    if (acmod == 0) bw->Put(0, 1);  // paninfo2e
  }
  bw->Put(0, 1);  // frmmixcfginfoe
}

}  // namespace

void WriteAc3Bsi(BitWriter* bw, const EncoderConfig& cfg, const DrcFrameGains& drc) {
  const Metadata& md = cfg.metadata;
  const int acmod = cfg.acmod;
  const int bsid = Ac3Bsid(md);
  bool exact;
  bw->Put(bsid, 5);
  bw->Put(md.bsmod, 3);
  bw->Put(acmod, 3);
  if ((acmod & 1) && acmod != 1) bw->Put(CenterMixCode(md.lorocmixlev, &exact), 2);
  if (acmod & 4) bw->Put(SurroundMixCode(md.lorosurmixlev, &exact), 2);
  if (acmod == 2) bw->Put(md.dsurmod, 2);
  bw->Put(cfg.lfe, 1);
  WriteAc3ProgrammeInfo(bw, md, drc);
  if (acmod == 0) WriteAc3ProgrammeInfo(bw, md, drc);  // 1+1: the second programme alike
  bw->Put(md.copyrightb, 1);
  bw->Put(md.origbs, 1);
  if (bsid == 6) {
    bw->Put(1, 1);  // xbsi1e
    bw->Put(md.dmixmod, 2);
    bw->Put(md.ltrtcmixlev, 3);
    bw->Put(md.ltrtsurmixlev, 3);
    bw->Put(md.lorocmixlev, 3);
    bw->Put(md.lorosurmixlev, 3);
    bw->Put(1, 1);  // xbsi2e
    bw->Put(md.dsurexmod, 2);
    bw->Put(0, 2);  // dheadphonmod: not indicated
    bw->Put(md.adconvtyp, 1);
    bw->Put(0, 8);  // xbsi2
    bw->Put(0, 1);  // encinfo
  } else {
    bw->Put(0, 1);  // timecod1e
    bw->Put(0, 1);  // timecod2e
  }
  bw->Put(0, 1);  // addbsie
}

void WriteEac3Bsi(BitWriter* bw, const EncoderConfig& cfg, int frame_words,
                  const DrcFrameGains& drc) {
  const Metadata& md = cfg.metadata;
  const int acmod = cfg.acmod;
  bw->Put(cfg.substream.dependent ? 1 : 0, 2);  // strmtyp
  bw->Put(0, 3);                // substreamid
  bw->Put(frame_words - 1, 11); // frmsiz
  bw->Put(0, 2);                // fscod: 48 kHz
  bw->Put(3, 2);                // numblkscod: 6 blocks
  bw->Put(acmod, 3);
  bw->Put(cfg.lfe, 1);
  bw->Put(16, 5);               // bsid
  bw->Put(md.dialnorm, 5);
  WriteCompr(bw, drc);
  if (acmod == 0) {
    bw->Put(md.dialnorm, 5);
    WriteCompr(bw, drc);
  }
  if (cfg.substream.dependent) {
    bw->Put(1, 1);  // chanmape: the channel map says where this substream's channels go
    bw->Put(cfg.substream.chanmap & 0xffff, 16);
  }
  // Mixing metadata.
  bw->Put(1, 1);  // mixmdate
  if (acmod > 2) bw->Put(md.dmixmod, 2);
  if ((acmod & 1) && acmod > 2) {
    bw->Put(md.ltrtcmixlev, 3);
    bw->Put(md.lorocmixlev, 3);
  }
  if (acmod & 4) {
    bw->Put(md.ltrtsurmixlev, 3);
    bw->Put(md.lorosurmixlev, 3);
  }
  if (cfg.lfe) bw->Put(0, 1);  // lfemixlevcode
  if (!cfg.substream.dependent) WriteProgrammeMixing(bw, acmod);
  // Informational metadata.
  bw->Put(1, 1);  // infomdate
  bw->Put(md.bsmod, 3);
  bw->Put(md.copyrightb, 1);
  bw->Put(md.origbs, 1);
  if (acmod == 2) {
    bw->Put(md.dsurmod, 2);
    bw->Put(0, 2);  // dheadphonmod
  }
  if (acmod >= 6) bw->Put(md.dsurexmod, 2);
  bw->Put(1, 1);  // audprodie
  bw->Put(md.mixlevel - 80, 5);
  bw->Put(md.roomtyp, 2);
  bw->Put(md.adconvtyp, 1);
  if (acmod == 0) {
    bw->Put(1, 1);  // audprodi2e
    bw->Put(md.mixlevel - 80, 5);
    bw->Put(md.roomtyp, 2);
    bw->Put(md.adconvtyp, 1);
  }
  bw->Put(0, 1);  // sourcefscod
  bw->Put(0, 1);  // addbsie
}

}  // namespace ddpi::enc
