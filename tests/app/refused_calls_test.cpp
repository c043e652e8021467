// Every function that a system may refuse is refused at its first call, its second and so on, once
// and from then on, in a life of the whole program that uses each of them.

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/app_delegate.h"
#include "app/refusing_services.h"
#include "base/overloaded.h"
#include "core/metrics.h"
#include "model/awake.h"
#include "model/model.h"
#include "ui/content/content_view.h"
#include "update/updater.h"
#include "update/whats_new.h"

namespace korvel {
namespace {

using testing::AnyOf;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string kInPlace = "/Applications/Korvel.app";
constexpr const char* kHistoryName = ".korvel-history.json";
/// The trail before the first launch.
const std::string kOldHistory = "[[1699999000,10,20],[1699999005,11,21],[1699999010,12,22]]";
constexpr std::size_t kOldPoints = 3;

/// What outlives a program.
struct Disk {
    std::map<std::string, std::string> files;
    std::set<std::string> folders{kInPlace};
    std::map<std::string, platform::SimulatedDefaults::Value> defaults{
        {"seenBuild", std::int64_t{100}}};
};

/// One program, from its launch to its end, on the disk that another left.
struct Life {
    Life(const Disk& disk, Refusals& refusalsToMake, bool exchanges)
        : refusals(refusalsToMake), services(simulated, refusals) {
        simulated.files.contents = disk.files;
        simulated.fileManager.folders = disk.folders;
        simulated.fileManager.exchanges = exchanges;
        simulated.defaults.values = disk.defaults;
        simulated.http.document = platform::SimulatedHttp::Answer{
            200,
            R"({"version": "2.0", "build": 101, "url": "https://host/a.zip", "sha256": ")" +
                std::string(64, '0') + R"(", "notes": "- One", "minimumOS": "13.0"})",
            0};
        simulated.http.archive = platform::SimulatedHttp::Answer{200, "zipped", 0};
        simulated.childProcesses.answers["/bin/bash"] = [](const auto&) {
            return platform::ChildResult{"TOTAL RECLAIMABLE 9.5 GB\n", 0};
        };
        simulated.processes.table = {{700, "Heavy", std::uint64_t{3} << 30, {}, 7},
                                     {701, "Light", std::uint64_t{1} << 30, {}, 8}};
        simulated.swappedMemory.bytes = {{700, 2e9}, {701, 1e9}};
        awake = std::make_shared<Awake>(services.services());
        updater = std::make_shared<Updater>(services.services());
        whatsNew = std::make_shared<WhatsNew>(services.services(), updater);
        delegate = std::make_shared<AppDelegate>(
            services.services(), metrics, awake, updater, whatsNew, [this](ContentView& root) {
                model = root.model().shared_from_this();
                return std::make_unique<platform::SimulatedPopover>();
            });
        updater->state.didSet = [this] {
            if (const auto* failed = std::get_if<update_state::Failed>(&*updater->state)) {
                failures.push_back(failed->message);
            }
        };
        delegate->applicationDidFinishLaunching();
        loaded = model->history->size(); // a sample is published on a later turn
        model->snap.didSet = [this] { ++samples; };
    }

    void use() {
        simulated.runLoop.advance(10);
        simulated.statusBar.click();
        model->previewReclaim();
        model->findSwapHolders();
        awake->enable(30);
        simulated.runLoop.advance(1);
        EXPECT_FALSE(*model->scanning);
        EXPECT_FALSE(*model->scanningSwap);
        awake->displayHeld();
        awake->systemHeld();
        awake->disable();
        EXPECT_THAT(simulated.power.held, IsEmpty());
        awake->enable(std::nullopt);
        model->runReclaim();
        model->quit({700, "Heavy", 3, 7});
        simulated.runLoop.advance(60);
        EXPECT_FALSE(*model->reclaiming);
        EXPECT_TRUE(*model->reclaimResult);
        // From here on the machine does badly.
        simulated.machine.readings.pressureLevel.set(4);
        simulated.machine.readings.thermalState = 3;
        simulated.machine.readings.load.set(std::array<double, 3>{80, 80, 80});
        simulated.machine.readings.vm->free_count = 100;
        simulated.machine.readings.vm->inactive_count = 0;
        simulated.machine.readings.swap.set(
            platform::SwapUsage{std::uint64_t{20} << 30, 0, std::uint64_t{20} << 30});
        simulated.machine.readings.volume->f_bfree = 1000;
        simulated.machine.readings.volume->f_bavail = 1000;
        simulated.runLoop.advance(70);
        updater->check(true);
        simulated.runLoop.advance(1);
        updater->installPending();
        simulated.runLoop.advance(1);
    }

