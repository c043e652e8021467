#include "swarm/ledger.h"

#include <algorithm>
#include <cmath>

#include <malloc.h>

#include "model/awake.h"
#include "model/model.h"
#include "platform/simulated/status_bar.h"
#include "swarm/life.h"
#include "swarm/texts.h"
#include "ui/content/content_view.h"
#include "update/updater.h"
#include "update/whats_new.h"

namespace korvel::swarm {

Ledger::Ledger(Life& of)
    : life(of), model(of.model()), awake(of.awake()), updater(of.updater()),
      whatsNew(of.whatsNew()) {
    launchedAtWall = wall();
    storedScore = stored("lastNotifiedScore");
    storedAt = stored("lastNotifiedAt");
    const double last = stored("lastUpdateCheck");
    checkDue = !(last > 0) || !(wall() - last < 86400);
    watch();
    watchUpdater();
    restoreAwake();
    expectNews();
}

double Ledger::elapsed() const {
    return life.ran();
}

double Ledger::wall() const {
    return life.simulated().clock.now();
}

const platform::SimulatedDefaults::Value* Ledger::setting(const char* key) const {
    const auto& values = life.simulated().defaults.values;
    const auto found = values.find(key);
    return found == values.end() ? nullptr : &found->second;
}

double Ledger::stored(const char* key) const {
    const platform::SimulatedDefaults::Value* const value = setting(key);
    if (value == nullptr || std::holds_alternative<std::string>(*value)) {
        return 0;
    }
    if (const bool* const flag = std::get_if<bool>(value)) {
        return *flag ? 1 : 0;
    }
    const auto* const whole = std::get_if<std::int64_t>(value);
    return whole != nullptr ? static_cast<double>(*whole) : std::get<double>(*value);
}

void Ledger::watch() {
    platform::SimulatedServices& services = life.simulated();
    services.machine.onRead = [this] { read(); };
    life.root().model().snap.didSet = [this] { publish(); };
    services.statusBar.onTitle = [this](const platform::StatusTitle& set) {
        title = set;
        refusedSinceTitle = false;
    };
    services.notifications.onPost = [this](const platform::Notification& notification) {
        posted.push_back(notification);
    };
    services.processes.onTerminate = [this](std::int32_t pid) { signalled.push_back(pid); };
    services.childProcesses.onRun = [this](const auto& run) { ran(run.executable, run.arguments); };
    services.files.onWrite = [this](const std::string& path, std::string_view bytes) {
        wrote(path, bytes);
    };
    services.runLoop.onTurnEnd = [this] { turnEnded(); };
}

void Ledger::read() {
    const bool loaded = !life.machine().agents.fails && agentsTexts()[life.around().agents].loaded;
    const Expected& reading = sampler.sample(life.machine(), loaded, wall());
    if (life.simulated().runLoop.inBackground()) {
        reclaim.readings.push_back(reading.diskFreeGB);
    } else {
        readings.push_back(reading);
    }
}

void Ledger::publish() {
    published = true;
    ++publications;
    publishedAt = elapsed();
    std::erase_if(samplesDue, [this](double due) { return due <= elapsed() + 1e-6; });
    if (readings.empty()) {
        fault = "Each published reading was taken";
        return;
    }
    expected = std::move(readings.front());
    readings.pop_front();
    expectNotice();
}

/// The rule of the notifications, anew.
void Ledger::expectNotice() {
    noticeDue = false;
    const double now = wall();
    if (now - launchedAtWall <= 120) {
        return;
    }
    const double before = stored("lastNotifiedScore");
    const double level = before == 0 ? 100 : before;
    const auto score = static_cast<double>(expected.score);
    if (score < 55 && level - score >= 12 && now - stored("lastNotifiedAt") > 900) {
        noticeDue = true;
        noticeTitle = "Mac slowing down: score " + std::to_string(expected.score);
        noticeBody = !expected.alerts.empty() ? expected.alerts[0]
                     : !expected.top.empty()  ? "Heaviest: " + expected.top[0].name +
                                                   printed(" at %.1f GB", expected.top[0].gb)
                                             : "Check Halden";
        storedScore = score;
        storedAt = now;
        life.coverage().add("notification");
    } else if (score > level) {
        storedScore = score;
    }
}

void Ledger::ran(const std::string& executable, const std::vector<std::string>& arguments) {
    const bool dead = life.around().deadTools.contains(executable);
    if (executable == "/bin/bash") {
        const simulation::ReclaimScript& script = life.script();
        const bool there = script.preview && !dead;
        Task& task = arguments.size() == 1 ? preview : reclaim;
        if (!task.begun || task.endsAt) {
            fault = "Nothing runs twice that may run once: the script of the disk space";
        }
        task.endsAt = elapsed() + (there ? script.seconds : 0);
        task.result = "nothing worth clearing";
        for (const ScriptText& text : scriptTexts()) {
            if (there && text.prints == *script.preview) {
                task.result = text.preview;
            }
        }
        if (&task == &reclaim && there && script.frees > 0) {
            life.coverage().add("disk space was cleared");
        }
    } else if (executable == "/usr/bin/vmmap") {
        ++mapRuns;
        if (!scan.begun || mapRuns > 12) {
            fault = "Nothing runs twice that may run once: the search for what holds swap";
        }
        scan.endsAt = scan.endsAt.value_or(elapsed()) + (dead ? 0 : life.around().mapTakes);
    }
}

void Ledger::wrote(const std::string& path, std::string_view bytes) {
    if (path != life.historyPath()) {
        return;
    }
    saved = true;
    savedRows = static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), '['));
    savedRows -= savedRows > 0 ? 1 : 0;
    if (bytes.size() < 2 || bytes.front() != '[' || bytes.back() != ']') {
        fault = "What is saved is one list";
    }
    if (savedRows > 0) {
        // The newest row, digit by digit as a second reader reads it.
        const std::string row(bytes.substr(bytes.rfind('[')));
        const HistoryPoint& newest = model.history->back();
        char* rest = nullptr;
        const double t = std::strtod(row.c_str() + 1, &rest);
        const double cpu = *rest == ',' ? std::strtod(rest + 1, &rest) : -1;
        const double mem = *rest == ',' ? std::strtod(rest + 1, &rest) : -1;
        if (t != newest.t || cpu != newest.cpu || mem != newest.mem) {
            fault = "The newest row of the file is the newest point";
        }
    }
}

