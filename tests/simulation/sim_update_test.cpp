#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simulation/traced_run.h"

namespace korvel::simulation {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const std::string kZipDigest = "4a70fe9aa6436e02c2dea340fbd1e352e4ef2d8ce6ca52ad25d4b95471fc8bf2";
const std::string kWork = "/tmp/korvel-update-00000000-0000-0000-0000-000000000001";

/// A feed that offers build 101, whose archive is "zip".
const std::string kFeed =
    R"({"body": "{\"version\": \"1.1\", \"build\": 101, \"url\": \"https://host/a.zip\", )"
    R"(\"sha256\": \")" +
    kZipDigest + R"(\", \"notes\": \"- One\"}"})";

/// The scenario with these members, of somebody who has seen build 100.
TraceLines runAfter100(const std::string& members) {
    return runScenario(R"({"defaults": {"seenBuild": 100}, )" + members + "}");
}

/// The same, with a feed that offers an update that is installed at 3.
TraceLines runInstall(const std::string& archive, const std::string& members = R"("until": 5)") {
    return runAfter100("\"feed\": " + kFeed + R"(, "events": [{"at": 2, "archive": )" + archive +
                       R"(}, {"at": 3, "do": "installPending"}], )" + members);
}

std::vector<std::string> states(const TraceLines& lines) {
    std::vector<std::string> seen;
    for (const TraceLine& line : ofKind(lines, "updater")) {
        const std::string value = line.json("/value");
        seen.push_back(line.string("/state") + (value == "null" ? "" : " " + value));
    }
    return seen;
}

TEST(SimUpdate, ByItselfTheFeedCannotBeReachedAndNobodyIsTold) {
    const TraceLines lines = runAfter100(R"("until": 3)");
    EXPECT_THAT(states(lines), ElementsAre("checking", "idle"));
    EXPECT_THAT(timesOf(lines, "updater"), ElementsAre(0, 0));
    const TraceLines stored = ofKind(lines, "defaults");
    ASSERT_THAT(stored, SizeIs(1));
    EXPECT_EQ(stored[0].string("/key"), "lastUpdateCheck");
    EXPECT_EQ(stored[0].string("/type"), "double");
    EXPECT_EQ(stored[0].number("/value"), 1700000000);
}

TEST(SimUpdate, TheFeedIsAskedAfterTheLaunchAndAnswersAfterItsDelay) {
    const TraceLines lines = runAfter100(R"("feed": {"status": 404, "delay": 2.5}, "until": 21,
        "events": [{"at": 4, "do": "checkForUpdates"}, {"at": 5, "feed": {"delay": 16}},
                   {"at": 5, "do": "checkForUpdates"}])");
    EXPECT_THAT(states(lines), ElementsAre("checking", "idle", "checking", "checking",
                                           R"(failed "Could not reach the update server")",
                                           R"(failed "Could not reach the update server")"));
    EXPECT_THAT(timesOf(lines, "updater"), ElementsAre(0, 2.5, 4, 5, 6.5, 20))
        << "fifteen seconds at most";
}

TEST(SimUpdate, UpToDateIsOverAfterFourSeconds) {
    const TraceLines lines =
        runAfter100(R"("bundle": {"build": "101"}, "feed": )" + kFeed +
                    R"(, "until": 9, "events": [{"at": 2, "do": "checkForUpdates"}])");
    EXPECT_THAT(states(lines), ElementsAre("checking", "upToDate", "checking", "upToDate", "idle"));
    EXPECT_THAT(timesOf(lines, "updater"), ElementsAre(0, 0, 2, 2, 4))
        << "by the older of the two ends";
}

TEST(SimUpdate, AnInstallationGoesThroughItsToolsAndHandsTheNotesOver) {
    const TraceLines lines = runInstall(R"({"bytes": "zip"})");
    EXPECT_THAT(states(lines), ElementsAre("checking", R"(available "1.1")", "downloading 0",
                                           "installing", "readyToRelaunch"));
    EXPECT_THAT(kindsAt(lines, 3), ElementsAre("updater", "updater", "spawn", "spawn", "spawn",
                                               "defaults", "updater"));
    std::vector<std::string> spawned;
    for (const TraceLine& line : ofKind(lines, "spawn")) {
        if (line.t() == 3) {
            spawned.push_back(line.string("/executable") + " " + line.json("/arguments"));
        }
    }
    const std::string bundle = kWork + "/out/Korvel.app";
    EXPECT_THAT(
        spawned,
        ElementsAre(R"(/usr/bin/ditto ["-x","-k",")" + kWork + R"(/update.zip",")" + kWork +
                        R"(/out"])",
                    R"(/usr/bin/codesign ["-dv","--verbose=4",")" + bundle + R"("])",
                    R"(/usr/bin/codesign ["--verify","--deep","--strict",")" + bundle + R"("])"));
    EXPECT_EQ(ofKind(lines, "defaults").back().string("/key"), "pendingReleaseNotes");
    EXPECT_EQ(ofKind(lines, "defaults").back().string("/value"), "- One");
}

