#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "platform/code_signature.h"
#include "platform/identity.h"

namespace korvel::platform {

/// Signatures of Linux bundles: `Contents/_CodeSignature/Manifest` lists all that is in the bundle,
/// and `Manifest.p7s` beside it is a detached CMS signature over that list.
///
/// A bundle that another process of the same user changes after it was looked at is not noticed;
/// such a process could as well change the program that looks.
class LinuxCodeSignature final : public CodeSignature {
  public:
    struct Options {
        std::string rootPem; ///< the one certificate to trust; with none, nothing is good
        std::string teamIdentifier = kTeamIdentifier;
        std::string identifier = kBundleIdentifier;
        std::int64_t runningBuild = 0;     ///< only a later one is good
        std::function<std::int64_t()> now; ///< seconds since 1970
    };

    explicit LinuxCodeSignature(Options options)
        : options_(std::move(options)), newestBuild_(options_.runningBuild) {}

    /// Two lines: "Identifier=" and the bundle's, "TeamIdentifier=" and the signer's, or "not set".
    std::optional<std::string> describe(const std::string& bundle) override;

    Status<BundleFault> verifyStrictly(const std::string& bundle, std::int64_t build) override;
    void installed(std::int64_t build) override;

  private:
    Options options_;
    std::int64_t newestBuild_; ///< of the running one and of those that it installed
};

} // namespace korvel::platform
