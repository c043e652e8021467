#include "platform/linux/session/replaced_toolkit.h"

#include <fstream>
#include <string_view>

#include <unistd.h>

namespace korvel::platform {

bool toolkitWasReplaced(const std::string& maps) {
    constexpr std::string_view kLibrary = "/libQt6";
    constexpr std::string_view kDeleted = " (deleted)"; // as the kernel says it
    bool replaced = false;
    std::ifstream file(maps);
    for (std::string line; std::getline(file, line);) {
        const std::size_t start = line.find('/');
        if (start == std::string::npos || !line.ends_with(kDeleted) ||
            line.find(kLibrary, start) == std::string::npos) {
            continue;
        }
        const std::string path = line.substr(start, line.size() - kDeleted.size() - start);
        if (::access(path.c_str(), R_OK) != 0) {
            return false; // in the middle of an upgrade, or removed for good
        }
        replaced = true;
    }
    return replaced;
}

} // namespace korvel::platform
