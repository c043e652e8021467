#pragma once

#include <functional>
#include <string>

namespace korvel {

/// The last step before a text is shown or spoken: says it in the words of the desktop.
using Words = std::function<std::string(std::string)>;

} // namespace korvel
