// The individual self-checks, one function each, grouped by the file that holds them.
#ifndef DOLBYDIGITAL_UNITTESTS_SELF_CHECK_LIST_H
#define DOLBYDIGITAL_UNITTESTS_SELF_CHECK_LIST_H

#include "dolbydigital/types.h"
#include "proofbench/test_registry.h"

namespace dolbydigital {
namespace selfcheck {

// defaults_checks.cc
void DefaultsOfEveryMode(proofbench::TestContext& t);
void DolbyDigitalDataRates(proofbench::TestContext& t);
// correction_checks.cc
void StereoCorrection(proofbench::TestContext& t);
void UnmatchedLayoutIsRefused(proofbench::TestContext& t);
void OutOfDomainValuesAreCorrected(proofbench::TestContext& t);
// text_checks.cc
void GroupAndParameterTexts(proofbench::TestContext& t);
void ValueNames(proofbench::TestContext& t);
// json_checks.cc
void JSONRoundTrip(proofbench::TestContext& t);
void JSONRefusals(proofbench::TestContext& t);

// Whether a text the library hands out reads `expected` (UTF-8).
inline bool Reads(const UTF16String& text, const char* expected) {
  return text == basalt::UTF8to16(expected);
}

}  // namespace selfcheck
}  // namespace dolbydigital

#define SELF_CHECK(context, condition) PROOFBENCH_CHECK(context, condition)

#endif  // DOLBYDIGITAL_UNITTESTS_SELF_CHECK_LIST_H
