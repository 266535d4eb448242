// The fuzzing harnesses: each feeds arbitrary bytes to one entry point that takes outside
// data, the way a host or a user would reach it. Shared by the libFuzzer targets (one per
// harness, named in kFuzzTargets) and by fuzz_regression_test, which replays every input a
// target once failed on. A harness returns normally on anything the code under test may
// legitimately do (refuse, fail, report an error); a crash, a sanitizer report, an escaping
// exception or a broken promise (checked with FuzzCheck) is a finding.
#ifndef DD_FUZZ_HARNESSES_FUZZ_HARNESSES_H
#define DD_FUZZ_HARNESSES_FUZZ_HARNESSES_H

#include <cstddef>
#include <cstdint>

namespace ddfuzz {

using Harness = void (*)(const std::uint8_t* data, std::size_t size);

// First byte: the read size (1..256 bytes); the rest: the stream. Decoder::InitializeForDecode,
// then Decode to the end.
void DecodeArbitraryBytes(const std::uint8_t* data, std::size_t size);

// First byte: how many chunk sizes follow (1..16); then those sizes (0..255 bytes each,
// handed out in turn by the read callback); the rest: the stream.
void DecodeInRandomChunks(const std::uint8_t* data, std::size_t size);

// First byte: bit 0 selects the encoded text form, bits 1..4 the source layout; the rest:
// the stored text. DeSerializeParameterMap and ParameterFromJSON, then
// VerifyAndCorrectParameter and GetParameterInfo on what was read.
void ReadParameterText(const std::uint8_t* data, std::size_t size);

// The bytes as a WAV file, read to its end by the console's WAV reader.
void ReadWavBytes(const std::uint8_t* data, std::size_t size);

// First byte: which configuration file to pass (none or one of a few); the rest: a WAV file
// encoded by the registered "dolbydigital.Encode" command.
void RunEncodeCommand(const std::uint8_t* data, std::size_t size);

// First byte: engine mode and channel slots; then (id, value) pairs of 5 bytes each, handed
// to ddpi_enc_setparams, followed by a frame of audio through ddpi_enc_process.
void SetEngineParams(const std::uint8_t* data, std::size_t size);

// The bytes as a sound file of any kind libsndfile reads, taken in the way `ddhost encode`
// takes its input: opened, its layout routed to a 5.1 stream, and read to its end.
void ReadSoundFile(const std::uint8_t* data, std::size_t size);

struct FuzzTarget {
  const char* name;  // the libFuzzer executable, its dictionary and its regressions folder
  Harness harness;
};

inline constexpr FuzzTarget kFuzzTargets[] = {
    {"decoder_fuzzer", DecodeArbitraryBytes},
    {"decoder_chunks_fuzzer", DecodeInRandomChunks},
    {"parameter_text_fuzzer", ReadParameterText},
    {"wav_reader_fuzzer", ReadWavBytes},
    {"encode_command_fuzzer", RunEncodeCommand},
    {"engine_setparams_fuzzer", SetEngineParams},
    {"sound_file_fuzzer", ReadSoundFile},
};

// A promise of the code under test; a broken one aborts with the text, like a sanitizer.
void FuzzCheck(bool condition, const char* promise);

}  // namespace ddfuzz

#endif  // DD_FUZZ_HARNESSES_FUZZ_HARNESSES_H
