// The whole program without its views, with the program's own services for files, settings,
// children and readings, in virtual time and without a network: what the trials of refused calls
// run.
//
//   korvel_life_trial ROOT   the readings are those of the tree ROOT; HOME is the home
//
// It samples, previews and clears what takes disk space, looks for what holds swap, keeps the
// machine awake, saves the history after two minutes and at its end, and prints what it came to.

#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include <sys/uio.h>
#include <unistd.h>

#include "app/app_delegate.h"
#include "core/metrics.h"
#include "model/awake.h"
#include "model/model.h"
#include "platform/linux/kernel/linux_machine.h"
#include "platform/linux/kernel/linux_processes.h"
#include "platform/linux/kernel/process_status.h"
#include "platform/linux/session/settings_file.h"
#include "platform/posix/child_processes.h"
#include "platform/posix/files.h"
#include "platform/simulated/services.h"
#include "ui/content/content_view.h"
#include "update/updater.h"
#include "update/whats_new.h"

namespace {

using namespace korvel;

constexpr int kWrongUsage = 2;
/// Seconds. The history is saved after 120.
constexpr double kUntilTheSave = 125;

/// By a call that nothing else makes.
void print(std::string line) {
    line += '\n';
    const iovec piece{line.data(), line.size()};
    static_cast<void>(::writev(STDOUT_FILENO, &piece, 1));
}

std::string word(const std::optional<std::string>& text) {
    return text ? *text : "none";
}

std::string number(std::size_t value) {
    return std::to_string(value);
}

/// One life. Everything in it ends with it.
void live(const std::string& root) {
    platform::SimulatedServices simulated;
    platform::PosixFiles files;
    platform::SettingsFile defaults;
    platform::PosixChildProcesses children;
    platform::LinuxMachine machine(root, files.homeDirectory());
    platform::LinuxProcesses processes(root);
    platform::LinuxSwappedMemory swappedMemory(root);
    simulated.bundle.info["CFBundleVersion"] = "101";
    platform::Services services = simulated.services(children, files);
    const platform::Services real{.machine = machine,
                                  .processes = processes,
                                  .swappedMemory = swappedMemory,
                                  .agents = services.agents,
                                  .childProcesses = children,
                                  .clock = services.clock,
                                  .runLoop = services.runLoop,
                                  .files = files,
                                  .statusBar = services.statusBar,
                                  .defaults = defaults,
                                  .power = services.power,
                                  .notifications = services.notifications,
                                  .bundle = services.bundle,
                                  .http = services.http,
                                  .fileManager = services.fileManager,
                                  .digest = services.digest,
                                  .archive = services.archive,
                                  .codeSignature = services.codeSignature,
                                  .programLoader = services.programLoader,
                                  .workspace = services.workspace};
    Metrics metrics(machine, processes, services.agents, services.clock);
    const auto awake = std::make_shared<Awake>(real);
    const auto updater = std::make_shared<Updater>(real);
    const auto whatsNew = std::make_shared<WhatsNew>(real, updater);
    std::shared_ptr<Model> model;
    const auto delegate = std::make_shared<AppDelegate>(
        real, metrics, awake, updater, whatsNew, [&model](ContentView& view) {
            model = view.model().shared_from_this();
            return std::make_unique<platform::SimulatedPopover>();
        });
    delegate->applicationDidFinishLaunching();
    print("loaded " + number(model->history->size()));
    int samples = 0;
    model->snap.didSet = [&samples] { ++samples; };
    simulated.runLoop.advance(10);
    simulated.statusBar.click();
    awake->enable(30);
    model->previewReclaim();
    model->findSwapHolders();
    simulated.runLoop.advance(1);
    print("preview " + word(*model->reclaimPreview));
    awake->enable(std::nullopt);
    model->runReclaim();
    simulated.runLoop.advance(kUntilTheSave);
    print("result " + word(*model->reclaimResult));
    print("busy " + number(*model->scanning + *model->reclaiming + *model->scanningSwap));
    delegate->applicationWillTerminate();
    print("samples " + std::to_string(samples));
    print("points " + number(model->history->size()));
    print("held " + number(simulated.power.held.size()));
}

} // namespace

int main(int count, char** words) {
    if (count != 2) {
        print("usage: korvel_life_trial ROOT");
        return kWrongUsage;
    }
    live(words[1]);
    // As the program ends: without destructors of what is static.
    std::_Exit(EXIT_SUCCESS);
}
