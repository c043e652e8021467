#pragma once

#include <string>
#include <string_view>

namespace korvel {

/// `text` (UTF-8) with a question mark for each character that a terminal acts on: C0, DEL, and C1
/// (U+0080 to U+009F).
std::string printable(std::string_view text);

} // namespace korvel
