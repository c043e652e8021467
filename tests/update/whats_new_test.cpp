#include "update/whats_new.h"

#include <csignal>
#include <limits>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/services.h"
#include "update/updater.h"

namespace korvel {

// For the messages of a failed test.
void PrintTo(const WhatsNew::Kind& kind, std::ostream* stream) {
    *stream << static_cast<int>(kind.value) << " from \"" << kind.from << "\"";
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using KindCase = WhatsNew::Kind::Case;
using Kind = WhatsNew::Kind;
using Lines = std::vector<std::string>;

const Kind kNone{KindCase::none, ""};
const Kind kInstalled{KindCase::installed, ""};
const Lines kWelcome{"Your score lives in the menu bar. Click it for the detail.",
                     "Amber or red names the one thing dragging it down.",
                     "Nothing is uploaded and nothing runs as admin."};

class Greeting : public testing::Test {
  protected:
    /// Has the user seen that build, of that version.
    void seen(std::int64_t build, const std::string& version = "0.9") {
        simulated.defaults.values["seenBuild"] = build;
        simulated.defaults.values["seenVersion"] = version;
    }
    void handOver(const std::string& notes) {
        simulated.defaults.values["pendingReleaseNotes"] = notes;
    }
    bool isHandedOver() { return simulated.defaults.has("pendingReleaseNotes"); }
    void feed(std::int64_t build, const std::string& notes, double delay = 0) {
        simulated.http.document = platform::SimulatedHttp::Answer{
            200,
            R"({"version": "1", "build": )" + std::to_string(build) +
                R"(, "url": "https://h", "sha256": "", "notes": ")" + notes + "\"}",
            delay};
    }
    /// The next launch.
    void launch() {
        updater = std::make_shared<Updater>(simulated.services());
        whatsNew = std::make_shared<WhatsNew>(simulated.services(), updater);
        whatsNew->evaluate();
    }

    platform::SimulatedServices simulated; ///< of build 100, version 1.0.0
    std::shared_ptr<Updater> updater;
    std::shared_ptr<WhatsNew> whatsNew;
};

TEST_F(Greeting, StartsWithNothing) {
    updater = std::make_shared<Updater>(simulated.services());
    whatsNew = std::make_shared<WhatsNew>(simulated.services(), updater);
    EXPECT_EQ(*whatsNew->kind, kNone);
    EXPECT_THAT(*whatsNew->notes, IsEmpty());
    EXPECT_FALSE(whatsNew->shouldAutoPresent());
    EXPECT_EQ(whatsNew->version(), "1.0.0");
    EXPECT_STREQ(WhatsNew::handoffKey, "pendingReleaseNotes");
}

TEST_F(Greeting, TheFirstLaunchIsAWelcome) {
    handOver("- Never shown");
    launch();
    EXPECT_EQ(*whatsNew->kind, kInstalled);
    EXPECT_EQ(*whatsNew->notes, kWelcome);
    EXPECT_TRUE(isHandedOver()) << "it is not touched";
    EXPECT_FALSE(simulated.defaults.has("seenBuild"));
    simulated.runLoop.advance(10);
    EXPECT_THAT(simulated.http.urls, IsEmpty());
}

TEST_F(Greeting, TheFirstLaunchIsAWelcomeThoughTheBundleDoesNotSayItsBuild) {
    for (const char* build : {"", "-5"}) {
        simulated.bundle.info["CFBundleVersion"] = build;
        launch();
        EXPECT_EQ(*whatsNew->kind, kInstalled) << build;
    }
}

TEST_F(Greeting, WhatWasHandedOverIsKnownBeforeItIsRemoved) {
    seen(99);
    handOver("- One");
    Lines known;
    simulated.defaults.onChange = [&](const std::string& key, const auto*) {
        EXPECT_EQ(key, "pendingReleaseNotes");
        known = *whatsNew->notes;
    };
    launch();
    EXPECT_THAT(known, ElementsAre("One"));
    EXPECT_FALSE(isHandedOver());
}

TEST_F(Greeting, AnUpdateTellsWhatWasHandedOver) {
    seen(99);
    handOver("- One\n- Two");
    launch();
    EXPECT_EQ(*whatsNew->kind, (Kind{KindCase::updated, "0.9"}));
    EXPECT_THAT(*whatsNew->notes, ElementsAre("One", "Two"));
    EXPECT_FALSE(isHandedOver());
    simulated.runLoop.advance(10);
    EXPECT_THAT(simulated.http.urls, IsEmpty());
    EXPECT_EQ(simulated.defaults.integer("seenBuild"), 99);
    EXPECT_EQ(simulated.defaults.string("seenVersion"), "0.9");
}

TEST_F(Greeting, AnUpdateFromAVersionThatWasNeverStored) {
    seen(99);
    simulated.defaults.values.erase("seenVersion");
    launch();
    EXPECT_EQ(*whatsNew->kind, (Kind{KindCase::updated, ""}));
}

TEST_F(Greeting, ASeenBuildBelowZeroIsOneThatWasSeen) {
    for (const std::int64_t build :
         {std::int64_t{-1}, std::int64_t{-100}, std::numeric_limits<std::int64_t>::min()}) {
        seen(build);
        handOver("- One");
        launch();
        EXPECT_EQ(*whatsNew->kind, (Kind{KindCase::updated, "0.9"})) << build;
        EXPECT_THAT(*whatsNew->notes, ElementsAre("One")) << build;
        EXPECT_FALSE(isHandedOver()) << build;
    }
    // And a running build below zero has nothing that is newer than the same.
    simulated.bundle.info["CFBundleVersion"] = "-5";
    seen(-5);
    launch();
    EXPECT_EQ(*whatsNew->kind, kNone);
    seen(-6);
    launch();
    EXPECT_EQ(whatsNew->kind->value, KindCase::updated);
}

TEST_F(Greeting, WithoutAHandOverTheFeedIsAsked) {
    for (const bool empty : {false, true}) {
        seen(99);
        simulated.defaults.values.erase("pendingReleaseNotes");
        if (empty) {
            handOver("");
        }
        feed(100, "One • Two");
        launch();
        EXPECT_EQ(whatsNew->kind->value, KindCase::updated);
        EXPECT_THAT(*whatsNew->notes, IsEmpty());
        simulated.runLoop.advance(0);
        EXPECT_THAT(*whatsNew->notes, ElementsAre("One", "Two"));
        EXPECT_EQ(isHandedOver(), empty) << "an empty one is left in place";
        EXPECT_EQ(*updater->state, Updater::State(update_state::Idle{}));
    }
}

TEST_F(Greeting, AFeedWithNothingOnThisBuildLeavesTheHeadingAlone) {
    seen(99);
    for (const auto& [build, notes] :
         std::vector<std::pair<std::int64_t, std::string>>{{101, "x"}, {99, "x"}, {100, ""}}) {
        feed(build, notes);
        launch();
        simulated.runLoop.advance(1);
        EXPECT_THAT(*whatsNew->notes, IsEmpty()) << build;
        EXPECT_EQ(whatsNew->kind->value, KindCase::updated);
    }
    simulated.http.document.reset();
    launch();
    simulated.runLoop.advance(1);
    EXPECT_EQ(whatsNew->kind->value, KindCase::updated);
}

TEST_F(Greeting, NotesThatComeLateAreAnnouncedInPlace) {
    seen(99);
    feed(100, "Late", 7);
    launch();
    simulated.runLoop.advance(6.9);
    int announced = 0;
    const Observation observation = whatsNew->observe([&] { ++announced; });
    simulated.runLoop.advance(0.1);
    EXPECT_EQ(announced, 1);
    EXPECT_THAT(*whatsNew->notes, ElementsAre("Late"));
}

TEST_F(Greeting, NotesThatComeAfterItIsGoneAreDropped) {
    seen(99);
    feed(100, "Late", 7);
    launch();
    simulated.runLoop.advance(1);
    const std::weak_ptr<WhatsNew> weak = whatsNew;
    whatsNew.reset();
    EXPECT_TRUE(weak.expired()) << "the question does not keep it";
    simulated.runLoop.advance(10);
}

TEST_F(Greeting, GoneBeforeItAsksItAsksNothing) {
    seen(99);
    launch();
    whatsNew.reset();
    simulated.runLoop.advance(10);
    EXPECT_THAT(simulated.http.urls, IsEmpty());
}

TEST_F(Greeting, TheSameBuildOrAnOlderOneIsNoNews) {
    for (const std::int64_t build : {100, 101, 1000000}) {
        seen(build);
        handOver("- Left");
        launch();
        EXPECT_EQ(*whatsNew->kind, kNone) << build;
        EXPECT_THAT(*whatsNew->notes, IsEmpty());
        EXPECT_FALSE(whatsNew->shouldAutoPresent());
        EXPECT_TRUE(isHandedOver());
    }
}

TEST_F(Greeting, NoNewsLeaveTheLinesThatStand) {
    seen(99);
    handOver("- One\n- Two");
    launch();
    ASSERT_THAT(*whatsNew->notes, ElementsAre("One", "Two"));
    for (const std::int64_t build : {100, 101}) {
        seen(build);
        whatsNew->evaluate();
        EXPECT_EQ(*whatsNew->kind, kNone) << build;
        EXPECT_THAT(*whatsNew->notes, ElementsAre("One", "Two")) << build;
    }
}

TEST_F(Greeting, NoNewsAreAnnouncedOnceAndAsNothingElse) {
    launch();
    seen(100);
    std::vector<Kind> kinds;
    whatsNew->kind.didSet = [&] { kinds.push_back(*whatsNew->kind); };
    whatsNew->evaluate();
    EXPECT_THAT(kinds, ElementsAre(kNone));
}

TEST_F(Greeting, AFeedWithoutNotesLeavesTheLinesThatStand) {
    seen(99);
    handOver("- One");
    launch();
    feed(100, "");
    whatsNew->evaluate();
    simulated.runLoop.advance(1);
    EXPECT_THAT(simulated.http.urls, testing::SizeIs(1));
    EXPECT_THAT(*whatsNew->notes, ElementsAre("One"));
}

TEST_F(Greeting, OpensByItselfOnceForEachBuild) {
    launch();
    EXPECT_TRUE(whatsNew->shouldAutoPresent());
    EXPECT_FALSE(whatsNew->shouldAutoPresent());
    EXPECT_EQ(std::get<std::int64_t>(simulated.defaults.values["whatsNewAutoShownBuild"]), 100);
    launch();
    EXPECT_EQ(*whatsNew->kind, kInstalled) << "it comes back until it is dismissed";
    EXPECT_FALSE(whatsNew->shouldAutoPresent());
    simulated.bundle.info["CFBundleVersion"] = "101";
    launch();
    EXPECT_TRUE(whatsNew->shouldAutoPresent());
}

TEST_F(Greeting, WithNothingToShowNothingIsWritten) {
    seen(100);
    launch();
    EXPECT_FALSE(whatsNew->shouldAutoPresent());
    EXPECT_FALSE(simulated.defaults.has("whatsNewAutoShownBuild"));
}

TEST_F(Greeting, DismissedItStaysAwayForThatBuildAndKeepsItsLines) {
    launch();
    whatsNew->dismiss();
    EXPECT_EQ(*whatsNew->kind, kNone);
    EXPECT_EQ(*whatsNew->notes, kWelcome);
    EXPECT_EQ(std::get<std::int64_t>(simulated.defaults.values["seenBuild"]), 100);
    EXPECT_EQ(std::get<std::string>(simulated.defaults.values["seenVersion"]), "1.0.0");
    launch();
    EXPECT_EQ(*whatsNew->kind, kNone);
    simulated.bundle.info["CFBundleVersion"] = "101";
    simulated.bundle.info["CFBundleShortVersionString"] = "1.1";
    launch();
    EXPECT_EQ(*whatsNew->kind, (Kind{KindCase::updated, "1.0.0"}));
}

TEST_F(Greeting, NothingIsStoredButThatItOpenedByItselfAndWhatWasSeen) {
    const auto stored = [this] {
        Lines keys;
        for (const auto& [key, value] : simulated.defaults.values) {
            keys.push_back(key);
        }
        return keys;
    };
    launch();
    EXPECT_THAT(stored(), IsEmpty()) << "a welcome";
    whatsNew->shouldAutoPresent();
    EXPECT_THAT(stored(), ElementsAre("whatsNewAutoShownBuild"));
    whatsNew->dismiss();
    EXPECT_THAT(stored(), ElementsAre("seenBuild", "seenVersion", "whatsNewAutoShownBuild"));
    simulated.bundle.info["CFBundleVersion"] = "101";
    handOver("- One");
    launch();
    EXPECT_EQ(whatsNew->kind->value, KindCase::updated);
    feed(101, "Two");
    launch();
    simulated.runLoop.advance(1);
    EXPECT_THAT(*whatsNew->notes, ElementsAre("Two"));
    EXPECT_THAT(stored(), ElementsAre("seenBuild", "seenVersion", "whatsNewAutoShownBuild"));
}

TEST_F(Greeting, IsStoredAsSeenBeforeItGoes) {
    launch();
    Lines steps;
    simulated.defaults.onChange = [&](const std::string& key, const auto*) {
        steps.push_back(key);
    };
    const Observation observation = whatsNew->observe([&] { steps.emplace_back("will change"); });
    whatsNew->kind.didSet = [&] { steps.emplace_back("kind"); };
    whatsNew->dismiss();
    EXPECT_THAT(steps, ElementsAre("seenBuild", "seenVersion", "will change", "kind"));
}

TEST(SharedUpdateDeathTest, BothNeedTheServicesToBeInstalled) {
    EXPECT_EXIT(Updater::shared(), testing::KilledBySignal(SIGABRT), "^$");
    EXPECT_EXIT(WhatsNew::shared(), testing::KilledBySignal(SIGABRT), "^$");
}

TEST(SharedUpdate, BothAreOneInstanceOnTheInstalledServices) {
    static platform::SimulatedServices system;
    static const platform::Services services = system.services();
    system.bundle.info["CFBundleShortVersionString"] = "7.5";
    platform::installedServices = &services;
    const std::shared_ptr<WhatsNew>& shared = WhatsNew::shared();
    platform::installedServices = nullptr;
    EXPECT_EQ(&WhatsNew::shared(), &shared);
    EXPECT_EQ(shared->version(), "7.5");
    EXPECT_EQ(Updater::shared()->currentVersion(), "7.5");
    EXPECT_EQ(Updater::shared(), Updater::shared());
    shared->dismiss();
    EXPECT_EQ(system.defaults.integer("seenBuild"), 100);
}

TEST(Bullets, AreAtMostThreeTrimmedLines) {
    const struct {
        const char* text;
        Lines lines;
    } cases[] = {
        {"\u2022 Faster sampling\n\u2022 Fixed swap readout\n- New icon\n* Extra line",
         {"Faster sampling", "Fixed swap readout", "New icon"}},
        {"   \n\n", {}},
        {"", {}},
        {"Uses a-b notation -", {"Uses a-b notation"}},
        {"- - x -", {"x"}},
        {"--\n**\n\u2013\n\u2022\u2022", {}},
        {"one\u2022two\u2022three\u2022four", {"one", "two", "three"}},
        {"\n\none\n\n\ntwo\n", {"one", "two"}},
        {"one\r\ntwo\r\n", {"one", "two"}},
        {"one\rtwo", {"one\rtwo"}},
        {"* - \u2013 mixed \u2013 - *", {"mixed"}},
        {"\u00a0\u2003\u3000\u2028\u2029\u0085\t\v\fwide\u202f\u205f\u1680", {"wide"}},
        {"\u2000\u2001\u2002\u2003\u2004\u2005x\u2006\u2007\u2008\u2009\u200a", {"x"}},
        {"a\u00a0b", {"a\u00a0b"}},
        {"\u2014 dash \u2014", {"\u2014 dash \u2014"}},
        {"+ plus +", {"+ plus +"}},
        {"\u2212 minus", {"\u2212 minus"}},
        {"\u00b7 dot", {"\u00b7 dot"}},
        {"1. first", {"1. first"}},
        {"\u200bzero width", {"\u200bzero width"}},
        {"same\nsame", {"same", "same"}},
        {"<b>bold</b> & more", {"<b>bold</b> & more"}},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(WhatsNew::bullets(row.text), row.lines) << row.text;
    }
}

TEST(Bullets, BytesThatAreNoTextStay) {
    EXPECT_EQ(WhatsNew::bullets(" \xff\xe2\x80 "), (Lines{"\xff\xe2\x80"}));
    EXPECT_EQ(WhatsNew::bullets(std::string_view("a\0b\n", 4)), (Lines{std::string("a\0b", 3)}));
}

} // namespace
} // namespace korvel
