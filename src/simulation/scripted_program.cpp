#include "simulation/scripted_program.h"

#include <cmath>

#include <fmt/format.h>

#include "model/awake.h"
#include "platform/digest.h"
#include "ui/content/content_view.h"
#include "update/updater.h"
#include "update/whats_new.h"

namespace korvel::simulation {

using platform::ChildResult;
using Arguments = platform::SimulatedChildProcesses::Arguments;

namespace {

/// Sets what the program reads while it is made.
void prepare(platform::SimulatedServices& simulated, const Scenario& scenario) {
    for (const auto& [key, value] : scenario.defaults) {
        simulated.defaults.values[key] = value;
    }
    const ScriptedBundle& bundle = scenario.bundle;
    simulated.bundle.location = bundle.path;
    simulated.bundle.writable = bundle.writable;
    simulated.bundle.managed = bundle.managed;
    simulated.bundle.info.clear();
    if (bundle.version) {
        simulated.bundle.info["CFBundleShortVersionString"] = *bundle.version;
    }
    if (bundle.build) {
        simulated.bundle.info["CFBundleVersion"] = *bundle.build;
    }
    if (bundle.notes) {
        simulated.bundle.info[platform::kReleaseNotesKey] = *bundle.notes;
    }
    simulated.fileManager.folders.insert(bundle.path);
}

} // namespace

ScriptedProgram::ScriptedProgram(const Scenario& scenario, const Stage* stage)
    : scenario_(scenario), http_(stage ? stage->runLoop : simulated_.runLoop, simulated_.files),
      services_{.machine = simulated_.machine,
                .processes = simulated_.processes,
                .swappedMemory = vmmapMemory_,
                .agents = launchctlAgents_,
                .childProcesses = simulated_.childProcesses,
                .clock = stage ? stage->clock : simulated_.clock,
                .runLoop = stage ? stage->runLoop : simulated_.runLoop,
                .files = simulated_.files,
                .statusBar = stage ? stage->statusBar : simulated_.statusBar,
                .defaults = simulated_.defaults,
                .power = simulated_.power,
                .notifications = simulated_.notifications,
                .bundle = simulated_.bundle,
                .http = http_,
                .fileManager = simulated_.fileManager,
                .digest = simulated_.digest,
                .archive = dittoArchive_,
                .codeSignature = codesignSignature_,
                .programLoader = simulated_.programLoader,
                .workspace = simulated_.workspace},
      metrics_(services_.machine, services_.processes, services_.agents, services_.clock),
      awake_(std::make_shared<Awake>(services_)) {
    prepare(simulated_, scenario);
    // The same identifiers in each run: they are part of paths that the trace prints.
    updater_ = std::make_shared<Updater>(services_, [this] { return Uuid{{0, ++uuids_}}; });
    whatsNew_ = std::make_shared<WhatsNew>(services_, updater_);
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
    simulated_.digest.digest = platform::SystemDigest::sha256;
    http_.document = scenario.feed;
    answerTools();
    answerUpdateTools();
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

void ScriptedProgram::answerUpdateTools() {
    auto& answers = simulated_.childProcesses.answers;
    answers["/usr/bin/ditto"] = [this](const Arguments& arguments) {
        if (const std::string& folder = arguments.back(); archive_.unpackStatus == 0) {
            simulated_.fileManager.listings[folder] = archive_.entries;
            const std::string inside = folder + "/";
            for (const std::string& entry : archive_.entries) {
                simulated_.fileManager.folders.insert(inside + entry);
            }
        }
        return ChildResult{"", archive_.unpackStatus};
    };
    answers["/usr/bin/codesign"] = [this](const Arguments& arguments) {
        if (arguments.front() == "--verify") {
            return ChildResult{"", archive_.strict ? 0 : 1};
        }
        return archive_.team ? ChildResult{"TeamIdentifier=" + *archive_.team + "\n", 0}
                             : ChildResult{"code object is not signed at all\n", 1};
    };
    answers["/bin/sh"] = [](const Arguments&) { return ChildResult{}; };
    simulated_.workspace.onRelaunch = [this](const std::string& bundle) {
        openAfterASecond(simulated_.childProcesses, bundle);
    };
    simulated_.fileManager.onMove = [this](const std::string& from, const std::string& to) {
        return move(from, to);
    };
}

Status<std::errc> ScriptedProgram::move(const std::string& from, const std::string& to) const {
    const std::string& running = scenario_.bundle.path;
    std::optional<std::string> sentence;
    if (from == running) {
        sentence = archive_.moves[0];
    } else if (to == running && !from.ends_with("/old.app")) {
        sentence = archive_.moves[1];
    } else if (to == running && !archive_.rollback) {
        sentence = "It cannot be moved back.";
    }
    return sentence ? Error{std::errc::io_error, from, *sentence} : Status<std::errc>();
}

void ScriptedProgram::setArchive(const ScriptedArchive& archive) {
    archive_ = archive;
    http_.archive.reset();
    if (archive.reachable) {
        http_.archive = platform::SimulatedHttp::Answer{archive.status, archive.bytes, 0};
    }
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
    delegate_ = std::make_shared<AppDelegate>(services_, metrics_, awake_, updater_, whatsNew_,
                                              [&](ContentView& root) {
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

void ScriptedProgram::checkForUpdates() {
    delegate_->checkForUpdates();
}

void ScriptedProgram::installPending() {
    view_->installPending();
}

void ScriptedProgram::relaunch() {
    view_->relaunch();
}

void ScriptedProgram::dismissWhatsNew() {
    view_->dismissWhatsNew();
}

void ScriptedProgram::sleep(double seconds) {
    simulated_.clock.turn(seconds);
    simulated_.runLoop.sleep(seconds);
}

const Model& ScriptedProgram::model() const {
    return view_->model();
}

} // namespace korvel::simulation
