#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "update/check_fixture.h"

namespace korvel {

namespace {

using platform::SimulatedDefaults;
using testing::ElementsAre;
using testing::IsEmpty;
using State = Updater::State;

constexpr double kDay = 86400;

const State kChecking = update_state::Checking{};
const State kIdle = update_state::Idle{};
const State kUpToDate = update_state::UpToDate{};
const State kUnreachable = update_state::Failed{"Could not reach the update server"};

State available(const std::string& version) {
    return update_state::Available{version};
}

TEST_F(Check, TheFeedLiesOnTheHostOfTheBuild) {
    EXPECT_EQ(Updater::appcast(), "https://" KORVEL_UPDATE_HOST "/appcast.json");
    EXPECT_EQ(updater->teamID, "7QX4D1K9WB");
    EXPECT_EQ(updater->checkedKey, "lastUpdateCheck");
}

TEST_F(Check, StartsIdleWithNothingPending) {
    EXPECT_EQ(*updater->state, kIdle);
    EXPECT_EQ(updater->releaseNotes(), "");
    EXPECT_FALSE(updater->pending);
    EXPECT_EQ(*updater->lastChecked, std::nullopt);
}

TEST_F(Check, TheLastCheckIsTakenUpWhenItsDateIsPositive) {
    const std::pair<SimulatedDefaults::Value, std::optional<double>> cases[] = {
        {1699999999.25, 1699999999.25},
        {0.5, 0.5},
        {0.0, std::nullopt},
        {-5.0, std::nullopt},
        {std::int64_t{1700000000}, 1700000000.0},
        {std::string("x"), std::nullopt},
    };
    for (const auto& [value, date] : cases) {
        simulated.defaults.values["lastUpdateCheck"] = value;
        make();
        EXPECT_EQ(*updater->lastChecked, date);
    }
}

TEST_F(Check, TheRunningVersionComesFromTheBundle) {
    EXPECT_EQ(updater->currentVersion(), "1.0.0");
    EXPECT_EQ(updater->currentBuild(), 100);
    simulated.bundle.info = {{"CFBundleVersion", " 42 "}};
    EXPECT_EQ(updater->currentVersion(), "0");
    EXPECT_EQ(updater->currentBuild(), 0);
    simulated.bundle.info.clear();
    EXPECT_EQ(updater->currentBuild(), 0);
}

TEST_F(Check, ANewerBuildIsPendingAndAnnounced) {
    make();
    answers(feedOf(101));
    check();
    EXPECT_THAT(states, ElementsAre(kChecking, available("2.0")));
    ASSERT_TRUE(updater->pending);
    EXPECT_EQ(updater->pending->build, 101);
    EXPECT_EQ(updater->releaseNotes(), "- One");
}

TEST_F(Check, TheStateSaysSoBeforeTheFeedIsAsked) {
    updater->state.didSet = [this] { EXPECT_THAT(simulated.http.urls, IsEmpty()); };
    updater->check(true);
    EXPECT_EQ(*updater->state, kChecking);
    EXPECT_THAT(simulated.http.urls, ElementsAre(Updater::appcast()));
    updater->state.didSet = nullptr;
}

TEST_F(Check, WhatIsPendingIsKnownWhenItsStateIsSet) {
    answers(feedOf(101));
    bool known = false;
    updater->state.didSet = [&] {
        known = std::holds_alternative<update_state::Available>(*updater->state) &&
                updater->pending.has_value();
    };
    check();
    EXPECT_TRUE(known);
}

TEST_F(Check, OnlyBuildsAreCompared) {
    make();
    answers(feedOf(101, "0.0.1"));
    check();
    EXPECT_EQ(*updater->state, available("0.0.1"));
    answers(feedOf(100, "9.9"));
    check();
    EXPECT_EQ(*updater->state, kUpToDate);
    answers(feedOf(-3, "9.9"));
    check();
    EXPECT_EQ(*updater->state, kUpToDate);
}

TEST_F(Check, WithoutAReadableBuildEveryPositiveOneIsOffered) {
    simulated.bundle.info.clear();
    answers(feedOf(1));
    check();
    EXPECT_EQ(*updater->state, available("2.0"));
    answers(feedOf(0));
    check();
    EXPECT_EQ(*updater->state, kUpToDate);
}

TEST_F(Check, UpToDateIsShownForFourSeconds) {
    make();
    answers(feedOf(100));
    check();
    simulated.runLoop.advance(3.9);
    EXPECT_EQ(*updater->state, kUpToDate);
    simulated.runLoop.advance(0.1);
    EXPECT_THAT(states, ElementsAre(kChecking, kUpToDate, kIdle));
}

TEST_F(Check, AnotherStateIsNotEndedAfterFourSeconds) {
    make();
    answers(feedOf(100));
    check();
    answers(feedOf(101));
    check();
    simulated.runLoop.advance(10);
    EXPECT_EQ(*updater->state, available("2.0"));
}

TEST_F(Check, AnOlderEndMayEndANewerUpToDateEarly) {
    make();
    answers(feedOf(100));
    check();
    simulated.runLoop.advance(3);
    check();
    simulated.runLoop.advance(1);
    EXPECT_THAT(states, ElementsAre(kChecking, kUpToDate, kChecking, kUpToDate, kIdle));
    simulated.runLoop.advance(10);
    EXPECT_EQ(states.size(), 5U);
}

TEST_F(Check, WhatIsPendingOutlivesLaterChecks) {
    answers(feedOf(101));
    check();
    answers(feedOf(100));
    check();
    EXPECT_EQ(*updater->state, kUpToDate);
    EXPECT_EQ(updater->releaseNotes(), "- One");
    simulated.http.document.reset();
    check();
    EXPECT_EQ(*updater->state, kUnreachable);
    ASSERT_TRUE(updater->pending);
    EXPECT_EQ(updater->pending->build, 101);
}

TEST_F(Check, OnlyAUserIsToldOfAFailure) {
    const std::pair<const char*, std::optional<platform::SimulatedHttp::Answer>> cases[] = {
        {"unreachable", std::nullopt},
        {"too slow", {{200, feedOf(101), 15.5}}},
        {"not found", {{404, feedOf(101), 0}}},
        {"no content", {{204, feedOf(101), 0}}},
        {"partial", {{206, feedOf(101), 0}}},
        {"created", {{201, feedOf(101), 0}}},
        {"moved", {{302, feedOf(101), 0}}},
        {"broken server", {{500, feedOf(101), 0}}},
        {"no JSON", {{200, "<html>", 0}}},
        {"empty", {{200, "", 0}}},
        {"build of text",
         {{200, R"({"version":"2","build":"101","url":"https://h","sha256":""})", 0}}},
        {"plain http", {{200, R"({"version":"2","build":101,"url":"http://h","sha256":""})", 0}}},
    };
    for (const auto& [name, answer] : cases) {
        simulated.http.document = answer;
        simulated.defaults.values.erase("lastUpdateCheck");
        make();
        updater->check(true);
        simulated.runLoop.advance(20);
        EXPECT_THAT(states, ElementsAre(kChecking, kUnreachable)) << name;
        simulated.defaults.values.erase("lastUpdateCheck");
        make();
        updater->checkInBackground();
        simulated.runLoop.advance(20);
        EXPECT_THAT(states, ElementsAre(kChecking, kIdle)) << name;
        EXPECT_FALSE(updater->pending) << name;
    }
}

TEST_F(Check, WaitsFifteenSecondsForTheFeed) {
    make();
    answers(feedOf(101), 200, 15);
    updater->check(true);
    simulated.runLoop.advance(14.9);
    EXPECT_EQ(*updater->state, kChecking) << "and the program goes on";
    simulated.runLoop.advance(0.1);
    EXPECT_EQ(*updater->state, available("2.0"));
}

TEST_F(Check, EveryExitMovesTheDateAndStoresItAsADoubleAfterTheState) {
    std::vector<std::string> order;
    const std::optional<platform::SimulatedHttp::Answer> kAnswers[] = {
        std::nullopt, {{200, feedOf(100), 0}}, {{200, feedOf(101), 0}}, {{404, "", 0}}};
    for (const auto& answer : kAnswers) {
        simulated.http.document = answer;
        make();
        order.clear();
        updater->state.didSet = [&] { order.push_back("state"); };
        updater->lastChecked.didSet = [&] { order.push_back("date"); };
        simulated.defaults.onChange = [&](const std::string& key, const auto*) {
            order.push_back(key);
        };
        simulated.runLoop.advance(60);
        order.clear();
        check();
        EXPECT_THAT(order, ElementsAre("state", "state", "date", "lastUpdateCheck"));
        EXPECT_EQ(**updater->lastChecked, simulated.clock.now());
        EXPECT_EQ(std::get<double>(stored()), simulated.clock.now());
    }
}

TEST_F(Check, InTheBackgroundTheFeedIsAskedOnceADay) {
    answers(feedOf(100));
    const struct {
        double ago;
        bool asks;
    } cases[] = {{0, false},       {kDay - 0.5, false}, {kDay, true},
                 {kDay + 1, true}, {-3600, false},      {-400 * kDay, false}};
    for (const auto& row : cases) {
        simulated.defaults.values["lastUpdateCheck"] = simulated.clock.now() - row.ago;
        make();
        simulated.http.urls.clear();
        const auto before = *updater->lastChecked;
        updater->checkInBackground();
        simulated.runLoop.advance(0);
        EXPECT_EQ(simulated.http.urls.size(), row.asks ? 1U : 0U) << row.ago;
        EXPECT_EQ(*updater->lastChecked == before, !row.asks) << row.ago;
        EXPECT_EQ(states.empty(), !row.asks) << row.ago;
    }
}

TEST_F(Check, AFailedCheckInTheBackgroundWaitsForADayToo) {
    updater->checkInBackground();
    simulated.runLoop.advance(kDay - 1);
    updater->checkInBackground();
    simulated.runLoop.advance(0);
    EXPECT_EQ(simulated.http.urls.size(), 1U);
    simulated.runLoop.advance(1);
    updater->checkInBackground();
    EXPECT_EQ(simulated.http.urls.size(), 2U);
}

TEST_F(Check, AUserIsNeverTurnedAway) {
    make();
    answers(feedOf(101));
    check();
    check();
    EXPECT_EQ(simulated.http.urls.size(), 2U);
    EXPECT_THAT(states, ElementsAre(kChecking, available("2.0"), kChecking, available("2.0")));
}

TEST_F(Check, OfTwoAtOnceTheLaterEndWins) {
    make();
    answers(feedOf(101), 200, 3);
    updater->check(false);
    simulated.http.document.reset();
    updater->check(true);
    simulated.runLoop.advance(5);
    EXPECT_THAT(states, ElementsAre(kChecking, kChecking, kUnreachable, available("2.0")));
}

TEST_F(Check, OneThatIsUnderWayComesToItsEndThoughNobodyHoldsTheUpdater) {
    answers(feedOf(100), 200, 5);
    std::vector<bool> held;
    const std::weak_ptr<Updater> weak = updater;
    updater->check(true, [&] { held.push_back(!weak.expired()); });
    updater.reset();
    simulated.runLoop.advance(5);
    EXPECT_THAT(held, ElementsAre(true));
    EXPECT_EQ(std::get<double>(stored()), simulated.clock.now());
    simulated.runLoop.advance(10);
    EXPECT_TRUE(weak.expired());
}

TEST_F(Check, DoneIsCalledAtTheEnd) {
    int done = 0;
    updater->check(true, [&] {
        ++done;
        EXPECT_TRUE(*updater->lastChecked);
    });
    EXPECT_EQ(done, 0);
    simulated.runLoop.advance(0);
    EXPECT_EQ(done, 1);
}

TEST_F(Check, NotesAreThoseOfTheRunningBuildAndTouchNothing) {
    const std::pair<std::optional<platform::SimulatedHttp::Answer>, std::optional<std::string>>
        cases[] = {
            {{{200, feedOf(100), 0}}, "- One"},      {{{200, feedOf(100, "2.0", ""), 0}}, ""},
            {{{200, feedOf(101), 0}}, std::nullopt}, {{{200, feedOf(99), 0}}, std::nullopt},
            {{{404, feedOf(100), 0}}, std::nullopt}, {std::nullopt, std::nullopt}};
    for (const auto& [answer, notes] : cases) {
        simulated.http.document = answer;
        make();
        std::optional<std::optional<std::string>> got;
        updater->notesForCurrentVersion([&](const auto& text) { got = text; });
        simulated.runLoop.advance(0);
        ASSERT_TRUE(got);
        EXPECT_EQ(*got, notes);
        EXPECT_THAT(states, IsEmpty());
        EXPECT_EQ(*updater->lastChecked, std::nullopt);
        EXPECT_FALSE(updater->pending);
    }
}

TEST_F(Check, WhereAPackageManagerUpdatesTheFeedIsNeverAskedUnasked) {
    simulated.bundle.managed = true;
    answers(feedOf(101));
    for (const bool checkedBefore : {false, true}) {
        if (checkedBefore) {
            simulated.defaults.values["lastUpdateCheck"] = simulated.clock.now() - 400 * kDay;
        }
        make();
        const auto defaults = simulated.defaults.values;
        const auto last = *updater->lastChecked;
        updater->checkInBackground();
        simulated.runLoop.advance(kDay);
        EXPECT_THAT(simulated.http.urls, IsEmpty());
        EXPECT_THAT(states, IsEmpty());
        EXPECT_EQ(*updater->lastChecked, last);
        EXPECT_EQ(simulated.defaults.values, defaults);
    }
}

TEST_F(Check, WhereAPackageManagerUpdatesAUserWhoAsksIsAnsweredAsEver) {
    simulated.bundle.managed = true;
    make();
    answers(feedOf(101));
    check();
    EXPECT_THAT(states, ElementsAre(kChecking, available("2.0")));
    EXPECT_THAT(simulated.http.urls, ElementsAre(Updater::appcast()));
    EXPECT_EQ(std::get<double>(stored()), simulated.clock.now());
}

TEST_F(Check, WhereAPackageManagerUpdatesTheNotesAreThoseThatWereBuiltIn) {
    simulated.bundle.managed = true;
    answers(feedOf(100));
    for (const std::optional<std::string>& notes :
         {std::optional<std::string>(), std::optional<std::string>("- Two")}) {
        if (notes) {
            simulated.bundle.info[platform::kReleaseNotesKey] = *notes;
        }
        make();
        std::optional<std::optional<std::string>> got;
        updater->notesForCurrentVersion([&](const auto& text) { got = text; });
        simulated.runLoop.advance(0);
        ASSERT_TRUE(got);
        EXPECT_EQ(*got, notes);
        EXPECT_THAT(simulated.http.urls, IsEmpty());
    }
}

TEST_F(Check, BuiltInNotesAreNoneOfACopyThatUpdatesItself) {
    simulated.bundle.info[platform::kReleaseNotesKey] = "- Two";
    answers(feedOf(100));
    make();
    std::optional<std::string> got;
    updater->notesForCurrentVersion([&](const auto& text) { got = text; });
    simulated.runLoop.advance(0);
    EXPECT_EQ(got, "- One");
}

TEST_F(Check, StatesAreEqualWithTheirPayload) {
    EXPECT_NE(available("2.0"), available("2.1"));
    EXPECT_NE(State(update_state::Downloading{}), State(update_state::Downloading{0.5}));
    EXPECT_NE(State(update_state::Failed{"a"}), State(update_state::Failed{"b"}));
    EXPECT_EQ(State(update_state::Available{}).index(), 0U);
    EXPECT_EQ(State(update_state::ReadyToRelaunch{}).index(), 7U);
}

} // namespace
} // namespace korvel
