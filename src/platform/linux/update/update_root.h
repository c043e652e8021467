#pragma once

#include <string_view>

namespace korvel::platform {

/// The certificate that updates are to be signed under, in PEM, as it was built in; empty when none
/// was. Made by the build: see korvel_update_root() beside this header.
std::string_view builtInUpdateRoot();

} // namespace korvel::platform
