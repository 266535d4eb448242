// Which configurations each codec mode carries, the host layout of every configuration,
// and the matching of a host layout to a configuration.
#include "parameters/channel_configuration.h"

#include <algorithm>

#include "dolbydigital/parameters.h"

namespace dolbydigital {
namespace {

using namespace tidemark;

constexpr int kConfigurationCount = 28;
// Room for the largest configuration, so building a layout allocates once.
constexpr std::size_t kMaxLayoutChannels = 8;

ChannelLayout DualMonoLayout() {
  return ChannelLayout(2, AudioChannelDescription(kAudioChannelLabel_Discrete));
}

ChannelLayout CentreOnlyLayout() {
  return ChannelLayout(1, AudioChannelDescription(kAudioChannelLabel_Center));
}

struct ConfigurationLayout {
  ChannelLayout (*base)();
  AudioChannelLabel extras[2];  // kAudioChannelLabel_Discrete marks an unused place
};

// Indexed by configuration: the host layout it starts from and the labels appended to it.
const ConfigurationLayout kConfigurationLayouts[kConfigurationCount] = {
    {DualMonoLayout, {}},
    {CentreOnlyLayout, {}},
    {CreateStereoChannelLayout, {}},
    {Create_L_R_C_LFE_ChannelLayout, {}},
    {Create_L_R_LFE_Cs_ChannelLayout, {}},
    {Create_L_R_C_LFE_Cs_ChannelLayout, {}},
    {Create_L_R_LFE_Ls_Rs_ChannelLayout, {}},
    {CreateBroadcast51ChannelLayout, {}},
    {Create_L_R_C_LFE_ChannelLayout, {kAudioChannelLabel_VerticalHeightCenter}},
    {Create_L_R_LFE_Ls_Rs_ChannelLayout, {kAudioChannelLabel_TopCenterSurround}},
    {CreateBroadcast51ChannelLayout, {kAudioChannelLabel_TopCenterSurround}},
    {CreateBroadcast51ChannelLayout, {kAudioChannelLabel_VerticalHeightCenter}},
    {Create_L_R_C_LFE_ChannelLayout,
     {kAudioChannelLabel_LeftCenter, kAudioChannelLabel_RightCenter}},
    {Create_L_R_LFE_Ls_Rs_ChannelLayout,
     {kAudioChannelLabel_LeftWide, kAudioChannelLabel_RightWide}},
    {Create_L_R_LFE_Ls_Rs_ChannelLayout,
     {kAudioChannelLabel_VerticalHeightLeft, kAudioChannelLabel_VerticalHeightRight}},
    {Create_L_R_LFE_Ls_Rs_Lsd_Rsd_ChannelLayout, {}},
    {Create_L_R_LFE_Ls_Rs_ChannelLayout,
     {kAudioChannelLabel_RearSurroundLeft, kAudioChannelLabel_RearSurroundRight}},
    {CreateBroadcast51ChannelLayout,
     {kAudioChannelLabel_LeftCenter, kAudioChannelLabel_RightCenter}},
    {CreateBroadcast51ChannelLayout, {kAudioChannelLabel_LeftWide, kAudioChannelLabel_RightWide}},
    {CreateBroadcast51ChannelLayout,
     {kAudioChannelLabel_VerticalHeightLeft, kAudioChannelLabel_VerticalHeightRight}},
    {Create_L_R_C_LFE_Ls_Rs_Lsd_Rsd_ChannelLayout, {}},
    {CreateBroadcast51ChannelLayout,
     {kAudioChannelLabel_RearSurroundLeft, kAudioChannelLabel_RearSurroundRight}},
    {CreateBroadcast51ChannelLayout,
     {kAudioChannelLabel_TopCenterSurround, kAudioChannelLabel_VerticalHeightCenter}},
    {Create_L_R_LFE_Ls_Rs_ChannelLayout, {kAudioChannelLabel_CenterSurround}},
    {Create_L_R_C_LFE_Ls_Rs_Cs_ChannelLayout, {}},
    {Create_L_R_LFE_Ls_Rs_ChannelLayout,
     {kAudioChannelLabel_CenterSurround, kAudioChannelLabel_TopCenterSurround}},
    {Create_L_R_C_LFE_Ls_Rs_Cs_ChannelLayout, {kAudioChannelLabel_VerticalHeightCenter}},
    {Create_L_R_C_LFE_Ls_Rs_Cs_ChannelLayout, {kAudioChannelLabel_TopCenterSurround}},
};

void RemoveFirstLFE(ChannelLayout& layout) {
  const auto lfe = std::find(layout.begin(), layout.end(),
                             AudioChannelDescription(kAudioChannelLabel_LFEScreen));
  if (lfe != layout.end()) layout.erase(lfe);
}

struct Candidates {
  int count;
  int configurations[16];
};

// Indexed by channel count: the configurations with that many channels (LFE counted or
// not), in tie-break order.
const Candidates kCandidatesByChannelCount[kMaxLayoutChannels + 1] = {
    {0, {}},
    {0, {}},
    {0, {}},
    {2, {3, 4}},
    {5, {3, 4, 5, 6, 8}},
    {7, {5, 6, 8, 7, 9, 12, 23}},
    {12, {7, 9, 12, 23, 10, 11, 13, 14, 15, 16, 24, 25}},
    {16, {10, 11, 13, 14, 15, 16, 24, 25, 17, 18, 19, 20, 21, 22, 26, 27}},
    {8, {17, 18, 19, 20, 21, 22, 26, 27}},
};

AudioChannelConfiguration ToConfiguration(int value) {
  return static_cast<AudioChannelConfiguration>(value);
}

}  // namespace

bool IsValidChannelConfig(CodecMode mode, AudioChannelConfiguration cfg) {
  // Signed comparisons on purpose: negative configurations pass the "below 8" test.
  const std::int32_t c = cfg;
  switch (mode) {
    case kCodecMode_DolbyDigitalPlus: return c < 8 || c == 19 || c == 21 || c == 24;
    case kCodecMode_DolbyDigital:
    case kCodecMode_Bluray_Primary: return c < 8;
    case kCodecMode_Bluray_Secondary: return c == 1 || c == 2 || c == 7;
    default: return false;
  }
}

ChannelLayout GetAudioChannelLayout(AudioChannelConfiguration cfg, bool lfe) {
  ChannelLayout layout;
  layout.reserve(kMaxLayoutChannels);
  const int index = cfg;
  if (index < 0 || index >= kConfigurationCount) return layout;
  const ConfigurationLayout& shape = kConfigurationLayouts[index];
  const ChannelLayout base = shape.base();
  layout.insert(layout.end(), base.begin(), base.end());
  for (AudioChannelLabel extra : shape.extras)
    if (extra != kAudioChannelLabel_Discrete) layout.push_back(AudioChannelDescription(extra));
  if (!lfe) RemoveFirstLFE(layout);
  return layout;
}

ChannelLayout GetAudioChannelLayout(const ParameterMap& map) {
  const auto cfg = map.find(kParameterID_ChannelConfiguration);
  const auto lfe = map.find(kParameterID_EnableLFE);
  // An absent LFE flag means the layout carries LFE.
  return GetAudioChannelLayout(
      ToConfiguration(cfg == map.end() ? kAudioChannelConfiguration_Unknown : cfg->second),
      lfe == map.end() || lfe->second != 0);
}

bool MatchChannelConfiguration(const ChannelLayout& layout, AudioChannelConfiguration& cfg,
                               bool& lfe) {
  cfg = kAudioChannelConfiguration_Unknown;
  lfe = HasLFEChannel(layout);
  const std::size_t n = layout.size();
  if (n == 1) {
    cfg = kAudioChannelConfiguration_Acmod_10;
  } else if (n == 2) {
    cfg = IsStereoPair(layout[0].GetLabel(), layout[1].GetLabel())
              ? kAudioChannelConfiguration_Acmod_20
              : kAudioChannelConfiguration_Acmod_11;
  } else if (n <= kMaxLayoutChannels) {
    const Candidates& row = kCandidatesByChannelCount[n];
    for (int i = 0; i < row.count; ++i) {
      const int candidate = row.configurations[i];
      if (ContainsSameChannelsIgnoreOrder(layout,
                                          GetAudioChannelLayout(ToConfiguration(candidate), lfe))) {
        cfg = ToConfiguration(candidate);
        break;
      }
    }
  }
  return cfg != kAudioChannelConfiguration_Unknown;
}

AudioChannelConfiguration GetAudioChannelConfiguration(const ChannelLayout& layout) {
  AudioChannelConfiguration cfg;
  bool lfe;
  MatchChannelConfiguration(layout, cfg, lfe);
  return cfg;
}

bool ConfigurationFitsLayout(int cfg, bool lfe, const ChannelLayout& layout) {
  AudioChannelConfiguration matched;
  bool matchedLfe;
  if (MatchChannelConfiguration(layout, matched, matchedLfe) && matched == cfg) return true;
  const ChannelLayout candidate = GetAudioChannelLayout(ToConfiguration(cfg), lfe);
  if (HasChannelLabeling(layout)) return ContainsSameChannelsIgnoreOrder(layout, candidate);
  return ContainsSameChannelsIgnoreOrder(CreateMultichannelLayoutWithDefaultLabels(layout.size()),
                                         candidate);
}

}  // namespace dolbydigital
