// What must hold after every turn of the run loop, whatever the machine, its user and its faults
// do. Each rule has the sentence that is printed when it breaks. What the rules compare with is in
// the ledger, which has worked it out anew.

#include <algorithm>
#include <cmath>

#include "model/awake.h"
#include "model/model.h"
#include "platform/simulated/status_bar.h"
#include "swarm/content_rules.h"
#include "swarm/ledger.h"
#include "swarm/life.h"
#include "swarm/texts.h"
#include "update/updater.h"
#include "update/whats_new.h"

namespace korvel::swarm {

namespace {

using namespace update_state;
using L = const Ledger&;

constexpr double kSlack = 1e-6; // seconds

enum class When { always, published, saved, shown, launched, ended };

struct Invariant {
    When when;
    const char* sentence;
    bool (*holds)(L l);
};

template <typename State>
bool is(L l) {
    return std::holds_alternative<State>(*l.updater.state);
}

bool settled(const Task& task, bool running, double elapsed) {
    return running ? task.begun && (!task.endsAt || elapsed <= *task.endsAt + kSlack)
                   : !task.begun || !task.endsAt || elapsed < *task.endsAt + kSlack;
}

std::size_t folders(L l, std::string_view beginning) {
    const auto& all = l.life.simulated().fileManager.folders;
    return static_cast<std::size_t>(
        std::count_if(all.begin(), all.end(), [&](const std::string& folder) {
            return folder.starts_with(beginning) &&
                   folder.find('/', beginning.size()) == std::string::npos;
        }));
}

std::size_t held(L l, platform::PowerAssertionType type) {
    const auto& all = l.life.simulated().power.held;
    return static_cast<std::size_t>(std::count_if(
        all.begin(), all.end(), [&](const auto& assertion) { return assertion.second == type; }));
}

/// Whether the settings hold that number, or nothing where none is expected.
bool holdsNumber(L l, const char* key, std::optional<double> expected) {
    return (l.setting(key) != nullptr) == expected.has_value() &&
           near(l.stored(key), expected.value_or(0));
}

bool keepsWish(L l) {
    return (l.setting("awakeOn") != nullptr) == l.storedOn.has_value() &&
           (l.stored("awakeOn") != 0) == l.storedOn.value_or(false) &&
           holdsNumber(l, "awakeUntil", l.storedUntil);
}

const Invariant kInvariants[] = {
    {When::published, "The score is a whole number from 0 to 100.",
     [](L l) { return l.model.snap->score >= 0 && l.model.snap->score <= 100; }},
    {When::published, "The score is what its six factors add up to, at most 45 beside a runaway.",
     [](L l) {
         double sum = 0;
         for (const ScoreFactor& factor : l.model.snap->factors) {
             sum += factor.weight * factor.health;
         }
         sum = l.model.snap->runaway ? std::min(sum, 45.0) : sum;
         return std::abs(static_cast<double>(l.model.snap->score) - sum) <= 0.5 + 1e-9;
     }},
    {When::published, "The factors are the six, of their weights, the one that costs most first.",
     [](L l) { return sameFactors(l.expected, *l.model.snap); }},
    {When::published, "A published reading is what the machine's figures come to.",
     [](L l) { return difference(l.expected, *l.model.snap).empty(); }},
    {When::published, "The alerts are those of the reading, in their order.",
     [](L l) { return l.model.snap->alerts == l.expected.alerts; }},
    {When::always, "The title shows the score that was published last.",
     [](L l) {
         const std::int64_t score = l.model.snap->score;
         return l.title && l.title->score == score &&
                l.title->runs.back().text == " " + std::to_string(score);
     }},
    {When::always, "The title has the colour of its score.",
     [](L l) {
         const std::int64_t score = l.model.snap->score;
         return l.title->colourName == (score >= 72   ? "good"
                                        : score >= 55 ? "warn"
                                                      : "bad") &&
                l.title->runs.front().text == "●" &&
                l.title->runs.front().inkName == l.title->colourName;
     }},
    {When::always, "The title has a cup while the machine is kept awake, and only then.",
     [](L l) {
         const bool cup = l.title->runs.size() == 3 && l.title->runs[1].text == " ☕";
         return l.refusedSinceTitle || (l.title->awake == *l.awake.on && cup == l.title->awake &&
                                        l.title->runs.size() == (cup ? 3U : 2U));
     }},
    {When::published, "What a screen reader says of the item is its score and its verdict.",
     [](L l) {
         return l.life.simulated().statusBar.summary ==
                std::to_string(l.model.snap->score) + " · " + l.expected.verdict;
     }},
    {When::always, "There is one status item.",
     [](L l) { return l.life.simulated().statusBar.items == 1; }},
    {When::always, "A sample is published every five seconds.",
     [](L l) { return l.elapsed() - l.publishedAt <= 5 + kSlack; }},
    {When::always, "No sample is taken that nothing asked for.",
     [](L l) {
         const auto beats = static_cast<std::uint64_t>(l.elapsed() / 5 + kSlack);
         return l.publications <= l.mostPublications + beats;
     }},
    {When::always,
     "A sample follows a click at once, and 1.2 seconds after a process was asked to end.",
     [](L l) {
         return std::none_of(l.samplesDue.begin(), l.samplesDue.end(),
                             [&](double due) { return l.elapsed() > due + kSlack; });
     }},
    {When::always, "Every sample that was taken is published in the same second.",
     [](L l) { return l.readings.size() <= 4; }},
    {When::always, "At most one notification is posted in 900 seconds, and only one that is due.",
     [](L l) { return l.posted.size() == (l.noticeDue ? 1U : 0U); }},
    {When::always, "A notification names the score and what is worst.",
     [](L l) {
         return l.posted.empty() ||
                (l.posted[0].title == l.noticeTitle && l.posted[0].body == l.noticeBody);
     }},
    {When::published, "The score that was told last follows the score up, and is kept.",
     [](L l) {
         return near(l.stored("lastNotifiedScore"), l.storedScore) &&
                near(l.stored("lastNotifiedAt"), l.storedAt);
     }},
    {When::always, "Keep-awake is on while it was wished and granted.",
     [](L l) { return *l.awake.on == l.wishOn; }},
    {When::always, "Keep-awake ends at the time that was chosen.",
     [](L l) { return !l.wishOn || *l.awake.until == l.wishUntil; }},
    {When::always, "A timed period is over when its seconds have passed, asleep or awake.",
     [](L l) { return !l.deadline || !*l.awake.on || l.elapsed() <= *l.deadline + kSlack; }},
    {When::always, "One timer runs for a timed period, and none otherwise.",
     [](L l) {
         return l.life.simulated().runLoop.waitingOnce() == (l.deadline && *l.awake.on ? 1U : 0U);
     }},
    {When::always, "No inhibitor outlives its wish, and there is none twice.",
     [](L l) {
         using enum platform::PowerAssertionType;
         const std::size_t most = *l.awake.on ? 1 : 0;
         return held(l, noDisplaySleep) <= most && held(l, noIdleSleep) <= most;
     }},
    {When::always, "While keep-awake is on it holds what was granted.",
     [](L l) { return !*l.awake.on || l.lostPower || !l.life.simulated().power.held.empty(); }},
    {When::always, "The settings hold the wish to be kept awake, for the next launch.", keepsWish},
    {When::ended, "A quit does not forget the wish to be kept awake.", keepsWish},
    {When::always, "The history loses no point but the oldest beyond 43,200.",
     [](L l) {
         const std::size_t size = l.model.history->size();
         const bool full = l.published && l.historySize >= 43200;
         return size == std::min<std::size_t>(l.historySize + (l.published ? 1 : 0), 43200) &&
                (full || !l.oldest || l.oldest->id == l.model.history->front().id);
     }},
    {When::published, "The newest point of the history is the reading that was published.",
     [](L l) {
         const HistoryPoint& newest = l.model.history->back();
         return near(newest.cpu, l.expected.cpuPct) && near(newest.mem, l.expected.memPct) &&
                newest.t == l.wall();
     }},
    {When::always, "The history is saved every two minutes while its file can be written.",
     [](L l) { return l.elapsed() - l.blockedOrSavedAt <= 120 + kSlack; }},
    {When::saved, "A save writes every point of the history.",
     [](L l) { return l.savedRows == l.model.history->size(); }},
    {When::always, "A preview of what can be cleared ends with its script.",
     [](L l) { return settled(l.preview, *l.model.scanning, l.elapsed()); }},
    {When::always, "A clearing of the disk ends with its script.",
     [](L l) { return settled(l.reclaim, *l.model.reclaiming, l.elapsed()); }},
    {When::always, "A search for what holds swap ends with its tool.",
     [](L l) {
         return *l.model.scanningSwap == l.scan.begun &&
                (!l.scan.endsAt || l.elapsed() <= *l.scan.endsAt + kSlack);
     }},
    {When::always, "A running search shows no old list, and a list has at most six.",
     [](L l) {
         return l.model.swapHolders->size() <= 6 &&
                (!*l.model.scanningSwap || l.model.swapHolders->empty());
     }},
    {When::always, "A process is asked to end when its button is pressed, and the program never.",
     [](L l) {
         return l.signalled == l.mayBeSignalled &&
                std::count(l.signalled.begin(), l.signalled.end(), 500) == 0;
     }},
    {When::always, "A check for updates ends within 15 seconds.",
     [](L l) { return !is<Checking>(l) || l.elapsed() <= l.checkingSince + 15 + kSlack; }},
    {When::always, "That nothing newer is there is told for 4 seconds at most.",
     [](L l) { return !is<UpToDate>(l) || l.elapsed() <= l.upToDateSince + 4 + kSlack; }},
    {When::always, "A download ends, and an installation takes no more than its turn.",
     [](L l) {
         return !is<Installing>(l) &&
                std::none_of(l.downloads.begin(), l.downloads.end(), [&](const auto& download) {
                    return l.elapsed() > download.arrives + kSlack;
                });
     }},
    {When::always, "The time of the last check is kept.",
     [](L l) {
         return near(l.updater.lastChecked->value_or(0), l.stored("lastUpdateCheck")) &&
                l.stored("lastUpdateCheck") <= std::max(l.wall(), l.stored("lastUpdateCheck"));
     }},
    {When::always, "An update is looked for at a launch once a day.",
     [](L l) { return !l.checkDue || l.checkedAtLaunch || l.elapsed() == 0; }},
    {When::always, "Of an installation nothing is left behind.",
     [](L l) { return folders(l, "/tmp/korvel-update-") <= l.downloads.size() + l.timesKept; }},
    {When::always, "The bundle stands in its place, unless it could not be moved back.",
     [](L l) {
         return l.keptOld ||
                l.life.simulated().fileManager.folders.contains("/Applications/Korvel.app");
     }},
    {When::always, "After an installation the next launch finds its notes.",
     [](L l) {
         const auto* const notes = l.setting("pendingReleaseNotes");
         return !l.installedBuild || (notes != nullptr && std::get<std::string>(*notes) ==
                                                              notesOf(*l.installedBuild).notes);
     }},
    {When::always, "The greeting is that of the launch until it is dismissed.",
     [](L l) { return static_cast<std::size_t>(l.whatsNew.kind->value) == l.expectedKind; }},
    {When::always, "The news have at most three lines, and what was handed over is shown.",
     [](L l) {
         return l.whatsNew.notes->size() <= 3 &&
                (!l.expectedNotes || *l.whatsNew.notes == *l.expectedNotes);
     }},
    {When::always, "What was handed over is shown once, and what was dismissed stays away.",
     [](L l) {
         return (!l.expectedNotes || l.installedBuild ||
                 l.setting("pendingReleaseNotes") == nullptr) &&
                (!l.dismissed ||
                 l.stored("seenBuild") == static_cast<double>(l.life.around().build));
     }},
    {When::always, "The popover opens by a click, or once by itself for each build.",
     [](L l) { return l.popoverShown == l.expectedShown; }},
    {When::always, "For which build the popover opened by itself is remembered.",
     [](L l) {
         return !l.greetingDue ||
                l.stored("whatsNewAutoShownBuild") == static_cast<double>(l.life.around().build);
     }},
    {When::always, "A greeting that is due comes within 1.2 seconds.",
     [](L l) {
         return !l.greetingDue || l.greeted || l.openedByUser || l.elapsed() <= 1.2 + kSlack;
     }},
    {When::always, "What waits for its time does not pile up.",
     [](L l) {
         return l.life.simulated().runLoop.waiting() <= 16 + l.samplesDue.size() +
                                                            l.downloads.size() + l.underWay.size() +
                                                            l.endings.size();
     }},
    {When::always, "Memory in use does not grow once the history is full.",
     [](L l) { return l.growth < (std::size_t{768} << 10); }},
    {When::shown, "The popover tells the state of the program, and offers what can be done in it.",
     [](L l) { return wrongOf(*l.shown, l).empty(); }},
    {When::launched, "A launch finds the history that was saved.", foundHistory},
    {When::ended, "When the program has ended nothing keeps the machine awake.",
     [](L l) { return l.life.simulated().power.held.empty() && !*l.awake.on; }},
    {When::ended, "When the program has ended the whole history is in its file.", savedHistory},
    {When::ended, "When the program has ended no installation is left on the disk.",
     [](L l) { return folders(l, "/tmp/korvel-update-") <= l.timesKept; }},
};

void hold(L ledger, When when) {
    for (const Invariant& invariant : kInvariants) {
        if (invariant.when == when && !invariant.holds(ledger)) {
            std::string detail;
            if (when == When::published) {
                detail = difference(ledger.expected, *ledger.model.snap);
            } else if (when == When::shown) {
                detail = wrongOf(*ledger.shown, ledger);
            }
            throw Broken{invariant.sentence, detail, ledger.elapsed()};
        }
    }
}

} // namespace

void holdInvariants(L ledger) {
    if (!ledger.fault.empty()) {
        throw Broken{ledger.fault + ".", "", ledger.elapsed()};
    }
    hold(ledger, When::always);
    if (ledger.published) {
        hold(ledger, When::published);
    }
    if (ledger.saved) {
        hold(ledger, When::saved);
    }
    if (ledger.shown) {
        hold(ledger, When::shown);
    }
}

void holdAtLaunch(L ledger) {
    hold(ledger, When::launched);
}

void holdAtEnd(L ledger) {
    hold(ledger, When::ended);
}

std::vector<const char*> invariantSentences() {
    std::vector<const char*> sentences;
    for (const Invariant& invariant : kInvariants) {
        sentences.push_back(invariant.sentence);
    }
    return sentences;
}

} // namespace korvel::swarm
