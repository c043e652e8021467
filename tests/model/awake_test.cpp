#include "model/awake.h"

#include <cmath>
#include <csignal>
#include <functional>
#include <limits>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/services.h"

namespace korvel {
namespace {

using platform::SimulatedPower;
using testing::ElementsAre;
using testing::IsEmpty;
using Value = platform::SimulatedDefaults::Value;

class AwakeTest : public testing::Test {
  protected:
    std::shared_ptr<Awake> make() {
        auto made = std::make_shared<Awake>(system.services());
        made->onChange = [this] { ++changes; };
        return made;
    }
    void let(double seconds) { system.runLoop.advance(seconds); }
    bool isHeld() { return !system.power.held.empty(); }
    /// What `act` asks, publishes and stores, in order; the questions for the time are left out.
    platform::CallLog stepsOf(const std::function<void()>& act) {
        system.logTo(steps);
        awake->on.didSet = [this] { steps.emplace_back(*awake->on ? "on" : "not on"); };
        awake->until.didSet = [this] { steps.emplace_back(*awake->until ? "until" : "no until"); };
        system.defaults.onChange = [this](const std::string& key, const Value* value) {
            steps.push_back((value == nullptr ? "removed " : "stored ") + key);
        };
        awake->onChange = [this] { steps.emplace_back("told"); };
        act();
        std::erase(steps, "now");
        return std::exchange(steps, {});
    }

