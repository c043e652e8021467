#pragma once

#include <functional>
#include <string>

namespace korvel {

/// The last step before a text is shown or spoken: says it in the words of the desktop.
using Words = std::function<std::string(std::string)>;

/// A sentence for a tooltip on which of the two is kept awake; empty: there is none to say.
using AwakeWords = std::function<std::string(bool display, bool system)>;

} // namespace korvel
