#include "app/app_delegate.h"

#include <algorithm>
#include <memory>
#include <ostream>
#include <string>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/status_title.h"
#include "core/metrics.h"
#include "core/snapshot.h"
#include "model/awake.h"
#include "model/model.h"
#include "platform/simulated/services.h"
#include "ui/content/content_view.h"
#include "update/updater.h"
#include "update/whats_new.h"

namespace korvel {
namespace {

using platform::CallLog;
using platform::Colour;
using platform::SimulatedPopover;
using testing::ElementsAre;
using testing::IsEmpty;

/// The first call of every sample.
const std::string kSample = "physicalMemory";

class AppDelegateTest : public testing::Test {
  protected:
    AppDelegateTest() {
        simulated.logTo(log);
        // An old hand: no greeting, and the feed was asked today.
        simulated.defaults.values["seenBuild"] = std::int64_t{100};
        simulated.defaults.values["lastUpdateCheck"] = simulated.clock.now();
        updater = std::make_shared<Updater>(simulated.services());
    }

    void make() {
        whatsNew = std::make_shared<WhatsNew>(simulated.services(), updater);
        delegate = std::make_shared<AppDelegate>(
            simulated.services(), metrics, awake, updater, whatsNew, [this](ContentView& root) {
                model = root.model().shared_from_this();
                auto made = std::make_unique<SimulatedPopover>(nullptr, &log);
                popover = made.get();
                return made;
            });
    }

    void launch() {
        make();
        delegate->applicationDidFinishLaunching();
    }

    /// The first launch ever, at which the item is still to appear.
    void launchWithoutAnItem() {
        simulated.defaults.values.erase("seenBuild");
        simulated.statusBar.inSight = false;
        launch();
    }

    /// What was called since the last look, without the readings of a sample after its first, and
    /// without the questions that change nothing.
    CallLog calls() {
        static const CallLog kNotOfInterest = {
            "processorCount",      "vmStatistics", "pageSize",
            "memoryPressureLevel", "cpuTicks",     "swapUsage",
            "dataVolume",          "loadAverages", "bootTime",
            "listAllPids",         "thermalState", "now",
            "homeDirectory",       "async",        "currentProcessIdentifier"};
        CallLog seen = std::exchange(log, {});
        seen.erase(std::remove_if(seen.begin(), seen.end(),
                                  [](const std::string& call) {
                                      return call.starts_with("isLoaded ") ||
                                             std::count(kNotOfInterest.begin(),
                                                        kNotOfInterest.end(), call) != 0;
                                  }),
                   seen.end());
        return seen;
    }

    std::string lastTitle() const { return simulated.statusBar.titles.back().text(); }
    std::string historyFile() const { return simulated.files.inHome(".korvel-history.json"); }

