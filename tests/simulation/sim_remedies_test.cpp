
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simulation/traced_run.h"

// What a simulated run shows of notifications, keep-awake, disk reclaim and the settings.
namespace korvel::simulation {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// Readings that score far below 55.
constexpr const char* kLow = R"({"pressureLevel": 4, "load": [40, 40, 40], "thermalState": 3,)"
                             R"( "volume": {"f_bavail": 100}})";

TraceLines runScripted(std::string_view members) {
    return runQuietScenario(fmt::format("{{{}}}", members));
}

TEST(SimNotification, IsPostedOnceTheQuietTimeIsOver) {
    const TraceLines lines =
        runScripted(fmt::format(R"("until": 200, "events": [{{"at": 50, "set": {}}}])", kLow));
    const TraceLines posted = ofKind(lines, "notification");
    ASSERT_THAT(posted, SizeIs(1));
    // 120 s after the launch are not more than 120.
    EXPECT_EQ(posted[0].number("/t"), 125);
    EXPECT_THAT(posted[0].string("/title"), testing::StartsWith("Mac slowing down: score "));
    EXPECT_THAT(kindsAt(lines, 125),
                ElementsAre("spawn", "snapshot", "defaults", "defaults", "notification", "title"));
    const TraceLines stored = ofKind(lines, "defaults");
    EXPECT_EQ(stored[0].string("/key"), "lastNotifiedScore");
    EXPECT_EQ(stored[0].string("/type"), "integer");
    EXPECT_EQ(stored[1].string("/key"), "lastNotifiedAt");
    EXPECT_EQ(stored[1].string("/type"), "double");
    EXPECT_EQ(stored[1].number("/value"), 1700000125);
}

TEST(SimNotification, GoesByWhatTheSettingsHoldAtLaunch) {
    const TraceLines lines = runScripted(
        fmt::format(R"("until": 1300, "machine": {}, "defaults": {{"lastNotifiedScore": 90,)"
                    R"( "lastNotifiedAt": 1700000000.0}})",
                    kLow));
    const TraceLines posted = ofKind(lines, "notification");
    ASSERT_THAT(posted, SizeIs(1));
    EXPECT_EQ(posted[0].number("/t"), 905);
}

TEST(SimAwake, ASwitchIsTracedWithItsAssertionsSettingsAndTitle) {
    const TraceLines lines = runScripted(
        R"("until": 4, "events": [{"at": 2, "do": "enableAwake", "minutes": 30},
                                  {"at": 3, "do": "disableAwake"}])");
    EXPECT_THAT(kindsAt(lines, 2),
                ElementsAre("assertion", "assertion", "defaults", "defaults", "title", "awake"));
    EXPECT_THAT(kindsAt(lines, 3),
                ElementsAre("assertion", "assertion", "defaults", "defaults", "title", "awake"));
    const TraceLines assertions = ofKind(lines, "assertion");
    EXPECT_EQ(assertions[0].json("/op"), R"("create")");
    EXPECT_EQ(assertions[0].string("/type"), "NoDisplaySleepAssertion");
    EXPECT_EQ(assertions[1].string("/type"), "NoIdleSleepAssertion");
    EXPECT_EQ(assertions[2].json("/op"), R"("release")");
    EXPECT_EQ(assertions[2].number("/id"), assertions[0].number("/id"));
    const TraceLines awake = ofKind(lines, "awake");
    ASSERT_THAT(awake, SizeIs(2));
    EXPECT_EQ(awake[0].json("/on"), "true");
    EXPECT_EQ(awake[0].number("/until"), 1700001802);
    EXPECT_EQ(awake[0].string("/label"), "on for 31m more");
    EXPECT_EQ(awake[1].json("/until"), "null");
    EXPECT_EQ(awake[1].string("/label"), "off");
    const TraceLines stored = ofKind(lines, "defaults");
    EXPECT_EQ(stored[0].string("/type"), "bool");
    EXPECT_EQ(stored[1].string("/type"), "double");
    EXPECT_EQ(stored[3].string("/type"), "removed");
    EXPECT_EQ(stored[3].json("/value"), "null");
}

TEST(SimAwake, WithoutAnEndAnIntegerZeroIsStored) {
    const TraceLines stored = ofKind(
        runScripted(R"("events": [{"at": 2, "do": "enableAwake", "minutes": null}])"), "defaults");
    ASSERT_THAT(stored, SizeIs(2));
    EXPECT_EQ(stored[1].string("/type"), "integer");
    EXPECT_EQ(stored[1].number("/value"), 0);
}

TEST(SimAwake, NoMinutesEndAfterOneSecond) {
    const TraceLines lines =
        runScripted(R"("events": [{"at": 2, "do": "enableAwake", "minutes": 0}])");
    EXPECT_THAT(ofKind(lines, "awake"), SizeIs(2));
    EXPECT_EQ(ofKind(lines, "awake")[1].number("/t"), 3);
}

TEST(SimAwake, ARefusedSwitchLeavesNothingBehind) {
    const TraceLines lines =
        runScripted(R"("events": [{"at": 1, "power": {"display": false, "system": false}},
                              {"at": 2, "do": "enableAwake", "minutes": 5}])");
    for (const char* kind : {"assertion", "awake", "defaults"}) {
        EXPECT_THAT(ofKind(lines, kind), IsEmpty()) << kind;
    }
}

