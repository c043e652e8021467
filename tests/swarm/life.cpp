#include "swarm/life.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "model/model.h"
#include "platform/simulated/status_bar.h"
#include "swarm/ledger.h"
#include "swarm/texts.h"
#include "ui/content/content_view.h"

namespace korvel::swarm {

using platform::ChildResult;
using Arguments_ = platform::SimulatedChildProcesses::Arguments;

Life::Life(const simulation::Scenario& scenario, Surroundings& around, Coverage& coverage)
    : ScriptedProgram(scenario), around_(around), coverage_(coverage),
      historyPath_(simulated().files.inHome(".korvel-history.json")) {
    prepare();
    answerSlowly();
}

Life::~Life() = default;

void Life::prepare() {
    platform::SimulatedServices& services = simulated();
    services.files.contents = around_.home;
    services.files.unreadable = around_.unreadable;
    services.files.unwritable = around_.unwritable;
    services.machine.readings = around_.machine;
    services.processes.table = around_.processes;
    services.processes.listingFails = around_.processesFail;
    services.power.grantsDisplay = around_.grantsDisplay;
    services.power.grantsSystem = around_.grantsSystem;
    services.bundle.writable = around_.bundleWritable;
    script() = around_.script;
    http().document = around_.feed;
    setArchiveFault(around_.archiveFault);
    machine().agents.value = agentsTexts()[around_.agents].prints;
    machine().agents.fails = around_.agentsFail;
}

/// Tools that take their time, and such as cannot be started.
void Life::answerSlowly() {
    for (auto& [tool, answer] : simulated().childProcesses.answers) {
        answer = [this, name = tool, given = std::move(answer)](
                     const Arguments_& arguments) -> std::optional<ChildResult> {
            if (around_.deadTools.contains(name)) {
                coverage_.add("tool could not be started: " + name);
                return std::nullopt;
            }
            if (name == "/usr/bin/vmmap") {
                simulated().runLoop.spend(around_.mapTakes);
            }
            return given(arguments);
        };
    }
}

std::size_t Life::run(const Event* events, std::size_t count, double launchedAt) {
    event_ = events;
    end_ = events + count;
    launchedAt_ = launchedAt;
    launch([this](ContentView& root) {
        auto popover = std::make_unique<platform::SimulatedPopover>([this](bool isShown) {
            if (ledger_) {
                ledger_->popoverShown = isShown;
            }
        });
        popover_ = popover.get();
        static_cast<void>(root);
        ledger_ = std::make_unique<Ledger>(*this);
        return popover;
    });
    root().model().keepHistoryText();
    ledger_->launched();
    next();
    simulated().runLoop.run();
    ledger_->ending();
    if (orderly_) {
        end();
    }
    ledger_->ended(orderly_);
    keep();
    return happened_;
}

void Life::next() {
    if (event_ == end_) {
        simulated().runLoop.event(ran(), [this] { terminate(); });
        return;
    }
    simulated().runLoop.event(std::max(event_->at - launchedAt_, ran()), [this] {
        const Event& event = *event_++;
        ++happened_;
        const EventKind& kind = eventKinds()[event.kind];
        coverage_.add(kind.name);
        kind.act(*this, event.n);
        ledger_->acted();
        if (!simulated().runLoop.terminated()) {
            next();
        }
    });
}

void Life::keep() {
    platform::SimulatedServices& services = simulated();
    around_.wall = services.clock.now() + std::exchange(around_.off, 0);
    around_.home.clear();
    for (const auto& [path, text] : services.files.contents) {
        if (path.starts_with(services.files.home + "/")) {
            around_.home[path] = text;
        }
    }
    around_.unreadable = services.files.unreadable;
    around_.unwritable = services.files.unwritable;
    around_.defaults = services.defaults.values;
    around_.machine = services.machine.readings;
    around_.processes = services.processes.table;
    around_.processesFail = services.processes.listingFails;
    around_.grantsDisplay = services.power.grantsDisplay;
    around_.grantsSystem = services.power.grantsSystem;
    around_.bundleWritable = services.bundle.writable;
    around_.script = script();
    around_.feed = http().document;
    around_.agentsFail = machine().agents.fails;
    around_.build = ledger_->installedBuild.value_or(around_.build);
}

void Life::endBy(bool orderly, double off) {
    orderly_ = orderly;
    around_.off = off;
    simulated().runLoop.terminate();
}

void Life::setArchiveFault(std::size_t fault) {
    around_.archiveFault = fault;
    const std::string_view name = archiveFaults()[fault].name;
    simulation::ScriptedArchive archive;
    archive.reachable = name != "unreachable";
    archive.status = name == "status" ? 404 : 200;
    archive.bytes = name == "bytes" ? "zap" : "zip";
    archive.unpackStatus = name == "unpack" ? 1 : 0;
    archive.strict = name != "not strict";
    if (name == "no bundle") {
        archive.entries = {"readme", "Korvel.app.txt"};
    } else {
        archive.entries = {"readme", "Korvel.app", "Other.app"};
    }
    if (name == "unsigned") {
        archive.team.reset();
    } else if (name == "other team") {
        archive.team = "7QX4D1K9WA";
    }
    if (name == "first move") {
        archive.moves[0] = "It cannot be moved.";
    } else if (name == "second move" || name == "no way back") {
        archive.moves[1] = "It cannot be moved.";
        archive.rollback = name == "second move";
    }
    setArchive(archive);
    if (http().archive) {
        http().archive->delay = around_.downloadTakes;
    }
}

/// So many rows, the newest of which is five seconds old.
void Life::putHistory(std::size_t rows) {
    std::string text = "[";
    const double now = simulated().clock.now();
    for (std::size_t i = 0; i < rows; ++i) {
        fmt::format_to(std::back_inserter(text), "{}[{},{},{}]", i == 0 ? "" : ",",
                       now - 5 * static_cast<double>(rows - i), static_cast<double>(i % 101),
                       static_cast<double>(i % 7) * 12.5);
    }
    simulated().files.contents[historyPath_] = text + "]";
}

void Life::togglePopover() {
    ledger_->clicksItem();
    simulated().statusBar.click();
}

void Life::clickOutside() {
    ledger_->expectedShown = false;
    popover_->clickOutside();
}

void Life::terminate() {
    simulated().runLoop.terminate();
}

void Life::describePopover() {
    ledger_->shown = view().content();
}

} // namespace korvel::swarm
