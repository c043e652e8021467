#include "platform/linux/session/replaced_toolkit.h"

#include <fstream>
#include <string_view>

#include <unistd.h>

namespace korvel::platform {

namespace {

/// Whether the library is there, in this version or another one: "libQt6Core.so.6.4.2" is of one
/// version, "libQt6Core.so.6" leads to whichever is installed.
bool isInstalled(const std::string& path) {
    constexpr std::string_view kSuffix = ".so.";
    const std::size_t suffix = path.rfind(kSuffix);
    const std::string link = suffix == std::string::npos
                                 ? path
                                 : path.substr(0, path.find('.', suffix + kSuffix.size()));
    return ::access(path.c_str(), R_OK) == 0 || ::access(link.c_str(), R_OK) == 0;
}

} // namespace

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
        if (!isInstalled(line.substr(start, line.size() - kDeleted.size() - start))) {
            return false; // in the middle of an upgrade, or removed for good
        }
        replaced = true;
    }
    return replaced;
}

} // namespace korvel::platform
