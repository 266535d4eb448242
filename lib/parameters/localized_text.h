// Helpers for the library's user-visible texts. Every text is looked up by the host with a
// key "$$$/corvexa/dolbydigital/<name>=<English default>" and up to ten arguments.
#ifndef DOLBYDIGITAL_PARAMETERS_LOCALIZED_TEXT_H
#define DOLBYDIGITAL_PARAMETERS_LOCALIZED_TEXT_H

#include <initializer_list>

#include "dolbydigital/types.h"

namespace dolbydigital {

// Looks up "$$$/corvexa/dolbydigital/" + `nameAndDefault`, filling "@0".. from `arguments`
// (at most ten; the rest are passed empty).
UTF16String LocalizedText(const char* nameAndDefault,
                          std::initializer_list<UTF16String> arguments = {});
UTF16String LocalizedText(const UTF8String& nameAndDefault,
                          std::initializer_list<UTF16String> arguments = {});

// Numbers as they appear in texts: "%i", and "%llu" for counts.
UTF16String DecimalText(int value);
UTF16String CountText(unsigned long long count);

// The host's short name of a channel label ("L", "LFE", ...) and its plain description.
UTF16String LabelAbbreviation(int label);
UTF16String LabelDescription(int label);

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_PARAMETERS_LOCALIZED_TEXT_H
