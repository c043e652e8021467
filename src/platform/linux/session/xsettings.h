#pragma once

#include <QByteArrayView>
#include <QVariantMap>

namespace korvel::platform {

/// The settings that a desktop's daemon has put on the X server (XSETTINGS), by their names: texts
/// and whole numbers; colours are left out. What does not keep to the form ends them.
QVariantMap xsettings(QByteArrayView property);

} // namespace korvel::platform