    Disk end() {
        updater->relaunch();
        simulated.runLoop.run();
        EXPECT_TRUE(simulated.runLoop.terminated());
        delegate->applicationWillTerminate();
        return {simulated.files.contents, simulated.fileManager.folders, simulated.defaults.values};
    }

    std::string historyFile() const { return simulated.files.inHome(kHistoryName); }

    platform::SimulatedServices simulated;
    Refusals& refusals;
    RefusingServices services;
    Metrics metrics{services.services().machine, services.services().processes,
                    services.services().agents, simulated.clock};
    std::shared_ptr<Awake> awake;
    std::shared_ptr<Updater> updater;
    std::shared_ptr<WhatsNew> whatsNew;
    std::shared_ptr<Model> model;
    std::shared_ptr<AppDelegate> delegate;
    std::size_t loaded = 0;            ///< points of the trail at the launch
    int samples = 0;                   ///< that were published
    std::vector<std::string> failures; ///< that the updater told
};

Disk oldDisk() {
    Disk disk;
    disk.files[platform::SimulatedFiles().inHome(kHistoryName)] = kOldHistory;
    return disk;
}

bool anyOf(const std::string& word, std::initializer_list<const char*> words) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

/// The sentence of the updater that the refusal of a function may lead to; "": none.
std::string sentenceOf(const std::string& function) {
    if (function == "http.get") {
        return "Could not reach the update server";
    }
    if (function == "http.download") {
        return "Download failed";
    }
    if (anyOf(function, {"fileManager.makeWorkFolder", "digest.sha256OfFile"})) {
        return "Could not read the download";
    }
    if (anyOf(function,
              {"fileManager.createDirectory", "fileManager.contents", "archive.unpack"})) {
        return "Update could not be unpacked";
    }
    if (anyOf(function, {"codeSignature.describe", "codeSignature.verifyStrictly"})) {
        return "Update is not signed by Oxbrook; refusing to install";
    }
    if (function == "bundle.parentWritable") {
        return "Can't write to Applications. The new version is in Finder; drag it over.";
    }
    if (anyOf(function, {"fileManager.flush", "fileManager.recordReplacement", "fileManager.move",
                         "programLoader.check"})) {
        return "Could not replace the app: ";
    }
    return "";
}

/// Whether no update is installed where a function is refused from its first call on.
bool endsTheUpdate(const std::string& function) {
    return anyOf(function,
                 {"http.download", "digest.sha256OfFile", "archive.unpack",
                  "codeSignature.describe", "codeSignature.verifyStrictly", "bundle.parentWritable",
                  "programLoader.check", "fileManager.flush", "fileManager.recordReplacement"});
}

/// What holds after a life in which some calls were refused, and in the next one.
class RefusedCalls : public testing::TestWithParam<bool> {
  protected:
    void play(const Refusals& planned) {
        Refusals refusals = planned;
        Life life(oldDisk(), refusals, GetParam());
        life.use();
        const Disk disk = life.end();
        if (planned.function.empty()) {
            calls = refusals.calls;
            samples = life.samples;
            EXPECT_THAT(life.failures, IsEmpty());
            EXPECT_EQ(life.simulated.notifications.posted.size(), 1U);
        } else {
            EXPECT_EQ(life.samples, samples) << "a refresh was lost";
        }
        EXPECT_TRUE(planned.function.empty() || refusals.refused > 0) << "nothing was refused";
        EXPECT_THAT(life.simulated.power.held, IsEmpty()) << "kept awake after the end";
        judgeUpdate(life, refusals);
        judgeDisk(disk, life, refusals);
        judgeNextLife(disk);
        played += 1;
    }

    static void judgeUpdate(const Life& life, const Refusals& refusals) {
        const bool ready =
            std::holds_alternative<update_state::ReadyToRelaunch>(*life.updater->state);
        const bool failed = std::holds_alternative<update_state::Failed>(*life.updater->state);
        EXPECT_TRUE(ready || failed) << "the updater stays busy";
        EXPECT_EQ(life.simulated.codeSignature.builds.size(), ready ? 1U : 0U);
        if (refusals.lasting && refusals.call == 1 && endsTheUpdate(refusals.function)) {
            EXPECT_TRUE(failed) << "installed although a step was refused";
        }
        const std::string sentence = sentenceOf(refusals.function);
        for (const std::string& failure : life.failures) {
            if (refusals.function == "fileManager.move") { // the download's, or the swap's
                EXPECT_THAT(failure, AnyOf("Could not read the download", HasSubstr(sentence)));
                continue;
            }
            EXPECT_FALSE(sentence.empty()) << failure;
            EXPECT_EQ(failure.substr(0, sentence.size()), sentence);
        }
    }

