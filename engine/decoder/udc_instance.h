// One unified-decoder instance: frames the incoming bytes into time slices, decodes the
// selected program of each slice into the caller's output buffer and keeps the metadata of
// the last decoded slice. Lives in the instance memory the caller hands to ddpi_udc_open.
#ifndef DDPI_ENGINE_DECODER_UDC_INSTANCE_H
#define DDPI_ENGINE_DECODER_UDC_INSTANCE_H

#include <cstddef>
#include <cstdint>

#include "ddpi/ddpi_udc.h"
#include "slice_decoder.h"
#include "slice_metadata.h"
#include "timeslice_assembler.h"

namespace ddpi::udc {

// Bytes of output buffer one time slice needs: every engine slot, a whole slice each.
constexpr std::size_t kOutputBufferBytes =
    std::size_t{kEngineChannels} * kMaxSliceSamples * sizeof(std::int32_t);

class UdcInstance {
 public:
  int SetProcessParam(std::int32_t id, std::int32_t value);
  int SetOutputParam(std::int32_t id, std::int32_t value);
  int AddBytes(const std::uint8_t* bytes, std::size_t size, std::size_t* used,
               std::int32_t* timeslice_complete);
  int ProcessTimeslice(ddpi_udc_pt_op* result);
  int GetTimesliceMetadata(ddpi_udc_timeslice_mdat* metadata) const;
  int GetFrameMetadata(std::int32_t frame_index, ddpi_udc_frame_mdat* metadata) const;

 private:
  DecodeSettings CurrentDecodeSettings() const;
  void Publish(const SliceOutput& output, DecodeResult result, ddpi_udc_pt_op* op) const;

  TimesliceAssembler assembler_;
  SliceDecoder decoder_;
  SliceMetadata metadata_;
  bool has_metadata_ = false;

  // Process parameters.
  bool drc_enabled_ = true;
  int output_bits_ = 24;
  int program_ = 0;
  // Output parameters of output 0.
  int output_mode_ = DDPI_UDC_OUTPUT_MODE_AS_CODED;
  bool output_lfe_ = true;
  int dual_mono_mode_ = 0;
  bool rf_mode_ = false;
  int drc_cut_percent_ = 100;
  int drc_boost_percent_ = 100;
};

}  // namespace ddpi::udc

#endif  // DDPI_ENGINE_DECODER_UDC_INSTANCE_H
