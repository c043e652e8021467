#include "platform/linux/session/environment.h"

#include <filesystem>
#include <system_error>

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

bool carriesQt(const std::string& executable) {
    std::error_code unreadable;
    return !executable.empty() &&
           std::filesystem::exists(std::filesystem::path(executable).replace_filename("qt.conf"),
                                   unreadable);
}

void keepOtherQtOut() {
    for (const char* name :
         {"QT_PLUGIN_PATH", "QT_QPA_PLATFORM_PLUGIN_PATH", "QML_IMPORT_PATH", "QML2_IMPORT_PATH"}) {
        qunsetenv(name);
    }
    // Qt takes the first of the list that is there and finds its display.
    if (const QByteArray platform = qgetenv("QT_QPA_PLATFORM"); !platform.isEmpty()) {
        qputenv("QT_QPA_PLATFORM", platform + ";wayland;xcb");
    }
}

} // namespace

void prepareEnvironment(const std::string& executable) {
    startNoBus();
    if (carriesQt(executable)) {
        keepOtherQtOut();
    }
    keepThemePluginsOut();
}

} // namespace korvel::platform
