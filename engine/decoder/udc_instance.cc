#include "udc_instance.h"

#include <algorithm>
#include <cstring>

namespace ddpi::udc {
namespace {

bool InRange(std::int32_t value, std::int32_t lowest, std::int32_t highest) {
  return value >= lowest && value <= highest;
}

}  // namespace

int UdcInstance::SetProcessParam(std::int32_t id, std::int32_t value) {
  switch (id) {
    case DDPI_UDC_PROC_INPUT_FORMAT:
      return value == 0 ? DDPI_UDC_ERR_NO_ERROR : DDPI_UDC_ERR_INVALID_PARAM;
    case DDPI_UDC_PROC_DRC_ENABLE:
      if (!InRange(value, 0, 1)) return DDPI_UDC_ERR_INVALID_PARAM;
      drc_enabled_ = value != 0;
      return DDPI_UDC_ERR_NO_ERROR;
    case DDPI_UDC_PROC_OUTPUT_BITS:
      if (!InRange(value, 16, 32)) return DDPI_UDC_ERR_INVALID_PARAM;
      output_bits_ = value;
      return DDPI_UDC_ERR_NO_ERROR;
    case DDPI_UDC_PROC_DIALNORM_ENABLE:
      // Dialogue normalisation is reported as metadata; the samples keep the coded level.
      return InRange(value, 0, 1) ? DDPI_UDC_ERR_NO_ERROR : DDPI_UDC_ERR_INVALID_PARAM;
    case DDPI_UDC_PROC_PROGRAM_SELECT:
      if (!InRange(value, 0, DDPI_UDC_MAX_PROGRAMS - 1)) return DDPI_UDC_ERR_INVALID_PARAM;
      program_ = value;
      return DDPI_UDC_ERR_NO_ERROR;
    default:
      return DDPI_UDC_ERR_UNSUPPORTED_PARAM;
  }
}

int UdcInstance::SetOutputParam(std::int32_t id, std::int32_t value) {
  switch (id) {
    case DDPI_UDC_OUT_CHANNEL_MODE:
      if (!InRange(value, 0, 27)) return DDPI_UDC_ERR_INVALID_OUTMODE;
      output_mode_ = value;
      return DDPI_UDC_ERR_NO_ERROR;
    case DDPI_UDC_OUT_LFE:
      if (!InRange(value, 0, 1)) return DDPI_UDC_ERR_INVALID_PARAM;
      output_lfe_ = value != 0;
      return DDPI_UDC_ERR_NO_ERROR;
    case DDPI_UDC_OUT_DUALMONO:
      if (!InRange(value, 0, 3)) return DDPI_UDC_ERR_INVALID_PARAM;
      dual_mono_mode_ = value;
      return DDPI_UDC_ERR_NO_ERROR;
    case DDPI_UDC_OUT_COMPRESSION:
      if (!InRange(value, 0, 1)) return DDPI_UDC_ERR_INVALID_PARAM;
      rf_mode_ = value != 0;
      return DDPI_UDC_ERR_NO_ERROR;
    case DDPI_UDC_OUT_DRC_CUT:
      if (!InRange(value, 0, 100)) return DDPI_UDC_ERR_INVALID_PARAM;
      drc_cut_percent_ = value;
      return DDPI_UDC_ERR_NO_ERROR;
    case DDPI_UDC_OUT_DRC_BOOST:
      if (!InRange(value, 0, 100)) return DDPI_UDC_ERR_INVALID_PARAM;
      drc_boost_percent_ = value;
      return DDPI_UDC_ERR_NO_ERROR;
    default:
      return DDPI_UDC_ERR_UNSUPPORTED_PARAM;
  }
}

int UdcInstance::AddBytes(const std::uint8_t* bytes, std::size_t size, std::size_t* used,
                          std::int32_t* timeslice_complete) {
  *used = size ? assembler_.Add(bytes, size) : 0;
  *timeslice_complete = assembler_.HasCompleteSlice() ? 1 : 0;
  // Nothing taken means the buffer is full with a slice waiting to be processed.
  if (size > 0 && *used == 0) return DDPI_UDC_ERR_ADDFRAME_COMPLETETS;
  return DDPI_UDC_ERR_NO_ERROR;
}

DecodeSettings UdcInstance::CurrentDecodeSettings() const {
  DecodeSettings settings;
  settings.output_bits = output_bits_;
  // libavcodec scales cut and boost alike; the larger of the two requested scales is used.
  settings.drc_scale =
      drc_enabled_ ? std::max(drc_cut_percent_, drc_boost_percent_) / 100.0 : 0.0;
  settings.heavy_compression = rf_mode_;
  settings.output_lfe = output_lfe_;
  return settings;
}

int UdcInstance::ProcessTimeslice(ddpi_udc_pt_op* op) {
  if (!assembler_.HasCompleteSlice()) return DDPI_UDC_ERR_INVALID_TIMESLICE;
  ddpi_udc_output_desc* desc = op->output;
  if (!desc || !desc->buffer) return DDPI_UDC_ERR_INVALID_PARAM;
  if (desc->buffer_size < kOutputBufferBytes) return DDPI_UDC_ERR_INTERNAL_BUFFER;
  if (reinterpret_cast<std::uintptr_t>(desc->buffer) % 32 != 0)
    return DDPI_UDC_ERR_MEMORY_NOT_ALIGNED;

  const SliceView& slice = assembler_.Front();
  DescribeSlice(slice, program_, &metadata_);
  has_metadata_ = true;
  const std::size_t begin = slice.offsets[metadata_.first_frame];
  const std::size_t end = metadata_.end_frame < slice.frame_count
                              ? slice.offsets[metadata_.end_frame]
                              : slice.size;
  const bitstream::FrameHeader& main = slice.headers[metadata_.first_frame];
  SliceOutput output;
  output.planes = desc->buffer;
  const DecodeResult result =
      decoder_.Decode(slice.data + begin, end - begin, main.IsEac3(), main.acmod == 0,
                      CurrentDecodeSettings(), &output);
  assembler_.Release();
  if (result == DecodeResult::kFailed) return DDPI_UDC_ERR_PROCESSING;
  Publish(output, result, op);
  return DDPI_UDC_ERR_NO_ERROR;
}

void UdcInstance::Publish(const SliceOutput& output, DecodeResult result,
                          ddpi_udc_pt_op* op) const {
  ddpi_udc_output_desc* desc = op->output;
  const bool decoded = result == DecodeResult::kDecoded;
  desc->sample_stride = 1;
  desc->mode = metadata_.timeslice.output_channel_mode;
  op->output_present = decoded ? 1 : 0;
  op->error_or_skip = decoded ? 0 : 1;
  op->block_count = decoded ? output.samples / DDPI_UDC_BLOCK_SAMPLES : 0;
  op->channel_count = 0;
  for (int slot = 0; slot < kEngineChannels; ++slot) {
    std::int32_t* plane = desc->buffer + slot * kMaxSliceSamples;
    const bool present = decoded && ((output.channel_mask >> slot) & 1);
    // Slots without a channel read as silence.
    if (!present && decoded) std::memset(plane, 0, output.samples * sizeof(std::int32_t));
    op->channel_count += present ? 1 : 0;
    op->channels[slot] = plane;
  }
}

int UdcInstance::GetTimesliceMetadata(ddpi_udc_timeslice_mdat* metadata) const {
  if (!has_metadata_) return DDPI_UDC_ERR_MDAT_INVALID_TIMESLICE;
  *metadata = metadata_.timeslice;
  return DDPI_UDC_ERR_NO_ERROR;
}

int UdcInstance::GetFrameMetadata(std::int32_t frame_index, ddpi_udc_frame_mdat* metadata) const {
  if (!has_metadata_) return DDPI_UDC_ERR_MDAT_INVALID_TIMESLICE;
  if (frame_index < 0 || frame_index >= metadata_.frame_count)
    return DDPI_UDC_ERR_FRAME_NOT_PRESENT;
  FillFrameRecord(metadata_.frames[frame_index], metadata);
  return DDPI_UDC_ERR_NO_ERROR;
}

}  // namespace ddpi::udc
