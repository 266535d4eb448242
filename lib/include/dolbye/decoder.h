// The decoder for the second format. It has the shape of dolbydigital::Decoder but decodes
// nothing: initialization and decoding always fail, and the stream is always empty.
#ifndef DOLBYE_DECODER_H
#define DOLBYE_DECODER_H

#include "dolbydigital/decoder.h"

namespace dolbye {

class Decoder {
 public:
  Decoder();
  Decoder(const Decoder& other);
  Decoder& operator=(const Decoder& other);
  ~Decoder();

  bool InitializeForDecode(const dolbydigital::ReadCallbackPtr& reader, int& error);
  bool Decode(float** planes, std::size_t channelCount, std::size_t& frames, int& error);

  tidemark::AudioSampleType GetSampleType() const;
  std::int32_t GetSampleRate() const;
  dolbydigital::ChannelLayout GetAudioChannelLayout() const;

 private:
  struct Session;
  boost::shared_ptr<Session> session_;
};

}  // namespace dolbye

#endif  // DOLBYE_DECODER_H
