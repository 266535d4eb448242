// Channel configurations against host channel layouts: the library-internal companions of
// the public conversions.
#ifndef DOLBYDIGITAL_PARAMETERS_CHANNEL_CONFIGURATION_H
#define DOLBYDIGITAL_PARAMETERS_CHANNEL_CONFIGURATION_H

#include "dolbydigital/types.h"

namespace dolbydigital {

// The configuration `layout` carries, and whether it has an LFE channel. False (cfg 28)
// when no configuration matches. Channel order matters only for two channels.
bool MatchChannelConfiguration(const ChannelLayout& layout, AudioChannelConfiguration& cfg,
                               bool& lfe);

// Whether audio of `layout` can be carried as `cfg` (with or without LFE as `lfe` says):
// either it is the configuration the layout matches, or the configuration's channels are
// those of the layout. An unlabelled layout is compared by its channel count's usual labels.
bool ConfigurationFitsLayout(int cfg, bool lfe, const ChannelLayout& layout);

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_PARAMETERS_CHANNEL_CONFIGURATION_H
