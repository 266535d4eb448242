// dolbye::Decoder: the second format's decoder has the shape of the first and decodes
// nothing; its stream is always empty.
#include "dolbye/decoder.h"

#include <boost/make_shared.hpp>

namespace dolbye {

struct Decoder::Session {
  std::int32_t sampleRate = 0;
  dolbydigital::ChannelLayout channelLayout;
};

Decoder::Decoder() : session_(boost::make_shared<Session>()) {}
Decoder::Decoder(const Decoder& other) = default;
Decoder& Decoder::operator=(const Decoder& other) = default;
Decoder::~Decoder() = default;

bool Decoder::InitializeForDecode(const dolbydigital::ReadCallbackPtr&, int&) { return false; }

bool Decoder::Decode(float**, std::size_t, std::size_t&, int&) { return false; }

tidemark::AudioSampleType Decoder::GetSampleType() const {
  return tidemark::kAudioSampleType_32BitFloat;
}

std::int32_t Decoder::GetSampleRate() const { return session_->sampleRate; }

dolbydigital::ChannelLayout Decoder::GetAudioChannelLayout() const {
  return session_->channelLayout;
}

}  // namespace dolbye
