#include "simulation/scripted_program.h"

#include <cmath>

#include <fmt/format.h>

#include "ui/content/content_view.h"

namespace korvel::simulation {

using platform::ChildResult;
using Arguments = platform::SimulatedChildProcesses::Arguments;

ScriptedProgram::ScriptedProgram(const Scenario& scenario, const Stage* stage)
    : scenario_(scenario), services_{simulated_.machine,
                                     simulated_.processes,
                                     vmmapMemory_,
                                     launchctlAgents_,
                                     stage ? stage->clock : simulated_.clock,
                                     stage ? stage->runLoop : simulated_.runLoop,
                                     simulated_.files,
                                     stage ? stage->statusBar : simulated_.statusBar},
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
}

ScriptedProgram::~ScriptedProgram() = default;

void ScriptedProgram::answerTools() {
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

void ScriptedProgram::launch(const PopoverFactory& makePopover) {
    delegate_ = std::make_shared<AppDelegate>(services_, metrics_, [&](ContentView& root) {
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

} // namespace korvel::simulation
