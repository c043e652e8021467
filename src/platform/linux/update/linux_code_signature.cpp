#include "platform/linux/update/linux_code_signature.h"

#include <algorithm>

#include <fmt/format.h>

#include "platform/linux/update/bundle_description.h"
#include "platform/linux/update/bundle_manifest.h"
#include "platform/linux/update/bundle_scan.h"
#include "platform/linux/update/cms_signature.h"

namespace korvel::platform {

namespace {

constexpr const char* kExecutable = "Contents/Linux/korvel";

/// The error is the first difference.
Status<BundleFault> compare(const BundleTree& listed, const BundleTree& found) {
    for (const auto& [path, entry] : listed) {
        const auto other = found.find(path);
        if (other == found.end()) {
            return Error{BundleFault::missing, path};
        }
        if (other->second.kind != entry.kind) {
            return Error{BundleFault::otherKind, path};
        }
        if (other->second.mode != entry.mode) {
            return Error{BundleFault::otherMode, path};
        }
        if (other->second.target != entry.target) {
            return Error{BundleFault::otherTarget, path};
        }
        if (!(other->second == entry)) {
            return Error{BundleFault::changed, path};
        }
    }
    for (const auto& [path, entry] : found) {
        if (listed.find(path) == listed.end()) {
            return Error{BundleFault::notListed, path};
        }
    }
    return {};
}

/// Whether the bundle is the one that the manifest lists.
Status<BundleFault> checkContent(const std::string& bundle, const BundleManifest& manifest) {
    const auto found = scanBundle(bundle);
    if (!found) {
        return found.error();
    }
    if (Status<BundleFault> compared = compare(manifest.entries, *found); !compared) {
        return compared;
    }
    if (Status<BundleFault> described = checkDescription(bundle, manifest); !described) {
        return described;
    }
    const auto executable = found->find(kExecutable);
    constexpr std::uint32_t kOwnerRuns = 0100;
    if (executable == found->end() || executable->second.kind != BundleEntryKind::file ||
        (executable->second.mode & kOwnerRuns) == 0) {
        return Error{BundleFault::notAProgram, kExecutable};
    }
    return {};
}

} // namespace

std::optional<std::string> LinuxCodeSignature::describe(const std::string& bundle) {
    const auto text = readInBundle(bundle, kManifestPath, kLargestManifest);
    const auto signature = readInBundle(bundle, kManifestSignaturePath, kLargestSignature);
    const auto claim = text && signature ? readCmsClaim(*signature) : std::nullopt;
    if (!claim) {
        return std::nullopt;
    }
    const auto manifest = readManifest(*text);
    if (!manifest) {
        return std::nullopt;
    }
    return fmt::format("Identifier={}\nTeamIdentifier={}\n", manifest->identifier,
                       claim->team.value_or("not set"));
}

Status<BundleFault> LinuxCodeSignature::verifyStrictly(const std::string& bundle,
                                                       std::int64_t build) {
    const auto text = readInBundle(bundle, kManifestPath, kLargestManifest);
    const auto signature = readInBundle(bundle, kManifestSignaturePath, kLargestSignature);
    if (!text || !signature) {
        return Error{BundleFault::notSigned};
    }
    const auto signer = verifyCms(*signature, *text, options_.rootPem, options_.now());
    if (!signer) {
        return signer.error();
    }
    if (signer->team != options_.teamIdentifier) {
        return Error{BundleFault::otherTeam};
    }
    const auto manifest = readManifest(*text);
    if (!manifest) {
        return manifest.error();
    }
    if (manifest->identifier != options_.identifier) {
        return Error{BundleFault::otherProgram};
    }
    if (manifest->build != build) {
        return Error{BundleFault::otherBuild};
    }
    if (manifest->build <= newestBuild_) {
        return Error{BundleFault::notNewer};
    }
    return checkContent(bundle, *manifest);
}

void LinuxCodeSignature::installed(std::int64_t build) {
    newestBuild_ = std::max(newestBuild_, build);
}

} // namespace korvel::platform
