#pragma once

#include <string>
#include <utility>

#include "platform/child_process.h"
#include "platform/program_loader.h"

namespace korvel::platform {

/// Asks the system's loader for the list of what the program loads (`--list`), at which it maps the
/// libraries and runs nothing of them.
class LinuxProgramLoader final : public ProgramLoader {
  public:
    struct Options {
        /// The kind of display in use, as Qt names it ("xcb", "wayland"). A bundle that brings
        /// plugins for displays must bring one for this kind, which loads. "": none is looked for.
        std::string display = {};
        std::string own = "/proc/self/exe"; ///< a program that runs here
        double patience = 10;               ///< seconds until the loader is ended
    };

    /// `children` outlives it.
    LinuxProgramLoader(ChildProcesses& children, Options options)
        : children_(children), options_(std::move(options)) {}

    Status<LoadFault> check(const std::string& bundle) override;

  private:
    Status<LoadFault> checkPlugin(const std::string& bundle, const std::string& interpreter);
    Status<LoadFault> trace(const std::string& interpreter, const std::string& object);

    ChildProcesses& children_;
    Options options_;
};

} // namespace korvel::platform
