#include "platform/linux/session/linux_workspace.h"

#include <utility>

#include <sys/stat.h>

#include <QByteArray>
#include <QStringList>

#include "platform/linux/session/bus_object.h"

namespace korvel::platform {

namespace {

constexpr const char* kRelaunchMark = "KORVEL_RELAUNCH";

bool isFolder(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

std::string fileUri(const std::string& path) {
    // By its bytes: a URL of the toolkit's is made from text, which a path need not be.
    return "file://" + QByteArray::fromStdString(path).toPercentEncoding("/").toStdString();
}

LinuxWorkspace::LinuxWorkspace(ChildProcesses& children, QDBusConnection bus)
    : children_(children), bus_(std::move(bus)) {}

void LinuxWorkspace::openFolderAround(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    children_.start("/usr/bin/xdg-open",
                    {slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash)});
}

void LinuxWorkspace::reveal(const std::string& path) {
    if (!bus_.isConnected()) {
        openFolderAround(path);
        return;
    }
    const BusObject fileManager(bus_, QStringLiteral("org.freedesktop.FileManager1"),
                                QStringLiteral("/org/freedesktop/FileManager1"),
                                QStringLiteral("org.freedesktop.FileManager1"),
                                Activation::allowed);
    const QStringList uris(QString::fromStdString(fileUri(path)));
    const QString noStartupNotice;
    fileManager.ask("ShowItems", {uris, noStartupNotice}, replies_,
                    [this, path](const QDBusMessage& answer) {
                        if (answer.type() == QDBusMessage::ErrorMessage) {
                            openFolderAround(path);
                        }
                    });
}

void LinuxWorkspace::relaunch(const std::string& bundle) {
    // The path is the shell's $0 and never part of its text.
    const std::string program = isFolder(bundle) ? bundle + "/Contents/Linux/korvel" : bundle;
    children_.start("/bin/sh", {"-c", "sleep 1; export KORVEL_RELAUNCH=1; exec \"$0\"", program});
}

bool takeRelaunchMark() {
    const bool marked = qEnvironmentVariableIsSet(kRelaunchMark);
    qunsetenv(kRelaunchMark);
    return marked;
}

} // namespace korvel::platform
