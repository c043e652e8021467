#include "platform/linux/session/environment.h"

#include <QGuiApplication>

#include "platform/linux/session/session_bus.h"

namespace korvel::platform {

namespace {

void keepThemePluginsOut() {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORMTHEME")) {
        qputenv("QT_QPA_PLATFORMTHEME", "generic");
        QGuiApplication::setDesktopSettingsAware(false);
    }
}

void startNoBus() {
    if (!sessionBusIsThere()) {
        qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    }
}

} // namespace

void prepareEnvironment() {
    startNoBus();
    keepThemePluginsOut();
}

} // namespace korvel::platform
