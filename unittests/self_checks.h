// The library's built-in self-checks, registered with the host's test registry beside the
// console commands and removed again before the library is unloaded.
#ifndef DOLBYDIGITAL_UNITTESTS_SELF_CHECKS_H
#define DOLBYDIGITAL_UNITTESTS_SELF_CHECKS_H

namespace dolbydigital {

// The suite the checks are registered under.
constexpr char kSelfCheckSuite[] = "dolbydigital";

void RegisterSelfChecks();
void UnregisterSelfChecks();

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_UNITTESTS_SELF_CHECKS_H
