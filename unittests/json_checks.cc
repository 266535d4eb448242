// Self-checks of the stored form of a configuration.
#include "dolbydigital/parameters.h"
#include "dolbydigital/persistence.h"
#include "unittests/self_check_list.h"

namespace dolbydigital {
namespace selfcheck {

void JSONRoundTrip(proofbench::TestContext& t) {
  ParameterMap map;
  GetDefaults(kCodecMode_DolbyDigital, map);
  SetParameter(kParameterID_DataRate, map, 384);
  for (bool encoded : {false, true}) {
    UTF8String text;
    ParameterMap back;
    SELF_CHECK(t, SerializeParameterMap(map, encoded, text));
    SELF_CHECK(t, DeSerializeParameterMap(text, encoded, back));
    SELF_CHECK(t, back == map);
  }
}

void JSONRefusals(proofbench::TestContext& t) {
  ParameterMap map{{kParameterID_DialNorm, -20}};
  const ParameterMap before = map;
  UTF8String plain;
  SerializeParameterMap(before, false, plain);
  SELF_CHECK(t, !DeSerializeParameterMap(UTF8String(), false, map));
  SELF_CHECK(t, !DeSerializeParameterMap(UTF8String(), true, map));
  SELF_CHECK(t, !DeSerializeParameterMap(UTF8String("{\"DialNorm\":"), false, map));
  SELF_CHECK(t, !DeSerializeParameterMap(UTF8String("{\"DialNorm\":\"31\"}"), false, map));
  SELF_CHECK(t, !DeSerializeParameterMap(plain, true, map));
  SELF_CHECK(t, map == before);
}

}  // namespace selfcheck
}  // namespace dolbydigital
