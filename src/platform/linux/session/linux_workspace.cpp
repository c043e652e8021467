#include "platform/linux/session/linux_workspace.h"

#include <utility>

#include <sys/stat.h>

#include <QByteArray>
#include <QStringList>

#include "platform/linux/session/bus_object.h"
#include "platform/linux/session/session_bus.h"

namespace korvel::platform {

namespace {

bool isFolder(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool takeMark(const char* name) {
    const bool marked = qEnvironmentVariableIsSet(name);
    qunsetenv(name);
    return marked;
}

} // namespace

std::string fileUri(const std::string& path) {
    // By its bytes: a URL of the toolkit's is made from text, which a path need not be.
    return "file://" + QByteArray::fromStdString(path).toPercentEncoding("/").toStdString();
}

LinuxWorkspace::LinuxWorkspace(ChildProcesses& children)
    : LinuxWorkspace(children, [] { return SessionBus::ofProgram().connection(); }) {}

LinuxWorkspace::LinuxWorkspace(ChildProcesses& children, std::function<QDBusConnection()> bus)
    : children_(children), bus_(std::move(bus)) {}

void LinuxWorkspace::openFolderAround(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    children_.start("/usr/bin/xdg-open",
                    {slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash)});
}

void LinuxWorkspace::reveal(const std::string& path) {
    const QDBusConnection bus = bus_();
    if (!bus.isConnected()) {
        openFolderAround(path);
        return;
    }
    const BusObject fileManager(bus, QStringLiteral("org.freedesktop.FileManager1"),
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
    startAgain(bundle, "KORVEL_RELAUNCH=1");
}

void LinuxWorkspace::relaunchAndOpen(const std::string& bundle) {
    startAgain(bundle, "KORVEL_RELAUNCH=1 KORVEL_OPEN=1");
}

void LinuxWorkspace::startAgain(const std::string& bundle, const std::string& marks) {
    // The path is the shell's $0 and never part of its text.
    const std::string program = isFolder(bundle) ? bundle + "/Contents/Linux/korvel" : bundle;
    children_.start("/bin/sh", {"-c", "sleep 1; export " + marks + "; exec \"$0\"", program});
}

bool takeRelaunchMark() {
    return takeMark("KORVEL_RELAUNCH");
}

bool takeOpenMark() {
    return takeMark("KORVEL_OPEN");
}

} // namespace korvel::platform
