#pragma once

#include <chrono>
#include <memory>

#include <QDBusConnection>
#include <QObject>
#include <QString>

#include "platform/linux/session/bus_watch.h"

namespace korvel::platform {

/// Where the session bus is by the environment, or else at its usual place; empty: nowhere.
QString sessionBusAddress();

/// Whether the environment names a session bus, or one stands at its usual place. The D-Bus library
/// would start a bus of its own where there is none.
bool sessionBusIsThere();

/// The session bus where it is there, else a connection that is not connected.
QDBusConnection sessionBusIfThere();

/// The program's connection to the session bus, and another one when the bus went away and is back:
/// the library does not connect again. A bus that was not there at first is not looked for.
class SessionBus final : public QObject {
    Q_OBJECT

  public:
    explicit SessionBus(const QDBusConnection& first = sessionBusIfThere(),
                        std::chrono::milliseconds pause = BusWatch::kPause);

    /// The one that the program shares.
    static SessionBus& ofProgram();

    /// Not connected while the bus is away.
    QDBusConnection connection() const;

  Q_SIGNALS:
    /// The bus has gone, with everything that was on it.
    void lost();
    /// It is back, for ten seconds at most, and nobody on it knows the program.
    void returned(const QDBusConnection& bus);

  private Q_SLOTS:
    void firstLost();

  private: // NOLINT(readability-redundant-access-specifiers): to moc the one above is another
    const QDBusConnection first_;
    const std::chrono::milliseconds pause_;
    std::unique_ptr<BusWatch> watch_; ///< null until the first connection is lost
};

} // namespace korvel::platform
