// Readable names of channel configurations and channel layouts.
#ifndef DOLBYDIGITAL_PARAMETERS_CHANNEL_NAMES_H
#define DOLBYDIGITAL_PARAMETERS_CHANNEL_NAMES_H

#include "dolbydigital/types.h"

namespace dolbydigital {

// "<short name> (<channels>)", e.g. "3/2 (L R C Ls Rs)".
UTF16String GetChannelConfigurationName(AudioChannelConfiguration cfg, bool lfe);
// The channels' abbreviations separated by blanks; "<n> Channels" beyond eight or for none.
UTF16String GetChannelLayoutName(const ChannelLayout& layout);

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_PARAMETERS_CHANNEL_NAMES_H
