#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

#include <QApplication>

#include "app/app_delegate.h"
#include "app/main_popover_macos.h"
#include "core/inspection_tools.h"
#include "core/metrics.h"
#include "model/awake.h"
#include "platform/digest.h"
#include "platform/macos/macos_application.h"
#include "platform/macos/macos_bundle.h"
#include "platform/macos/macos_file_manager.h"
#include "platform/macos/macos_machine.h"
#include "platform/macos/macos_notifications.h"
#include "platform/macos/macos_power_assertions.h"
#include "platform/macos/macos_processes.h"
#include "platform/macos/macos_program_loader.h"
#include "platform/macos/macos_status_bar.h"
#include "platform/macos/macos_user_defaults.h"
#include "platform/macos/macos_workspace.h"
#include "platform/macos/thermal_state.h"
#include "platform/posix/child_processes.h"
#include "platform/posix/files.h"
#include "platform/posix/system_clock.h"
#include "platform/posix/work_folder.h"
#include "platform/qt/http.h"
#include "platform/qt/messages.h"
#include "platform/qt/run_loop.h"
#include "platform/qt/termination_signals.h"
#include "platform/services.h"
#include "update/install_tools.h"
#include "update/updater.h"
#include "update/whats_new.h"

namespace {

using namespace korvel;

AppDelegate* running = nullptr;

/// The one place where the program ends, whichever way: the menu, a signal, or the end of the
/// session.
void finish() {
    if (AppDelegate* ending = std::exchange(running, nullptr)) {
        ending->applicationWillTerminate();
        platform::MacosUserDefaults().flush(); // the process may end before the system has all
    }
}

} // namespace

int main(int, char** argv) {
    platform::PosixFiles files;
    const std::string record = files.homeDirectory() + "/Library/Application Support/Korvel/update";
    platform::MacosFileManager fileManager(record);
    platform::recoverWorkFolders({.bundle = platform::MacosBundle().path(),
                                  .temporary = fileManager.temporaryDirectory(),
                                  .record = record});
    platform::takeQtMessages();
    platform::TerminationSignals terminationSignals;

    platform::PosixChildProcesses childProcesses; // ahead of what is changed for this process alone
    platform::MacosApplication application;       // ahead of Qt's, which finds it there
    int argumentCount = 1; // Qt must not read arguments: the program takes none
    const QApplication qtApplication(argumentCount, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setApplicationName(QStringLiteral("korvel"));
    QApplication::setApplicationDisplayName(QStringLiteral("Korvel"));

    platform::SystemClock clock;
    platform::MacosMachine machine(platform::thermalState);
    platform::MacosProcesses processes;
    VmmapSwappedMemory swappedMemory(childProcesses);
    LaunchctlAgents agents(childProcesses);
    platform::QtRunLoop runLoop([&application] { application.terminate(); });
    platform::MacosStatusBar statusBar(application);
    platform::MacosUserDefaults defaults;
    platform::MacosPowerAssertions power;
    platform::MacosNotifications notifications;
    platform::MacosBundle bundle;
    platform::QtHttp http;
    platform::SystemDigest digest;
    DittoArchive archive(childProcesses);
    CodesignSignature codeSignature(childProcesses);
    platform::MacosProgramLoader programLoader;
    platform::MacosWorkspace workspace([&childProcesses](const std::string& installed) {
        openAfterASecond(childProcesses, installed);
    });
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

    const auto delegate =
        std::make_shared<AppDelegate>(services, Metrics::shared(), Awake::shared(),
                                      Updater::shared(), WhatsNew::shared(), makeMacosPopover);
    running = delegate.get();
    std::atexit(finish);
    // Without destructors, which would wait for work in the background.
    const auto end = [] {
        finish();
        std::_Exit(EXIT_SUCCESS);
    };
    application.setWillTerminate(end);
    application.setCheckForUpdates([&delegate] { delegate->checkForUpdates(); });
    terminationSignals.notify([&runLoop] { runLoop.terminate(); });
    delegate->applicationDidFinishLaunching();
    QApplication::exec();
    end();
}
