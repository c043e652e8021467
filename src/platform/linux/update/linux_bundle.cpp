#include "platform/linux/update/linux_bundle.h"

#include <array>
#include <climits>
#include <string_view>
#include <utility>

#include <unistd.h>

#include "platform/linux/update/info_plist.h"
#include "platform/posix/files.h"

namespace korvel::platform {

std::string LinuxBundle::around(const std::string& executable) {
    constexpr std::string_view kPlace = "/Contents/Linux/korvel";
    constexpr std::string_view kSuffix = ".app";
    if (!executable.ends_with(kPlace)) {
        return {};
    }
    std::string bundle = executable.substr(0, executable.size() - kPlace.size());
    const std::string_view name = std::string_view(bundle).substr(bundle.rfind('/') + 1);
    return name.size() > kSuffix.size() && name.ends_with(kSuffix) ? bundle : std::string();
}

namespace {

/// Whether a package manager has left its mark where it installs an executable's data.
bool isPackaged(const std::string& executable) {
    const std::size_t end = executable.rfind('/');
    return end != std::string::npos &&
           ::access((executable.substr(0, end) + "/../share/korvel/package-type").c_str(), F_OK) ==
               0;
}

} // namespace

LinuxBundle::LinuxBundle(const std::string& executable, Strings ownStrings) {
    const std::string bundle = around(executable);
    isBundle_ = !bundle.empty();
    path_ = isBundle_ ? bundle : executable;
    managedElsewhere_ = !isBundle_ && isPackaged(executable);
    if (!isBundle_) {
        strings_ = std::move(ownStrings);
    } else if (const auto description = PosixFiles().read(path_ + "/Contents/Info.plist")) {
        strings_ = infoPlistStrings(*description).value_or(Strings());
    }
}

std::string LinuxBundle::runningExecutable() {
    std::array<char, PATH_MAX> path;
    const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
    if (length <= 0 || static_cast<std::size_t>(length) == path.size()) {
        return {};
    }
    return {path.data(), static_cast<std::size_t>(length)};
}

std::optional<std::string> LinuxBundle::infoString(const std::string& key) {
    const auto found = strings_.find(key);
    if (found == strings_.end()) {
        return std::nullopt;
    }
    return found->second;
}

bool LinuxBundle::parentWritable() {
    if (!isBundle_) {
        return false;
    }
    const std::string parent = path_.substr(0, path_.rfind('/') + 1);
    return ::access(parent.c_str(), W_OK | X_OK) == 0;
}

} // namespace korvel::platform
