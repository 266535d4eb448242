#include "slice_metadata.h"

#include <cmath>

#include "output_channel_modes.h"

namespace ddpi::udc {
namespace {

using bitstream::FrameInfo;

bool IsIndependent(const FrameInfo& info) {
  return info.header.strmtyp != bitstream::kDependent;
}

// Nominal rate for a lone AC-3 frame; otherwise the bits of the whole slice over its
// duration, in kbps.
int DataRateOf(const SliceView& slice, const FrameInfo& first) {
  if (slice.frame_count == 1 && !first.header.IsEac3())
    return bitstream::Ac3DataRate(first.header.frmsizecod);
  const double seconds = first.header.blocks * 256.0 / first.header.sample_rate;
  return static_cast<int>(std::lround(slice.size * 8.0 / seconds / 1000.0));
}

void DescribePrograms(SliceMetadata* out) {
  ddpi_udc_timeslice_mdat& ts = out->timeslice;
  for (int i = 0; i < out->frame_count && ts.program_count < DDPI_UDC_MAX_PROGRAMS; ++i) {
    const FrameInfo& info = out->frames[i];
    if (!IsIndependent(info)) continue;
    ddpi_udc_program_mdat& program = ts.programs[ts.program_count++];
    program.frame_index = i;
    program.dialnorm = info.dialnorm;
    // A frame without informational metadata is a complete main program.
    program.bsmod = info.bsmod < 0 ? 0 : info.bsmod;
    program.acmod = info.header.acmod;
    program.lfeon = info.header.lfeon;
  }
}

void SelectProgram(int program, SliceMetadata* out) {
  const ddpi_udc_timeslice_mdat& ts = out->timeslice;
  const int chosen = program >= 0 && program < ts.program_count ? program : 0;
  out->first_frame = ts.program_count ? ts.programs[chosen].frame_index : 0;
  out->end_frame = out->first_frame + 1;
  while (out->end_frame < out->frame_count && !IsIndependent(out->frames[out->end_frame]))
    ++out->end_frame;
}

void DescribeChannels(SliceMetadata* out) {
  ddpi_udc_timeslice_mdat& ts = out->timeslice;
  const FrameInfo& main = out->frames[out->first_frame];
  const std::uint16_t base = bitstream::ChannelMapOf(main.header.acmod, main.header.lfeon);
  std::uint16_t map = base;
  for (int i = out->first_frame + 1; i < out->end_frame; ++i)
    map |= bitstream::DependentChannelMap(out->frames[i]);
  int mode = OutputModeOfChannelMap(map);
  if (mode == kNoOutputMode) {
    // The dependent substreams extend the programme into a set of channels that no output
    // mode carries (damaged or hostile data, mostly): a host could not lay them out. The
    // independent substream is a complete programme on its own, so that is what is
    // described and decoded.
    out->end_frame = out->first_frame + 1;
    map = base;
    mode = main.header.acmod;
  }
  ts.channel_map = map;
  ts.lfe_present = map & 1;
  // Substreams that together make a coding mode's channels are reported as that mode.
  ts.output_channel_mode = mode < 8 ? mode : DDPI_UDC_OUTPUT_MODE_AS_CODED;
}

}  // namespace

void DescribeSlice(const SliceView& slice, int program, SliceMetadata* out) {
  out->frame_count = 0;
  out->timeslice = ddpi_udc_timeslice_mdat();
  for (int i = 0; i < slice.frame_count; ++i) {
    const std::size_t end = i + 1 < slice.frame_count ? slice.offsets[i + 1] : slice.size;
    FrameInfo& info = out->frames[out->frame_count++];
    if (!bitstream::ParseFrame(slice.data + slice.offsets[i], end - slice.offsets[i], &info)) {
      // The header was good enough to frame the slice; keep what it told.
      info = FrameInfo();
      info.header = slice.headers[i];
    }
  }
  const FrameInfo& first = out->frames[0];
  ddpi_udc_timeslice_mdat& ts = out->timeslice;
  ts.sample_rate_code = first.header.fscod;
  ts.data_rate = DataRateOf(slice, first);
  ts.block_count = first.header.blocks;
  DescribePrograms(out);
  SelectProgram(program, out);
  DescribeChannels(out);
}

void FillFrameRecord(const bitstream::FrameInfo& info, ddpi_udc_frame_mdat* r) {
  *r = ddpi_udc_frame_mdat();
  r->bsid = info.header.bsid;
  r->strmtyp = info.header.strmtyp;
  r->substreamid = info.header.substreamid;
  r->fscod = info.header.fscod;
  r->frame_size = info.header.frame_bytes;
  r->num_blocks = info.header.blocks;
  r->acmod = info.header.acmod;
  r->lfeon = info.header.lfeon;
  r->bsmod = info.bsmod;
  r->dialnorm = info.dialnorm;
  r->copyrightb = info.copyrightb;
  r->origbs = info.origbs;
  r->dsurmod = info.dsurmod;
  r->dsurexmod = info.dsurexmod;
  r->dheadphonmod = info.dheadphonmod;
  r->dmixmod = info.dmixmod;
  r->ltrtcmixlev = info.ltrtcmixlev;
  r->ltrtsurmixlev = info.ltrtsurmixlev;
  r->lorocmixlev = info.lorocmixlev;
  r->lorosurmixlev = info.lorosurmixlev;
  r->cmixlev = info.cmixlev;
  r->surmixlev = info.surmixlev;
  r->audprodie = info.audprodie;
  r->mixlevel = info.mixlevel;
  r->roomtyp = info.roomtyp;
  r->adconvtyp = info.adconvtyp;
  r->compre = info.compre;
  r->compr = info.compr;
  // Only block 0's word is read: the later ones sit behind each block's coded audio.
  r->dynrng[0] = info.dynrng0;
  for (int block = 1; block < 6; ++block) r->dynrng[block] = -1;
  r->chanmap = info.chanmap;
}

}  // namespace ddpi::udc
