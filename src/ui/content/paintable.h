#pragma once

#include <string>
#include <string_view>

namespace korvel {

/// A text as it may be laid out on one line, or spoken: each control character, line separator and
/// character that turns the direction of what follows is replaced by U+FFFD, because a process may
/// call itself anything. `text` is UTF-8; the rest of it stays as it is.
std::string paintable(std::string_view text);

} // namespace korvel
