#pragma once

#include <vector>

#include <QString>
#include <QStringList>

#include "platform/linux/session/systemd_unit.h"

class QDBusMessage;

namespace korvel::platform {

/// The units in the answer to `ListUnitsByNames`, in the order of the question; none: an error.
std::vector<SystemdUnit> unitsIn(const QDBusMessage& answer);

/// The timers and path units in the answer to a question for a unit's `TriggeredBy`; none too where
/// it is an error.
QStringList waitersIn(const QDBusMessage& answer);

/// Where a unit of that name has its object on the bus, if the name is not an alias.
QString unitPath(const QString& name);

} // namespace korvel::platform
