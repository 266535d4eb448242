// Localized texts. A key reads "$$$/<name>=<English default>": the text is looked up by
// <name> in the loaded string table, else the default is used. The text is expanded in one
// pass: placeholders "@0".."@9" become the arguments and the markup "#{deg}", "#{endl}" and
// "#{U+XXXX}" its characters. Argument text is inserted as given, never expanded itself.
#ifndef BASALT_LOCALIZATION_H
#define BASALT_LOCALIZATION_H

#include "basalt/string.h"

namespace basalt {

UTF16String LocalizeString(const char* key, const UTF16String& a0 = UTF16String(),
                           const UTF16String& a1 = UTF16String(),
                           const UTF16String& a2 = UTF16String(),
                           const UTF16String& a3 = UTF16String(),
                           const UTF16String& a4 = UTF16String(),
                           const UTF16String& a5 = UTF16String(),
                           const UTF16String& a6 = UTF16String(),
                           const UTF16String& a7 = UTF16String(),
                           const UTF16String& a8 = UTF16String(),
                           const UTF16String& a9 = UTF16String());

namespace config {

class Localizer {
 public:
  static Localizer& Get();

  // The text for `key` ("$$$/name=default" or a bare name) with markup expanded and
  // placeholders left in place.
  UTF16String Lookup(const char* key) const;
  // The same text before any expansion.
  UTF16String LookupRaw(const char* key) const;

  // Loads a UTF-8 table file of "name=text" lines ("#" starts a comment line; a leading
  // "$$$/" on the name is optional). Entries add to and override those already loaded.
  bool LoadTable(const UTF16String& path);
  void SetEntry(const UTF8String& name, const UTF16String& text);
  void Clear();

 private:
  Localizer();
  struct Table;
  Table* table_;
};

}  // namespace config

// Expands "#{deg}", "#{endl}" and "#{U+XXXX}"; unknown markup is left as it stands.
UTF16String ExpandMarkup(const UTF16String& text);

}  // namespace basalt

#endif  // BASALT_LOCALIZATION_H
