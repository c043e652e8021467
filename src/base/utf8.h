#pragma once

#include <string>
#include <string_view>

namespace korvel {

/// Whether all of `bytes` is well-formed UTF-8.
bool isUtf8(std::string_view bytes);

/// `bytes` with each ill-formed sequence replaced by one U+FFFD, as Unicode recommends
/// (section 3.9, "substitution of maximal subparts").
std::string decodeUtf8Lossy(std::string_view bytes);

} // namespace korvel