    static void judgeDisk(const Disk& disk, const Life& life, const Refusals& refusals) {
        const bool removes = refusals.function != "fileManager.remove";
        const bool kept = disk.folders.count(kInPlace) == 0; // what ran, in the work's folder
        ASSERT_EQ(disk.files.count(life.historyFile()), 1U);
        const std::string& text = disk.files.at(life.historyFile());
        for (const auto& [path, content] : disk.files) {
            EXPECT_TRUE(path == life.historyFile() ||
                        ((kept || !removes) && path.starts_with("/tmp/korvel-update-")))
                << "left behind: " << path;
        }
        const History points = decodeHistory(text);
        EXPECT_TRUE(std::is_sorted(points.begin(), points.end(),
                                   [](const auto& a, const auto& b) { return a.t < b.t; }));
        EXPECT_TRUE(text == kOldHistory || points.size() > kOldPoints) << text;
        if (refusals.function != "files.read") {
            EXPECT_EQ(text.substr(0, kOldHistory.size() - 1),
                      kOldHistory.substr(0, kOldHistory.size() - 1))
                << "points of earlier lives are lost";
        }
        if (refusals.function != "files.write") {
            EXPECT_EQ(points.size(), life.model->history->size());
        }

        if (!removes) {
            EXPECT_EQ(disk.folders.count(kInPlace), 1U);
            return; // what cannot be removed is left
        }
        std::set<std::string> others = disk.folders;
        if (others.erase(kInPlace) == 0) { // not even the way back was open
            EXPECT_TRUE(refusals.lasting);
            EXPECT_EQ(refusals.function, "fileManager.move");
            ASSERT_FALSE(life.failures.empty());
            const std::string told = "The version that ran is now “";
            const std::size_t at = life.failures.back().find(told);
            ASSERT_NE(at, std::string::npos) << life.failures.back();
            const std::string rest = life.failures.back().substr(at + told.size());
            EXPECT_EQ(others.count(rest.substr(0, rest.find("”"))), 1U) << rest;
            return;
        }
        EXPECT_THAT(others, IsEmpty()) << "left behind";
    }

    static void judgeNextLife(const Disk& disk) {
        Refusals none;
        Life next(disk, none, true);
        const History left = decodeHistory(disk.files.at(next.historyFile()));
        EXPECT_EQ(next.loaded, left.size());
        next.simulated.runLoop.advance(4);
        EXPECT_EQ(next.samples, 2);
        const auto awakeOn = disk.defaults.find("awakeOn");
        EXPECT_EQ(*next.awake->on,
                  awakeOn != disk.defaults.end() && std::get<bool>(awakeOn->second));
        EXPECT_EQ(next.simulated.power.held.size(), *next.awake->on ? 2U : 0U);
        EXPECT_THAT(next.failures, IsEmpty());
        const Disk after = next.end();
        EXPECT_EQ(decodeHistory(after.files.at(next.historyFile())).size(), left.size() + 2);
    }

    std::map<std::string, int> calls; ///< of an undisturbed life
    int samples = 0;                  ///< of an undisturbed life
    int played = 0;
};

TEST_P(RefusedCalls, OfEachFunctionEndInOrderAndLeaveTheDiskWhole) {
    play({});
    // A record is made ahead of moves alone.
    const std::size_t functions = GetParam() ? 40 : 41;
    EXPECT_EQ(calls.size(), functions);
    // Readings of one kind after the other are alike: those of more calls fail lastingly from the
    // first on alone. The kind of volume is the file manager's matter.
    constexpr int kManyCalls = 12;
    for (const auto& [function, times] : calls) {
        if (GetParam() && !function.starts_with("fileManager.")) {
            continue;
        }
        const int before = played;
        for (int call = 1; call <= times; ++call) {
            for (const bool lasting : {false, true}) {
                if (lasting && call > 1 && times > kManyCalls) {
                    continue;
                }
                SCOPED_TRACE(function + " refused at call " + std::to_string(call) +
                             (lasting ? " and later" : ""));
                play({function, call, lasting, 0, {}});
                if (HasFailure()) {
                    return; // the first tells enough
                }
            }
        }
        // What the page of these tests tells of it: calls in a life, and lives.
        RecordProperty(function, std::to_string(times) + " " + std::to_string(played - before));
    }
}

INSTANTIATE_TEST_SUITE_P(OnVolumes, RefusedCalls, testing::Bool(),
                         [](const testing::TestParamInfo<bool>& row) {
                             return row.param ? "ThatExchangeNames" : "ThatMoveAlone";
                         });

} // namespace
} // namespace korvel
