// What the ledger has to say of updates and of what is new.

#include <algorithm>
#include <cmath>

#include "swarm/ledger.h"
#include "swarm/life.h"
#include "swarm/texts.h"
#include "update/updater.h"
#include "update/whats_new.h"

namespace korvel::swarm {

using namespace update_state;

namespace {

template <typename State>
bool is(const UpdaterState& state) {
    return std::holds_alternative<State>(state);
}

} // namespace

void Ledger::watchUpdater() {
    stateBefore = *updater.state;
    updater.state.didSet = [this] { setState(); };
}

void Ledger::installs() {
    if (!updater.pending) {
        return;
    }
    const std::size_t meets = life.around().archiveFault;
    const bool isThere = archiveFaults()[meets].name != "unreachable";
    downloads.push_back(
        {elapsed() + (isThere ? life.around().downloadTakes : 0), updater.pending->build, meets});
}

/// What has to come of an installation whose archive is there. Its bytes are those of the time at
/// which they were asked for.
std::string Ledger::expectedOutcome(const Download& download) const {
    const Surroundings& around = life.around();
    const auto dead = [&](const char* tool) { return around.deadTools.contains(tool); };
    const std::string_view name = archiveFaults()[around.archiveFault].name;
    const std::string& message = archiveFaults()[around.archiveFault].message;
    if (archiveFaults()[download.fault].name == "bytes") {
        return archiveFaults()[download.fault].message;
    }
    if (dead("/usr/bin/ditto") || name == "unpack" || name == "no bundle") {
        return "Update could not be unpacked";
    }
    if (dead("/usr/bin/codesign") || name == "unsigned" || name == "other team" ||
        name == "not strict") {
        return "Update is not signed by Oxbrook; refusing to install";
    }
    if (!life.simulated().bundle.writable) {
        return "Can't write to Applications. The new version is in Finder; drag it over.";
    }
    return name.find("move") == std::string_view::npos && name != "no way back" ? "" : message;
}

void Ledger::setState() {
    const UpdaterState& state = *updater.state;
    if (is<Checking>(state)) {
        checkingSince = elapsed();
        const bool byUser = userChecks > 0;
        if (byUser) {
            --userChecks;
        } else if (!checkDue || checkedAtLaunch || elapsed() > 0) {
            fault = "Nobody is asked for an update unasked within a day of the last time";
        } else {
            checkedAtLaunch = true;
        }
        const auto& document = life.http().document;
        Check check{elapsed(), std::nullopt, byUser};
        if (document) {
            check.arrives += std::min(document->delay, 15.0);
            for (std::int64_t build = 90; document->delay <= 15 && document->status == 200;
                 ++build) {
                if (build > 130) {
                    break;
                }
                if (document->body == feedBody(0, build)) {
                    check.build = build;
                    break;
                }
            }
        }
        underWay.push_back(check);
    } else if (is<Installing>(state)) {
        const auto arrived =
            std::find_if(downloads.begin(), downloads.end(), [this](const Download& download) {
                return std::abs(download.arrives - elapsed()) < 1e-6;
            });
        if (arrived == downloads.end()) {
            fault = "Nothing is installed that was not asked for";
        } else {
            outcome = expectedOutcome(*arrived);
            underInstallation = arrived->build;
            const ArchiveFault& wrong = archiveFaults()[life.around().archiveFault];
            anyOutcome = keptOld; // without the version that runs no move can go well
            if (!keptOld && wrong.name == "no way back" && *outcome == wrong.message) {
                keptOld = true;
                ++timesKept;
            }
            downloads.erase(arrived);
        }
    } else if (stateBefore && is<Installing>(*stateBefore)) {
        if (is<ReadyToRelaunch>(state)) {
            installedBuild = underInstallation;
        }
        const Failed* const failed = std::get_if<Failed>(&state);
        const bool good =
            anyOutcome || (outcome && (outcome->empty() ? is<ReadyToRelaunch>(state)
                                                        : failed && failed->message == *outcome));
        if (!good) {
            fault = "An installation ends as its archive deserves: " +
                    (outcome->empty() ? "installed" : *outcome);
        }
        life.coverage().add("installation: " + (outcome->empty() ? "done" : *outcome));
    } else {
        settle(state);
    }
    stateBefore = state;
}

/// A state that no installation set.
void Ledger::settle(const UpdaterState& state) {
    const auto due = [this](double when) { return std::abs(when - elapsed()) < 1e-6; };
    const Failed* const failed = std::get_if<Failed>(&state);
    if (failed && failed->message == "Download failed") {
        const auto arrived = std::find_if(downloads.begin(), downloads.end(),
                                          [&](const auto& one) { return due(one.arrives); });
        if (arrived == downloads.end()) {
            fault = "A download fails that was asked for";
        } else {
            downloads.erase(arrived);
        }
        life.coverage().add("installation: Download failed");
        return;
    }
    if (is<UpToDate>(state)) {
        upToDateSince = elapsed();
        endings.push_back(elapsed() + 4);
    }
    if (is<Downloading>(state)) {
        return;
    }
    if (is<Idle>(state) && stateBefore && is<UpToDate>(*stateBefore)) {
        return; // it was shown long enough, if not too long
    }
    const auto fits = [&](const Check& check) {
        if (!due(check.arrives)) {
            return false;
        }
        if (!check.build) {
            return check.byUser ? failed && failed->message == "Could not reach the update server"
                                : is<Idle>(state);
        }
        if (*check.build <= life.around().build) {
            return is<UpToDate>(state);
        }
        return is<Available>(state) &&
               std::get<Available>(state).version == versionOf(*check.build);
    };
    const auto found = std::find_if(underWay.begin(), underWay.end(), fits);
    if (found == underWay.end()) {
        fault = "A check ends as its feed has it";
        return;
    }
    life.coverage().add(!found->build                         ? "check: no feed"
                        : *found->build > life.around().build ? "check: something newer"
                                                              : "check: nothing newer");
    underWay.erase(found);
}

void Ledger::expectNews() {
    using Case = WhatsNew::Kind::Case;
    const double seen = stored("seenBuild");
    const auto build = static_cast<double>(life.around().build);
    const Case kind = seen == 0 ? Case::installed : seen < build ? Case::updated : Case::none;
    expectedKind = static_cast<std::size_t>(kind);
    greetingDue = kind != Case::none && stored("whatsNewAutoShownBuild") != build;
    const platform::SimulatedDefaults::Value* const handed = setting("pendingReleaseNotes");
    if (kind == Case::updated && handed != nullptr && !std::get<std::string>(*handed).empty()) {
        for (const NotesText& text : notesTexts()) {
            if (text.notes == std::get<std::string>(*handed)) {
                expectedNotes = text.lines;
            }
        }
    }
    life.coverage().add(kind == Case::updated     ? "launch: of a new version"
                        : kind == Case::installed ? "launch: the first"
                                                  : "launch: as before");
}

void Ledger::dismissesNews() {
    expectedKind = static_cast<std::size_t>(WhatsNew::Kind::Case::none);
    dismissed = true;
}

} // namespace korvel::swarm