void Ledger::clicksItem() {
    expectedShown = !expectedShown;
    if (expectedShown) {
        openedByUser = true;
        ++mostPublications;
        samplesDue.push_back(elapsed());
    }
}

void Ledger::quitsProcess(std::int32_t pid) {
    const auto lists = [pid](const std::vector<ProcInfo>& list) {
        return std::any_of(list.begin(), list.end(),
                           [pid](const ProcInfo& process) { return process.id == pid; });
    };
    if (pid != 500 && (lists(model.snap->topProcs) || lists(*model.swapHolders))) {
        mayBeSignalled.push_back(pid);
        samplesDue.push_back(elapsed() + 1.2);
        ++mostPublications;
    }
}

void Ledger::launched() {
    acting = true;
    storedScore = stored("lastNotifiedScore");
    mostPublications += 2;
    historySize = model.history->size();
    holdAtLaunch(*this);
    holdInvariants(*this);
    oldest = historySize > 0 ? std::optional(model.history->front()) : std::nullopt;
    acting = false;
    blockedOrSavedAt = elapsed();
}

void Ledger::acted() {
    acting = true;
}

/// Ten minutes apart, because it walks through the heap.
void Ledger::weigh() {
    if (elapsed() < weighAt || model.history->size() < kHistoryCap) {
        return;
    }
    weighAt = elapsed() + 600;
    const struct mallinfo2 heap = mallinfo2();
    std::size_t used = heap.uordblks + heap.hblkhd;
    for (const auto& [path, text] : life.simulated().files.contents) {
        used -= text.capacity(); // the simulated disk
    }
    for (const platform::SimulatedProcess& process : life.simulated().processes.table) {
        used -= process.vmmap ? process.vmmap->capacity() : 0; // what a tool would print
    }
    growth = used > weight.value_or(used) ? used - *weight : 0;
    weight = weight.value_or(used);
}

void Ledger::turnEnded() {
    ++turns;
    weigh();
    if (popoverShown != expectedShown && popoverShown && greetingDue && !greeted) {
        greeted = expectedShown = true; // by itself
        life.coverage().add("the popover opened by itself");
    }
    if (deadline && elapsed() >= *deadline - 1e-6 && !*awake.on) {
        disablesAwake();
        life.coverage().add("keep-awake came to its end");
    }
    endTasks();
    std::erase_if(endings, [this](double when) { return when < elapsed() - 1e-6; });
    if (!shown && (acting || (popoverShown && published))) {
        shown = life.root().content();
    }
    if (saved || life.simulated().files.unwritable.contains(life.historyPath())) {
        blockedOrSavedAt = elapsed();
    }
    if (!saved && elapsed() >= savesDue) {
        life.coverage().add("the history could not be saved");
    }
    savesDue = 120 * (std::floor(elapsed() / 120) + 1);
    holdInvariants(*this);
    historySize = model.history->size();
    if (published && historySize > 0) {
        oldest = model.history->front();
    }
    published = acting = saved = noticeDue = false;
    shown.reset();
    outcome.reset();
    if (!posted.empty() || !signalled.empty() || !mayBeSignalled.empty()) {
        posted.clear();
        signalled.clear();
        mayBeSignalled.clear();
    }
    // What the simulation itself remembers is no memory of the program's.
    life.simulated().forgetWhatWasAsked();
    life.http().urls.clear();
    life.popover().requests.clear();
    life.popover().activations.clear();
}

void Ledger::ending() {
    life.simulated().runLoop.onTurnEnd = nullptr;
    saved = false;
}

void Ledger::ended(bool orderly) {
    if (orderly) {
        holdAtEnd(*this);
    }
}

} // namespace korvel::swarm
