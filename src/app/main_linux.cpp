#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include <QApplication>
#include <QThread>

#include "app/app_delegate.h"
#include "app/built_in_notes.h"
#include "app/main_popover_linux.h"
#include "core/metrics.h"
#include "model/awake.h"
#include "platform/digest.h"
#include "platform/identity.h"
#include "platform/linux/kernel/linux_machine.h"
#include "platform/linux/kernel/linux_processes.h"
#include "platform/linux/kernel/own_memory.h"
#include "platform/linux/kernel/process_status.h"
#include "platform/linux/kernel/spare_threads.h"
#include "platform/linux/session/desktop_notifications.h"
#include "platform/linux/session/desktop_power.h"
#include "platform/linux/session/environment.h"
#include "platform/linux/session/launch_token.h"
#include "platform/linux/session/linux_workspace.h"
#include "platform/linux/session/settings_file.h"
#include "platform/linux/session/single_instance.h"
#include "platform/linux/session/systemd_agents.h"
#include "platform/linux/session/tray_status_bar.h"
#include "platform/linux/update/linux_bundle.h"
#include "platform/linux/update/linux_code_signature.h"
#include "platform/linux/update/linux_program_loader.h"
#include "platform/linux/update/update_root.h"
#include "platform/linux/update/zip_archive.h"
#include "platform/posix/child_processes.h"
#include "platform/posix/file_manager.h"
#include "platform/posix/files.h"
#include "platform/posix/system_clock.h"
#include "platform/posix/work_folder.h"
#include "platform/qt/http.h"
#include "platform/qt/messages.h"
#include "platform/qt/run_loop.h"
#include "platform/qt/termination_signals.h"
#include "platform/services.h"
#include "ui/content/linux_words.h"
#include "update/updater.h"
#include "update/whats_new.h"

