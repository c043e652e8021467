#include "platform/linux/session/environment.h"

#include <chrono>
#include <filesystem>
#include <system_error>
#include <vector>

#include <QGuiApplication>
#include <QString>

#include "platform/linux/session/bus_probe.h"
#include "platform/linux/session/session_bus.h"

namespace korvel::platform {

namespace {

void keepThemePluginsOut() {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORMTHEME")) {
        qputenv("QT_QPA_PLATFORMTHEME", "generic");
        QGuiApplication::setDesktopSettingsAware(false);
    }
}

/// A bus that is not there, or hangs, is none for as long as this process lives.
void leaveBusesOut() {
    constexpr const char* kSessionBus = "DBUS_SESSION_BUS_ADDRESS";
    constexpr const char* kSystemBus = "DBUS_SYSTEM_BUS_ADDRESS";
    constexpr const char* kNoBus = "disabled:";
    constexpr std::chrono::seconds kPatience(1);
    if (!sessionBusIsThere()) {
        qputenv(kSessionBus, kNoBus);
    }
    const QString systemBus =
        qEnvironmentVariable(kSystemBus, QStringLiteral("unix:path=/run/dbus/system_bus_socket"));
    const std::vector<bool> silent =
        silentBuses({sessionBusAddress().toStdString(), systemBus.toStdString()}, kPatience);
    if (silent.front()) {
        qputenv(kSessionBus, kNoBus);
    }
    if (silent.back()) {
        qputenv(kSystemBus, kNoBus);
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
    leaveBusesOut();
    if (carriesQt(executable)) {
        keepOtherQtOut();
    }
    keepThemePluginsOut();
}

} // namespace korvel::platform
