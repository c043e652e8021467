#include "platform/linux/session/environment.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <QByteArray>

#include "support/temp_tree.h"

namespace korvel::platform {
namespace {

/// What a program in the folder makes of a variable; "none": it is not set.
std::string prepared(const char* name, const char* value, const std::string& executable) {
    qputenv(name, value);
    prepareEnvironment(executable);
    const QByteArray kept = qgetenv(name);
    const bool isSet = qEnvironmentVariableIsSet(name);
    qunsetenv(name);
    return isSet ? kept.toStdString() : "none";
}

TEST(Environment, ProgramThatCarriesItsQtLoadsNoOther) {
    struct Row {
        const char* name;
        const char* value;
        std::string carried; ///< what becomes of it where Qt is carried along
    };
    const std::vector<Row> rows{
        {"QT_PLUGIN_PATH", "/opt/qt/plugins", "none"},
        {"QT_QPA_PLATFORM_PLUGIN_PATH", "/opt/qt/plugins/platforms", "none"},
        {"QML_IMPORT_PATH", "/opt/qt/qml", "none"},
        {"QML2_IMPORT_PATH", "/opt/qt/qml", "none"},
        {"QT_QPA_PLATFORM", "wayland-egl", "wayland-egl;wayland;xcb"},
        {"QT_QPA_PLATFORM", "xcb", "xcb;wayland;xcb"},
        {"QT_QPA_PLATFORM", "", ""},
        {"QT_QPA_PLATFORMTHEME", "kde", "kde"},
        {"QT_SCALE_FACTOR", "2", "2"},
    };
    const TempTree carried;
    carried.write("Contents/Linux/qt.conf", "[Paths]\n");
    const TempTree bare;
    for (const Row& row : rows) {
        EXPECT_EQ(prepared(row.name, row.value, carried.root() + "/Contents/Linux/korvel"),
                  row.carried)
            << row.name;
        EXPECT_EQ(prepared(row.name, row.value, bare.root() + "/korvel"), row.value) << row.name;
        EXPECT_EQ(prepared(row.name, row.value, ""), row.value) << row.name;
    }
}

TEST(Environment, PlatformIsNotNamedWhereTheUserNamesNone) {
    const TempTree carried;
    carried.write("qt.conf", "[Paths]\n");
    qunsetenv("QT_QPA_PLATFORM");
    prepareEnvironment(carried.root() + "/korvel");
    EXPECT_FALSE(qEnvironmentVariableIsSet("QT_QPA_PLATFORM"));
}

} // namespace
} // namespace korvel::platform
