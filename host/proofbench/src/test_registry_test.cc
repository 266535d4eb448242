#include "proofbench/test_registry.h"

#include <stdexcept>

#include <gtest/gtest.h>

namespace proofbench {
namespace {

class TestRegistryTest : public ::testing::Test {
 protected:
  void TearDown() override {
    TestRegistry::Get().UnregisterSuite("alpha");
    TestRegistry::Get().UnregisterSuite("beta");
  }
};

void Passing(TestContext& context) { PROOFBENCH_CHECK(context, 1 + 1 == 2); }

TEST_F(TestRegistryTest, KeepsRegistrationOrderAndRefusesDuplicates) {
  TestRegistry& registry = TestRegistry::Get();
  ASSERT_TRUE(registry.RegisterTest("beta", "second", &Passing));
  ASSERT_TRUE(registry.RegisterTest("alpha", "first", &Passing));
  ASSERT_TRUE(registry.RegisterTest("beta", "third", &Passing));
  EXPECT_FALSE(registry.RegisterTest("beta", "second", &Passing));
  EXPECT_FALSE(registry.RegisterTest("beta", "empty", TestFunction()));
  EXPECT_EQ(registry.ListTests(), (std::vector<std::string>{"beta.second", "alpha.first", "beta.third"}));
  EXPECT_EQ(registry.UnregisterSuite("beta"), 2u);
  EXPECT_EQ(registry.UnregisterSuite("beta"), 0u);
  EXPECT_EQ(registry.ListTests(), (std::vector<std::string>{"alpha.first"}));
}

TEST_F(TestRegistryTest, RunReportsFailuresWithTheirPlace) {
  TestRegistry& registry = TestRegistry::Get();
  registry.RegisterTest("alpha", "pass", &Passing);
  registry.RegisterTest("alpha", "checks", [](TestContext& context) {
    PROOFBENCH_CHECK(context, 2 < 1);
    context.Fail("explicit failure", "here.cc", 7);
    PROOFBENCH_CHECK(context, true);
  });
  const std::vector<TestResult> results = registry.Run("alpha.");
  ASSERT_EQ(results.size(), 2u);
  EXPECT_EQ(results[0].name, "pass");
  EXPECT_TRUE(results[0].passed);
  EXPECT_FALSE(results[1].passed);
  ASSERT_EQ(results[1].failures.size(), 2u);
  EXPECT_NE(results[1].failures[0].find("2 < 1"), std::string::npos);
  EXPECT_NE(results[1].failures[0].find("test_registry_test.cc:"), std::string::npos);
  EXPECT_EQ(results[1].failures[1], "here.cc:7: explicit failure");
}

TEST_F(TestRegistryTest, EscapingExceptionsAreFailures) {
  TestRegistry& registry = TestRegistry::Get();
  registry.RegisterTest("alpha", "throws", [](TestContext& context) {
    PROOFBENCH_CHECK(context, false);
    throw std::runtime_error("engine exploded");
  });
  registry.RegisterTest("alpha", "throws_int", [](TestContext&) { throw 42; });
  const std::vector<TestResult> results = registry.Run("alpha.throws");
  ASSERT_EQ(results.size(), 2u);
  EXPECT_FALSE(results[0].passed);
  ASSERT_EQ(results[0].failures.size(), 2u);  // the check before the throw is kept
  EXPECT_NE(results[0].failures[1].find("engine exploded"), std::string::npos);
  EXPECT_FALSE(results[1].passed);
  EXPECT_EQ(results[1].failures.size(), 1u);
}

TEST_F(TestRegistryTest, FilterSelectsBySubstringAndEmptyRunsAll) {
  TestRegistry& registry = TestRegistry::Get();
  registry.RegisterTest("alpha", "one", &Passing);
  registry.RegisterTest("beta", "two", &Passing);
  EXPECT_EQ(registry.Run("beta").size(), 1u);
  EXPECT_EQ(registry.Run("nothing matches").size(), 0u);
  EXPECT_GE(registry.Run().size(), 2u);
}

TEST_F(TestRegistryTest, ATestMayUseTheRegistryWhileRunning) {
  TestRegistry& registry = TestRegistry::Get();
  registry.RegisterTest("alpha", "lists", [](TestContext& context) {
    PROOFBENCH_CHECK(context, !TestRegistry::Get().ListTests().empty());
  });
  const std::vector<TestResult> results = registry.Run("alpha.lists");
  ASSERT_EQ(results.size(), 1u);
  EXPECT_TRUE(results[0].passed);
}

}  // namespace
}  // namespace proofbench
