// What the ledger has to say of what the user wishes: to be kept awake, and the remedies.

#include <algorithm>
#include <tuple>
#include <utility>

#include "model/awake.h"
#include "model/model.h"
#include "swarm/ledger.h"
#include "swarm/life.h"
#include "swarm/texts.h"

namespace korvel::swarm {

void Ledger::enablesAwake(std::optional<std::int64_t> minutes) {
    const platform::SimulatedPower& power = life.power();
    lostPower = false;
    deadline.reset();
    wishOn = power.grantsDisplay || power.grantsSystem;
    if (!wishOn) {
        refusedSinceTitle = true;
        life.coverage().add("keep-awake was refused");
        return;
    }
    wishUntil.reset();
    if (minutes) {
        wishUntil = wall() + 60 * static_cast<double>(*minutes);
        deadline = elapsed() + std::max(*wishUntil - wall(), 1.0);
    }
    storedOn = true;
    storedUntil = wishUntil.value_or(0);
}

void Ledger::disablesAwake() {
    wishOn = false;
    wishUntil.reset();
    deadline.reset();
    storedOn = false;
    storedUntil.reset();
}

void Ledger::restoreAwake() {
    storedOn = setting("awakeOn") != nullptr ? std::optional(stored("awakeOn") != 0) : std::nullopt;
    storedUntil =
        setting("awakeUntil") != nullptr ? std::optional(stored("awakeUntil")) : std::nullopt;
    if (!storedOn.value_or(false)) {
        return;
    }
    const double end = storedUntil.value_or(0);
    if (end == 0 || end - wall() > 30) {
        const auto before = std::pair(storedOn, storedUntil);
        enablesAwake(std::nullopt);
        if (!wishOn) {
            std::tie(storedOn, storedUntil) = before;
        } else if (end != 0) {
            wishUntil = end;
            deadline = elapsed() + (end - wall());
            storedUntil = end;
        }
        life.coverage().add(wishOn ? "keep-awake was taken up at a launch"
                                   : "keep-awake could not be taken up");
    } else {
        disablesAwake();
        life.coverage().add("keep-awake had ended before the launch");
    }
}

void Ledger::sleeps(double seconds) {
    if (deadline) {
        deadline = std::max(*deadline - seconds, elapsed());
    }
}

void Ledger::begin(Task& task) {
    task = {};
    task.begun = true;
    task.endsAt.reset();
}

void Ledger::previews() {
    if (!preview.begun) {
        begin(preview);
    }
}

void Ledger::runsReclaim() {
    if (!reclaim.begun) {
        begin(reclaim);
    }
}

void Ledger::seeksSwapHolders() {
    if (scan.begun) {
        return;
    }
    begin(scan);
    mapRuns = 0;
    holders.clear();
    const bool dead = life.around().deadTools.contains("/usr/bin/vmmap");
    for (const Expected::Process& candidate : heaviest(life.simulated().processes, 12)) {
        const platform::SimulatedProcess* const process =
            life.simulated().processes.find(candidate.pid);
        for (const MapText& text : mapTexts()) {
            if (!dead && process->vmmap == text.prints && text.bytes / 1073741824 >= 0.05) {
                holders.emplace_back(candidate.pid, text.bytes / 1073741824);
                break;
            }
        }
    }
    std::stable_sort(holders.begin(), holders.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    if (holders.size() > 6) {
        holders.erase(holders.begin() + 6, holders.end());
    }
}

/// A task whose tool has come to its end, and which the program takes for ended, is over.
void Ledger::endTasks() {
    const auto over = [this](const Task& task, bool running) {
        return task.begun && task.endsAt && elapsed() >= *task.endsAt - 1e-6 && !running;
    };
    if (over(preview, *model.scanning)) {
        preview.begun = false;
        expects("A preview tells what the script prints",
                model.reclaimPreview.get() == preview.result);
        life.coverage().add("a preview ended");
    }
    if (over(reclaim, *model.reclaiming)) {
        reclaim.begun = false;
        ++mostPublications;
        const double before = reclaim.readings.empty() ? 0 : reclaim.readings.front();
        const double after = reclaim.readings.empty() ? 0 : reclaim.readings.back();
        const std::string result =
            after - before > 0.1
                ? printed("reclaimed %.1f GB · ", after - before) + printed("%.0f GB free", after)
                : "nothing to reclaim right now";
        expects("A clearing tells what it gained", model.reclaimResult.get() == result);
        life.coverage().add(after - before > 0.1 ? "a clearing gained"
                                                 : "a clearing gained nothing");
    }
    // Where there is nobody to ask, the search ends without a tool.
    if (scan.begun && !*model.scanningSwap && (!scan.endsAt || elapsed() >= *scan.endsAt - 1e-6)) {
        scan.begun = false;
        scan.endsAt.reset();
        const std::vector<ProcInfo>& found = *model.swapHolders;
        expects("A search finds what holds swap",
                std::equal(found.begin(), found.end(), holders.begin(), holders.end(),
                           [](const ProcInfo& a, const auto& b) {
                               return a.id == b.first && near(a.gb, b.second);
                           }));
        life.coverage().add(found.empty() ? "a search found nothing" : "a search found holders");
    }
}

} // namespace korvel::swarm
