#pragma once

#include <vector>

#include <QString>
#include <QStringList>

class QDBusMessage;

namespace korvel::platform {

/// What systemd says of a unit, in its own words.
struct SystemdUnit {
    QString name;
    QString loadState;   ///< "loaded", "not-found", "masked", ...
    QString activeState; ///< "active", "inactive", "failed", ...
    QString subState;    ///< of its type's own: a timer's "waiting", "elapsed", ...
    QString path;        ///< of its object on the bus
};

/// Whether a service in this state is in charge: it runs, is being started, between two attempts
/// too, or takes in its configuration. Not one that is being stopped.
bool isInCharge(const QString& activeState);

/// Whether a timer or path unit in this state starts its service by itself when the time or the
/// file comes. One that is active is not enough: a timer that has elapsed starts nothing any more.
bool isWaiting(const QString& activeState, const QString& subState);

/// Whether the manager has the first of `units`, a service, in charge now, or has one of the
/// others, which trigger it, wait for it. A service that cannot be started is waited for in vain.
bool isLoaded(const std::vector<SystemdUnit>& units);

/// The units in the answer to `ListUnitsByNames`, in the order of the question; none: an error.
std::vector<SystemdUnit> unitsIn(const QDBusMessage& answer);

/// The timers and path units in the answer to a question for a unit's `TriggeredBy`; none too where
/// it is an error. Sockets and mount points are left out: they wait for a client, so nothing is
/// done of the service's own accord.
QStringList waitersIn(const QDBusMessage& answer);

/// Where a unit of that name has its object on the bus, if the name is not an alias.
QString unitPath(const QString& name);

} // namespace korvel::platform
