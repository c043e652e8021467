#pragma once

#include <string>

namespace korvel::platform {

/// The desktop's hand on files and programs. Nothing here waits, and no failure is reported.
class Workspace {
  public:
    virtual ~Workspace() = default;

    /// Shows the file or folder, selected, in the desktop's file manager.
    virtual void reveal(const std::string& path) = 0;

    /// Starts the program bundle in a second, when this program has ended.
    virtual void relaunch(const std::string& bundle) = 0;
};

} // namespace korvel::platform
