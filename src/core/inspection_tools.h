#pragma once

#include <string_view>

#include "platform/agents.h"
#include "platform/child_process.h"
#include "platform/swapped_memory.h"

/// Services that a system answers only through the text of one of its tools. Reading that text is
/// a rule like any other, so it lives here and not in a backend.
namespace korvel {

/// What a memory-map summary (`vmmap --summary`) says is swapped out of the process's writable
/// memory, in bytes; 0 when it does not say or the text cannot be read.
double swappedOutInSummary(std::string_view summary);

/// Asks `/usr/bin/vmmap`. Its exit status is not looked at.
class VmmapSwappedMemory final : public platform::SwappedMemory {
  public:
    explicit VmmapSwappedMemory(platform::ChildProcesses& children) : children_(children) {}
    std::optional<double> swappedOut(std::int32_t pid) override;

  private:
    platform::ChildProcesses& children_;
};

/// Asks `/bin/launchctl`: an agent is loaded when its label stands anywhere in the listing. The
/// exit status is not looked at.
class LaunchctlAgents final : public platform::Agents {
  public:
    explicit LaunchctlAgents(platform::ChildProcesses& children) : children_(children) {}
    bool isLoaded(const std::string& label) override;

  private:
    platform::ChildProcesses& children_;
};

} // namespace korvel
