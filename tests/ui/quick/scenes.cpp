#include "ui/quick/scenes.h"

#include <cmath>
#include <utility>

namespace korvel {

namespace {

std::vector<ProcInfo> usualProcesses() {
    return {{4120, "browser", 3.42},
            {2210, "desktop-shell", 1.18},
            {5033, "code-index", 0.97},
            {6120, "mail", 0.61},
            {500, "korvel", 0.05}};
}

void showUpdate(Stage& stage, const Updater::State& state) {
    stage.show(healthyReading());
    stage.simulated.updater->state = state;
}

} // namespace

Stage::Stage() {
    showHistory(60, 22, 58);
}

void Stage::show(Snapshot snapshot) {
    Metrics::score(snapshot);
    model->snap = std::move(snapshot);
}

void Stage::showHistory(std::size_t count, double cpu, double mem) {
    History history;
    for (std::size_t i = 0; i < count; ++i) {
        const auto t = static_cast<double>(i);
        const double burst = i % 17 == 5 ? 26 : i % 23 == 9 ? 17 : 0;
        history.emplace_back(t * 5, cpu + 7 * std::sin(t / 2.3) + 4 * std::sin(t * 1.7) + burst,
                             mem + 6 * std::sin(t / 9) + 1.5 * std::sin(t * 0.9));
    }
    model->history = std::move(history);
}

Snapshot healthyReading() {
    Snapshot s;
    s.cpuPct = 12.4;
    s.memTotalGB = 15.5;
    s.memUsedGB = 6.4;
    s.memPct = 41.3;
    s.memAvailableGB = 9.1;
    s.swapTotalGB = 8;
    s.swapUsedGB = 0.4;
    s.swapPct = 5;
    s.diskFreeGB = 312.4;
    s.diskPct = 34;
    s.load1 = 0.84;
    s.cores = 8;
    s.uptime = "3d 4h";
    s.topProcs = usualProcesses();
    return s;
}

Snapshot fairReading() {
    Snapshot s = healthyReading();
    s.cpuPct = 46;
    s.load1 = 6.2;
    s.memPct = 82;
    s.memAvailableGB = 2.8;
    s.memPressure = MemPressure::warning;
    s.swapUsedGB = 2.6;
    s.swapPct = 32.5;
    s.diskFreeGB = 118;
    s.diskPct = 76;
    s.thermal = ThermalState::fair;
    return s;
}

Snapshot strainedReading() {
    Snapshot s = healthyReading();
    s.cpuPct = 97.2;
    s.load1 = 14.71;
    s.memPct = 96;
    s.memAvailableGB = 0.6;
    s.memPressure = MemPressure::critical;
    s.swapUsedGB = 7.4;
    s.swapPct = 92.5;
    s.swappingNow = true;
    s.diskFreeGB = 8.2;
    s.diskPct = 97;
    s.thermal = ThermalState::serious;
    s.topProcs = {{4120, "browser", 9.31},
                  {5033, "code-index", 2.20},
                  {2210, "desktop-shell", 1.18},
                  {500, "korvel", 0.05}};
    return s;
}

Snapshot hostileReading() {
    std::string stacked = "Zalgo";
    for (int i = 0; i < 60; ++i) {
        stacked += "\u0301\u0323";
    }
    Snapshot s = healthyReading();
    s.topProcs = {{1, std::string(255, 'W'), 12.5},
                  {2, "שלום־עולם־תהליך־ארוך־מאוד־שלא־נכנס־בשורה־אחת־בכלל", 4.4},
                  {3, stacked, 3.31},
                  {4, "<b>x</b> &amp; <img src=x>", 2.2},
                  {5, "line\nbreak\ttab\x07 bell", 1.1},
                  {6, "\u202Egnihtemos\u202C", 0.8},
                  {7, "مرحبا", 0.4},
                  {8, "", 0.2}};
    return s;
}

const std::vector<Scene>& scenes() {
    static const std::vector<Scene> all = {
        {"healthy", [](Stage& stage) { stage.show(healthyReading()); }},
        {"fair", [](Stage& stage) { stage.show(fairReading()); }},
        {"strained",
         [](Stage& stage) {
             stage.show(strainedReading());
             stage.showHistory(60, 60, 88);
         }},
        {"breakdown",
         [](Stage& stage) {
             stage.show(fairReading());
             stage.root.toggleBreakdown();
         }},
        {"breakdown_strained",
         [](Stage& stage) {
             stage.show(strainedReading());
             stage.root.toggleBreakdown();
         }},
        {"scan_running",
         [](Stage& stage) {
             stage.show(fairReading());
             stage.model->scanningSwap = true;
         }},
        {"scan_done",
         [](Stage& stage) {
             stage.show(fairReading());
             stage.model->swapHolders = {{4120, "browser", 1.42},
                                         {6120, "mail", 0.61},
                                         {2210, "desktop-shell", 0.3},
                                         {500, "korvel", 0.05}};
         }},
        {"hostile_names",
         [](Stage& stage) {
             stage.show(hostileReading());
             stage.model->swapHolders = stage.model->snap->topProcs;
         }},
        {"empty", [](Stage& stage) { stage.model->history = History(); }},
        {"awake_on",
         [](Stage& stage) {
             stage.show(healthyReading());
             stage.root.enableAwake(180);
         }},
        {"reclaim_waiting",
         [](Stage& stage) {
             stage.show(fairReading());
             stage.root.enableAwake(std::nullopt);
             stage.model->reclaimPreview = "12.4 GB";
         }},
        {"reclaim_nothing",
         [](Stage& stage) {
             stage.show(healthyReading());
             stage.model->reclaimPreview = "nothing worth clearing";
         }},
        {"reclaim_running",
         [](Stage& stage) {
             stage.show(fairReading());
             stage.model->reclaiming = true;
         }},
        {"reclaim_scanning",
         [](Stage& stage) {
             stage.show(fairReading());
             stage.model->scanning = true;
         }},
        {"reclaim_done",
         [](Stage& stage) {
             stage.show(fairReading());
             stage.model->reclaimResult = "reclaimed 2.3 GB · 52 GB free";
         }},
        {"welcome",
         [](Stage& stage) {
             stage.show(healthyReading());
             stage.simulated.whatsNew->evaluate();
         }},
        {"updated",
         [](Stage& stage) {
             stage.show(healthyReading());
             stage.simulated.whatsNew->kind = {WhatsNew::Kind::Case::updated, "0.9"};
             stage.simulated.whatsNew->notes = {"Twice the same", "Twice the same",
                                                "<b>A note</b> that is so long that it takes "
                                                "more than the one line of its predecessors"};
         }},
        {"updated_without_notes",
         [](Stage& stage) {
             stage.show(healthyReading());
             stage.simulated.whatsNew->notes = std::vector<std::string>();
             stage.simulated.whatsNew->kind = {WhatsNew::Kind::Case::updated, ""};
         }},
        {"update_checking", [](Stage& stage) { showUpdate(stage, update_state::Checking{}); }},
        {"update_available",
         [](Stage& stage) { showUpdate(stage, update_state::Available{"1.1.0"}); }},
        {"update_downloading",
         [](Stage& stage) { showUpdate(stage, update_state::Downloading{0.25}); }},
        {"update_installing", [](Stage& stage) { showUpdate(stage, update_state::Installing{}); }},
        {"update_ready", [](Stage& stage) { showUpdate(stage, update_state::ReadyToRelaunch{}); }},
        {"update_failed",
         [](Stage& stage) {
             showUpdate(stage,
                        update_state::Failed{
                            "Can't write to Applications. The new version is in Finder; drag "
                            "it over."});
         }},
        {"short_screen",
         [](Stage& stage) {
             stage.show(strainedReading());
             stage.root.toggleBreakdown();
         }},
    };
    return all;
}

} // namespace korvel
