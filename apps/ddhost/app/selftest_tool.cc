// ddhost --selftest [FILTER]: runs the self-checks the library registered and reports each
// failure; the exit code is 0 only when every check that ran passed.
#include <cstdio>

#include "proofbench/test_registry.h"
#include "tool.h"

namespace {

void PrintFailure(const proofbench::TestResult& result) {
  std::printf("FAILED %s.%s\n", result.suite.c_str(), result.name.c_str());
  for (const std::string& failure : result.failures) std::printf("    %s\n", failure.c_str());
}

int RunSelfChecks(const std::vector<std::string>& args) {
  const std::string filter = args.empty() ? std::string() : args[0];
  const std::vector<proofbench::TestResult> results = proofbench::TestRegistry::Get().Run(filter);
  std::size_t passed = 0;
  std::size_t failed = 0;
  for (const proofbench::TestResult& result : results) {
    if (result.passed) {
      ++passed;
    } else {
      ++failed;
      PrintFailure(result);
    }
  }
  std::printf("%zu passed, %zu failed\n", passed, failed);
  // Nothing run proves nothing: a filter that matches no check, or a library that
  // registered none, is a failure too.
  if (results.empty()) {
    std::fprintf(stderr, "ddhost: no self-check matches '%s'\n", filter.c_str());
    return 1;
  }
  return failed == 0 ? 0 : 1;
}

}  // namespace

DDHOST_TOOL(selftest, "--selftest", "--selftest [FILTER]",
            "run the library's registered self-checks (those whose name contains FILTER)",
            RunSelfChecks);
