#include <cstddef>
#include <cstdint>
#include <typeinfo>

#include "basalt/json.h"
#include "dolbydigital/parameters.h"
#include "dolbydigital/persistence.h"
#include "fuzz_harnesses.h"
#include "tidemark/audio_channel.h"

namespace ddfuzz {
namespace {

using namespace dolbydigital;

constexpr int kParameterCount = 24;  // ParameterID 0 .. 23

// The source layouts a settings dialog checks a stored configuration against, including
// ones that match no configuration and unlabelled ones.
ChannelLayout SourceLayout(int choice) {
  switch (choice) {
    case 0: return tidemark::CreateMonoChannelLayout();
    case 1: return tidemark::CreateStereoChannelLayout();
    case 2: return tidemark::Create_L_R_C_LFE_ChannelLayout();
    case 3: return tidemark::Create_L_R_LFE_Ls_Rs_ChannelLayout();
    case 4: return tidemark::CreateBroadcast51ChannelLayout();
    case 5: return tidemark::Create_L_R_C_LFE_Ls_Rs_Lsd_Rsd_ChannelLayout();
    case 6: return tidemark::Create_L_R_C_LFE_Ls_Rs_Cs_ChannelLayout();
    case 7: return tidemark::Create_L_R_C_LFE_Cs_ChannelLayout();
    case 8: return ChannelLayout();
    default: return tidemark::CreateMultichannelLayoutWithDefaultLabels(choice - 8);
  }
}

// Every parameter's domain, as a dialog asks for it. GetParameterInfo's documented
// precondition is a map holding the codec mode and the configuration (it reads them with a
// checked lookup), so a map without them is not asked.
void AskEveryDomain(const ParameterMap& map, const ChannelLayout& layout) {
  if (!map.count(kParameterID_CodecMode) || !map.count(kParameterID_ChannelConfiguration)) return;
  for (int id = -1; id <= kParameterCount; ++id) {
    ParameterValueSet values;
    int defaultValue = 0;
    int lowest = 0;
    int highest = 0;
    GetParameterInfo(static_cast<ParameterID>(id), map, values, defaultValue, lowest, highest,
                     layout);
    GetParameterInfo(static_cast<ParameterID>(id), map, values, defaultValue, lowest, highest,
                     ChannelLayout());
  }
}

// What a host does with a configuration it read: correct it for the source, then build its
// controls from it.
void UseConfiguration(ParameterMap map, const ChannelLayout& layout) {
  AskEveryDomain(map, layout);
  const ParameterMap before = map;
  const bool matched = VerifyAndCorrectParameter(layout, map);
  if (!matched) FuzzCheck(map == before, "an unmatched layout leaves the map as it was");
  AskEveryDomain(map, layout);
}

}  // namespace

void ReadParameterText(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return;
  const bool encoded = data[0] & 1;
  const ChannelLayout layout = SourceLayout((data[0] >> 1) & 15);
  const UTF8String text(reinterpret_cast<const char*>(data + 1), size - 1);

  ParameterMap map{{kParameterID_DialNorm, -12}};
  if (DeSerializeParameterMap(text, encoded, map)) {
    FuzzCheck(map.size() == kParameterCount, "a text that was read gives all parameters");
    UseConfiguration(map, layout);
  } else {
    FuzzCheck(map == ParameterMap{{kParameterID_DialNorm, -12}}, "a refused text leaves the map");
  }

  // The lower-level reader: only the bad cast of a wrongly typed value may escape.
  if (encoded) return;
  const basalt::JSONValuePtr json = basalt::JSONParse(text);
  if (!json) return;
  try {
    UseConfiguration(ParameterFromJSON(*json), layout);
  } catch (const std::bad_cast&) {
  }
}

}  // namespace ddfuzz
