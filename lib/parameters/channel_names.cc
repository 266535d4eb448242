#include "parameters/channel_names.h"

#include <cstdio>

#include "dolbydigital/parameters.h"
#include "parameters/localized_text.h"

namespace dolbydigital {
namespace {

constexpr std::size_t kMaxNamedChannels = 8;

// Keys after "kAudioChannelConfiguration_", indexed by the acmod configurations 0..7.
constexpr const char* kAcmodNames[] = {"Acmod_11=1/1", "Acmod_10=1/0", "Acmod_20=2/0",
                                       "Acmod_30=3/0", "Acmod_21=2/1", "Acmod_31=3/1",
                                       "Acmod_22=2/2", "Acmod_32=3/2"};

UTF8String ExtendedConfigurationKey(int cfg) {
  char key[64];
  switch (cfg) {
    case kAudioChannelConfiguration_19:
    case kAudioChannelConfiguration_21:
      std::snprintf(key, sizeof key, "%i=3/4", cfg);
      break;
    case kAudioChannelConfiguration_24:
      std::snprintf(key, sizeof key, "%i=3/3", cfg);
      break;
    default:
      std::snprintf(key, sizeof key, "%i=Configuration %i", cfg, cfg);
  }
  return UTF8String(key);
}

UTF16String ShortConfigurationName(int cfg) {
  if (cfg < kAudioChannelConfiguration_Acmod_11 || cfg >= kAudioChannelConfiguration_Unknown)
    return LocalizedText(
        "UnknownAudioChannelConfiguration=Unknown Audio Channel Configuration: @0",
        {DecimalText(cfg)});
  const UTF8String name = cfg < kAudioChannelConfiguration_8 ? UTF8String(kAcmodNames[cfg])
                                                             : ExtendedConfigurationKey(cfg);
  return LocalizedText("kAudioChannelConfiguration_" + name);
}

// "kChannelConfigurationNameTemplate_<n>=@0 @1 ... @<n-1>"
UTF8String LayoutTemplateKey(std::size_t n) {
  UTF8String key("kChannelConfigurationNameTemplate_");
  key += static_cast<char>('0' + n);
  key += '=';
  for (std::size_t k = 0; k < n; ++k) {
    if (k) key += ' ';
    key += '@';
    key += static_cast<char>('0' + k);
  }
  return key;
}

}  // namespace

UTF16String GetChannelLayoutName(const ChannelLayout& layout) {
  const std::size_t n = layout.size();
  if (n == 1) return LabelAbbreviation(layout[0].GetLabel());
  if (n == 0 || n > kMaxNamedChannels)
    return LocalizedText("kChannelConfigurationNameTemplate=@0 Channels", {CountText(n)});
  UTF16String a[kMaxNamedChannels];
  for (std::size_t k = 0; k < n; ++k) a[k] = LabelAbbreviation(layout[k].GetLabel());
  return LocalizedText(LayoutTemplateKey(n), {a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7]});
}

UTF16String GetChannelConfigurationName(AudioChannelConfiguration cfg, bool lfe) {
  return LocalizedText("kChannelConfigurationNameTemplate_Base=@0 (@1)",
                       {ShortConfigurationName(cfg),
                        GetChannelLayoutName(GetAudioChannelLayout(cfg, lfe))});
}

}  // namespace dolbydigital
