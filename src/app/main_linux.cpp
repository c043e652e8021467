#include <chrono>
#include <cstdlib>
#include <memory>
#include <thread>
#include <utility>

#include <QApplication>
#include <QThread>

#include "app/app_delegate.h"
#include "app/main_popover.h"
#include "core/metrics.h"
#include "model/awake.h"
#include "platform/linux/desktop_notifications.h"
#include "platform/linux/desktop_power.h"
#include "platform/linux/linux_machine.h"
#include "platform/linux/linux_processes.h"
#include "platform/linux/process_status.h"
#include "platform/linux/systemd_agents.h"
#include "platform/posix/child_processes.h"
#include "platform/posix/files.h"
#include "platform/posix/system_clock.h"
#include "platform/qt/run_loop.h"
#include "platform/qt/single_instance.h"
#include "platform/qt/status_bar.h"
#include "platform/qt/surroundings.h"
#include "platform/qt/termination_signals.h"
#include "platform/qt/user_defaults.h"
#include "platform/services.h"
#include "ui/content/linux_words.h"

namespace {

using namespace korvel;

AppDelegate* running = nullptr;

/// The one place where the program ends, whichever way: the menu, a signal, the end of the desktop
/// session, or the loss of the display, at which Qt calls exit() from within its event loop.
void finish() {
    if (AppDelegate* ending = std::exchange(running, nullptr)) {
        ending->applicationWillTerminate();
    }
}

/// The end when there is no display any more. The process is not taken down in order: other threads
/// may be about to end it too.
[[noreturn]] void finishWithoutDisplay() {
    finish();
    std::_Exit(EXIT_FAILURE);
}

/// Drops what Qt has to say. A message that Qt would abort after ends the program as a quit does:
/// most often the display is not there, or has gone. When a Wayland compositor goes, Qt warns, on
/// the main thread or on the one that listens to the compositor, and then ends the process past all
/// that is to be done at an exit.
void keepQuiet(QtMsgType type, const QMessageLogContext&, const QString& message) {
    constexpr std::chrono::seconds kLongestFinish(5);
    if (type == QtFatalMsg) {
        std::exit(EXIT_FAILURE);
    }
    if (message.startsWith(QLatin1String("The Wayland connection "))) {
        if (QThread::currentThread() == qApp->thread()) {
            finishWithoutDisplay();
        }
        QMetaObject::invokeMethod(qApp, finishWithoutDisplay, Qt::QueuedConnection);
        std::this_thread::sleep_for(kLongestFinish);
    }
}

} // namespace

int main(int, char** argv) {
    qInstallMessageHandler(keepQuiet);
    platform::TerminationSignals terminationSignals;

    platform::settleSurroundings();
    int argumentCount = 1; // the program has no command line, and Qt is not to find one either
    const QApplication application(argumentCount, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setApplicationName(QStringLiteral("korvel"));
    QApplication::setApplicationDisplayName(QStringLiteral("Korvel"));
    QApplication::setDesktopFileName(QStringLiteral("com.oxbrook.korvel"));

    platform::SingleInstance instance([] {
        if (running) {
            running->openPopover();
        }
    });
    if (!instance.acquire()) {
        std::_Exit(EXIT_SUCCESS); // as at the end below: there is nothing to take down
    }

    platform::raiseDescriptorLimit();
    platform::PosixFiles files;
    platform::SystemClock clock;
    platform::LinuxMachine machine("/", files.homeDirectory());
    platform::LinuxProcesses processes;
    platform::LinuxSwappedMemory swappedMemory;
    platform::SystemdAgents agents;
    platform::QtRunLoop runLoop;
    platform::QtStatusBar statusBar;
    platform::PosixChildProcesses childProcesses;
    platform::QtUserDefaults defaults;
    platform::DesktopPower power;
    platform::DesktopNotifications notifications(linuxWords);
    const platform::Services services{machine,        processes, swappedMemory, agents,
                                      childProcesses, clock,     runLoop,       files,
                                      statusBar,      defaults,  power,         notifications};
    platform::installedServices = &services;

    const auto delegate = std::make_shared<AppDelegate>(services, Metrics::shared(),
                                                        Awake::shared(), makeLinuxPopover);
    running = delegate.get();
    std::atexit(finish);
    terminationSignals.notify([&runLoop] { runLoop.terminate(); });
    delegate->applicationDidFinishLaunching();
    QApplication::exec();
    finish();
    // What is left is the kernel's to take back. Taking the tray item down in good order would ask
    // the bus and wait for its answer, which a dying bus does not give, and background work would
    // be waited for too; a closed connection says the same at once.
    std::_Exit(EXIT_SUCCESS);
}
