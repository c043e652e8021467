#pragma once

#include <chrono>
#include <functional>

#include <QDBusConnection>
#include <QObject>
#include <QVariantMap>

#include "platform/linux/session/launch_token.h"
#include "platform/posix/file_descriptor.h"

class QDBusConnectionInterface;

namespace korvel::platform {

struct ActivationRequest;

/// Who started this process.
enum class Start {
    ordinary, ///< a user; one that runs already is to come to the front
    session,  ///< the session, by itself; one that runs already is to be left alone
    relaunch, ///< one that runs still, and is about to end for this one
};

/// Sees to it that the program runs once in a session. The running one owns a name on the session
/// bus and answers there as a desktop application does (org.freedesktop.Application), and holds a
/// lock in the user's runtime directory, which decides where there is no session bus.
class SingleInstance final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

  public:
    /// What is waited for, and how long.
    struct Patience {
        std::chrono::milliseconds answer{5000}; ///< one that runs and takes longer hangs
        std::chrono::milliseconds end{30000};   ///< of the one that relaunches
    };

    using Activated = std::function<void(const ActivationRequest& request)>;

    /// `activated` runs on the main thread each time the program is started once more, or asked for
    /// by the desktop, with the token that came along.
    explicit SingleInstance(Activated activated);
    SingleInstance(Activated activated, Patience patience);
    ~SingleInstance() override;

    /// Whether this process is now the only one. False: another runs; where there is a bus it has
    /// been asked to come to the front, and has got this process's token, unless the session
    /// started this one by itself. Runs the event loop while it waits.
    bool acquire(Start start, const LaunchToken& token = {});

    /// The bus is there again, on this connection: takes the name there, without waiting.
    void useBus(const QDBusConnection& bus);

    /// The D-Bus method: the program has been started once more.
    Q_SLOT Q_SCRIPTABLE void
    Activate(const QVariantMap& platformData); // NOLINT: the interface's name

  private:
    bool acquireName(QDBusConnectionInterface& names, Start start, const LaunchToken& token);
    bool acquireLock(Start start);
    bool tryLock();
    bool waitForLock();

    Activated activated_;
    Patience patience_;
    FileDescriptor lock_;
};

} // namespace korvel::platform