namespace {

using namespace korvel;

constexpr double kLaunchedAfter =
    15; // seconds; then the memory that only the launch used is given back

/// That a launch starts: for the display two at most, for the buses one.
constexpr int kThreadsOfLaunch = 3;

constexpr double kOpenedAfter = 1.2; // seconds; then the icon has its place in the panel

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

/// When a Wayland compositor goes, Qt warns, on the main thread or on the one that listens to the
/// compositor, and then ends the process past all that is to be done at an exit.
void heedLostCompositor(const QString& message) {
    constexpr std::chrono::seconds kLongestFinish(5);
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
    const std::string record = platform::SettingsFile::folder() + "/update";
    platform::recoverWorkFolders(
        {.bundle = platform::LinuxBundle::around(platform::LinuxBundle::runningExecutable()),
         .temporary = platform::PosixFileManager().temporaryDirectory(),
         .record = record});
    const std::string executable = platform::LinuxBundle::runningExecutable();
    const bool toOpen = platform::takeOpenMark();
    const bool bySession = platform::takeAutostartMark();
    const auto start = platform::takeRelaunchMark() ? platform::Start::relaunch
                       : bySession                  ? platform::Start::session
                                                    : platform::Start::ordinary;
    const platform::LaunchToken token = platform::takeLaunchToken();
    platform::takeQtMessages(heedLostCompositor);
    platform::TerminationSignals terminationSignals;

    // Qt waits without end for a thread that cannot be started, and heeds no signal meanwhile.
    if (!platform::threadsAreToBeHad(kThreadsOfLaunch)) {
        qWarning("The program cannot run: no more threads can be started");
        return EXIT_FAILURE;
    }
    platform::PosixChildProcesses childProcesses; // ahead of what is changed for this process alone
    const platform::DisplayChoice display = platform::prepareDisplay(executable);
    platform::prepareEnvironment(executable);
    int argumentCount = 1; // Qt must not read arguments: the program takes none
    const QApplication application(argumentCount, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setApplicationName(QStringLiteral("korvel"));
    QApplication::setApplicationDisplayName(QStringLiteral("Korvel"));
    QApplication::setDesktopFileName(QString::fromLatin1(platform::kBundleIdentifier));
    platform::keepOutOfSavedSessions();

    platform::SingleInstance instance([](const platform::ActivationRequest& request) {
        if (running) {
            running->openPopover(request);
        }
    });
    // While another copy is waited for there is nothing to be saved.
    terminationSignals.notify([] { std::_Exit(EXIT_SUCCESS); });
    if (!instance.acquire(start, token)) {
        // The library's connection has put off a piece of work, which would be left behind.
        QApplication::processEvents();
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return EXIT_SUCCESS; // by return: a session manager expects the application to leave
    }

    platform::raiseDescriptorLimit();
    platform::PosixFiles files;
    platform::SystemClock clock;
    platform::FileCalls& calls = platform::FileCalls::system();
    const auto meminfo = std::make_shared<platform::MeminfoReader>(calls, "/");
    platform::LinuxMachine machine("/", files.homeDirectory(), calls,
                                   std::chrono::steady_clock::now, meminfo);
    platform::LinuxProcesses processes("/", calls, 0, meminfo);
    platform::LinuxSwappedMemory swappedMemory;
    platform::SystemdAgents agents;
    platform::QtRunLoop runLoop;
    platform::TrayStatusBar statusBar(bySession ? platform::Unasked::waitsForTray
                                                : platform::Unasked::comesAtOnce);
    platform::SettingsFile defaults;
    platform::DesktopPower power;
    platform::DesktopNotifications notifications(linuxWords);
    platform::LinuxBundle bundle(executable, {{"CFBundleIdentifier", platform::kBundleIdentifier},
                                              {"CFBundleShortVersionString", KORVEL_VERSION},
                                              {"CFBundleVersion", KORVEL_BUILD},
                                              {platform::kReleaseNotesKey, builtInNotes()}});
    platform::QtHttp http({.idle = platform::giveMemoryBack});
    platform::PosixFileManager fileManager(record);
    platform::SystemDigest digest;
    platform::ZipArchive archive;
    platform::LinuxCodeSignature codeSignature(
        {.rootPem = std::string(platform::builtInUpdateRoot()),
         .runningBuild = buildNumber(bundle.infoString("CFBundleVersion").value_or("")),
         .now = [&clock] { return static_cast<std::int64_t>(clock.now()); }});
    platform::LinuxProgramLoader programLoader(
        childProcesses, {.display = QApplication::platformName().toStdString()});
    platform::LinuxWorkspace workspace(childProcesses);
    const platform::Services services{.machine = machine,
                                      .processes = processes,
                                      .swappedMemory = swappedMemory,
                                      .agents = agents,
                                      .childProcesses = childProcesses,
                                      .clock = clock,
                                      .runLoop = runLoop,
                                      .files = files,
                                      .statusBar = statusBar,
                                      .defaults = defaults,
                                      .power = power,
                                      .notifications = notifications,
                                      .bundle = bundle,
                                      .http = http,
                                      .fileManager = fileManager,
                                      .digest = digest,
                                      .archive = archive,
                                      .codeSignature = codeSignature,
                                      .programLoader = programLoader,
                                      .workspace = workspace};
    platform::installedServices = &services;

    const auto words = [&statusBar](std::string text) {
        return statusBar.hasTray() ? linuxWords(std::move(text))
                                   : linuxWordsWithoutTray(std::move(text));
    };
    const auto delegate = std::make_shared<AppDelegate>(
        services, Metrics::shared(), Awake::shared(), Updater::shared(), WhatsNew::shared(),
        [&](ContentView& root) {
            return makeLinuxPopover(root, words, display, [&] {
                workspace.relaunchAndOpen(bundle.path());
                runLoop.terminate();
            });
        });
    running = delegate.get();
    std::atexit(finish);
    terminationSignals.notify([&runLoop] { runLoop.terminate(); });
    delegate->applicationDidFinishLaunching();
    runLoop.after(kLaunchedAfter, platform::giveMemoryBack);
    if (toOpen) {
        runLoop.after(kOpenedAfter, [&delegate] { delegate->openPopover({}); });
    }
    QApplication::exec();
    finish();
    // Without destructors. To take the tray item down, Qt calls the bus and waits for its answer,
    // which a bus that is ending too does not give, and background work would be waited for. The
    // connection that closes with the process tells the tray the same at once.
    std::_Exit(EXIT_SUCCESS);
}
