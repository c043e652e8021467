#pragma once

#include <QDBusConnection>
#include <QObject>

#include "platform/child_process.h"
#include "platform/linux/session/session_bus.h"
#include "platform/workspace.h"

namespace korvel::platform {

/// Reveals through org.freedesktop.FileManager1 on the session bus, which is never waited for.
/// Where no such service answers, the folder around is opened with xdg-open.
class LinuxWorkspace final : public Workspace {
  public:
    /// `children` outlives it.
    explicit LinuxWorkspace(ChildProcesses& children, QDBusConnection bus = sessionBusIfThere());

    /// `path` is absolute.
    void reveal(const std::string& path) override;

    /// What is no folder is started itself: the program outside a bundle.
    void relaunch(const std::string& bundle) override;

  private:
    void openFolderAround(const std::string& path);

    ChildProcesses& children_;
    QDBusConnection bus_;
    QObject replies_; ///< what still waits for an answer goes with it
};

/// The address of an absolute path, whatever bytes are in it.
std::string fileUri(const std::string& path);

} // namespace korvel::platform
