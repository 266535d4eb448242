// Cuts an AC-3 / E-AC-3 elementary stream into access units for a container: one AC-3
// sync frame, or one E-AC-3 independent frame with the dependent frames that follow it.
// The sizes come from each frame's header (frmsizecod and fscod for AC-3, frmsiz for E-AC-3).
#ifndef DDHOST_SYNC_FRAMES_H
#define DDHOST_SYNC_FRAMES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ddhost {

struct AccessUnit {
  std::vector<std::uint8_t> bytes;
  int samples = 0;  // audio samples per channel it decodes to
};

class SyncFrameSplitter {
 public:
  // Takes more stream bytes; complete access units are appended to `units`. False (with
  // `error`) when the bytes are not a stream of sync frames.
  bool Add(const std::uint8_t* bytes, std::size_t size, std::vector<AccessUnit>& units,
           std::string& error);
  // The last access unit at the end of the stream; false when bytes of a cut frame remain.
  bool Finish(std::vector<AccessUnit>& units, std::string& error);

 private:
  bool TakeFrames(std::vector<AccessUnit>& units, std::string& error);

  std::vector<std::uint8_t> pending_;
  AccessUnit current_;
};

}  // namespace ddhost

#endif  // DDHOST_SYNC_FRAMES_H
