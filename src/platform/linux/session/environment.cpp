#include "platform/linux/session/environment.h"

#include <QFileInfo>
#include <QGuiApplication>

namespace korvel::platform {

namespace {

void keepThemePluginsOut() {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORMTHEME")) {
        qputenv("QT_QPA_PLATFORMTHEME", "generic");
        QGuiApplication::setDesktopSettingsAware(false);
    }
}

void startNoBus() {
    const bool named = !qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS");
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!named && (runtime.isEmpty() || !QFileInfo::exists(runtime + QStringLiteral("/bus")))) {
        qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    }
}

} // namespace

void settleSurroundings() {
    startNoBus();
    keepThemePluginsOut();
}

} // namespace korvel::platform
