#include "platform/linux/update/relative_path.h"

#include <algorithm>

#include "base/utf8.h"

namespace korvel::platform {

namespace {

constexpr std::size_t kLongestName = 255;

} // namespace

bool isPlainRelativePath(std::string_view path) {
    if (path.empty() || path.size() > kLongestBundlePath || !isPlainText(path)) {
        return false;
    }
    if (path.back() == '/') {
        path.remove_suffix(1);
    }
    std::size_t depth = 0;
    for (;;) {
        const std::size_t slash = path.find('/');
        const std::string_view name = path.substr(0, slash);
        if (name.empty() || name == "." || name == ".." || name.size() > kLongestName ||
            name.find('\\') != std::string_view::npos || ++depth > kDeepestBundlePath) {
            return false;
        }
        if (slash == std::string_view::npos) {
            return true;
        }
        path.remove_prefix(slash + 1);
    }
}

bool linkStaysInside(std::string_view path, std::string_view target) {
    if (target.empty() || target.front() == '/' || target.size() > kLongestBundlePath ||
        !isPlainText(target)) {
        return false;
    }
    auto foldersAbove = std::count(path.begin(), path.end(), '/');
    bool onlyUp = true;
    for (;;) {
        const std::size_t slash = target.find('/');
        const std::string_view name = target.substr(0, slash);
        if (name == "..") {
            if (!onlyUp || --foldersAbove < 0) {
                return false;
            }
        } else if (!name.empty() && name != ".") {
            onlyUp = false;
        }
        if (slash == std::string_view::npos) {
            return true;
        }
        target.remove_prefix(slash + 1);
    }
}

} // namespace korvel::platform