TEST(SimAwake, OneGrantedAssertionIsEnough) {
    const TraceLines lines = runScripted(R"("events": [{"at": 1, "power": {"display": false}},
                              {"at": 2, "do": "enableAwake", "minutes": 5}])");
    ASSERT_THAT(ofKind(lines, "assertion"), SizeIs(2)) << "taken, and released at the end";
    EXPECT_EQ(ofKind(lines, "assertion")[0].string("/type"), "NoIdleSleepAssertion");
}

TEST(SimAwake, IsTakenUpAtLaunchAndReleasedAtTheEndWithoutBeingForgotten) {
    const TraceLines lines = runScripted(R"("until": 2, "defaults": {"awakeOn": true})");
    EXPECT_EQ(ofKind(lines, "title")[1].string("/text"), "● ☕ 0");
    EXPECT_THAT(kindsAt(lines, 2), ElementsAre("wrote", "assertion", "assertion", "awake", "exit"));
    EXPECT_THAT(ofKind(lines, "defaults"), SizeIs(1)) << "the end that was absent is an integer 0";
}

TEST(SimReclaim, APreviewIsSeenToStartAndToEndAfterItsSeconds) {
    const TraceLines lines = runScripted(
        R"("events": [{"at": 1, "script": {"preview": "x\nTOTAL RECLAIMABLE 4.7 GB\n",
                                           "seconds": 2.5}},
                      {"at": 2, "do": "previewReclaim"}, {"at": 6, "do": "dismissPreview"}])");
    const TraceLines reclaim = ofKind(lines, "reclaim");
    ASSERT_THAT(reclaim, SizeIs(3));
    EXPECT_EQ(reclaim[0].number("/t"), 2);
    EXPECT_EQ(reclaim[0].json("/scanning"), "true");
    EXPECT_EQ(reclaim[1].number("/t"), 4.5);
    EXPECT_EQ(reclaim[1].json("/scanning"), "false");
    EXPECT_EQ(reclaim[1].string("/preview"), "4.7 GB");
    EXPECT_EQ(reclaim[2].json("/preview"), "null");
    const TraceLines spawned = ofKind(lines, "spawn");
    const auto bash = std::find_if(spawned.begin(), spawned.end(), [](const TraceLine& line) {
        return line.string("/executable") == "/bin/bash";
    });
    ASSERT_NE(bash, spawned.end());
    EXPECT_EQ(bash->json("/arguments"), R"(["/Users/korvel/reclaim.sh"])");
}

TEST(SimReclaim, ARunTellsWhatItGainedAndTakesASample) {
    const TraceLines lines = runScripted(
        R"("events": [{"at": 1, "script": {"frees": 2512555868, "seconds": 1}},
                      {"at": 2, "do": "runReclaim"}, {"at": 2.5, "do": "describePopover"},
                      {"at": 4, "do": "describePopover"}])");
    const TraceLines reclaim = ofKind(lines, "reclaim");
    ASSERT_THAT(reclaim, SizeIs(2));
    EXPECT_EQ(reclaim[0].json("/reclaiming"), "true");
    EXPECT_EQ(reclaim[1].string("/result"), "reclaimed 2.3 GB · 252 GB free");
    EXPECT_EQ(ofKind(lines, "content")[0].string("/footer/reclaim"), "Clearing…");
    EXPECT_EQ(ofKind(lines, "content")[1].string("/reclaimResult"),
              "reclaimed 2.3 GB · 252 GB free");
    EXPECT_THAT(kindsAt(lines, 3), testing::Contains("snapshot"));
}

TEST(SimReclaim, WithoutAScriptThereIsNothingToClear) {
    const TraceLines lines = runScripted(R"("events": [{"at": 2, "do": "previewReclaim"},
                                                   {"at": 3, "do": "runReclaim"}])");
    const TraceLines reclaim = ofKind(lines, "reclaim");
    ASSERT_THAT(reclaim, SizeIs(4));
    EXPECT_EQ(reclaim[1].string("/preview"), "nothing worth clearing");
    EXPECT_EQ(reclaim[3].string("/result"), "nothing to reclaim right now");
}

TEST(SimContent, HoldsTheActionsAndTheFooter) {
    const TraceLine content =
        ofKind(runScripted(R"("events": [{"at": 2, "do": "describePopover"}])"), "content").at(0);
    EXPECT_EQ(content.json("/keepAwake"),
              R"({"remaining":null,"control":["30 minutes","1 hour","3 hours",)"
              R"("Until I turn it off"]})");
    EXPECT_EQ(content.json("/footer"),
              R"({"warden":"Warden off","wardenTooltip":"Watchdog is not running",)"
              R"("reclaim":"Reclaim","quit":"Quit Halden"})");
    EXPECT_EQ(content.json("/reclaimResult"), "null");
}

TEST(SimDefaults, AChangeFromOutsideIsSeenByTheProgramAndNotTraced) {
    const TraceLines lines = runScripted(
        fmt::format(R"("until": 200, "machine": {}, "events": [{{"at": 1, "setDefaults":)"
                    R"( {{"lastNotifiedAt": 1700000100, "lastNotifiedScore": 60.5}}}},)"
                    R"( {{"at": 150, "setDefaults": {{"lastNotifiedAt": null}}}}])",
                    kLow));
    ASSERT_THAT(ofKind(lines, "notification"), SizeIs(1));
    EXPECT_EQ(ofKind(lines, "notification")[0].number("/t"), 150);
}

} // namespace
} // namespace korvel::simulation
