// Encodes planar 32-bit float PCM into an AC-3 or E-AC-3 elementary stream.
#ifndef DOLBYDIGITAL_ENCODER_H
#define DOLBYDIGITAL_ENCODER_H

#include <cstddef>
#include <cstdint>
#include "dolbydigital/types.h"

namespace dolbydigital {

class Encoder {
 public:
  Encoder();
  Encoder(const Encoder& other);
  Encoder& operator=(const Encoder& other);
  ~Encoder();

  bool InitializeEncode(CodecMode mode, const ParameterMap& params, int& error);
  // planes[c] holds `samples` floats of channel c, in the order of the configuration's layout.
  bool Encode(const float** planes, std::size_t channels, std::size_t samples, ByteVector& out,
              int& error);
  bool FinishEncode(ByteVector& out, int& error);

  static UTF16String GetErrorDescription(int error);

 private:
  struct Session;
  Session* session_;
};

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_ENCODER_H