    platform::CallLog steps;
    platform::SimulatedServices system;
    int changes = 0;
    std::shared_ptr<Awake> awake = make();
};

TEST_F(AwakeTest, StartsOff) {
    EXPECT_FALSE(*awake->on);
    EXPECT_FALSE(awake->until->has_value());
    EXPECT_EQ(awake->remainingLabel(), "off");
}

TEST_F(AwakeTest, TakesTheDisplayAssertionThenTheSystemOne) {
    platform::CallLog log;
    system.power.log = &log;
    awake->enable(std::nullopt);
    EXPECT_THAT(log, ElementsAre("create NoDisplaySleepAssertion Korvel keep awake",
                                 "create NoIdleSleepAssertion Korvel keep awake"));
    EXPECT_TRUE(*awake->on);
    EXPECT_EQ(awake->remainingLabel(), "on, indefinitely");
    EXPECT_EQ(changes, 1);
}

TEST_F(AwakeTest, SwitchesOnStepByStep) {
    EXPECT_THAT(stepsOf([this] { awake->enable(30); }),
                ElementsAre("not on", "create NoDisplaySleepAssertion Korvel keep awake",
                            "create NoIdleSleepAssertion Korvel keep awake", "on", "until",
                            "once 1800", "stored awakeOn", "stored awakeUntil", "told"));
}

TEST_F(AwakeTest, SwitchesOffStepByStep) {
    awake->enable(30);
    EXPECT_THAT(stepsOf([this] { awake->disable(); }),
                ElementsAre("release NoDisplaySleepAssertion", "release NoIdleSleepAssertion",
                            "not on", "no until", "stored awakeOn", "removed awakeUntil", "told"));
}

TEST_F(AwakeTest, WithoutAnEndAnIntegerZeroIsStored) {
    awake->enable(std::nullopt);
    EXPECT_EQ(system.defaults.values.at("awakeOn"), Value(true));
    EXPECT_EQ(system.defaults.values.at("awakeUntil"), Value(std::int64_t{0}));
}

TEST_F(AwakeTest, AnEndIsStoredAsADouble) {
    awake->enable(30);
    EXPECT_EQ(system.defaults.values.at("awakeUntil"), Value(system.clock.now() + 1800));
    EXPECT_EQ(**awake->until, system.clock.now() + 1800);
}

TEST_F(AwakeTest, EndsByItselfAndForgets) {
    awake->enable(30);
    let(1799.9);
    EXPECT_TRUE(*awake->on);
    let(0.2);
    EXPECT_FALSE(*awake->on);
    EXPECT_FALSE(isHeld());
    EXPECT_FALSE(awake->until->has_value());
    EXPECT_EQ(system.defaults.values.at("awakeOn"), Value(false));
    EXPECT_FALSE(system.defaults.has("awakeUntil"));
    EXPECT_EQ(changes, 2);
}

TEST_F(AwakeTest, APeriodOfNoMinutesEndsAfterASecond) {
    awake->enable(0);
    EXPECT_TRUE(isHeld());
    let(0.99);
    EXPECT_TRUE(isHeld());
    let(0.02);
    EXPECT_FALSE(isHeld());
}

TEST_F(AwakeTest, AnotherChoiceReplacesTheRunningOne) {
    awake->enable(30);
    awake->enable(60);
    EXPECT_EQ(system.power.held.size(), 2U);
    let(1801);
    EXPECT_TRUE(*awake->on) << "the first period's timer is gone";
    let(1801);
    EXPECT_FALSE(*awake->on);
}

TEST_F(AwakeTest, OneGrantOfTwoIsEnough) {
    system.power.grantsDisplay = false;
    awake->enable(std::nullopt);
    EXPECT_TRUE(*awake->on);
    EXPECT_EQ(system.power.held.size(), 1U);
    awake->disable();
    EXPECT_FALSE(isHeld());

    system.power.grantsDisplay = true;
    system.power.grantsSystem = false;
    awake->enable(std::nullopt);
    EXPECT_TRUE(*awake->on);
}

TEST_F(AwakeTest, EachThatWasGrantedIsReleasedOnce) {
    system.power.log = &steps;
    system.power.onChange = [this](const std::string& op, auto, auto) {
        EXPECT_EQ(system.runLoop.waitingOnce(), 0U) << op << ": the timer goes first";
    };
    awake->enable(30);
    awake->disable();
    awake->disable();
    EXPECT_THAT(steps,
                ElementsAre("create NoDisplaySleepAssertion Korvel keep awake",
                            "create NoIdleSleepAssertion Korvel keep awake",
                            "release NoDisplaySleepAssertion", "release NoIdleSleepAssertion"));
}

TEST_F(AwakeTest, WhatWasRefusedIsNotReleased) {
    for (const bool display : {true, false}) {
        system.power.grantsDisplay = display;
        system.power.grantsSystem = !display;
        awake->enable(std::nullopt);
        system.power.log = &steps;
        awake->disable();
        EXPECT_THAT(std::exchange(steps, {}),
                    ElementsAre(display ? "release NoDisplaySleepAssertion"
                                        : "release NoIdleSleepAssertion"));
        system.power.log = nullptr;
    }
}

TEST_F(AwakeTest, IsHeldWhatWasGrantedAndIsHeldStill) {
    EXPECT_FALSE(awake->displayHeld() || awake->systemHeld());
    awake->enable(std::nullopt);
    EXPECT_TRUE(awake->displayHeld() && awake->systemHeld());
    system.power.held.erase(system.power.held.begin());
    EXPECT_FALSE(awake->displayHeld());
    EXPECT_TRUE(awake->systemHeld());
    system.power.held.clear();
    EXPECT_FALSE(awake->systemHeld());
    system.power.grantsSystem = false;
    awake->enable(std::nullopt);
    EXPECT_TRUE(awake->displayHeld());
    EXPECT_FALSE(awake->systemHeld());
    awake->disable();
    EXPECT_FALSE(awake->displayHeld());
}

TEST_F(AwakeTest, NobodyNeedsToBeTold) {
    awake->onChange = nullptr;
    awake->enable(30);
    EXPECT_TRUE(*awake->on);
    awake->disable();
    EXPECT_FALSE(*awake->on);
}

TEST(SharedAwakeDeathTest, NeedsTheServicesToBeInstalled) {
    EXPECT_EXIT(Awake::shared(), testing::KilledBySignal(SIGABRT), "^$");
}

TEST(SharedAwake, IsOneInstanceOnTheInstalledServices) {
    static platform::SimulatedServices system;
    static const platform::Services services = system.services();
    platform::installedServices = &services;
    const std::shared_ptr<Awake>& shared = Awake::shared();
    platform::installedServices = nullptr;
    EXPECT_EQ(&Awake::shared(), &shared);
    shared->enable(std::nullopt);
    EXPECT_EQ(system.power.held.size(), 2U);
    shared->disable();
}

TEST_F(AwakeTest, WhenBothAreRefusedItEndsUpOffAndAllElseStays) {
    awake->enable(30);
    const auto stored = system.defaults.values;
    const auto end = *awake->until;
    system.power.grantsDisplay = system.power.grantsSystem = false;
    awake->enable(std::nullopt);
    EXPECT_FALSE(*awake->on);
    EXPECT_FALSE(isHeld());
    EXPECT_EQ(*awake->until, end);
    EXPECT_EQ(awake->remainingLabel(), "on for 31m more") << "its end is told though it is off";
    EXPECT_EQ(system.defaults.values, stored);
    EXPECT_EQ(changes, 1);
}

TEST_F(AwakeTest, SwitchingOffAnnouncesEvenWhenItWasOff) {
    awake->disable();
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(system.defaults.values.at("awakeOn"), Value(false));
}

TEST_F(AwakeTest, QuittingReleasesButDoesNotForget) {
    awake->enable(30);
    const auto stored = system.defaults.values;
    awake->releaseOnQuit();
    EXPECT_FALSE(isHeld());
    EXPECT_FALSE(*awake->on);
    EXPECT_EQ(awake->remainingLabel(), "on for 31m more") << "its end is told though it is off";
    EXPECT_EQ(system.defaults.values, stored);
    EXPECT_EQ(changes, 1);
    let(4000);
    EXPECT_EQ(changes, 1) << "no timer is left";
}

TEST_F(AwakeTest, ARestartTakesUpWhatWasOnIndefinitely) {
    awake->enable(std::nullopt);
    awake->releaseOnQuit();
    awake = make();
    awake->restore();
    EXPECT_TRUE(*awake->on);
    EXPECT_EQ(system.power.held.size(), 2U);
    EXPECT_EQ(changes, 2);
}

TEST_F(AwakeTest, AnEndFortySecondsOffIsTakenUpUntilThen) {
    system.defaults.set("awakeOn", true);
    system.defaults.set("awakeUntil", system.clock.now() + 40);
    awake->restore();
    EXPECT_TRUE(*awake->on);
    let(39.9);
    EXPECT_TRUE(*awake->on);
    let(0.2);
    EXPECT_FALSE(*awake->on);
}

TEST_F(AwakeTest, AnEndThirtySecondsOffOrLessIsForgottenSilently) {
    for (const double left : {30.0, 20.0, 0.0, -1e9, -1e300}) {
        system.defaults.set("awakeOn", true);
        system.defaults.set("awakeUntil", system.clock.now() + left);
        awake->restore();
        EXPECT_FALSE(*awake->on) << left;
        EXPECT_EQ(system.defaults.values.at("awakeOn"), Value(false)) << left;
        EXPECT_FALSE(system.defaults.has("awakeUntil")) << left;
    }
    EXPECT_EQ(changes, 0);
}

TEST_F(AwakeTest, AnEndJustMoreThanThirtySecondsOffIsTakenUp) {
    const double kMore = system.clock.now() + 30;
    const double kEnd = std::nextafter(kMore, kMore + 1);
    system.defaults.set("awakeOn", true);
    system.defaults.set("awakeUntil", kEnd);
    awake->restore();
    EXPECT_TRUE(*awake->on);
    EXPECT_EQ(*awake->until, kEnd);
    EXPECT_EQ(system.defaults.values.at("awakeUntil"), Value(kEnd));
}

TEST_F(AwakeTest, AnEndTooNearIsForgottenStepByStep) {
    system.defaults.set("awakeOn", true);
    system.defaults.set("awakeUntil", system.clock.now() + 30);
    EXPECT_THAT(stepsOf([this] { awake->restore(); }),
                ElementsAre("stored awakeOn", "removed awakeUntil"));
}

TEST_F(AwakeTest, AnEndFarOffIsTakenUpAndShown) {
    system.defaults.set("awakeOn", true);
    system.defaults.set("awakeUntil", 1e300);
    awake->restore();
    EXPECT_TRUE(*awake->on);
    EXPECT_EQ(awake->remainingLabel(), "on for 16666666666666h 41m more") << "a whole number still";
}

TEST_F(AwakeTest, AnAbsentEndIsNoEnd) {
    system.defaults.set("awakeOn", true);
    awake->restore();
    EXPECT_TRUE(*awake->on);
    EXPECT_EQ(awake->remainingLabel(), "on, indefinitely");
}

TEST_F(AwakeTest, OfWhatWasOffTheEndIsNotLookedAt) {
    EXPECT_THAT(stepsOf([this] { awake->restore(); }), IsEmpty());
    for (const double left : {4000.0, 30.0, -4000.0}) {
        const Value end = system.clock.now() + left;
        for (const bool absent : {false, true}) {
            system.defaults.values = {{"awakeUntil", end}};
            if (!absent) {
                system.defaults.values["awakeOn"] = false;
            }
            EXPECT_THAT(stepsOf([this] { awake->restore(); }), IsEmpty()) << left;
            EXPECT_EQ(system.defaults.values.at("awakeUntil"), end) << left;
            EXPECT_FALSE(*awake->on) << left;
        }
    }
}

TEST_F(AwakeTest, AnEndThatIsNoNumberIsForgotten) {
    system.defaults.set("awakeOn", true);
    system.defaults.set("awakeUntil", std::numeric_limits<double>::quiet_NaN());
    awake->restore();
    EXPECT_FALSE(*awake->on);
}

TEST_F(AwakeTest, ATimerOutlivesNoOwner) {
    awake->enable(0);
    awake.reset();
    let(5);
    EXPECT_EQ(changes, 1);
}

struct LabelCase {
    double left; ///< seconds
    const char* label;
};

class AwakeLabel : public AwakeTest, public testing::WithParamInterface<LabelCase> {};

TEST_P(AwakeLabel, CountsWholeMinutesAndTheOneThatRuns) {
    awake->enable(600);
    system.clock.set(**awake->until - GetParam().left);
    EXPECT_EQ(awake->remainingLabel(), GetParam().label);
}

INSTANTIATE_TEST_SUITE_P(
    Durations, AwakeLabel,
    testing::Values(LabelCase{1799.5, "on for 30m more"}, LabelCase{1800, "on for 31m more"},
                    LabelCase{59, "on for 1m more"}, LabelCase{60, "on for 2m more"},
                    LabelCase{5399, "on for 1h 30m more"}, LabelCase{5400, "on for 1h 31m more"},
                    LabelCase{7199, "on for 2h more"}, LabelCase{3599, "on for 1h more"},
                    LabelCase{0, "on for 1m more"}, LabelCase{-30, "on for 1m more"},
                    LabelCase{-60, "on for 0m more"}, LabelCase{-1e6, "on for 0m more"}));

TEST(HumanDuration, Table) {
    EXPECT_EQ(Awake::humanDuration(0), "0m");
    EXPECT_EQ(Awake::humanDuration(59), "59m");
    EXPECT_EQ(Awake::humanDuration(60), "1h");
    EXPECT_EQ(Awake::humanDuration(61), "1h 1m");
    EXPECT_EQ(Awake::humanDuration(180), "3h");
    EXPECT_EQ(Awake::humanDuration(-5), "-5m");
}

} // namespace
} // namespace korvel