TEST(SimUpdate, EachThingThatMayGoWrongHasItsSentence) {
    const std::string kUnsigned =
        R"(failed "Update is not signed by Oxbrook; refusing to install")";
    const std::string kUnpack = R"(failed "Update could not be unpacked")";
    const std::pair<std::string, std::string> cases[] = {
        {R"({"error": true})", R"(failed "Download failed")"},
        {R"({"bytes": "zip", "status": 500})", R"(failed "Download failed")"},
        {R"({"bytes": "zap"})", R"(failed "Update failed its integrity check")"},
        {R"({"bytes": "zip", "unpackStatus": 1})", kUnpack},
        {R"({"bytes": "zip", "entries": []})", kUnpack},
        {R"({"bytes": "zip", "entries": ["korvel", "Korvel.APP"]})", kUnpack},
        {R"({"bytes": "zip", "team": null})", kUnsigned},
        {R"({"bytes": "zip", "team": "OTHERTEAM0"})", kUnsigned},
        {R"({"bytes": "zip", "strict": false})", kUnsigned},
        {R"({"bytes": "zip", "moves": ["No room.", null]})",
         R"(failed "Could not replace the app: No room.")"},
        {R"({"bytes": "zip", "moves": [null, "No leave."]})",
         R"(failed "Could not replace the app: No leave.")"},
        {R"({"bytes": "zip", "moves": [null, "No leave."], "rollback": false})",
         R"(failed "Could not replace the app: No leave.")"},
        {R"({"bytes": "zip", "entries": ["x", "Zeta.app", "A.app"]})", "readyToRelaunch"},
    };
    for (const auto& [archive, state] : cases) {
        const TraceLines lines = runInstall(archive);
        EXPECT_EQ(states(lines).back(), state) << archive;
        EXPECT_EQ(ofKind(lines, "defaults").size(), state == "readyToRelaunch" ? 2U : 1U)
            << archive;
    }
}

TEST(SimUpdate, WhereTheFolderCannotBeWrittenTheBundleIsRevealed) {
    const TraceLines lines =
        runInstall(R"({"bytes": "zip"})", R"("bundle": {"writable": false}, "until": 5)");
    EXPECT_EQ(
        states(lines).back(),
        R"(failed "Can't write to Applications. The new version is in Finder; drag it over.")");
    ASSERT_THAT(ofKind(lines, "revealed"), SizeIs(1));
    EXPECT_EQ(ofKind(lines, "revealed")[0].string("/path"), kWork + "/out/Korvel.app");
}

TEST(SimUpdate, RelaunchIsLeftToAShellAndEndsTheProgram) {
    const TraceLines lines = runAfter100(R"("bundle": {"path": "/Apps/K \"1\".app"},
        "events": [{"at": 2, "do": "relaunch"}, {"at": 3, "do": "togglePopover"}])");
    EXPECT_THAT(kindsAt(lines, 2), ElementsAre("spawn", "relaunched", "wrote", "exit"));
    EXPECT_EQ(ofKind(lines, "relaunched")[0].string("/path"), R"(/Apps/K "1".app)");
    for (const TraceLine& line : ofKind(lines, "spawn")) {
        if (line.t() == 2) {
            EXPECT_EQ(line.string("/executable"), "/bin/sh");
            EXPECT_EQ(line.string("/arguments/1"), R"(sleep 1; open "/Apps/K "1".app")");
        }
    }
    EXPECT_EQ(lines.back().string("/reason"), "terminate");
}

