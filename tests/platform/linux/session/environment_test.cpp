#include "platform/linux/session/environment.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <QByteArray>

#include "platform/posix/file_descriptor.h"
#include "support/temp_tree.h"

namespace korvel::platform {
namespace {

/// What a program in the folder makes of a variable; "none": it is not set.
std::string prepared(const char* name, const char* value, const std::string& executable) {
    qputenv(name, value);
    prepareEnvironment(executable, std::chrono::milliseconds(100));
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

TEST(Environment, ABusThatSaysNothingIsLeftOut) {
    const TempTree tree;
    const std::string path = tree.root() + "/bus";
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    std::copy(path.begin(), path.end(), std::begin(name.sun_path));
    const FileDescriptor mute(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    ASSERT_EQ(::bind(mute.get(), reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
    ASSERT_EQ(::listen(mute.get(), 8), 0);
    const std::string silent = "unix:path=" + path;
    for (const char* bus : {"DBUS_SESSION_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS"}) {
        EXPECT_EQ(prepared(bus, silent.c_str(), ""), "disabled:");
        EXPECT_EQ(prepared(bus, "unix:path=/not/there", ""), "unix:path=/not/there");
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
