#include "moduledepot/codec_module_loader.h"

#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace ModuleDepot {
namespace {

using Loader = CodecModuleLoader;

// Every forwarding function with throw-away arguments; returns the codes in call order.
std::vector<int> CallEveryFunction() {
  return {
      Loader::ddpi_enc_query(nullptr),
      Loader::ddpi_enc_querymem(nullptr, nullptr),
      Loader::ddpi_enc_open(nullptr, nullptr, nullptr, nullptr, nullptr),
      Loader::ddpi_enc_setparams(nullptr, 0, 0, nullptr),
      Loader::ddpi_enc_process(nullptr, nullptr, nullptr),
      Loader::ddpi_enc_close(nullptr),
      Loader::ddpi_udc_query(nullptr),
      Loader::ddpi_udc_query_mem(nullptr, nullptr),
      Loader::ddpi_udc_open(nullptr, nullptr, nullptr),
      Loader::ddpi_udc_setprocessparam(nullptr, 0, nullptr, 0),
      Loader::ddpi_udc_setoutparam(nullptr, 0, 0, nullptr, 0),
      Loader::ddpi_udc_addbytes(nullptr, nullptr, 0, 0, nullptr, nullptr),
      Loader::ddpi_udc_processtimeslice(nullptr, nullptr),
      Loader::ddpi_udc_gettimeslice_mdat(nullptr, 0, nullptr),
      Loader::ddpi_udc_getframe_mdat(nullptr, 0, 0, nullptr),
      Loader::ddpi_udc_close(nullptr),
  };
}

const std::vector<int> kNotLoadedCodes = {1, 1, 1, 1, 1, 1, 1001, 1001, 1001, 1001,
                                          1001, 1001, 1001, 1001, 1001, 1001};

class CodecModuleLoaderTest : public ::testing::Test {
 protected:
  void TearDown() override {
    Loader::Unload();
    Loader::SetModulePath(std::string());
  }
};

TEST_F(CodecModuleLoaderTest, DefaultModuleSitsNextToTheLoaderLibrary) {
  Loader::SetModulePath(std::string());
  EXPECT_EQ(Loader::GetModulePath(), std::string(MODULEDEPOT_LIBRARY_DIR) + "/libddpi_engine.so");
}

TEST_F(CodecModuleLoaderTest, MissingModuleLeavesEveryFunctionReportingTheGenericError) {
  Loader::SetModulePath("/nonexistent/folder/libddpi_engine.so");
  EXPECT_FALSE(Loader::Load());
  EXPECT_FALSE(Loader::IsLoaded());
  EXPECT_NE(Loader::GetLastError().find("/nonexistent/folder/libddpi_engine.so"), std::string::npos);
  EXPECT_EQ(CallEveryFunction(), kNotLoadedCodes);
}

TEST_F(CodecModuleLoaderTest, LoadedModuleReceivesEveryCall) {
  Loader::SetModulePath(FAKE_ENGINE_COMPLETE);
  ASSERT_TRUE(Loader::Load()) << Loader::GetLastError();
  EXPECT_TRUE(Loader::IsLoaded());
  EXPECT_EQ(Loader::GetModulePath(), FAKE_ENGINE_COMPLETE);
  EXPECT_EQ(Loader::GetLastError(), "");
  EXPECT_EQ(CallEveryFunction(), (std::vector<int>{201, 202, 203, 204, 205, 206, 301, 302, 303,
                                                   3040000, 3050000, 306, 307, 308, 309, 310}));
}

TEST_F(CodecModuleLoaderTest, ArgumentsAndResultsPassThroughUnchanged) {
  Loader::SetModulePath(FAKE_ENGINE_COMPLETE);
  ASSERT_TRUE(Loader::Load()) << Loader::GetLastError();

  ddpi_enc_query_op_s* caps = new ddpi_enc_query_op_s();
  EXPECT_EQ(Loader::ddpi_enc_query(caps), 201);
  EXPECT_EQ(caps->version, 4242);
  delete caps;

  ddpi_enc_static_params_s setup{1, 6};
  ddpi_enc_querymem_op_s memory{};
  EXPECT_EQ(Loader::ddpi_enc_querymem(&setup, &memory), 202);
  EXPECT_EQ(memory.memory_size, 6000u);

  alignas(32) unsigned char pool_bytes[64];
  ddpi_enc_memory_pool_s pool{sizeof pool_bytes, pool_bytes};
  ddpi_enc_handle encoder = nullptr;
  int messages = 0;
  auto count_message = [](int, const char*, const char*, int, void* context) { ++*static_cast<int*>(context); };
  EXPECT_EQ(Loader::ddpi_enc_open(&encoder, &setup, &pool, count_message, &messages), 203);
  EXPECT_EQ(static_cast<void*>(encoder), static_cast<void*>(pool_bytes));
  EXPECT_EQ(messages, 1);

  const ddpi_enc_param_s params[] = {{DDPI_ENC_PARAM_DIALNORM, 27}};
  EXPECT_EQ(Loader::ddpi_enc_setparams(encoder, 3, 1, params), 2040000 + 300 + 1 + 27);

  ddpi_udc_handle decoder = nullptr;
  EXPECT_EQ(Loader::ddpi_udc_open(nullptr, pool_bytes, &decoder), 303);
  EXPECT_EQ(static_cast<void*>(decoder), static_cast<void*>(pool_bytes));
  EXPECT_EQ(Loader::ddpi_udc_setprocessparam(decoder, 7, nullptr, 4), 3040000 + 700 + 4);
  EXPECT_EQ(Loader::ddpi_udc_setoutparam(decoder, 2, 6, nullptr, 4), 3050000 + 200 + 6);
  std::size_t used = 0;
  std::int32_t complete = 0;
  EXPECT_EQ(Loader::ddpi_udc_addbytes(decoder, pool_bytes, 17, 0, &used, &complete), 306);
  EXPECT_EQ(used, 17u);
  EXPECT_EQ(complete, 1);
  ddpi_udc_frame_mdat frame{};
  EXPECT_EQ(Loader::ddpi_udc_getframe_mdat(decoder, 5, DDPI_UDC_MDAT_FRAME_BSI, &frame), 309);
  EXPECT_EQ(frame.frame_size, 5);
}

TEST_F(CodecModuleLoaderTest, ModuleLackingASymbolIsRefusedAndNamed) {
  Loader::SetModulePath(FAKE_ENGINE_INCOMPLETE);
  EXPECT_FALSE(Loader::Load());
  EXPECT_FALSE(Loader::IsLoaded());
  EXPECT_NE(Loader::GetLastError().find("ddpi_udc_getframe_mdat"), std::string::npos) << Loader::GetLastError();
  EXPECT_EQ(CallEveryFunction(), kNotLoadedCodes);
}

TEST_F(CodecModuleLoaderTest, UnloadAndReloadAnotherModule) {
  Loader::SetModulePath(FAKE_ENGINE_COMPLETE);
  ASSERT_TRUE(Loader::Load());
  Loader::Unload();
  EXPECT_FALSE(Loader::IsLoaded());  // no silent reload after an explicit unload
  EXPECT_EQ(Loader::ddpi_enc_close(nullptr), DDPI_ENC_ERR_FATAL);
  ASSERT_TRUE(Loader::Load());
  EXPECT_EQ(Loader::ddpi_enc_close(nullptr), 206);
  // A failing reload leaves nothing half loaded.
  Loader::SetModulePath(FAKE_ENGINE_INCOMPLETE);
  EXPECT_FALSE(Loader::Load());
  EXPECT_EQ(Loader::ddpi_enc_close(nullptr), DDPI_ENC_ERR_FATAL);
}

// The first use of the loader in a process loads the module on its own. Each case runs in a
// fresh child process, where nothing has touched the loader yet.
class CodecModuleLoaderFirstUseTest : public ::testing::Test {
 protected:
  void SetUp() override { ::testing::FLAGS_gtest_death_test_style = "threadsafe"; }
};

TEST_F(CodecModuleLoaderFirstUseTest, FirstIsLoadedLoadsOnceForAllThreads) {
  EXPECT_EXIT(
      {
        Loader::SetModulePath(FAKE_ENGINE_COMPLETE);
        std::atomic<int> loaded{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i) threads.emplace_back([&] { loaded += Loader::IsLoaded() ? 1 : 0; });
        for (auto& thread : threads) thread.join();
        std::exit(loaded == 8 && Loader::ddpi_udc_close(nullptr) == 310 ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(CodecModuleLoaderFirstUseTest, FirstForwardedCallLoadsToo) {
  EXPECT_EXIT(
      {
        Loader::SetModulePath(FAKE_ENGINE_COMPLETE);
        std::exit(Loader::ddpi_enc_query(nullptr) == 201 ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(CodecModuleLoaderFirstUseTest, FailedFirstAttemptIsNotRepeatedBehindTheHostsBack) {
  EXPECT_EXIT(
      {
        Loader::SetModulePath("/nonexistent/libddpi_engine.so");
        const bool first = Loader::IsLoaded();
        Loader::SetModulePath(FAKE_ENGINE_COMPLETE);
        const bool second = Loader::IsLoaded();  // still the first attempt's answer
        const bool explicit_load = Loader::Load();
        std::exit(!first && !second && explicit_load && Loader::IsLoaded() ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace ModuleDepot