TEST(SimWhatsNew, TheFirstLaunchWelcomesAndOpensThePopover) {
    const TraceLines lines = runScenario(
        R"({"until": 6, "events": [{"at": 2, "do": "describePopover"},
                                   {"at": 3, "do": "dismissWhatsNew"},
                                   {"at": 4, "do": "describePopover"}]})");
    const TraceLines greetings = ofKind(lines, "whatsNew");
    ASSERT_THAT(greetings, SizeIs(2));
    EXPECT_EQ(greetings[0].t(), 0);
    EXPECT_EQ(greetings[0].string("/kind"), "installed");
    EXPECT_EQ(greetings[0].json("/from"), "null");
    EXPECT_EQ(greetings[1].string("/kind"), "none");
    EXPECT_EQ(greetings[1].json("/notes"), greetings[0].json("/notes")) << "the lines stay";
    EXPECT_THAT(timesOf(lines, "popover"), ElementsAre(1.2));
    const TraceLines contents = ofKind(lines, "content");
    EXPECT_EQ(contents[0].string("/banner/heading"), "Welcome to Korvel");
    EXPECT_EQ(contents[1].json("/banner"), "null");
    std::vector<std::string> keys;
    for (const TraceLine& line : ofKind(lines, "defaults")) {
        keys.push_back(line.string("/key"));
    }
    EXPECT_THAT(
        keys, ElementsAre("whatsNewAutoShownBuild", "lastUpdateCheck", "seenBuild", "seenVersion"));
}

TEST(SimWhatsNew, AnUpdateTellsWhatWasHandedOverAndForgetsIt) {
    const TraceLines lines = runScenario(
        R"({"defaults": {"seenBuild": 99, "seenVersion": "0.9", "pendingReleaseNotes": "• A\n• B",
                         "whatsNewAutoShownBuild": 100}, "until": 3})");
    const TraceLines greetings = ofKind(lines, "whatsNew");
    ASSERT_THAT(greetings, SizeIs(1));
    EXPECT_EQ(greetings[0].string("/kind"), "updated");
    EXPECT_EQ(greetings[0].string("/from"), "0.9");
    EXPECT_EQ(greetings[0].json("/notes"), R"(["A","B"])");
    EXPECT_THAT(ofKind(lines, "popover"), IsEmpty()) << "it was shown before";
    EXPECT_EQ(ofKind(lines, "defaults")[0].string("/type"), "removed");
}

TEST(SimWhatsNew, NotesFromTheFeedComeWhenItAnswers) {
    const TraceLines lines = runScenario(
        R"({"defaults": {"seenBuild": 99, "lastUpdateCheck": 1700000000}, "until": 5,
            "feed": {"delay": 3, "body": )"
        R"("{\"version\": \"1\", \"build\": 100, \"url\": \"https://h\", \"sha256\": \"\", )"
        R"(\"notes\": \"Late\"}"}})");
    const TraceLines greetings = ofKind(lines, "whatsNew");
    ASSERT_THAT(greetings, SizeIs(2));
    EXPECT_EQ(greetings[0].json("/notes"), "[]");
    EXPECT_EQ(greetings[1].t(), 3);
    EXPECT_EQ(greetings[1].json("/notes"), R"(["Late"])");
    EXPECT_THAT(ofKind(lines, "updater"), IsEmpty());
}

TEST(SimWhatsNew, AManagedCopyTellsItsBuiltInNotesAndAsksNoFeed) {
    const TraceLines lines = runScenario(
        R"({"defaults": {"seenBuild": 99}, "until": 5,
            "bundle": {"managed": true, "notes": "Built in"},
            "feed": {"body": )"
        R"("{\"version\": \"1\", \"build\": 100, \"url\": \"https://h\", \"sha256\": \"\", )"
        R"(\"notes\": \"Asked for\"}"}})");
    const TraceLines greetings = ofKind(lines, "whatsNew");
    ASSERT_THAT(greetings, SizeIs(2));
    EXPECT_EQ(greetings[0].json("/notes"), "[]");
    EXPECT_EQ(greetings[1].t(), 0);
    EXPECT_EQ(greetings[1].json("/notes"), R"(["Built in"])");
    EXPECT_THAT(timesOf(lines, "popover"), ElementsAre(1.2));
    EXPECT_THAT(ofKind(lines, "updater"), IsEmpty());
    for (const TraceLine& line : ofKind(lines, "defaults")) {
        EXPECT_NE(line.string("/key"), "lastUpdateCheck");
    }
}

} // namespace
} // namespace korvel::simulation
