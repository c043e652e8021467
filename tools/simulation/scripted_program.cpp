#include "simulation/scripted_program.h"

#include <cmath>

#include <fmt/format.h>

#include "model/awake.h"
#include "ui/content/content_view.h"

namespace korvel::simulation {

using platform::ChildResult;
using Arguments = platform::SimulatedChildProcesses::Arguments;

ScriptedProgram::ScriptedProgram(const Scenario& scenario, const Stage* stage)
    : scenario_(scenario), services_{simulated_.machine,
                                     simulated_.processes,
                                     vmmapMemory_,
                                     launchctlAgents_,
                                     simulated_.childProcesses,
                                     stage ? stage->clock : simulated_.clock,
                                     stage ? stage->runLoop : simulated_.runLoop,
                                     simulated_.files,
                                     stage ? stage->statusBar : simulated_.statusBar,
                                     simulated_.defaults,
                                     simulated_.power,
                                     simulated_.notifications},
      metrics_(services_.machine, services_.processes, services_.agents, services_.clock),
      awake_(std::make_shared<Awake>(services_)) {
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
    for (const auto& [key, value] : scenario.defaults) {
        simulated_.defaults.values[key] = value;
    }
    answerTools();
}

ScriptedProgram::~ScriptedProgram() = default;

void ScriptedProgram::answerTools() {
    simulated_.childProcesses.answers["/bin/launchctl"] = [this](const Arguments& arguments) {
        std::optional<ChildResult> result;
        if (const auto listing = agents_.take()) {
            result = arguments == Arguments{"list"} ? ChildResult{*listing, 0} : ChildResult{"", 1};
        }
        return result;
    };
    simulated_.childProcesses.answers["/usr/bin/vmmap"] = [this](const Arguments& arguments) {
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
    simulated_.childProcesses.answers["/bin/bash"] = [this](const Arguments& arguments) {
        return runScript(arguments);
    };
}

std::optional<ChildResult> ScriptedProgram::runScript(const Arguments& arguments) {
    constexpr int kNoSuchFile = 127;
    if (!script_.preview) {
        return ChildResult{"", kNoSuchFile};
    }
    simulated_.runLoop.spend(script_.seconds);
    if (arguments.size() == 1) {
        return ChildResult{*script_.preview, 0};
    }
    platform::VolumeStatistics& volume = simulated_.machine.readings.volume.value;
    const std::uint64_t blocks = volume.f_bsize == 0 ? 0 : script_.frees / volume.f_bsize;
    volume.f_bfree += blocks;
    volume.f_bavail += blocks;
    return ChildResult{"", 0};
}

void ScriptedProgram::launch(const PopoverFactory& makePopover) {
    delegate_ = std::make_shared<AppDelegate>(services_, metrics_, awake_, [&](ContentView& root) {
        view_ = &root;
        return makePopover(root);
    });
    delegate_->applicationDidFinishLaunching();
}

void ScriptedProgram::toggleBreakdown() {
    view_->toggleBreakdown();
}

void ScriptedProgram::quitProcess(std::int32_t pid) {
    view_->quitProcess(pid);
}

void ScriptedProgram::findSwapHolders() {
    view_->findSwapHolders();
}

void ScriptedProgram::previewReclaim() {
    view_->previewReclaim();
}

void ScriptedProgram::runReclaim() {
    view_->runReclaim();
}

void ScriptedProgram::dismissPreview() {
    view_->dismissReclaimPreview();
}

void ScriptedProgram::enableAwake(std::optional<std::int64_t> minutes) {
    view_->enableAwake(minutes);
}

void ScriptedProgram::disableAwake() {
    view_->disableAwake();
}

void ScriptedProgram::sleep(double seconds) {
    simulated_.clock.turn(seconds);
    simulated_.runLoop.sleep(seconds);
}

const Model& ScriptedProgram::model() const {
    return view_->model();
}

} // namespace korvel::simulation
