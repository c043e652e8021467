#include "simulation/program.h"

#include <cmath>

#include <fmt/format.h>

#include "app/app_delegate.h"
#include "model/model.h"
#include "ui/content/content_view.h"

namespace korvel::simulation {

using platform::ChildResult;
using platform::SimulatedPopover;
using Arguments = platform::SimulatedChildProcesses::Arguments;

SimulatedProgram::SimulatedProgram(const Scenario& scenario,
                                   std::function<void(std::string_view)> print)
    : scenario_(scenario), trace_([this] { return elapsed(); }, std::move(print)),
      services_{simulated_.machine, simulated_.processes, vmmapMemory_,     launchctlAgents_,
                simulated_.clock,   simulated_.runLoop,   simulated_.files, simulated_.statusBar},
      metrics_(services_.machine, services_.processes, services_.agents, services_.clock) {
    simulated_.clock.set(scenario.start);
    if (std::abs(scenario.start) < 0x1p53) {
        simulated_.machine.readings.bootTime.value =
            static_cast<std::int64_t>(scenario.start) - platform::kSimulatedUptime;
    }
    if (scenario.machine) {
        MachineState atLaunch = machine();
        scenario.machine(atLaunch);
    }
    for (const auto& [name, text] : scenario.home) {
        simulated_.files.contents[simulated_.files.inHome(name)] = text;
    }
    answerTools();
    watch();
}

SimulatedProgram::~SimulatedProgram() = default;

void SimulatedProgram::answerTools() {
    children_.answers["/bin/launchctl"] = [this](const Arguments& arguments) {
        std::optional<ChildResult> result;
        if (const auto listing = agents_.take()) {
            result = arguments == Arguments{"list"} ? ChildResult{*listing, 0} : ChildResult{"", 1};
        }
        return result;
    };
    children_.answers["/usr/bin/vmmap"] = [this](const Arguments& arguments) {
        std::optional<ChildResult> result;
        for (const platform::SimulatedProcess& process : simulated_.processes.table) {
            if (process.vmmap &&
                arguments == Arguments{"--summary", fmt::format("{}", process.pid)}) {
                result = ChildResult{*process.vmmap, 0};
                break;
            }
        }
        return result;
    };
}

void SimulatedProgram::watch() {
    simulated_.statusBar.onTitle = [this](const platform::StatusTitle& title) {
        trace_.title(title);
    };
    children_.onRun = [this](const platform::SimulatedChildProcesses::Run& run) {
        trace_.spawn(run.executable, run.arguments);
    };
    simulated_.files.onWrite = [this](const std::string& path, std::string_view bytes) {
        const std::string home = simulated_.files.inHome("");
        std::string_view file = path;
        if (file.starts_with(home)) {
            file.remove_prefix(home.size());
        }
        trace_.wrote(file, bytes);
    };
}

std::unique_ptr<platform::Popover> SimulatedProgram::makePopover(ContentView& root) {
    model_ = &root.model();
    root.model().observe([this] { traceNewReading(); });
    auto popover =
        std::make_unique<SimulatedPopover>([this](bool shown) { trace_.popover(shown); });
    popover_ = popover.get();
    return popover;
}

void SimulatedProgram::traceNewReading() {
    // A change is announced before it is written, so a new reading is seen at the announcement of
    // what is written next. That is the history, in the same breath.
    const std::vector<ScoreFactor>& factors = model_->snap->factors;
    if (!factors.empty() && traced_ != factors.front().id) {
        traced_ = factors.front().id;
        trace_.snapshot(*model_->snap);
    }
}

void SimulatedProgram::run() {
    platform::SimulatedRunLoop& runLoop = simulated_.runLoop;
    delegate_ = std::make_shared<AppDelegate>(
        services_, metrics_, [this](ContentView& root) { return makePopover(root); });
    delegate_->applicationDidFinishLaunching();
    std::string_view reason = "terminate";
    for (const ScenarioEvent& event : scenario_.events) {
        runLoop.event(event.at, [this, &event] { event.act(*this); });
    }
    runLoop.event(scenario_.until, [&] {
        reason = "until";
        runLoop.terminate();
    });
    runLoop.run();
    delegate_->applicationWillTerminate();
    trace_.exit(reason);
}

void SimulatedProgram::togglePopover() {
    simulated_.statusBar.click();
}

void SimulatedProgram::clickOutside() {
    popover_->clickOutside();
}

void SimulatedProgram::terminate() {
    simulated_.runLoop.terminate();
}

} // namespace korvel::simulation
