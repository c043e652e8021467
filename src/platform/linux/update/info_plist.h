#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace korvel::platform {

/// The strings that the dictionary of an Info.plist holds under its keys; values of other types are
/// left out. nullopt: it is no property list in XML (a binary one is none), its top is no
/// dictionary, it is larger than 1 MiB, or it holds more than 500 dictionaries and arrays.
std::optional<std::map<std::string, std::string>> infoPlistStrings(std::string_view xml);

} // namespace korvel::platform
