#include <cstdint>
#include <optional>
#include <set>
#include <string>

#include <fmt/format.h>

#include "model/model.h"
#include "swarm/event_tables.h"
#include "swarm/ledger.h"
#include "swarm/life.h"
#include "swarm/texts.h"
#include "ui/content/content_view.h"
#include "update/updater.h"

namespace korvel::swarm {

namespace {

using Text = std::string;

std::optional<std::int64_t> minutesOf(const Arguments& n) {
    return n[0] < 0 ? std::nullopt : std::optional(as<std::int64_t>(n[0]));
}

/// The button of the disk space, in whatever state it is.
void pressReclaim(Life& life, const Arguments& /*n*/) {
    const Model& model = life.model();
    Ledger& ledger = life.ledger();
    if (!*model.reclaiming && *model.reclaimPreview) {
        ledger.runsReclaim();
        life.root().pressReclaim();
        ledger.expects("a press on \"Clear\" clears", *model.reclaiming);
    } else if (!*model.reclaiming && !*model.scanning) {
        ledger.previews();
        life.root().pressReclaim();
        ledger.expects("a press on \"Reclaim\" asks the script", *model.scanning);
    } else {
        life.root().pressReclaim(); // it is disabled
    }
}

/// The button of the update line, in whatever state it is.
void pressUpdate(Life& life, const Arguments& /*n*/) {
    using namespace update_state;
    const UpdaterState state = *life.updater().state;
    Ledger& ledger = life.ledger();
    if (std::holds_alternative<Available>(state)) {
        ledger.installs();
        life.root().pressUpdate();
        ledger.expects("a press on \"Update\" downloads",
                       std::holds_alternative<Downloading>(*life.updater().state));
    } else if (std::holds_alternative<ReadyToRelaunch>(state)) {
        life.around().off = 1;
        life.root().pressUpdate();
        ledger.expects("a press on \"Relaunch\" ends the program",
                       life.simulated().runLoop.terminated());
    } else {
        life.root().pressUpdate();
    }
}

void clickNotification(Life& life, const Arguments& /*n*/) {
    if (!life.ledger().popoverShown) {
        life.ledger().clicksItem();
    }
    life.simulated().notifications.click();
}

void toggleBreakdown(Life& life, const Arguments& /*n*/) {
    life.ledger().breakdown = !life.ledger().breakdown;
    life.toggleBreakdown();
}

void findSwapHolders(Life& life, const Arguments& /*n*/) {
    life.ledger().seeksSwapHolders();
    life.findSwapHolders();
}

void expectNoTexts(Life& life, bool begins) {
    life.ledger().expects("What begins clears the texts of what was before",
                          !begins ||
                              (!*life.model().reclaimPreview && !*life.model().reclaimResult));
}

void preview(Life& life, const Arguments& /*n*/) {
    const bool begins = !life.ledger().preview.begun;
    life.ledger().previews();
    life.previewReclaim();
    expectNoTexts(life, begins);
}

void runReclaim(Life& life, const Arguments& /*n*/) {
    const bool begins = !life.ledger().reclaim.begun;
    life.ledger().runsReclaim();
    life.runReclaim();
    expectNoTexts(life, begins);
}

void enableAwake(Life& life, const Arguments& n) {
    life.ledger().enablesAwake(minutesOf(n));
    life.enableAwake(minutesOf(n));
}

void disableAwake(Life& life, const Arguments& /*n*/) {
    life.ledger().disablesAwake();
    life.disableAwake();
}

void check(Life& life, const Arguments& /*n*/) {
    life.ledger().checks();
    life.checkForUpdates();
}

void install(Life& life, const Arguments& /*n*/) {
    life.ledger().installs();
    life.installPending();
}

void dismissNews(Life& life, const Arguments& /*n*/) {
    life.ledger().dismissesNews();
    life.dismissWhatsNew();
}

/// The system takes back what it granted.
void losePower(Life& life, const Arguments& /*n*/) {
    life.ledger().lostPower = true;
    life.power().held.clear();
}

/// The button of that process, if it has one.
void quitProcess(Life& life, const Arguments& n) {
    const auto pid = as<std::int32_t>(n[0]);
    life.ledger().quitsProcess(pid);
    life.quitProcess(pid);
}

void cutHistory(Life& life, const Arguments& n) {
    std::string& text = life.simulated().files.contents[life.historyPath()];
    text.resize(as<std::size_t>(n[0] * static_cast<double>(text.size())));
}

void setPath(std::set<std::string>& paths, const std::string& path, bool in) {
    if (in) {
        paths.insert(path);
    } else {
        paths.erase(path);
    }
}

void setFeed(Life& life, const Arguments& n) {
    const auto kind = as<std::size_t>(n[0]);
    life.http().document.reset();
    if (kind < kFeedKinds) {
        life.http().document = platform::SimulatedHttp::Answer{
            kind == 1 ? 500 : 200, feedBody(kind, as<std::int64_t>(n[1])), n[2]};
    }
}

Text feedScenario(const Arguments& n) {
    const auto kind = as<std::size_t>(n[0]);
    return kind < kFeedKinds ? fmt::format(R"("feed": {{"status": {}, "body": {}, "delay": {}}})",
                                           kind == 1 ? 500 : 200,
                                           jsonText(feedBody(kind, as<std::int64_t>(n[1]))), n[2])
                             : R"("feed": {"error": true})";
}

/// A scenario's "do".
#define KORVEL_SWARM_DO(NAME) [](const Arguments&) -> Text { return R"("do": ")" NAME "\""; }

} // namespace

std::vector<EventKind> otherKinds() {
    return {
        {"click", 0, [](Life& life, const Arguments&) { life.togglePopover(); },
         KORVEL_SWARM_DO("togglePopover")},
        {"click-elsewhere", 0, [](Life& life, const Arguments&) { life.clickOutside(); },
         KORVEL_SWARM_DO("clickOutside")},
        {"click-notification", 0, clickNotification, nullptr},
        {"toggle-breakdown", 0, toggleBreakdown, KORVEL_SWARM_DO("toggleBreakdown")},
        {"quit-process", 1, quitProcess,
         [](const Arguments& n) { return fmt::format(R"("do": "quitProcess", "pid": {})", n[0]); }},
        {"find-swap-holders", 0, findSwapHolders, KORVEL_SWARM_DO("findSwapHolders")},
        {"preview", 0, preview, KORVEL_SWARM_DO("previewReclaim")},
        {"reclaim", 0, runReclaim, KORVEL_SWARM_DO("runReclaim")},
        {"press-reclaim", 0, pressReclaim, nullptr},
        {"dismiss-preview", 0, [](Life& life, const Arguments&) { life.dismissPreview(); },
         KORVEL_SWARM_DO("dismissPreview")},
        {"awake", 1, enableAwake,
         [](const Arguments& n) {
             return n[0] < 0 ? Text(R"("do": "enableAwake", "minutes": null)")
                             : fmt::format(R"("do": "enableAwake", "minutes": {})", n[0]);
         }},
        {"awake-off", 0, disableAwake, KORVEL_SWARM_DO("disableAwake")},
        {"check", 0, check, KORVEL_SWARM_DO("checkForUpdates")},
        {"install", 0, install, KORVEL_SWARM_DO("installPending")},
        {"press-update", 0, pressUpdate, nullptr},
        {"relaunch", 0,
         [](Life& life, const Arguments&) {
             life.around().off = 1;
             life.relaunch();
         },
         KORVEL_SWARM_DO("relaunch")},
        {"dismiss-news", 0, dismissNews, KORVEL_SWARM_DO("dismissWhatsNew")},
        {"describe", 0, [](Life& life, const Arguments&) { life.describePopover(); },
         KORVEL_SWARM_DO("describePopover")},
        {"power", 2,
         [](Life& life, const Arguments& n) {
             life.power().grantsDisplay = n[0] != 0;
             life.power().grantsSystem = n[1] != 0;
         },
         [](const Arguments& n) {
             return fmt::format(R"("power": {{"display": {}, "system": {}}})", n[0] != 0,
                                n[1] != 0);
         }},
        {"power-lost", 0, losePower, nullptr},
        {"feed", 3, setFeed, feedScenario},
        {"archive", 1,
         [](Life& life, const Arguments& n) { life.setArchiveFault(as<std::size_t>(n[0])); },
         nullptr},
        {"download-takes", 1,
         [](Life& life, const Arguments& n) {
             life.around().downloadTakes = n[0];
             life.setArchiveFault(life.around().archiveFault);
         },
         nullptr},
        {"bundle-writable", 1,
         [](Life& life, const Arguments& n) { life.simulated().bundle.writable = n[0] != 0; },
         nullptr},
        {"history-unwritable", 1,
         [](Life& life, const Arguments& n) {
             setPath(life.simulated().files.unwritable, life.historyPath(), n[0] != 0);
         },
         nullptr},
        {"history-unreadable", 1,
         [](Life& life, const Arguments& n) {
             setPath(life.simulated().files.unreadable, life.historyPath(), n[0] != 0);
         },
         nullptr},
        {"history-vanishes", 0,
         [](Life& life, const Arguments&) {
             life.simulated().files.contents.erase(life.historyPath());
         },
         nullptr},
        {"history-cut", 1, cutHistory, nullptr},
        {"history-put", 1,
         [](Life& life, const Arguments& n) { life.putHistory(as<std::size_t>(n[0])); }, nullptr},
        {"clock", 1, [](Life& life, const Arguments& n) { life.turnClock(n[0]); }, nullptr},
        {"sleep", 1,
         [](Life& life, const Arguments& n) {
             life.ledger().sleeps(n[0]);
             life.sleep(n[0]);
         },
         nullptr},
        {"choose-quit", 1,
         [](Life& life, const Arguments& n) {
             life.around().off = n[0];
             life.ledger().expects("the menu has \"Quit Korvel\"",
                                   life.simulated().statusBar.choose("Quit Korvel"));
         },
         nullptr},
        {"quit", 1, [](Life& life, const Arguments& n) { life.endBy(true, n[0]); }, nullptr},
        {"crash", 1, [](Life& life, const Arguments& n) { life.endBy(false, n[0]); }, nullptr},
        {"settings-vanish", 1,
         [](Life& life, const Arguments& n) {
             life.around().forgetsSettings = true;
             life.endBy(true, n[0]);
         },
         nullptr},
        {"end", 0, [](Life& life, const Arguments&) { life.terminate(); },
         KORVEL_SWARM_DO("terminate")},
    };
}

} // namespace korvel::swarm