    CallLog log;
    platform::SimulatedServices simulated;
    Metrics metrics{simulated.machine, simulated.processes, simulated.agents, simulated.clock};
    std::shared_ptr<Awake> awake = std::make_shared<Awake>(simulated.services());
    std::shared_ptr<Updater> updater;
    std::shared_ptr<WhatsNew> whatsNew;
    std::shared_ptr<Model> model;
    SimulatedPopover* popover = nullptr;
    std::shared_ptr<AppDelegate> delegate;
};

TEST_F(AppDelegateTest, LoadsTheHistoryBeforeTheLaunch) {
    make();
    EXPECT_THAT(calls(), ElementsAre("read " + historyFile()));
}

TEST_F(AppDelegateTest, LaunchesInItsOrder) {
    launch();
    EXPECT_THAT(calls(), ElementsAre("read " + historyFile(), "makeStatusItem", "setAction",
                                     "setOpenAction", "makePopover", kSample, "after 1", "every 5",
                                     "every 120", "setTitle \u25cf 0", "notifications.setAction",
                                     "requestAuthorisation", "setMainMenu"));
}

TEST_F(AppDelegateTest, KeepAwakeIsTakenUpLastAndShowsInTheTitle) {
    simulated.defaults.values["awakeOn"] = true;
    launch();
    const CallLog seen = calls();
    ASSERT_GE(seen.size(), 4U);
    EXPECT_THAT(CallLog(seen.end() - 4, seen.end()),
                ElementsAre("setMainMenu", "create NoDisplaySleepAssertion Korvel keep awake",
                            "create NoIdleSleepAssertion Korvel keep awake",
                            "setTitle \u25cf \u2615 0"));
}

TEST_F(AppDelegateTest, QueuesTheCheckThenTakesUpKeepAwakeThenGreets) {
    simulated.defaults.values["seenBuild"] = std::int64_t{99};
    simulated.defaults.values["awakeOn"] = true;
    make();
    whatsNew->kind.didSet = [this] { log.emplace_back("kind"); };
    delegate->applicationDidFinishLaunching();
    const auto menu = std::find(log.begin(), log.end(), "setMainMenu");
    ASSERT_NE(menu, log.end());
    EXPECT_THAT(CallLog(menu + 1, log.end()),
                ElementsAre("async", "create NoDisplaySleepAssertion Korvel keep awake",
                            "create NoIdleSleepAssertion Korvel keep awake",
                            "setTitle \u25cf \u2615 0", "kind", "async", "after 1.2"))
        << "the check and, last, the question for the notes are left to later turns";
}

TEST_F(AppDelegateTest, KeepAwakeThatIsWornOutIsForgottenWithoutANewTitle) {
    simulated.defaults.values["awakeOn"] = true;
    simulated.defaults.values["awakeUntil"] = simulated.clock.now() + 20;
    launch();
    EXPECT_EQ(simulated.statusBar.titles.size(), 1U);
    EXPECT_FALSE(simulated.defaults.boolean("awakeOn"));
}

TEST_F(AppDelegateTest, ThePopoverGetsThePlaceAndTheTokenOfTheClick) {
    launch();
    const platform::ActivationRequest click{platform::Point{1225, 14}, "token"};
    simulated.statusBar.click(click);
    EXPECT_THAT(popover->requests, ElementsAre(click));
    EXPECT_THAT(popover->activations, ElementsAre(click));
}

TEST_F(AppDelegateTest, AClickOnANotificationOpensThePopoverAndNeverClosesIt) {
    launch();
    const platform::ActivationRequest click{std::nullopt, "token"};
    for (int i = 0; i < 2; ++i) {
        simulated.notifications.click(click);
        EXPECT_TRUE(popover->shown());
    }
    EXPECT_THAT(popover->requests, ElementsAre(click));
    EXPECT_THAT(popover->activations, ElementsAre(click, click));
}

TEST_F(AppDelegateTest, TheItemsOwnMenuOpensThePopoverAndNeverClosesIt) {
    launch();
    calls();
    simulated.statusBar.open();
    EXPECT_TRUE(popover->shown());
    simulated.statusBar.open();
    EXPECT_TRUE(popover->shown());
    EXPECT_THAT(calls(),
                ElementsAre(kSample, "show", "activate", "makeKey", "activate", "makeKey"));
}

TEST_F(AppDelegateTest, NothingOpensBeforeTheLaunch) {
    make();
    calls();
    delegate->openPopover({});
    delegate->togglePopover({});
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(AppDelegateTest, ANotificationAndTheMenuOfOneThatIsGoneDoNothing) {
    launch();
    simulated.runLoop.advance(0);
    delegate.reset();
    calls();
    simulated.notifications.click({});
    EXPECT_TRUE(simulated.statusBar.choose("Check for Updates\u2026"));
    simulated.runLoop.advance(200);
    EXPECT_THAT(calls(), IsEmpty()) << "and neither timer goes on";
}

TEST_F(AppDelegateTest, TheItemsOwnMenuIsToldTheReading) {
    launch();
    simulated.runLoop.advance(0);
    EXPECT_EQ(simulated.statusBar.summary, statusSummary(*model->snap));
}

TEST_F(AppDelegateTest, TheMenuLooksForUpdatesAndQuits) {
    launch();
    const auto& menus = simulated.statusBar.mainMenu.menus;
    ASSERT_EQ(menus.size(), 2U);
    using enum platform::MenuCommand;
    using Row = std::tuple<std::string, platform::MenuCommand, std::string>;
    const auto rows = [](const platform::Menu& menu) {
        std::vector<Row> texts;
        for (const platform::MenuItem& item : menu.items) {
            texts.emplace_back(item.title, item.command, item.keyEquivalent);
        }
        return texts;
    };
    EXPECT_EQ(menus[0].title, "");
    EXPECT_THAT(rows(menus[0]), ElementsAre(Row("Check for Updates\u2026", checkForUpdates, ""),
                                            Row("", none, ""), Row("Quit Korvel", terminate, "q")));
    EXPECT_EQ(menus[1].title, "Edit");
    EXPECT_THAT(rows(menus[1]),
                ElementsAre(Row("Cut", cut, "x"), Row("Copy", copy, "c"), Row("Paste", paste, "v"),
                            Row("Select All", selectAll, "a")));
}

TEST_F(AppDelegateTest, TheMenuItemChecksEvenIfTheFeedWasAskedToday) {
    launch();
    EXPECT_TRUE(simulated.statusBar.choose("Check for Updates\u2026"));
    simulated.runLoop.advance(0);
    EXPECT_THAT(simulated.http.urls, ElementsAre(Updater::appcast()));
    EXPECT_EQ(*updater->state,
              Updater::State(update_state::Failed{"Could not reach the update server"}));
}

TEST_F(AppDelegateTest, TheFeedIsAskedAfterTheLaunchUnlessItWasToday) {
    launch();
    simulated.runLoop.advance(3600);
    EXPECT_THAT(simulated.http.urls, IsEmpty());

    simulated.defaults.values.erase("lastUpdateCheck");
    updater = std::make_shared<Updater>(simulated.services());
    launch();
    EXPECT_THAT(simulated.http.urls, IsEmpty()) << "not within the launch";
    simulated.runLoop.advance(0);
    EXPECT_THAT(simulated.http.urls, ElementsAre(Updater::appcast()));
    EXPECT_EQ(*updater->state, Updater::State(update_state::Idle{})) << "it fails without a word";
}

TEST_F(AppDelegateTest, AGreetingOpensThePopoverOnceWithoutTakingTheKeyboard) {
    simulated.defaults.values.erase("seenBuild");
    launch();
    calls();
    simulated.runLoop.advance(1.1);
    EXPECT_FALSE(popover->shown());
    calls();
    simulated.runLoop.advance(0.1);
    EXPECT_THAT(calls(), ElementsAre("show", "activate")) << "and without a sample of its own";
    launch();
    simulated.runLoop.advance(2);
    EXPECT_FALSE(popover->shown()) << "at most once for each build";
}

TEST_F(AppDelegateTest, AGreetingLeavesAnOpenPopoverAsItIs) {
    simulated.defaults.values.erase("seenBuild");
    launch();
    simulated.runLoop.advance(0.5);
    simulated.statusBar.click();
    simulated.runLoop.advance(0.6);
    calls();
    simulated.runLoop.advance(0.1);
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_TRUE(popover->shown());
}

TEST_F(AppDelegateTest, AGreetingOfOneThatIsGoneOpensNothing) {
    simulated.defaults.values.erase("seenBuild");
    launch();
    delegate.reset();
    calls();
    simulated.runLoop.advance(2);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(AppDelegateTest, AGreetingWaitsForAnItemThatIsStillToAppear) {
    launchWithoutAnItem();
    simulated.runLoop.advance(30);
    EXPECT_FALSE(popover->shown());
    EXPECT_FALSE(simulated.defaults.has("whatsNewAutoShownBuild")) << "the next launch greets";
    simulated.statusBar.comeIntoSight();
    simulated.runLoop.advance(1.1);
    EXPECT_FALSE(popover->shown());
    simulated.runLoop.advance(0.1);
    EXPECT_TRUE(popover->shown());
    EXPECT_TRUE(simulated.defaults.has("whatsNewAutoShownBuild"));
}

TEST_F(AppDelegateTest, AGreetingThatTheUserSawWhileTheItemWasWaitedForIsOver) {
    launchWithoutAnItem();
    delegate->openPopover({});
    EXPECT_TRUE(popover->shown());
    delegate->togglePopover({});
    simulated.statusBar.comeIntoSight();
    simulated.runLoop.advance(2);
    EXPECT_FALSE(popover->shown());
    EXPECT_TRUE(simulated.defaults.has("whatsNewAutoShownBuild"));
}

TEST_F(AppDelegateTest, AnItemThatAppearsAfterTheDelegateIsGoneOpensNothing) {
    launchWithoutAnItem();
    const std::weak_ptr<AppDelegate> weak = delegate;
    delegate.reset();
    EXPECT_TRUE(weak.expired());
    simulated.statusBar.comeIntoSight();
    simulated.runLoop.advance(2);
    EXPECT_FALSE(simulated.defaults.has("whatsNewAutoShownBuild"));
}

TEST_F(AppDelegateTest, EverySwitchOfKeepAwakeMakesANewTitle) {
    launch();
    simulated.runLoop.advance(0);
    awake->enable(30);
    EXPECT_EQ(lastTitle(), "\u25cf \u2615 100");
    awake->disable();
    EXPECT_EQ(lastTitle(), "\u25cf 100");
}

TEST_F(AppDelegateTest, KeepAwakeOutlivesTheDelegateWithoutATitle) {
    launch();
    delegate.reset();
    awake->enable(std::nullopt);
    EXPECT_TRUE(*awake->on);
}

TEST_F(AppDelegateTest, TerminationSavesLetsTheMachineSleepDropsADownloadAndForgetsNoWish) {
    simulated.http.archive = platform::SimulatedHttp::Answer{200, "zipped", 60};
    launch();
    awake->enable(std::nullopt);
    updater->pending = Release{"2.0", 101, "https://host/a.zip", "00", "", "13.0"};
    updater->installPending();
    ASSERT_THAT(simulated.fileManager.folders, testing::SizeIs(1));
    const std::string folder = *simulated.fileManager.folders.begin();
    calls();
    delegate->applicationWillTerminate();
    EXPECT_THAT(calls(),
                ElementsAre("write " + historyFile(), "release NoDisplaySleepAssertion",
                            "release NoIdleSleepAssertion", "remove " + folder, "withdraw"));
    EXPECT_THAT(simulated.fileManager.folders, IsEmpty()) << "of the download nothing is left";
    EXPECT_TRUE(simulated.defaults.boolean("awakeOn"));
}

TEST_F(AppDelegateTest, TerminationBeforeTheLaunchSavesWhatWasLoaded) {
    const std::string kRows = "[[1600000000,1.5,2.5]]";
    simulated.files.contents[historyFile()] = kRows;
    make();
    calls();
    delegate->applicationWillTerminate();
    EXPECT_THAT(calls(), ElementsAre("write " + historyFile(), "withdraw"));
    EXPECT_EQ(simulated.files.contents[historyFile()], kRows);
    EXPECT_EQ(simulated.statusBar.items, 0);
}

TEST_F(AppDelegateTest, PublishesTheLaunchSampleOnlyAfterTheLaunch) {
    launch();
    EXPECT_EQ(model->snap->score, 0);
    EXPECT_THAT(*model->history, IsEmpty());
    simulated.runLoop.advance(0);
    EXPECT_EQ(model->snap->score, 100);
    EXPECT_EQ(model->history->size(), 1U);
    EXPECT_EQ(lastTitle(), "\u25cf 100");
}

TEST_F(AppDelegateTest, SamplesAfterOneSecondAndThenEveryFive) {
    launch();
    simulated.runLoop.advance(0.9);
    calls();
    simulated.runLoop.advance(0.1);
    EXPECT_THAT(calls(), ElementsAre(kSample, "setTitle \u25cf 100"));
    simulated.runLoop.advance(3.9);
    EXPECT_THAT(calls(), IsEmpty());
    simulated.runLoop.advance(0.1);
    EXPECT_THAT(calls(), ElementsAre(kSample, "setTitle \u25cf 100"));
    simulated.runLoop.advance(5);
    EXPECT_THAT(calls(), ElementsAre(kSample, "setTitle \u25cf 100"));
}

TEST_F(AppDelegateTest, SavesTheHistoryFirstAfterTwoMinutesThenEveryTwo) {
    launch();
    simulated.runLoop.advance(119.9);
    EXPECT_THAT(simulated.files.writes, IsEmpty());
    simulated.runLoop.advance(0.1);
    EXPECT_EQ(simulated.files.writes.size(), 1U);
    simulated.runLoop.advance(240);
    EXPECT_EQ(simulated.files.writes.size(), 3U);
    EXPECT_EQ(simulated.files.writes.back().path, historyFile());
}

TEST_F(AppDelegateTest, RebuildsTheTitleAfterEachPublicationAndNeverElse) {
    launch();
    simulated.runLoop.advance(125);
    // Once at launch; readings at 0, 1 and 5 to 125. The save at 120 brings none.
    EXPECT_EQ(simulated.statusBar.titles.size(), 1U + 2U + 25U);
    EXPECT_EQ(simulated.statusBar.toolTip, "\u25cf 100 · Excellent");
}

TEST_F(AppDelegateTest, OpeningThePopoverSamplesShowsActivatesAndTakesTheKeyboard) {
    launch();
    simulated.runLoop.advance(2);
    calls();
    simulated.statusBar.click();
    EXPECT_THAT(calls(), ElementsAre(kSample, "show", "activate", "makeKey"));
    EXPECT_TRUE(popover->shown());
    simulated.runLoop.advance(0);
    EXPECT_THAT(calls(), ElementsAre("setTitle \u25cf 100"));
}

TEST_F(AppDelegateTest, AnInstallationIsDrawnBeforeItHoldsUpTheProgram) {
    simulated.http.archive = platform::SimulatedHttp::Answer{200, "zipped", 0};
    updater->pending = Release{"2.0", 101, "https://host/a.zip", "", "", "13.0"};
    launch();
    simulated.runLoop.advance(2);
    updater->state.didSet = [this] {
        log.push_back("state " + std::to_string(updater->state->index()));
    };
    updater->installPending();
    simulated.runLoop.advance(0);
    const CallLog seen = calls();
    const std::string kInstalling =
        "state " + std::to_string(Updater::State(update_state::Installing{}).index());
    const auto installing = std::find(seen.begin(), seen.end(), kInstalling);
    ASSERT_GE(seen.end() - installing, 2);
    EXPECT_EQ(installing[1], "drawNow") << "before any of the work";
    EXPECT_EQ(std::count(seen.begin(), seen.end(), "drawNow"), 1);

    delegate.reset();
    updater->installPending();
    simulated.runLoop.advance(0);
    EXPECT_THAT(calls(), testing::Not(testing::Contains("drawNow")));
}

TEST_F(AppDelegateTest, ClickingWhileThePopoverIsOpenClosesItWithoutASample) {
    launch();
    simulated.statusBar.click();
    simulated.runLoop.advance(2);
    calls();
    simulated.statusBar.click();
    EXPECT_THAT(calls(), ElementsAre("close"));
    EXPECT_FALSE(popover->shown());
}

TEST_F(AppDelegateTest, AfterAClickOutsideTheNextClickOpensAgain) {
    launch();
    simulated.statusBar.click();
    popover->clickOutside();
    calls();
    simulated.statusBar.click();
    EXPECT_THAT(calls(), ElementsAre(kSample, "show", "activate", "makeKey"));
}

TEST_F(AppDelegateTest, BeforeTheLaunchThereIsNothingToToggle) {
    make();
    calls();
    delegate->togglePopover({});
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(AppDelegateTest, QuitKorvelEndsTheProgram) {
    launch();
    EXPECT_FALSE(simulated.runLoop.terminated());
    EXPECT_TRUE(simulated.statusBar.choose("Quit Korvel"));
    EXPECT_TRUE(simulated.runLoop.terminated());
}

TEST_F(AppDelegateTest, TerminationSavesTheNewestHistory) {
    launch();
    simulated.runLoop.advance(6);
    delegate->applicationWillTerminate();
    EXPECT_EQ(simulated.files.contents[historyFile()],
              "[[1700000000,0,43.75],[1700000001,0,43.75],[1700000005,0,43.75]]");
}

TEST_F(AppDelegateTest, AHomeThatCannotBeWrittenIsTriedAgainAndNeverStopsIt) {
    simulated.files.unwritable.insert(historyFile());
    launch();
    simulated.runLoop.advance(130);
    EXPECT_THAT(simulated.files.writes, IsEmpty());
    EXPECT_EQ(lastTitle(), "\u25cf 100");
    simulated.files.unwritable.clear();
    simulated.runLoop.advance(110);
    EXPECT_EQ(simulated.files.writes.size(), 1U);
}

TEST_F(AppDelegateTest, ItsDelayedAndRepeatedWorkDoesNothingOnceItIsGone) {
    launch();
    simulated.runLoop.advance(0.5);
    calls();
    delegate.reset();
    simulated.runLoop.advance(600);
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(simulated.statusBar.items, 0);
}

TEST_F(AppDelegateTest, AModelThatOutlivesItPublishesWithoutATitle) {
    launch();
    delegate.reset();
    simulated.runLoop.advance(0);
    EXPECT_EQ(model->snap->score, 100);
    EXPECT_EQ(simulated.statusBar.titles.size(), 1U);
}

TEST_F(AppDelegateTest, NothingItHandsOutKeepsItAlive) {
    launch();
    simulated.statusBar.click();
    simulated.runLoop.advance(10);
    EXPECT_EQ(delegate.use_count(), 1);
}

TEST_F(AppDelegateTest, TwoProgramsInOneProcessHaveTheirOwnSamplers) {
    launch();
    simulated.machine.readings.cpuTicks.value.user += 100;
    platform::SimulatedServices other;
    Metrics otherMetrics(other.machine, other.processes, other.agents, other.clock);
    const auto otherUpdater = std::make_shared<Updater>(other.services());
    std::shared_ptr<Model> otherModel;
    const auto second = std::make_shared<AppDelegate>(
        other.services(), otherMetrics, std::make_shared<Awake>(other.services()), otherUpdater,
        std::make_shared<WhatsNew>(other.services(), otherUpdater), [&](ContentView& root) {
            otherModel = root.model().shared_from_this();
            return std::make_unique<SimulatedPopover>();
        });
    second->applicationDidFinishLaunching();
    simulated.runLoop.advance(1);
    other.runLoop.advance(1);
    EXPECT_EQ(model->snap->cpuPct, 100);
    EXPECT_EQ(otherModel->snap->cpuPct, 0);
}

struct ScoreCase {
    const char* name;
    std::int32_t pressureLevel;
    double load;
    std::string title;
    Colour colour;
};

std::ostream& operator<<(std::ostream& stream, const ScoreCase& row) {
    return stream << row.name;
}

class AppDelegateTitle : public AppDelegateTest, public testing::WithParamInterface<ScoreCase> {};

TEST_P(AppDelegateTitle, FollowsTheScore) {
    simulated.machine.readings.volume->f_bavail = 0; // costs 20.4 points
    simulated.machine.readings.pressureLevel.value = GetParam().pressureLevel;
    simulated.machine.readings.load.value[0] = GetParam().load;
    launch();
    simulated.runLoop.advance(0);
    EXPECT_EQ(lastTitle(), GetParam().title);
    EXPECT_EQ(simulated.statusBar.titles.back().runs.front().colour, GetParam().colour);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, AppDelegateTitle,
    testing::Values(ScoreCase{"greenAt72", 1, 5.43, "\u25cf 72", {0.31, 0.85, 0.51}},
                    ScoreCase{"amberAt71", 1, 6.14, "\u25cf 71", {1.0, 0.72, 0.30}},
                    ScoreCase{"amberAt55", 4, 0.86, "\u25cf 55", {1.0, 0.72, 0.30}},
                    ScoreCase{"redAt54", 4, 1.57, "\u25cf 54", {1.0, 0.36, 0.36}}),
    [](const testing::TestParamInfo<ScoreCase>& row) { return row.param.name; });

} // namespace
} // namespace korvel
