// The self-test registry: named checks kept in registration order and run on demand.
#include "proofbench/test_registry.h"

#include <algorithm>
#include <exception>
#include <mutex>

namespace proofbench {
namespace {

std::string Place(const char* file, int line) {
  return std::string(file ? file : "?") + ":" + std::to_string(line) + ": ";
}

struct RegisteredTest {
  std::string suite;
  std::string name;
  TestFunction body;
  std::string FullName() const { return suite + "." + name; }
};

struct RegistryState {
  mutable std::mutex mutex;
  std::vector<RegisteredTest> tests;
};

RegistryState& State() {
  // Never destroyed: plug-ins unregister their suites from static destructors.
  static RegistryState* state = new RegistryState();
  return *state;
}

TestResult RunOne(const RegisteredTest& test) {
  TestResult result;
  result.suite = test.suite;
  result.name = test.name;
  TestContext context;
  try {
    test.body(context);
    result.failures = context.Failures();
  } catch (const std::exception& error) {
    result.failures = context.Failures();
    result.failures.push_back(std::string("exception escaped: ") + error.what());
  } catch (...) {
    result.failures = context.Failures();
    result.failures.push_back("unknown exception escaped");
  }
  result.passed = result.failures.empty();
  return result;
}

}  // namespace

void TestContext::Check(bool condition, const char* expression, const char* file, int line) {
  if (!condition) failures_.push_back(Place(file, line) + "check failed: " + (expression ? expression : ""));
}

void TestContext::Fail(const std::string& message, const char* file, int line) {
  failures_.push_back(Place(file, line) + message);
}

TestRegistry& TestRegistry::Get() {
  static TestRegistry* registry = new TestRegistry();
  return *registry;
}

bool TestRegistry::RegisterTest(const std::string& suite, const std::string& name,
                                const TestFunction& body) {
  if (body.empty()) return false;
  RegistryState& state = State();
  std::lock_guard<std::mutex> lock(state.mutex);
  for (const auto& test : state.tests)
    if (test.suite == suite && test.name == name) return false;
  state.tests.push_back(RegisteredTest{suite, name, body});
  return true;
}

std::size_t TestRegistry::UnregisterSuite(const std::string& suite) {
  RegistryState& state = State();
  std::lock_guard<std::mutex> lock(state.mutex);
  const std::size_t before = state.tests.size();
  state.tests.erase(std::remove_if(state.tests.begin(), state.tests.end(),
                                   [&](const RegisteredTest& t) { return t.suite == suite; }),
                    state.tests.end());
  return before - state.tests.size();
}

std::vector<std::string> TestRegistry::ListTests() const {
  RegistryState& state = State();
  std::lock_guard<std::mutex> lock(state.mutex);
  std::vector<std::string> names;
  names.reserve(state.tests.size());
  for (const auto& test : state.tests) names.push_back(test.FullName());
  return names;
}

std::vector<TestResult> TestRegistry::Run(const std::string& filter) const {
  std::vector<RegisteredTest> selected;
  {
    RegistryState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    for (const auto& test : state.tests)
      if (filter.empty() || test.FullName().find(filter) != std::string::npos) selected.push_back(test);
  }
  // Run outside the lock: a test may register or list tests itself.
  std::vector<TestResult> results;
  results.reserve(selected.size());
  for (const auto& test : selected) results.push_back(RunOne(test));
  return results;
}

}  // namespace proofbench
