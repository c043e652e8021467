#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/archive.h"
#include "platform/code_signature.h"
#include "platform/digest.h"
#include "platform/program_loader.h"
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
        note("unpack ", archive, " ", folder);
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
    Status<BundleFault> verified;     ///< what comes of a strict look
    std::vector<std::int64_t> builds; ///< that were told to be in place

    std::optional<std::string> describe(const std::string& bundle) override {
        note("describe ", bundle);
        return description;
    }
    Status<BundleFault> verifyStrictly(const std::string& bundle, std::int64_t build) override {
        note("verifyStrictly ", bundle, " ", build);
        return verified;
    }
    void installed(std::int64_t build) override { builds.push_back(build); }
};

/// A machine on which programs start, unless it is told otherwise.
class SimulatedProgramLoader final : public ProgramLoader, public Logging {
  public:
    Status<LoadFault> loads; ///< what comes of a check

    Status<LoadFault> check(const std::string& bundle) override {
        note("load ", bundle);
        return loads;
    }
};

/// Digests of texts that are told beforehand; that of any other is all zeroes.
class SimulatedDigest final : public Digest, public Logging {
  public:
    explicit SimulatedDigest(SimulatedFiles& files) : files_(files) {}

    std::function<Sha256(std::string_view)> digest;

    std::optional<Sha256> sha256OfFile(const std::string& path) override {
        const std::optional<std::string> bytes = files_.read(path);
        if (!bytes) {
            return std::nullopt;
        }
        note("sha256 ", path);
        return digest ? digest(*bytes) : Sha256{};
    }

  private:
    SimulatedFiles& files_;
};

} // namespace korvel::platform
