#pragma once

#include <functional>

#include <QDBusConnection>
#include <QObject>

#include "platform/child_process.h"
#include "platform/workspace.h"

namespace korvel::platform {

/// Reveals through org.freedesktop.FileManager1 on the session bus, which is never waited for.
/// Where no such service answers, the folder around is opened with xdg-open.
class LinuxWorkspace final : public Workspace {
  public:
    /// On the program's session bus. `children` outlives it.
    explicit LinuxWorkspace(ChildProcesses& children);
    /// On the bus that `bus` returns at each call.
    LinuxWorkspace(ChildProcesses& children, std::function<QDBusConnection()> bus);

    /// `path` is absolute.
    void reveal(const std::string& path) override;

    /// A path that is no folder is the program outside a bundle, and is started itself. It finds
    /// the mark that `takeRelaunchMark` looks for.
    void relaunch(const std::string& bundle) override;

    /// The same, and the popover is asked for: the mark of `takeOpenMark` is there too.
    void relaunchAndOpen(const std::string& bundle);

  private:
    void startAgain(const std::string& bundle, const std::string& marks);
    void openFolderAround(const std::string& path);

    ChildProcesses& children_;
    const std::function<QDBusConnection()> bus_;
    QObject replies_; ///< the context of calls whose answers are still to come
};

/// Whether a relaunch started this process. The mark is taken out of the environment, since what
/// this process starts is no relaunch; so to be called before there is another thread.
bool takeRelaunchMark();

/// Whether that relaunch was to open the popover. Taken out too.
bool takeOpenMark();

/// The address of an absolute path, whatever bytes are in it.
std::string fileUri(const std::string& path);

} // namespace korvel::platform
