// The parameter model: access, channel configurations, domains and defaults, dependencies
// and correction, groups and every text shown for them. No function here fails: unknown
// identifiers and values give neutral results.
#ifndef DOLBYDIGITAL_PARAMETERS_H
#define DOLBYDIGITAL_PARAMETERS_H

#include "dolbydigital/types.h"

namespace dolbydigital {

// Access: -2 for an absent key. SetParameter never adds a key; it returns true when the
// value changed and other parameters depend on this one.
int GetParameter(ParameterID id, const ParameterMap& map);
bool SetParameter(ParameterID id, ParameterMap& map, int value);
const char* GetExtension(CodecMode mode);  // "ec3" or "ac3"

// Channel configurations and layouts.
bool IsValidChannelConfig(CodecMode mode, AudioChannelConfiguration cfg);
ChannelLayout GetAudioChannelLayout(AudioChannelConfiguration cfg, bool lfe);
ChannelLayout GetAudioChannelLayout(const ParameterMap& map);
AudioChannelConfiguration GetAudioChannelConfiguration(const ChannelLayout& layout);

// Domains and defaults.
bool GetParameterInfo(ParameterID id, const ParameterMap& map, ParameterValueSet& values,
                      int& defaultValue, int& lowest, int& highest, const ChannelLayout& layout);
void GetDefaults(CodecMode mode, ParameterMap& map);
void GetDefaults(ParameterMap& map);

// Dependencies and correction.
ParameterIDSet GetParameterDependency(ParameterID id);
bool VerifyAndCorrectParameter(const ChannelLayout& layout, ParameterMap& map);

// Groups and texts.
ParameterGroups GetParameterGroups();
ParameterGroupID GetGroupForParameter(ParameterID id);
UTF16String GetParameterGroupName(ParameterGroupID group);
UTF16String GetParameterName(ParameterID id);
UTF16String GetParameterTooltip(ParameterID id);
UTF16String GetParameterUnit(ParameterID id);
UTF16String GetNameForValue(ParameterID id, int value, const ParameterMap& map);

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_PARAMETERS_H
