// Channel layouts, label predicates and the texts shown for labels.
#include "tidemark/audio_channel.h"

#include <algorithm>
#include <initializer_list>

namespace tidemark {
namespace {

AudioChannelLayout Layout(std::initializer_list<AudioChannelLabel> labels) {
  AudioChannelLayout layout;
  layout.reserve(labels.size());
  for (AudioChannelLabel label : labels) layout.push_back(AudioChannelDescription(label));
  return layout;
}

struct LabelText {
  AudioChannelLabel label;
  const char* abbreviation;
  const char* description;
  const char* long_description;  // with the position where the short form leaves it open
};

constexpr LabelText kLabelTexts[] = {
    {kAudioChannelLabel_Discrete, "Mono", "Mono", "Mono"},
    {kAudioChannelLabel_Left, "L", "Left", "Left Front"},
    {kAudioChannelLabel_Right, "R", "Right", "Right Front"},
    {kAudioChannelLabel_Center, "C", "Center", "Center Front"},
    {kAudioChannelLabel_LFEScreen, "LFE", "Low Frequency Effects", "Low Frequency Effects"},
    {kAudioChannelLabel_LeftSurround, "Ls", "Left Surround", "Left Surround"},
    {kAudioChannelLabel_RightSurround, "Rs", "Right Surround", "Right Surround"},
    {kAudioChannelLabel_CenterSurround, "Cs", "Center Surround", "Center Surround Rear"},
    {kAudioChannelLabel_LeftCenter, "Lc", "Left Center", "Left Center Front"},
    {kAudioChannelLabel_RightCenter, "Rc", "Right Center", "Right Center Front"},
    {kAudioChannelLabel_LeftSurroundDirect, "Lsd", "Left Surround Direct", "Left Surround Direct Side"},
    {kAudioChannelLabel_RightSurroundDirect, "Rsd", "Right Surround Direct", "Right Surround Direct Side"},
    {kAudioChannelLabel_TopCenterSurround, "Ts", "Top Center Surround", "Top Center Surround Overhead"},
    {kAudioChannelLabel_VerticalHeightLeft, "Vhl", "Vertical Height Left", "Vertical Height Left Front"},
    {kAudioChannelLabel_VerticalHeightRight, "Vhr", "Vertical Height Right", "Vertical Height Right Front"},
    {kAudioChannelLabel_VerticalHeightCenter, "Vhc", "Vertical Height Center", "Vertical Height Center Front"},
    {kAudioChannelLabel_LeftWide, "Lw", "Left Wide", "Left Wide Front"},
    {kAudioChannelLabel_RightWide, "Rw", "Right Wide", "Right Wide Front"},
    {kAudioChannelLabel_RearSurroundLeft, "Lrs", "Rear Surround Left", "Rear Surround Left Back"},
    {kAudioChannelLabel_RearSurroundRight, "Rrs", "Rear Surround Right", "Rear Surround Right Back"},
    {kAudioChannelLabel_LFE2, "LFE2", "Low Frequency Effects 2", "Low Frequency Effects 2"},
    {kAudioChannelLabel_LeftTotal, "Lt", "Left Total", "Left Total (matrix encoded)"},
    {kAudioChannelLabel_RightTotal, "Rt", "Right Total", "Right Total (matrix encoded)"},
};

const LabelText* FindText(AudioChannelLabel label) {
  for (const LabelText& text : kLabelTexts)
    if (text.label == label) return &text;
  return nullptr;
}

constexpr std::pair<AudioChannelLabel, AudioChannelLabel> kStereoPairs[] = {
    {kAudioChannelLabel_Left, kAudioChannelLabel_Right},
    {kAudioChannelLabel_LeftSurround, kAudioChannelLabel_RightSurround},
    {kAudioChannelLabel_LeftCenter, kAudioChannelLabel_RightCenter},
    {kAudioChannelLabel_LeftSurroundDirect, kAudioChannelLabel_RightSurroundDirect},
    {kAudioChannelLabel_VerticalHeightLeft, kAudioChannelLabel_VerticalHeightRight},
    {kAudioChannelLabel_LeftWide, kAudioChannelLabel_RightWide},
    {kAudioChannelLabel_RearSurroundLeft, kAudioChannelLabel_RearSurroundRight},
    {kAudioChannelLabel_LeftTotal, kAudioChannelLabel_RightTotal},
};

}  // namespace

AudioChannelLayout CreateMonoChannelLayout() { return Layout({kAudioChannelLabel_Center}); }

AudioChannelLayout CreateStereoChannelLayout() {
  return Layout({kAudioChannelLabel_Left, kAudioChannelLabel_Right});
}

AudioChannelLayout Create_L_R_C_LFE_ChannelLayout() {
  return Layout({kAudioChannelLabel_Left, kAudioChannelLabel_Right, kAudioChannelLabel_Center,
                 kAudioChannelLabel_LFEScreen});
}

AudioChannelLayout Create_L_R_LFE_Cs_ChannelLayout() {
  return Layout({kAudioChannelLabel_Left, kAudioChannelLabel_Right, kAudioChannelLabel_LFEScreen,
                 kAudioChannelLabel_CenterSurround});
}

AudioChannelLayout Create_L_R_C_LFE_Cs_ChannelLayout() {
  return Layout({kAudioChannelLabel_Left, kAudioChannelLabel_Right, kAudioChannelLabel_Center,
                 kAudioChannelLabel_LFEScreen, kAudioChannelLabel_CenterSurround});
}

AudioChannelLayout Create_L_R_LFE_Ls_Rs_ChannelLayout() {
  return Layout({kAudioChannelLabel_Left, kAudioChannelLabel_Right, kAudioChannelLabel_LFEScreen,
                 kAudioChannelLabel_LeftSurround, kAudioChannelLabel_RightSurround});
}

AudioChannelLayout CreateBroadcast51ChannelLayout() {
  return Layout({kAudioChannelLabel_Left, kAudioChannelLabel_Right, kAudioChannelLabel_Center,
                 kAudioChannelLabel_LFEScreen, kAudioChannelLabel_LeftSurround,
                 kAudioChannelLabel_RightSurround});
}

AudioChannelLayout Create_L_R_LFE_Ls_Rs_Lsd_Rsd_ChannelLayout() {
  return Layout({kAudioChannelLabel_Left, kAudioChannelLabel_Right, kAudioChannelLabel_LFEScreen,
                 kAudioChannelLabel_LeftSurround, kAudioChannelLabel_RightSurround,
                 kAudioChannelLabel_LeftSurroundDirect, kAudioChannelLabel_RightSurroundDirect});
}

AudioChannelLayout Create_L_R_C_LFE_Ls_Rs_Lsd_Rsd_ChannelLayout() {
  return Layout({kAudioChannelLabel_Left, kAudioChannelLabel_Right, kAudioChannelLabel_Center,
                 kAudioChannelLabel_LFEScreen, kAudioChannelLabel_LeftSurround,
                 kAudioChannelLabel_RightSurround, kAudioChannelLabel_LeftSurroundDirect,
                 kAudioChannelLabel_RightSurroundDirect});
}

AudioChannelLayout Create_L_R_C_LFE_Ls_Rs_Cs_ChannelLayout() {
  return Layout({kAudioChannelLabel_Left, kAudioChannelLabel_Right, kAudioChannelLabel_Center,
                 kAudioChannelLabel_LFEScreen, kAudioChannelLabel_LeftSurround,
                 kAudioChannelLabel_RightSurround, kAudioChannelLabel_CenterSurround});
}

AudioChannelLayout CreateMultichannelLayoutWithDefaultLabels(std::size_t channels) {
  const auto L = kAudioChannelLabel_Left, R = kAudioChannelLabel_Right,
             C = kAudioChannelLabel_Center, LFE = kAudioChannelLabel_LFEScreen,
             Ls = kAudioChannelLabel_LeftSurround, Rs = kAudioChannelLabel_RightSurround;
  switch (channels) {
    case 1: return Layout({C});
    case 2: return Layout({L, R});
    case 3: return Layout({L, R, C});
    case 4: return Layout({L, R, Ls, Rs});
    case 5: return Layout({L, R, C, Ls, Rs});
    case 6: return Layout({L, R, C, LFE, Ls, Rs});
    case 7: return Layout({L, R, C, LFE, Ls, Rs, kAudioChannelLabel_CenterSurround});
    case 8:
      return Layout({L, R, C, LFE, Ls, Rs, kAudioChannelLabel_RearSurroundLeft,
                     kAudioChannelLabel_RearSurroundRight});
    default: return AudioChannelLayout(channels, AudioChannelDescription(kAudioChannelLabel_Discrete));
  }
}

bool HasLFEChannel(const AudioChannelLayout& layout) {
  return HasChannelLabel(layout, kAudioChannelLabel_LFEScreen);
}

bool HasChannelLabel(const AudioChannelLayout& layout, AudioChannelLabel label) {
  return std::any_of(layout.begin(), layout.end(),
                     [label](const AudioChannelDescription& d) { return d.label == label; });
}

bool HasChannelLabeling(const AudioChannelLayout& layout) {
  return std::any_of(layout.begin(), layout.end(), [](const AudioChannelDescription& d) {
    return d.label != kAudioChannelLabel_Discrete;
  });
}

bool IsStereoPair(AudioChannelLabel first, AudioChannelLabel second) {
  for (const auto& pair : kStereoPairs)
    if (pair.first == first && pair.second == second) return true;
  return false;
}

bool ContainsSameChannelsIgnoreOrder(const AudioChannelLayout& a, const AudioChannelLayout& b) {
  return a.size() == b.size() && std::is_permutation(a.begin(), a.end(), b.begin());
}

basalt::UTF16String AudioChannelLabelAbbreviations(AudioChannelLabel label) {
  const LabelText* text = FindText(label);
  return basalt::AsciiToUTF16(text ? text->abbreviation : "?");
}

basalt::UTF16String AudioChannelLabelDescription(AudioChannelLabel label, bool long_form) {
  const LabelText* text = FindText(label);
  if (text == nullptr) return basalt::AsciiToUTF16("Unknown");
  return basalt::AsciiToUTF16(long_form ? text->long_description : text->description);
}

}  // namespace tidemark
