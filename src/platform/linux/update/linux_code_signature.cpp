#include "platform/linux/update/linux_code_signature.h"

#include <fmt/format.h>

#include "platform/linux/update/bundle_manifest.h"
#include "platform/linux/update/bundle_scan.h"
#include "platform/linux/update/cms_signature.h"
#include "platform/linux/update/info_plist.h"

namespace korvel::platform {

namespace {

constexpr std::size_t kLargestInfoPlist = std::size_t{1} << 20;
constexpr std::size_t kLargestSignature = std::size_t{1} << 20;
constexpr const char* kInfoPlist = "Contents/Info.plist";
constexpr const char* kExecutable = "Contents/Linux/korvel";

/// The first difference, by path; empty when the trees are the same.
std::string difference(const BundleTree& listed, const BundleTree& found) {
    for (const auto& [path, entry] : listed) {
        const auto other = found.find(path);
        if (other == found.end()) {
            return path + ": is missing";
        }
        if (other->second.kind != entry.kind) {
            return path + ": is of another kind";
        }
        if (other->second.mode != entry.mode) {
            return path + ": has another mode";
        }
        if (other->second.target != entry.target) {
            return path + ": leads elsewhere";
        }
        if (!(other->second == entry)) {
            return path + ": is changed";
        }
    }
    for (const auto& [path, entry] : found) {
        if (listed.find(path) == listed.end()) {
            return path + ": is not in the manifest";
        }
    }
    return {};
}

/// Whether the bundle says of itself what the manifest says of it.
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

/// Why the bundle is not the one that the manifest lists; empty when it is.
std::string contentFault(const std::string& bundle, const BundleManifest& manifest) {
    std::string why;
    const auto found = scanBundle(bundle, why);
    if (!found) {
        return why;
    }
    if (std::string different = difference(manifest.entries, *found); !different.empty()) {
        return different;
    }
    const auto listed = found->find(kInfoPlist);
    const auto description = readInBundle(bundle, kInfoPlist, kLargestInfoPlist);
    if (listed == found->end() || !description || sha256Of(*description) != listed->second.sha256 ||
        !agrees(*description, manifest)) {
        return "Contents/Info.plist: does not agree with the manifest";
    }
    const auto executable = found->find(kExecutable);
    constexpr std::uint32_t kOwnerRuns = 0100;
    if (executable == found->end() || executable->second.kind != BundleEntryKind::file ||
        (executable->second.mode & kOwnerRuns) == 0) {
        return std::string(kExecutable) + ": is no program";
    }
    return {};
}

} // namespace

std::optional<std::string> LinuxCodeSignature::describe(const std::string& bundle) {
    const auto text = readInBundle(bundle, kManifestPath, kLargestManifest);
    const auto signature = readInBundle(bundle, kManifestSignaturePath, kLargestSignature);
    const auto manifest = text && signature ? readManifest(*text) : std::nullopt;
    const auto claim = manifest ? readCmsClaim(*signature) : std::nullopt;
    if (!claim) {
        return std::nullopt;
    }
    return fmt::format("Identifier={}\nTeamIdentifier={}\n", manifest->identifier,
                       claim->team.value_or("not set"));
}

std::optional<std::string> LinuxCodeSignature::fault(const std::string& bundle,
                                                     std::int64_t build) const {
    const auto text = readInBundle(bundle, kManifestPath, kLargestManifest);
    const auto signature = readInBundle(bundle, kManifestSignaturePath, kLargestSignature);
    if (!text || !signature) {
        return "the bundle is not signed";
    }
    std::string why;
    const auto signer = verifyCms(*signature, *text, options_.rootPem, options_.now(), why);
    if (!signer) {
        return why;
    }
    if (signer->team != options_.teamIdentifier) {
        return "the signer is of another team";
    }
    const auto manifest = readManifest(*text);
    if (!manifest) {
        return "the manifest cannot be read";
    }
    if (manifest->identifier != options_.identifier) {
        return "the bundle is another program";
    }
    if (manifest->build != build) {
        return "the bundle is another build";
    }
    if (manifest->build <= options_.runningBuild) {
        return "the bundle is not newer than this program";
    }
    why = contentFault(bundle, *manifest);
    return why.empty() ? std::nullopt : std::optional(std::move(why));
}

} // namespace korvel::platform
