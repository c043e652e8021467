#pragma once

#include <functional>
#include <utility>

#include "platform/workspace.h"

namespace korvel::platform {

/// Reveals in the Finder.
class MacosWorkspace final : public Workspace {
  public:
    using Relaunch = std::function<void(const std::string& bundle)>;

    /// `relaunch` starts a bundle once this program has ended: with a tool of the system, whose
    /// calling is no call of AppKit's.
    explicit MacosWorkspace(Relaunch relaunch) : relaunch_(std::move(relaunch)) {}

    void reveal(const std::string& path) override;
    void relaunch(const std::string& bundle) override { relaunch_(bundle); }

  private:
    Relaunch relaunch_;
};

} // namespace korvel::platform
