#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/archive.h"
#include "platform/code_signature.h"
#include "platform/digest.h"
#include "platform/simulated/call_log.h"
#include "platform/simulated/file_manager.h"

namespace korvel::platform {

/// An archive that holds entries by name.
class SimulatedArchive final : public Archive, public Logging {
  public:
    explicit SimulatedArchive(SimulatedFileManager& files) : files_(files) {}

    std::vector<std::string> entries{"Korvel.app"};
    Status<ArchiveFault> unpacked; ///< what comes of it

    Status<ArchiveFault> unpack(const std::string& archive, const std::string& folder) override {
        note("unpack " + archive + " " + folder);
        files_.listings[folder] = entries;
        const std::string inside = folder + "/";
        for (const std::string& entry : entries) {
            files_.folders.insert(inside + entry);
        }
        return unpacked;
    }

  private:
    SimulatedFileManager& files_;
};

/// A signature that is as it is told to be.
class SimulatedSignature final : public CodeSignature, public Logging {
  public:
    std::optional<std::string> description = "TeamIdentifier=7QX4D1K9WB\n";
    Status<BundleFault> verified; ///< what comes of a strict look

    std::optional<std::string> describe(const std::string& bundle) override {
        note("describe " + bundle);
        return description;
    }
    Status<BundleFault> verifyStrictly(const std::string& bundle, std::int64_t build) override {
        note("verifyStrictly " + bundle + " " + std::to_string(build));
        return verified;
    }
};

/// Digests of texts that are told beforehand; that of any other is all zeroes.
class SimulatedDigest final : public Digest, public Logging {
  public:
    std::function<Sha256(std::string_view)> digest;

    Sha256 sha256(std::string_view bytes) override {
        note("sha256");
        return digest ? digest(bytes) : Sha256{};
    }
};

} // namespace korvel::platform
