// A host program built only from the installed package: it reads the parameter model and
// encodes one second of a tone with the installed engine.
#include <cmath>
#include <cstdio>
#include <vector>

#include "dolbydigital/dolbydigital.h"

int main() {
  using namespace dolbydigital;
  ParameterMap params;
  GetDefaults(kCodecMode_DolbyDigital, params);
  if (params.size() != 24 || GetParameter(kParameterID_DataRate, params) != 192) {
    std::fprintf(stderr, "unexpected defaults\n");
    return 1;
  }
  if (!VerifyAndCorrectParameter(tidemark::CreateStereoChannelLayout(), params)) return 1;

  Encoder encoder;
  int error = 0;
  if (!encoder.InitializeEncode(kCodecMode_DolbyDigital, params, error)) {
    std::fprintf(stderr, "InitializeEncode: %s\n",
                 basalt::ToStdString(Encoder::GetErrorDescription(error)).c_str());
    return 1;
  }
  std::vector<float> left(48000), right(48000);
  for (size_t i = 0; i < left.size(); ++i) left[i] = right[i] = 0.25f * std::sin(0.05f * i);
  const float* planes[] = {left.data(), right.data()};
  ByteVector bytes, tail;
  if (!encoder.Encode(planes, 2, left.size(), bytes, error) || !encoder.FinishEncode(tail, error)) {
    std::fprintf(stderr, "encoding failed: %d\n", error);
    return 1;
  }
  const size_t total = bytes.size() + tail.size();
  if (total == 0 || bytes[0] != 0x0B || bytes[1] != 0x77) return 1;
  std::printf("encoded %zu bytes with the installed library\n", total);
  return 0;
}
