#pragma once

#include "platform/archive.h"
#include "platform/child_process.h"
#include "platform/code_signature.h"

/// Services that a system gives only through one of its tools. How these are called and understood
/// is a rule like any other, so it lives here and not in a backend.
namespace korvel {

/// Unpacks with `/usr/bin/ditto`.
class DittoArchive final : public platform::Archive {
  public:
    explicit DittoArchive(platform::ChildProcesses& children) : children_(children) {}
    Status<platform::ArchiveFault> unpack(const std::string& archive,
                                          const std::string& folder) override;

  private:
    platform::ChildProcesses& children_;
};

/// Asks `/usr/bin/codesign`. The tool knows no builds, so that none is looked at.
class CodesignSignature final : public platform::CodeSignature {
  public:
    explicit CodesignSignature(platform::ChildProcesses& children) : children_(children) {}
    std::optional<std::string> describe(const std::string& bundle) override;
    Status<platform::BundleFault> verifyStrictly(const std::string& bundle,
                                                 std::int64_t build) override;
    void installed(std::int64_t /*build*/) override {}

  private:
    platform::ChildProcesses& children_;
};

/// Has `/bin/sh` wait for a second and then open the bundle. The path is put between double quotes
/// and not looked at further. Nothing waits, and a failure is silent.
void openAfterASecond(platform::ChildProcesses& children, const std::string& bundle);

} // namespace korvel
