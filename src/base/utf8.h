#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace korvel {

/// What some programs put before a text in UTF-8. JSON has none; later releases of simdjson pass
/// over it.
inline constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

/// Whether all of `bytes` is well-formed UTF-8.
bool isUtf8(std::string_view bytes);

/// Whether all of `bytes` is well-formed UTF-8 without a control character.
bool isPlainText(std::string_view bytes);

/// How many bytes the control character (U+0000 to U+001F, U+007F to U+009F) takes that `text`, in
/// UTF-8, begins with; 0 when it begins with none.
std::size_t leadingControl(std::string_view text);

/// `bytes` with each ill-formed sequence replaced by one U+FFFD, as Unicode recommends
/// (section 3.9, "substitution of maximal subparts").
std::string decodeUtf8Lossy(std::string_view bytes);

} // namespace korvel
