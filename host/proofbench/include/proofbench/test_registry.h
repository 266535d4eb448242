// The host's self-test registry. Plug-ins register named checks in suites; the host runs
// them on demand (ddhost --selftest, CTest) and reports each failure with its place.
#ifndef PROOFBENCH_TEST_REGISTRY_H
#define PROOFBENCH_TEST_REGISTRY_H

#include <cstddef>
#include <string>
#include <vector>

#include <boost/function.hpp>

namespace proofbench {

class TestContext {
 public:
  // Records a failed expectation; the test goes on.
  void Check(bool condition, const char* expression, const char* file, int line);
  void Fail(const std::string& message, const char* file, int line);
  bool Failed() const { return !failures_.empty(); }
  const std::vector<std::string>& Failures() const { return failures_; }

 private:
  std::vector<std::string> failures_;
};

#define PROOFBENCH_CHECK(context, condition) \
  (context).Check(static_cast<bool>(condition), #condition, __FILE__, __LINE__)

using TestFunction = boost::function<void(TestContext&)>;

struct TestResult {
  std::string suite;
  std::string name;
  bool passed = false;
  std::vector<std::string> failures;  // includes an escaped exception's text
};

class TestRegistry {
 public:
  static TestRegistry& Get();

  // False when suite/name is taken or the body is empty.
  bool RegisterTest(const std::string& suite, const std::string& name, const TestFunction& body);
  std::size_t UnregisterSuite(const std::string& suite);  // returns the number removed
  std::vector<std::string> ListTests() const;             // "suite.name", in registration order
  // Runs every test whose "suite.name" contains `filter` (all when empty); an exception
  // escaping a test is a failure of that test.
  std::vector<TestResult> Run(const std::string& filter = std::string()) const;

 private:
  TestRegistry() = default;
};

}  // namespace proofbench

#endif  // PROOFBENCH_TEST_REGISTRY_H
