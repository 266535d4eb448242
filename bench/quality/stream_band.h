// The coded band of each frame of an AC-3 or E-AC-3 elementary stream, read from the stream
// rather than guessed from the decoded signal: where block 0 ends the mantissas of its
// full-bandwidth channels, its coupling range or its extended range, whichever reaches
// highest. A decoded signal cannot tell a band that ends with sparse partials from one coded
// higher around them; the stream says which.
#ifndef DDPI_BENCH_QUALITY_STREAM_BAND_H
#define DDPI_BENCH_QUALITY_STREAM_BAND_H

#include <cstdint>
#include <vector>

namespace ddpi::bench {

// Per frame of independent substream 0 (or of every AC-3 frame), the bin after the highest
// coded one (256 bins of 93.75 Hz at 48 kHz), in stream order; -1 for a frame whose block 0
// uses syntax this reader leaves alone (enhanced coupling, the adaptive hybrid transform,
// default extension band structures). Stops at the first byte that does not start a frame.
std::vector<int> CodedBandTops(const std::vector<std::uint8_t>& stream);

}  // namespace ddpi::bench

#endif  // DDPI_BENCH_QUALITY_STREAM_BAND_H
