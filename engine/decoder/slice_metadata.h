// The metadata of a time slice, read from the syncinfo and BSI of its frames: the records
// ddpi_udc_gettimeslice_mdat and ddpi_udc_getframe_mdat hand out, and which frames make up
// the program being decoded.
#ifndef DDPI_ENGINE_DECODER_SLICE_METADATA_H
#define DDPI_ENGINE_DECODER_SLICE_METADATA_H

#include "bitstream_info.h"
#include "ddpi/ddpi_udc.h"
#include "timeslice_assembler.h"

namespace ddpi::udc {

struct SliceMetadata {
  int frame_count = 0;
  bitstream::FrameInfo frames[kMaxSliceFrames];
  ddpi_udc_timeslice_mdat timeslice = {};
  // Frames [first_frame, end_frame) form the decoded program: its independent frame and the
  // dependent frames that follow it.
  int first_frame = 0;
  int end_frame = 0;
};

// Reads every frame of `slice` and describes program `program` (program 0 when the slice
// has no such program).
void DescribeSlice(const SliceView& slice, int program, SliceMetadata* out);

// The frame record of one frame.
void FillFrameRecord(const bitstream::FrameInfo& info, ddpi_udc_frame_mdat* record);

}  // namespace ddpi::udc

#endif  // DDPI_ENGINE_DECODER_SLICE_METADATA_H
