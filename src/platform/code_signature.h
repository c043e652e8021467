#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/bundle_fault.h"

namespace korvel::platform {

/// Signatures of program bundles. Blocks.
class CodeSignature {
  public:
    virtual ~CodeSignature() = default;

    /// A text on who signed the bundle, with "TeamIdentifier=" and the signer's team in it; nullopt
    /// when it is not signed. Tells nothing of whether the signature is good.
    virtual std::optional<std::string> describe(const std::string& bundle) = 0;

    /// Checks that the signature is good and covers all that is in the bundle. Where the signature
    /// binds the build, it must be `build`, and greater than every one that runs or was installed.
    virtual Status<BundleFault> verifyStrictly(const std::string& bundle, std::int64_t build) = 0;

    /// To be called when a bundle of this build was put in place by this process.
    virtual void installed(std::int64_t build) = 0;
};

} // namespace korvel::platform
