// Decodes an AC-3 or E-AC-3 elementary stream, pulled through a read callback, into planar
// 32-bit float PCM. Copies of a Decoder share one session.
#ifndef DOLBYDIGITAL_DECODER_H
#define DOLBYDIGITAL_DECODER_H

#include <cstddef>
#include <cstdint>

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>

#include "dolbydigital/types.h"
#include "tidemark/audio_sample_type.h"

namespace dolbydigital {

// Called with a buffer and its capacity; sets `size` to the bytes written; false at the end.
using ReadCallback = boost::function<bool(std::uint8_t* buffer, std::size_t& size)>;
using ReadCallbackPtr = boost::shared_ptr<ReadCallback>;

class Decoder {
 public:
  Decoder();
  Decoder(const Decoder& other);
  Decoder& operator=(const Decoder& other);
  ~Decoder();

  bool InitializeForDecode(const ReadCallbackPtr& reader, int& error);
  // On entry `frames` is the capacity of every plane; on return the samples written.
  bool Decode(float** planes, std::size_t channelCount, std::size_t& frames, int& error);

  tidemark::AudioSampleType GetSampleType() const;
  std::int32_t GetSampleRate() const;
  ChannelLayout GetAudioChannelLayout() const;
  bool GetParameters(ParameterMap& params) const;

  static UTF16String GetErrorDescription(int error);

 private:
  struct Session;
  boost::shared_ptr<Session> session_;
};

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_DECODER_H
