#pragma once

#include <functional>

#include <QObject>
#include <QVariantMap>

#include "platform/posix/file_descriptor.h"

namespace korvel::platform {

/// Sees to it that the program runs once in a session. The running one owns a name on the session
/// bus and answers there as a desktop application does (org.freedesktop.Application); where there
/// is no session bus it holds a lock in the user's runtime directory.
class SingleInstance final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

  public:
    /// `activated` runs on the main thread each time the program is started once more.
    explicit SingleInstance(std::function<void()> activated);
    ~SingleInstance() override;

    /// Whether this process is now the only one. False: another runs; where there is a bus it has
    /// been asked to come to the front.
    bool acquire();

    /// The D-Bus method: the program has been started once more.
    Q_SLOT Q_SCRIPTABLE void
    Activate(const QVariantMap& platformData); // NOLINT: the interface's name

  private:
    bool acquireLock();

    std::function<void()> activated_;
    FileDescriptor lock_;
};

} // namespace korvel::platform
