#include "simulation/program.h"

#include <utility>

#include "model/awake.h"
#include "model/model.h"
#include "ui/content/content_view.h"
#include "update/updater.h"

namespace korvel::simulation {

SimulatedProgram::SimulatedProgram(const Scenario& scenario,
                                   std::function<void(std::string_view)> print)
    : ScriptedProgram(scenario), traced_(bool(print)),
      trace_([this] { return elapsed(); }, std::move(print)) {
    if (traced_) {
        watch();
    }
}

void SimulatedProgram::watch() {
    simulated().notifications.onPost = [this](const platform::Notification& notification) {
        trace_.notification(notification);
    };
    simulated().defaults.onChange = [this](const std::string& key, const auto* value) {
        trace_.defaults(key, value);
    };
    simulated().power.onChange = [this](const char* op, auto type, auto id) {
        trace_.assertion(op, type, id);
    };
    updater().state.didSet = [this] { trace_.updater(*updater().state); };
    simulated().workspace.onReveal = [this](const std::string& path) { trace_.revealed(path); };
    simulated().statusBar.onTitle = [this](const platform::StatusTitle& title) {
        trace_.title(title);
    };
    simulated().childProcesses.onRun = [this](const platform::SimulatedChildProcesses::Run& run) {
        trace_.spawn(run.executable, run.arguments);
    };
    simulated().processes.onTerminate = [this](std::int32_t pid) { trace_.signal(pid); };
    simulated().workspace.onRelaunch =
        [this, relaunch = simulated().workspace.onRelaunch](const std::string& bundle) {
            relaunch(bundle);
            trace_.relaunched(bundle);
        };
    simulated().runLoop.onTurnEnd = [this] { traceChanges(); };
    simulated().files.onWrite = [this](const std::string& path, std::string_view bytes) {
        const std::string home = simulated().files.inHome("");
        std::string_view file = path;
        if (file.starts_with(home)) {
            file.remove_prefix(home.size());
        }
        trace_.wrote(file, bytes);
    };
}

std::unique_ptr<platform::Popover> SimulatedProgram::makePopover(ContentView& root) {
    std::function<void(bool)> onShown;
    if (traced_) {
        root.model().snap.didSet = [this, &root] { trace_.snapshot(*root.model().snap); };
        onShown = [this](bool shown) { trace_.popover(shown); };
    }
    auto popover = std::make_unique<platform::SimulatedPopover>(std::move(onShown));
    popover_ = popover.get();
    return popover;
}

void SimulatedProgram::traceChanges() {
    const Model& model = view().model();
    if (*model.scanningSwap != tracedScanning_ || *model.swapHolders != tracedHolders_) {
        tracedScanning_ = *model.scanningSwap;
        tracedHolders_ = *model.swapHolders;
        trace_.swapHolders(tracedScanning_, tracedHolders_);
    }
    if (const std::pair now(*awake().on, *awake().until); now != tracedAwake_) {
        tracedAwake_ = now;
        trace_.awake(awake());
    }
    if (std::pair now(*whatsNew().kind, *whatsNew().notes); now != tracedWhatsNew_) {
        tracedWhatsNew_ = std::move(now);
        trace_.whatsNew(whatsNew());
    }
    ReclaimState reclaim{*model.scanning, *model.reclaiming, *model.reclaimPreview,
                         *model.reclaimResult};
    if (reclaim != tracedReclaim_) {
        tracedReclaim_ = std::move(reclaim);
        trace_.reclaim(model);
    }
}

void SimulatedProgram::run() {
    platform::SimulatedRunLoop& runLoop = simulated().runLoop;
    launch([this](ContentView& root) { return makePopover(root); });
    view().model().keepHistoryText();
    if (traced_) {
        traceChanges();
    }
    std::string_view reason = "terminate";
    for (const ScenarioEvent& event : scenario().events) {
        runLoop.event(event.at, [this, &event] { event.act(*this); });
    }
    runLoop.event(scenario().until.value_or(Scenario::kUntil), [&] {
        reason = "until";
        runLoop.terminate();
    });
    runLoop.run();
    if (atTheEnd) {
        atTheEnd(view());
    }
    end();
    if (traced_) {
        traceChanges();
        trace_.exit(reason);
    }
}

void SimulatedProgram::togglePopover() {
    simulated().statusBar.click();
}

void SimulatedProgram::clickOutside() {
    popover_->clickOutside();
}

void SimulatedProgram::terminate() {
    simulated().runLoop.terminate();
}

void SimulatedProgram::describePopover() {
    if (traced_) {
        trace_.content(view().content());
    }
}

} // namespace korvel::simulation
