#pragma once

#include <string_view>

namespace korvel::platform {

/// Whether the bytes are well-formed UTF-8 without control characters.
bool isPlainText(std::string_view bytes);

} // namespace korvel::platform
