#include "platform/linux/session/environment.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <system_error>
#include <vector>

#include <QDir>
#include <QGuiApplication>
#include <QLibraryInfo>
#include <QSessionManager>
#include <QString>
#include <QStringList>

#include "platform/linux/session/bus_probe.h"
#include "platform/linux/session/layer_surface.h"
#include "platform/linux/session/session_bus.h"
#include "platform/linux/session/xwayland_scale.h"

namespace korvel::platform {

namespace {

// Qt, which asks the compositor next, waits without end.
constexpr std::chrono::milliseconds kCompositorPatience(500);

void keepThemePluginsOut() {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORMTHEME")) {
        qputenv("QT_QPA_PLATFORMTHEME", "generic");
        QGuiApplication::setDesktopSettingsAware(false);
    }
}

/// A bus that is not there, or hangs, is none for as long as this process lives.
void leaveBusesOut(std::chrono::milliseconds patience) {
    constexpr const char* kSessionBus = "DBUS_SESSION_BUS_ADDRESS";
    constexpr const char* kSystemBus = "DBUS_SYSTEM_BUS_ADDRESS";
    constexpr const char* kNoBus = "disabled:";
    if (!sessionBusIsThere()) {
        qputenv(kSessionBus, kNoBus);
    }
    const QString systemBus =
        qEnvironmentVariable(kSystemBus, QStringLiteral("unix:path=/run/dbus/system_bus_socket"));
    const std::vector<bool> silent =
        silentBuses({sessionBusAddress().toStdString(), systemBus.toStdString()}, patience);
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

/// Where Qt looks for the plugins that show windows.
QStringList platformPluginFolders(const std::string& executable) {
    if (carriesQt(executable)) {
        const auto contents = std::filesystem::path(executable).parent_path().parent_path();
        return {QString::fromStdString(contents / "plugins/platforms")};
    }
    QStringList folders = qEnvironmentVariable("QT_QPA_PLATFORM_PLUGIN_PATH")
                              .split(QDir::listSeparator(), Qt::SkipEmptyParts);
    QStringList above =
        qEnvironmentVariable("QT_PLUGIN_PATH").split(QDir::listSeparator(), Qt::SkipEmptyParts);
    above += QLibraryInfo::path(QLibraryInfo::PluginsPath);
    for (const QString& folder : above) {
        folders += folder + QStringLiteral("/platforms");
    }
    return folders;
}

bool haveFile(const QStringList& folders, const QString& pattern) {
    for (const QString& folder : folders) {
        if (!QDir(folder).entryList({pattern}, QDir::Files).isEmpty()) {
            return true;
        }
    }
    return false;
}

} // namespace

DisplayChoice prepareDisplay(const std::string& executable) {
    const QStringList folders = platformPluginFolders(executable);
    DisplayFacts facts{
        .wayland = askWayland(kCompositorPatience),
        .x11Named = !qEnvironmentVariableIsEmpty("DISPLAY"),
        .waylandPlugin = haveFile(folders, QStringLiteral("libqwayland*.so")),
        .x11Plugin = haveFile(folders, QStringLiteral("libqxcb.so")),
        .layerBuilt = layerSurfacesAreBuilt(),
        .qtPlatform = qEnvironmentVariable("QT_QPA_PLATFORM").toStdString(),
        .popoverWish = qEnvironmentVariable("KORVEL_POPOVER").toStdString(),
    };
    std::optional<X11Screen> screen;
    std::optional<XwaylandScale> scale;
    facts.xwaylandFits = facts.wayland.has_value();
    if (chooseDisplay(facts) == DisplayChoice::x11) { // if it fits: only then its server is started
        screen = askX11();
        if (screen) {
            scale = xwaylandScale(facts.wayland->outputs, *screen);
        }
        facts.xwaylandFits = scale && scale->sharp;
    }
    const DisplayChoice choice = chooseDisplay(facts);
    if (choice == DisplayChoice::x11 && scale && !screen->tellsScale &&
        !qEnvironmentVariableIsSet("QT_SCALE_FACTOR")) {
        qputenv("QT_SCALE_FACTOR", QByteArray::number(scale->pixelsPerPoint));
    }
    if (facts.qtPlatform.empty() && choice != DisplayChoice::byQt) {
        // The other one, should this one not come up after all.
        qputenv("QT_QPA_PLATFORM", choice == DisplayChoice::x11 ? "xcb;wayland" : "wayland;xcb");
    }
    return choice;
}

void prepareEnvironment(const std::string& executable, std::chrono::milliseconds busPatience) {
    leaveBusesOut(busPatience);
    if (carriesQt(executable)) {
        keepOtherQtOut();
    }
    keepThemePluginsOut();
}

void keepOutOfSavedSessions() {
    // Directly, for the manager is there as long as the signal.
    QObject::connect(
        qGuiApp, &QGuiApplication::saveStateRequest, qGuiApp,
        [](QSessionManager& manager) { manager.setRestartHint(QSessionManager::RestartNever); },
        Qt::DirectConnection);
}

} // namespace korvel::platform
