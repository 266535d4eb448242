// Channel labels, channel descriptions and channel layouts of the host's media types.
#ifndef TIDEMARK_AUDIO_CHANNEL_H
#define TIDEMARK_AUDIO_CHANNEL_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "basalt/small_block_allocator.h"
#include "basalt/string.h"

namespace tidemark {

enum AudioChannelLabel : std::int32_t {
  kAudioChannelLabel_Discrete = 0,  // an unlabelled channel
  kAudioChannelLabel_Left = 100,
  kAudioChannelLabel_Right = 101,
  kAudioChannelLabel_Center = 102,
  kAudioChannelLabel_LFEScreen = 103,
  kAudioChannelLabel_LeftSurround = 104,
  kAudioChannelLabel_RightSurround = 105,
  kAudioChannelLabel_CenterSurround = 106,
  kAudioChannelLabel_LeftCenter = 107,
  kAudioChannelLabel_RightCenter = 108,
  kAudioChannelLabel_LeftSurroundDirect = 109,
  kAudioChannelLabel_RightSurroundDirect = 110,
  kAudioChannelLabel_TopCenterSurround = 111,
  kAudioChannelLabel_VerticalHeightLeft = 112,
  kAudioChannelLabel_VerticalHeightRight = 113,
  kAudioChannelLabel_VerticalHeightCenter = 114,
  kAudioChannelLabel_LeftWide = 118,
  kAudioChannelLabel_RightWide = 119,
  kAudioChannelLabel_RearSurroundLeft = 129,
  kAudioChannelLabel_RearSurroundRight = 130,
  kAudioChannelLabel_LFE2 = 131,
  kAudioChannelLabel_LeftTotal = 132,
  kAudioChannelLabel_RightTotal = 133
};

struct AudioChannelDescription {
  AudioChannelLabel label = kAudioChannelLabel_Discrete;

  AudioChannelDescription() = default;
  AudioChannelDescription(AudioChannelLabel l) : label(l) {}  // NOLINT: a label is a description
  AudioChannelLabel GetLabel() const { return label; }
  bool operator==(const AudioChannelDescription& o) const { return label == o.label; }
  bool operator!=(const AudioChannelDescription& o) const { return label != o.label; }
};

using AudioChannelLayout =
    std::vector<AudioChannelDescription, basalt::utility::SmallBlockAllocator<AudioChannelDescription>>;

// Factories: each name lists the labels of the layout in order.
AudioChannelLayout CreateMonoChannelLayout();    // C
AudioChannelLayout CreateStereoChannelLayout();  // L R
AudioChannelLayout Create_L_R_C_LFE_ChannelLayout();
AudioChannelLayout Create_L_R_LFE_Cs_ChannelLayout();
AudioChannelLayout Create_L_R_C_LFE_Cs_ChannelLayout();
AudioChannelLayout Create_L_R_LFE_Ls_Rs_ChannelLayout();
AudioChannelLayout CreateBroadcast51ChannelLayout();  // L R C LFE Ls Rs
AudioChannelLayout Create_L_R_LFE_Ls_Rs_Lsd_Rsd_ChannelLayout();
AudioChannelLayout Create_L_R_C_LFE_Ls_Rs_Lsd_Rsd_ChannelLayout();
AudioChannelLayout Create_L_R_C_LFE_Ls_Rs_Cs_ChannelLayout();
// The usual labels for a plain channel count: 1 C; 2 L R; 3 L R C; 4 L R Ls Rs;
// 5 L R C Ls Rs; 6 L R C LFE Ls Rs; 7 L R C LFE Ls Rs Cs; 8 L R C LFE Ls Rs Lrs Rrs;
// any other count that many unlabelled channels.
AudioChannelLayout CreateMultichannelLayoutWithDefaultLabels(std::size_t channels);

// Predicates.
bool HasLFEChannel(const AudioChannelLayout& layout);  // label 103 present
bool HasChannelLabel(const AudioChannelLayout& layout, AudioChannelLabel label);
bool HasChannelLabeling(const AudioChannelLayout& layout);  // any channel is labelled
// Left member first: L/R, Ls/Rs, Lc/Rc, Lsd/Rsd, Vhl/Vhr, Lw/Rw, Lrs/Rrs, Lt/Rt.
bool IsStereoPair(AudioChannelLabel first, AudioChannelLabel second);
// Same multiset of labels, in any order.
bool ContainsSameChannelsIgnoreOrder(const AudioChannelLayout& a, const AudioChannelLayout& b);

// Short names ("L", "LFE", "Ls", ...) and descriptions ("Left", "Left Surround", ...).
// `long_form` adds the position, e.g. "Left Front". Unknown labels: "?" / "Unknown".
basalt::UTF16String AudioChannelLabelAbbreviations(AudioChannelLabel label);
basalt::UTF16String AudioChannelLabelDescription(AudioChannelLabel label, bool long_form);

}  // namespace tidemark

#endif  // TIDEMARK_AUDIO_CHANNEL_H
