#include "console/configuration_file.h"

#include "basalt/file.h"
#include "dolbydigital/parameters.h"
#include "dolbydigital/persistence.h"

namespace dolbydigital {

using basalt::filesupport::File;
using basalt::filesupport::IPlatformByteStream;

UTF8String ReadConfigurationText(const UTF16String& path) {
  const File file(path);
  if (path.empty() || !file.Exists() || file.GetSize() == 0) return UTF8String();
  IPlatformByteStream stream(file, basalt::filesupport::kDefaultStreamBuffer);
  UTF8String text(static_cast<std::size_t>(file.GetSize()), '\0');
  text.resize(stream.ReadBlock(&text[0], text.size()));
  return text;
}

std::string LoadEncodeParameters(const UTF16String& path, ParameterMap& params) {
  GetDefaults(params);
  if (path.empty()) return std::string();
  const std::string name = basalt::ToStdString(path);
  const std::string usingDefaults = "; encoding with the default settings";
  if (!File(path).Exists())
    return "the configuration file " + name + " does not exist" + usingDefaults;
  const UTF8String text = ReadConfigurationText(path);
  if (text.empty()) return "the configuration file " + name + " is empty" + usingDefaults;
  // Plain JSON is what people write; the encoded form is what hosts store.
  if (DeSerializeParameterMap(text, false, params) || DeSerializeParameterMap(text, true, params))
    return std::string();
  return "the configuration file " + name +
         " could not be applied (it must hold a JSON object of parameter names and integers, "
         "e.g. {\"DataRate\": 384})" +
         usingDefaults;
}

}  // namespace dolbydigital
