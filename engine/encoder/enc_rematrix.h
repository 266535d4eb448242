// Rematrixing of a 2/0 programme (A/52 sections 7.5 and 8.2.7): in each of the four
// rematrixing bands the encoder may code L' = (L+R)/2 and R' = (L-R)/2 instead of L and R,
// which the decoder undoes with L = L'+R', R = L'-R'. It pays when the pair is nearly mono or
// nearly antiphase, where one of the sums carries little energy.
#ifndef DDPI_ENGINE_ENCODER_ENC_REMATRIX_H
#define DDPI_ENGINE_ENCODER_ENC_REMATRIX_H

#include <cstdint>

namespace ddpi::enc {

constexpr int kRematrixBands = 4;

// Decides per band whether rematrixing lowers the energy of the weaker channel, applies it to
// left/right in place for bins below `end`, and returns the flags.
void RematrixBlock(float* left, float* right, int end, uint8_t flags[kRematrixBands]);

// Rematrixing flags a block sends: four, or with coupling in use only the bands below the
// coupling range (three when it begins at sub-band 1 or 2, two when it begins at 0).
constexpr int RematrixBandCount(bool cplinu, int cplbegf) {
  return !cplinu || cplbegf > 2 ? 4 : (cplbegf > 0 ? 3 : 2);
}

// The rematrixing band of a bin, -1 below the first.
int RematrixBandOf(int bin);

}  // namespace ddpi::enc

#endif  // DDPI_ENGINE_ENCODER_ENC_REMATRIX_H
