// Design of the encoder's linear-phase FIR filters: the Kaiser window and the windowed-sinc
// low-pass.
#ifndef DDPI_ENGINE_ENCODER_ENC_FIR_DESIGN_H
#define DDPI_ENGINE_ENCODER_ENC_FIR_DESIGN_H

namespace ddpi::enc {

// The Kaiser window of shape `beta` at `offset` from its centre, for a window reaching zero at
// offset +-half_length.
double KaiserWindow(int offset, int half_length, double beta);

// Half of a symmetric low-pass of 2 * half_taps + 1 taps (taps[m] weighs offsets -m and +m,
// m = 0..half_taps): the ideal low-pass with half amplitude at cutoff_hz (48 kHz sampling)
// under a Kaiser window of shape `beta`, normalized to unit gain at 0 Hz.
void DesignWindowedSincLowpass(double cutoff_hz, int half_taps, double beta, float* taps);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_FIR_DESIGN_H
