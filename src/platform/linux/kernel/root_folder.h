#pragma once

#include <string>

namespace korvel::platform {

/// The folder that holds proc and sys, with a slash at its end.
inline std::string rootFolder(std::string root) {
    if (root.empty() || root.back() != '/') {
        root += '/';
    }
    return root;
}

} // namespace korvel::platform
