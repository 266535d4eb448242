// Spectral flatness: the geometric over the arithmetic mean of the power of a range of
// transform bins, near 0 for a few stable partials and about 0.5 for noise. The encoder asks it
// whether an upper band is tonal (spectral extension) and whether an onset is (block switching).
#ifndef DDPI_ENGINE_ENCODER_ENC_FLATNESS_H
#define DDPI_ENGINE_ENCODER_ENC_FLATNESS_H

namespace ddpi::enc {

// Flatness of bins [begin, end) over `blocks` sets of coefficients (each under 2 in
// magnitude), every power raised by `floor` (at least 1e-30) so that silence stays finite; 1
// for an empty range.
double SpectralFlatness(const float* const* coef, int blocks, int begin, int end, double floor);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_FLATNESS_H
