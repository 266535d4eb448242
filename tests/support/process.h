// Runs a program with arguments (no shell involved) and collects its output.
#ifndef DD_TESTS_SUPPORT_PROCESS_H
#define DD_TESTS_SUPPORT_PROCESS_H

#include <string>
#include <vector>

namespace ddtest {

struct ProcessResult {
  int exit_code = -1;         // -1 when the program could not be started or was killed
  std::string stdout_bytes;   // raw bytes
  std::string stderr_text;
  long peak_rss_kb = 0;       // the child's maximum resident set size
  double wall_seconds = 0;
};

// argv[0] is looked up in PATH. stdout and stderr are read concurrently, so a chatty child
// cannot block on a full pipe.
ProcessResult RunProcess(const std::vector<std::string>& argv);

}  // namespace ddtest

#endif  // DD_TESTS_SUPPORT_PROCESS_H
