#include "platform/linux/update/bundle_description.h"

#include <fmt/format.h>

#include "platform/linux/update/bundle_scan.h"
#include "platform/linux/update/info_plist.h"

namespace korvel::platform {

namespace {

constexpr std::size_t kLargestInfoPlist = std::size_t{1} << 20;
constexpr const char* kInfoPlist = "Contents/Info.plist";

bool agrees(const std::string& infoPlist, const BundleManifest& manifest) {
    const auto strings = infoPlistStrings(infoPlist);
    const auto holds = [&](const char* key, const std::string& value) {
        const auto found = strings->find(key);
        return found != strings->end() && found->second == value;
    };
    return strings && holds("CFBundleIdentifier", manifest.identifier) &&
           holds("CFBundleShortVersionString", manifest.version) &&
           holds("CFBundleVersion", fmt::format("{}", manifest.build)) &&
           holds("CFBundleExecutable", "korvel");
}

} // namespace

Status<BundleFault> checkDescription(const std::string& bundle, const BundleManifest& manifest) {
    const auto listed = manifest.entries.find(kInfoPlist);
    const auto description = readInBundle(bundle, kInfoPlist, kLargestInfoPlist);
    // It may have been changed since the bundle was looked at as a whole.
    if (listed == manifest.entries.end() || !description ||
        sha256Of(*description) != listed->second.sha256 || !agrees(*description, manifest)) {
        return Error{BundleFault::descriptionDiffers, kInfoPlist};
    }
    return {};
}

} // namespace korvel::platform
