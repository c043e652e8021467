#pragma once

#include <string>
#include <string_view>

namespace korvel::platform {

/// A method's type encoding, in the notation of the Objective-C runtime, without the places that it
/// gives its arguments on the stack: "v24@0:8@16" is "v@:@". A text that is no encoding loses
/// what would be places in one.
std::string withoutOffsets(std::string_view encoding);

} // namespace korvel::platform
