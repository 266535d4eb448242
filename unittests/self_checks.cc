#include "unittests/self_checks.h"

#include "unittests/self_check_list.h"

namespace dolbydigital {
namespace {

struct SelfCheck {
  const char* name;
  void (*body)(proofbench::TestContext&);
};

constexpr SelfCheck kSelfChecks[] = {
    {"DefaultsOfEveryMode", selfcheck::DefaultsOfEveryMode},
    {"DolbyDigitalDataRates", selfcheck::DolbyDigitalDataRates},
    {"StereoCorrection", selfcheck::StereoCorrection},
    {"UnmatchedLayoutIsRefused", selfcheck::UnmatchedLayoutIsRefused},
    {"OutOfDomainValuesAreCorrected", selfcheck::OutOfDomainValuesAreCorrected},
    {"GroupAndParameterTexts", selfcheck::GroupAndParameterTexts},
    {"ValueNames", selfcheck::ValueNames},
    {"JSONRoundTrip", selfcheck::JSONRoundTrip},
    {"JSONRefusals", selfcheck::JSONRefusals},
};

}  // namespace

void RegisterSelfChecks() {
  proofbench::TestRegistry& registry = proofbench::TestRegistry::Get();
  for (const SelfCheck& check : kSelfChecks)
    registry.RegisterTest(kSelfCheckSuite, check.name, check.body);
}

void UnregisterSelfChecks() { proofbench::TestRegistry::Get().UnregisterSuite(kSelfCheckSuite); }

}  // namespace dolbydigital
