// The session's rules that only an engine with scripted answers can show: the generic
// error forgiven once per read, and what a second initialization keeps.
#include <gtest/gtest.h>

#include <dlfcn.h>

#include <vector>

#include <boost/make_shared.hpp>

#include "decoder/decoder_test_support.h"
#include "dolbydigital/decoder.h"
#include "moduledepot/codec_module_loader.h"
#include "scripted_engine.h"

namespace dolbydigital {
namespace {

ScriptedEngineControl& Control() {
  static ScriptedEngineControl* control = [] {
    ModuleDepot::CodecModuleLoader::SetModulePath(SCRIPTED_ENGINE);
    EXPECT_TRUE(ModuleDepot::CodecModuleLoader::Load());
    void* module = ::dlopen(SCRIPTED_ENGINE, RTLD_NOW | RTLD_NOLOAD);
    auto get = reinterpret_cast<ScriptedEngineControl* (*)()>(
        ::dlsym(module, "scripted_engine_control"));
    return get();
  }();
  control->addbytes_result_count = control->addbytes_result_next = 0;
  return *control;
}

void ScriptAddBytes(std::vector<std::int32_t> results) {
  ScriptedEngineControl& c = Control();
  c.addbytes_result_count = static_cast<int>(results.size());
  c.addbytes_result_next = 0;
  std::copy(results.begin(), results.end(), c.addbytes_results);
}

// Opaque bytes behind a header whose bitstream id (10) the first-frame check passes unchecked.
boost::shared_ptr<test::MemoryReader> Stream(std::size_t bytes) {
  auto reader = boost::make_shared<test::MemoryReader>();
  reader->bytes.assign(bytes, 0);
  reader->bytes[0] = 0x0B;
  reader->bytes[1] = 0x77;
  reader->bytes[5] = 10 << 3;
  return reader;
}

struct Stereo {
  std::vector<float> left, right;
  float* planes[2];
  explicit Stereo(std::size_t frames) : left(frames, -1.0f), right(frames, -1.0f) {
    planes[0] = left.data();
    planes[1] = right.data();
  }
};

float Expected(std::int64_t n, int engineChannel) {
  return static_cast<float>(ScriptedSample(n, engineChannel) / 2147483648.0);
}

TEST(ScriptedEngine, GenericErrorOfAddBytesIsForgivenOncePerRead) {
  Control();
  Decoder decoder;
  int error = -1;
  ASSERT_TRUE(decoder.InitializeForDecode(test::CallbackFor(Stream(1 << 16)), error));
  ASSERT_EQ(decoder.GetAudioChannelLayout().size(), 2u);

  // The first call after each read answers 1001 without taking anything; the retry takes all.
  ScriptAddBytes({1001, 0, 1001, 0, 1001, 0});
  Stereo out(1536);
  std::size_t frames = 1536;
  EXPECT_TRUE(decoder.Decode(out.planes, 2, frames, error));
  EXPECT_EQ(error, 0);
  ASSERT_EQ(frames, 1536u);
  for (std::size_t i = 0; i < frames; i += 97) {
    EXPECT_EQ(out.left[i], Expected(i, 0)) << i;
    EXPECT_EQ(out.right[i], Expected(i, 2)) << i;
  }

  // A second 1001 after the same read ends the call.
  ScriptAddBytes({1001, 1001});
  frames = 1536;
  EXPECT_FALSE(decoder.Decode(out.planes, 2, frames, error));
  EXPECT_EQ(error, DDPI_UDC_ERR_GENERIC);
  EXPECT_EQ(frames, 0u);

  // Any other engine error is never forgiven.
  ScriptAddBytes({DDPI_UDC_ERR_INTERNAL_BUFFER});
  frames = 1536;
  EXPECT_FALSE(decoder.Decode(out.planes, 2, frames, error));
  EXPECT_EQ(error, DDPI_UDC_ERR_INTERNAL_BUFFER);
}

TEST(ScriptedEngine, SecondInitializationStillDeliversTheKeptSamplesFirst) {
  Control();
  Decoder decoder;
  int error = -1;
  ASSERT_TRUE(decoder.InitializeForDecode(test::CallbackFor(Stream(1 << 16)), error));
  Stereo out(1536);
  std::size_t frames = 100;
  ASSERT_TRUE(decoder.Decode(out.planes, 2, frames, error));
  ASSERT_EQ(frames, 100u);

  // The rest of the first slice is still owed; a new initialization does not drop it.
  ASSERT_TRUE(decoder.InitializeForDecode(test::CallbackFor(Stream(1 << 16)), error));
  frames = 1536;
  ASSERT_TRUE(decoder.Decode(out.planes, 2, frames, error));
  ASSERT_EQ(frames, 1536u);
  EXPECT_EQ(out.left[0], Expected(100, 0));
  EXPECT_EQ(out.right[1435], Expected(1535, 2));
  EXPECT_EQ(out.left[1436], Expected(0, 0));  // then the freshly opened engine's first slice
}

}  // namespace
}  // namespace dolbydigital
