#pragma once

#include <string_view>

namespace korvel {

/// Whether `text` is a URL by the grammar of RFC 3986 with the scheme "https", in lower case.
bool isHttpsUrl(std::string_view text);

} // namespace korvel
