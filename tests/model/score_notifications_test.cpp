#include "model/score_notifications.h"

#include <limits>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/snapshot.h"
#include "platform/simulated/services.h"

namespace korvel {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kScoreKey = "lastNotifiedScore";
constexpr const char* kAtKey = "lastNotifiedAt";

Snapshot scored(std::int64_t score) {
    Snapshot snapshot;
    snapshot.score = score;
    return snapshot;
}

class ScoreNotificationsTest : public testing::Test {
  protected:
    /// Past the quiet time after launch.
    void SetUp() override { system.clock.turn(121); }

    std::size_t maybeNotify(std::int64_t score) {
        notifications.maybeNotify(scored(score));
        return posted().size();
    }
    std::vector<platform::Notification>& posted() { return system.notifications.posted; }
    std::int64_t level() { return system.defaults.integer(kScoreKey); }

    platform::SimulatedServices system;
    ScoreNotifications notifications{system.clock, system.defaults, system.notifications};
};

TEST_F(ScoreNotificationsTest, AScoreOf54PostsOnAFreshInstallAnd55NeverDoes) {
    EXPECT_EQ(maybeNotify(55), 0U);
    EXPECT_EQ(maybeNotify(54), 1U);
    EXPECT_EQ(posted().front().title, "Mac slowing down: score 54");
}

TEST_F(ScoreNotificationsTest, UpToTwoMinutesAfterLaunchNothingIsPostedOrStored) {
    ScoreNotifications fresh(system.clock, system.defaults, system.notifications);
    system.defaults.set(kScoreKey, std::int64_t{30});
    system.clock.turn(120);
    fresh.maybeNotify(scored(10));
    fresh.maybeNotify(scored(90));
    EXPECT_THAT(posted(), IsEmpty());
    EXPECT_EQ(level(), 30);
    system.clock.turn(0.001);
    fresh.maybeNotify(scored(10));
    EXPECT_THAT(posted(), SizeIs(1));
}

TEST_F(ScoreNotificationsTest, AStoredZeroReadsAsNeverTold) {
    system.defaults.set(kScoreKey, std::int64_t{0});
    EXPECT_EQ(maybeNotify(54), 1U);
}

TEST_F(ScoreNotificationsTest, AToldScoreOfZeroIsStoredAndReadBackAsNeverTold) {
    EXPECT_EQ(maybeNotify(0), 1U);
    EXPECT_EQ(level(), 0);
    system.clock.turn(900.5);
    EXPECT_EQ(maybeNotify(54), 2U);
}

TEST_F(ScoreNotificationsTest, ADropOfTwelvePointsPostsAndElevenDoNot) {
    system.defaults.set(kScoreKey, std::int64_t{50});
    EXPECT_EQ(maybeNotify(39), 0U);
    EXPECT_EQ(maybeNotify(38), 1U);
}

TEST_F(ScoreNotificationsTest, TheSecondComesOnlyMoreThanFifteenMinutesAfterTheFirst) {
    EXPECT_EQ(maybeNotify(54), 1U);
    const platform::Date toldAt = system.clock.now();
    system.clock.turn(900);
    EXPECT_EQ(maybeNotify(20), 1U);
    EXPECT_EQ(level(), 54) << "too early leaves the level as it was";
    EXPECT_EQ(system.defaults.real(kAtKey), toldAt);
    system.clock.turn(0.001);
    EXPECT_EQ(maybeNotify(20), 2U);
}

TEST_F(ScoreNotificationsTest, TheTimeIsStoredAsADoubleAndTheScoreAsAnInteger) {
    maybeNotify(54);
    using Value = platform::SimulatedDefaults::Value;
    EXPECT_EQ(system.defaults.values.at(kScoreKey), Value(std::int64_t{54}));
    EXPECT_EQ(system.defaults.values.at(kAtKey), Value(system.clock.now()));
}

TEST_F(ScoreNotificationsTest, NothingElseIsStored) {
    maybeNotify(54);
    maybeNotify(80);
    system.clock.turn(901);
    maybeNotify(20);
    EXPECT_THAT(system.defaults.values,
                testing::ElementsAre(testing::Key(kAtKey), testing::Key(kScoreKey)));
}

TEST_F(ScoreNotificationsTest, TheLevelIsStoredBeforeThePost) {
    std::int64_t seen = 0;
    system.notifications.onPost = [&](const platform::Notification&) { seen = level(); };
    maybeNotify(40);
    EXPECT_EQ(seen, 40);
}

TEST_F(ScoreNotificationsTest, TheLevelFollowsTheScoreUpEvenWhileLow) {
    system.defaults.set(kScoreKey, std::int64_t{40});
    maybeNotify(50);
    EXPECT_EQ(level(), 50);
    maybeNotify(50);
    EXPECT_EQ(level(), 50);
    maybeNotify(45);
    EXPECT_EQ(level(), 50);
}

TEST_F(ScoreNotificationsTest, OnAFreshInstallNoScoreRaisesTheLevel) {
    maybeNotify(100);
    EXPECT_FALSE(system.defaults.has(kScoreKey));
}

TEST_F(ScoreNotificationsTest, TheWorkedSequence) {
    EXPECT_EQ(maybeNotify(80), 0U);
    EXPECT_EQ(maybeNotify(60), 0U);
    EXPECT_EQ(maybeNotify(54), 1U);
    EXPECT_EQ(level(), 54);
    EXPECT_EQ(maybeNotify(45), 1U) << "three points short of a clear fall";
    EXPECT_EQ(maybeNotify(42), 1U) << "too early";
    system.clock.turn(901);
    EXPECT_EQ(maybeNotify(42), 2U);
    EXPECT_EQ(maybeNotify(90), 2U);
    EXPECT_EQ(level(), 90);
    EXPECT_EQ(maybeNotify(50), 2U) << "too early";
    system.clock.turn(901);
    EXPECT_EQ(maybeNotify(50), 3U);
}

TEST_F(ScoreNotificationsTest, WhatWasToldSurvivesARestartAndTheQuietTimeStartsAnew) {
    maybeNotify(54);
    system.clock.turn(1000);
    ScoreNotifications restarted(system.clock, system.defaults, system.notifications);
    restarted.maybeNotify(scored(20));
    EXPECT_THAT(posted(), SizeIs(1));
    system.clock.turn(121);
    restarted.maybeNotify(scored(43));
    EXPECT_THAT(posted(), SizeIs(1)) << "not twelve points below what was told before";
    restarted.maybeNotify(scored(42));
    EXPECT_THAT(posted(), SizeIs(2));
}

TEST_F(ScoreNotificationsTest, AClockSetBackHoldsNotificationsBackUntilItHasCaughtUp) {
    maybeNotify(54);
    system.clock.turn(-5000);
    EXPECT_EQ(maybeNotify(20), 1U);
    system.clock.turn(5901);
    EXPECT_EQ(maybeNotify(20), 2U);
}

TEST_F(ScoreNotificationsTest, TheBodyIsTheFirstAlertElseTheHeaviestProcessElseAWord) {
    Snapshot snapshot = scored(10);
    snapshot.alerts = {"first", "second"};
    snapshot.topProcs = {{1, "100% %s builder", 9.34}, {2, "other", 1}};
    notifications.maybeNotify(snapshot);
    EXPECT_EQ(posted().back().body, "first");

    snapshot.alerts.clear();
    system.defaults.values.clear();
    notifications.maybeNotify(snapshot);
    EXPECT_EQ(posted().back().body, "Heaviest: 100% %s builder at 9.3 GB");

    snapshot.topProcs.clear();
    system.defaults.values.clear();
    notifications.maybeNotify(snapshot);
    EXPECT_EQ(posted().back().body, "Check Halden");
}

TEST_F(ScoreNotificationsTest, EachHasAFreshUpperCaseIdentifier) {
    maybeNotify(54);
    system.defaults.values.clear();
    maybeNotify(54);
    ASSERT_THAT(posted(), SizeIs(2));
    const testing::Matcher<std::string> uuid = testing::MatchesRegex(
        "[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
    EXPECT_THAT(posted()[0].identifier, uuid);
    EXPECT_THAT(posted()[1].identifier, uuid);
    EXPECT_NE(posted()[0].identifier, posted()[1].identifier);
}

TEST_F(ScoreNotificationsTest, BelowTheLeastStoredLevelThereIsNoRoomForAFall) {
    system.defaults.values[kScoreKey] = std::numeric_limits<std::int64_t>::min();
    maybeNotify(0);
    EXPECT_THAT(posted(), IsEmpty());
    EXPECT_EQ(system.defaults.integer(kScoreKey), 0) << "the level follows the score up";
}

struct OddLevel {
    const char* name;
    platform::SimulatedDefaults::Value stored;
    std::int64_t posting; ///< the highest score that posts
};

class OddStoredLevel : public ScoreNotificationsTest,
                       public testing::WithParamInterface<OddLevel> {};

TEST_P(OddStoredLevel, IsReadAsTheSettingsReadIt) {
    system.defaults.values[kScoreKey] = GetParam().stored;
    maybeNotify(GetParam().posting + 1);
    EXPECT_THAT(posted(), IsEmpty());
    system.defaults.values[kScoreKey] = GetParam().stored;
    maybeNotify(GetParam().posting);
    EXPECT_THAT(posted(), SizeIs(1));
}

INSTANTIATE_TEST_SUITE_P(
    Values, OddStoredLevel,
    testing::Values(OddLevel{"text", std::string("many"), 54},
                    OddLevel{"numberAsText", std::string("50"), 38}, OddLevel{"fraction", 50.9, 38},
                    OddLevel{"flag", false, 54},
                    OddLevel{"tooLarge", std::numeric_limits<std::int64_t>::max(), 54},
                    OddLevel{"notANumber", std::numeric_limits<double>::quiet_NaN(), 54}),
    [](const auto& row) { return std::string(row.param.name); });

} // namespace
} // namespace korvel
