#pragma once

#include <string>
#include <string_view>

/// Texts are counted in units of UTF-16 by Foundation and kept in UTF-8 here.
namespace korvel::objc {

/// Of well-formed UTF-8.
std::u16string toUtf16(std::string_view utf8);

/// Of well-formed UTF-16.
std::string toUtf8(std::u16string_view units);

} // namespace korvel::objc
