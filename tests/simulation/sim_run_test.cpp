#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simulation/traced_run.h"

namespace korvel::simulation {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(SimRun, LaunchSamplesTitlesTheEmptyReadingAndPublishesAfterwards) {
    const TraceLines lines = runQuietScenario(R"({"until": 0.5})");
    EXPECT_THAT(kindsAt(lines, 0), ElementsAre("spawn", "title", "snapshot", "title"));
    EXPECT_EQ(lines[0].text(),
              R"({"t":0,"what":"spawn","executable":"/bin/launchctl","arguments":["list"]})");
    EXPECT_EQ(lines[1].text(), R"({"t":0,"what":"title","text":"● 0","runs":[)"
                               R"({"text":"●","size":9,"colour":"bad"},)"
                               R"({"text":" 0","size":12,"colour":null}]})");
    EXPECT_EQ(lines[3].string("/text"), "● 100");
}

TEST(SimRun, RefreshesAtLaunchAfterOneSecondAndEveryFive) {
    const TraceLines lines = runQuietScenario(R"({"until": 16})");
    EXPECT_THAT(timesOf(lines, "snapshot"), ElementsAre(0, 1, 5, 10, 15));
    EXPECT_THAT(timesOf(lines, "spawn"), ElementsAre(0, 1, 5, 10, 15));
    EXPECT_THAT(timesOf(lines, "title"), ElementsAre(0, 0, 1, 5, 10, 15));
}

TEST(SimRun, SavesEveryTwoMinutesAndAtTheEnd) {
    EXPECT_THAT(timesOf(runQuietScenario(R"({"until": 250})"), "wrote"),
                ElementsAre(120, 240, 250));
}

TEST(SimRun, AReadingOfTheInstantOfASaveIsInTheFile) {
    const TraceLines lines = runQuietScenario(R"({"until": 121})");
    EXPECT_THAT(kindsAt(lines, 120), ElementsAre("spawn", "snapshot", "title", "wrote"));
    const TraceLine saved = ofKind(lines, "wrote").front();
    EXPECT_THAT(saved.string("/text"), testing::EndsWith("[1700000120,0,43.75]]"));
}

TEST(SimRun, ATimerDueAtTheEndDoesNotRun) {
    const TraceLines lines = runQuietScenario(R"({"until": 5})");
    EXPECT_THAT(timesOf(lines, "snapshot"), ElementsAre(0, 1));
    EXPECT_THAT(kindsAt(lines, 5), ElementsAre("wrote", "exit"));
}

TEST(SimRun, AnEndAtTheLaunchComesBeforeThePublication) {
    const TraceLines lines = runQuietScenario(R"({"until": 0})");
    EXPECT_THAT(kindsAt(lines, 0), ElementsAre("spawn", "title", "wrote", "exit"));
    EXPECT_EQ(lines[2].text(),
              R"({"t":0,"what":"wrote","file":".korvel-history.json","bytes":2,"text":"[]"})");
    EXPECT_EQ(lines[3].text(), R"({"t":0,"what":"exit","reason":"until"})");
}

TEST(SimRun, EndsAfterTenSecondsUnlessItSaysOtherwise) {
    const TraceLines lines = runQuietScenario("{}");
    EXPECT_EQ(lines.back().text(), R"({"t":10,"what":"exit","reason":"until"})");
}

TEST(SimRun, TerminateSavesAndNothingComesAfterTheExit) {
    const TraceLines lines = runQuietScenario(R"({"events": [
        {"at": 5, "do": "togglePopover"},
        {"at": 5, "do": "terminate"},
        {"at": 5, "do": "togglePopover"},
        {"at": 6, "do": "togglePopover"}]})");
    // The publication that the opened popover asked for is not waited for.
    EXPECT_THAT(kindsAt(lines, 5), ElementsAre("spawn", "popover", "wrote", "exit"));
    EXPECT_EQ(lines.back().text(), R"({"t":5,"what":"exit","reason":"terminate"})");
}

TEST(SimRun, AnEventAtTheEndStillHappens) {
    const TraceLines lines =
        runQuietScenario(R"({"until": 10, "events": [{"at": 10, "do": "togglePopover"}]})");
    EXPECT_THAT(kindsAt(lines, 10), ElementsAre("spawn", "popover", "wrote", "exit"));
}

TEST(SimRun, AnEventAfterTheEndNeverHappens) {
    const TraceLines lines =
        runQuietScenario(R"({"until": 10, "events": [{"at": 10.5, "do": "togglePopover"}]})");
    EXPECT_THAT(ofKind(lines, "popover"), IsEmpty());
}

TEST(SimRun, AnEventAtTheLaunchComesAfterTheLaunchAndBeforeItsPublication) {
    const TraceLines lines =
        runQuietScenario(R"({"until": 0.5, "events": [{"at": 0, "do": "togglePopover"}]})");
    EXPECT_THAT(kindsAt(lines, 0), ElementsAre("spawn", "title", "spawn", "popover", "snapshot",
                                               "title", "snapshot", "title"));
}

TEST(SimRun, AnEventGoesBeforeATimerOfTheSameInstant) {
    const TraceLines lines =
        runQuietScenario(R"({"until": 6, "events": [{"at": 5, "set": {"thermalState": 3}}]})");
    const TraceLines snapshots = ofKind(lines, "snapshot");
    ASSERT_EQ(snapshots.size(), 3U);
    EXPECT_EQ(snapshots[1].number("/thermal"), 0);
    EXPECT_EQ(snapshots[2].number("/thermal"), 3);
}

TEST(SimRun, TwoPublicationsOfOneInstantAreTwoLinesEachBeforeItsTitle) {
    const TraceLines lines =
        runQuietScenario(R"({"until": 6, "events": [{"at": 5, "do": "togglePopover"}]})");
    EXPECT_THAT(kindsAt(lines, 5),
                ElementsAre("spawn", "popover", "snapshot", "title", "spawn", "snapshot", "title"));
}

TEST(SimRun, ASecondClickClosesThePopoverWithoutASample) {
    const TraceLines lines = runQuietScenario(R"({"until": 4, "events": [
        {"at": 2, "do": "togglePopover"}, {"at": 3, "do": "togglePopover"}]})");
    EXPECT_THAT(kindsAt(lines, 2), ElementsAre("spawn", "popover", "snapshot", "title"));
    EXPECT_THAT(kindsAt(lines, 3), ElementsAre("popover"));
    EXPECT_TRUE(ofKind(lines, "popover")[0].flag("/shown"));
    EXPECT_FALSE(ofKind(lines, "popover")[1].flag("/shown"));
}

TEST(SimRun, AClickOutsideClosesAnOpenPopoverOnly) {
    const TraceLines lines = runQuietScenario(R"({"until": 5, "events": [
        {"at": 2, "do": "clickOutside"}, {"at": 3, "do": "togglePopover"},
        {"at": 4, "do": "clickOutside"}, {"at": 4.5, "do": "clickOutside"}]})");
    EXPECT_THAT(timesOf(lines, "popover"), ElementsAre(3, 4));
}

TEST(SimRun, ARunTakesUpTheHistoryThatTheLastOneWrote) {
    const TraceLines first = runQuietScenario(R"({"start": 1700000000.25, "until": 6})");
    const TraceLine& saved = first[first.size() - 2];
    EXPECT_EQ(saved.string("/text"),
              "[[1700000000.25,0,43.75],[1700000001.25,0,43.75],[1700000005.25,0,43.75]]");
    const TraceLines second = runQuietScenario(fmt::format(
        R"({{"start": 1700000100, "until": 0.5, "home": {{".korvel-history.json": {}}}}})",
        saved.json("/text")));
    EXPECT_EQ(second[second.size() - 2].string("/text"),
              "[[1700000000.25,0,43.75],[1700000001.25,0,43.75],[1700000005.25,0,43.75],"
              "[1700000100,0,43.75]]");
}

TEST(SimRun, AHistoryThatCannotBeDecodedIsReplaced) {
    for (const char* history : {"", "{}", "text", "[[1,2,3]", "[[1,\\\"2\\\",3]]"}) {
        const TraceLines lines = runQuietScenario(
            fmt::format(R"({{"until": 0.5, "home": {{".korvel-history.json": "{}"}}}})", history));
        EXPECT_EQ(ofKind(lines, "wrote").front().string("/text"), "[[1700000000,0,43.75]]")
            << history;
    }
}

TEST(SimRun, TheSameScenarioPrintsTheSameBytes) {
    const char* scenario = R"({"until": 300, "events": [
        {"at": 3, "do": "togglePopover"},
        {"at": 4, "set": {"cpuTicks": [2000, 1000, 100100, 7], "vm": {"swapouts": 100000}}}]})";
    const std::string once = traceOf(scenario);
    EXPECT_GT(once.size(), 10000U);
    EXPECT_EQ(once, traceOf(scenario));
}

TEST(SimRun, ARunWithoutAReaderEndsAsOneWithATrace) {
    const Scenario scenario = *readScenario(R"({"until": 300, "events": [
        {"at": 3, "do": "togglePopover"}, {"at": 9, "do": "describePopover"}]})");
    std::string trace;
    SimulatedProgram read(scenario, [&](std::string_view line) { trace += line; });
    SimulatedProgram unread(scenario, {});
    for (SimulatedProgram* program : {&read, &unread}) {
        program->run();
    }
    EXPECT_EQ(unread.simulated().files.contents, read.simulated().files.contents);
    EXPECT_EQ(unread.simulated().statusBar.titles.size(), read.simulated().statusBar.titles.size());
    EXPECT_EQ(unread.elapsed(), 300);
    EXPECT_FALSE(trace.empty());
}

TEST(SimRun, TwoHoursOfRefreshesStayOnTheBeat) {
    const TraceLines lines = runQuietScenario(R"({"until": 7200})");
    const std::vector<double> times = timesOf(lines, "snapshot");
    ASSERT_EQ(times.size(), 1441U); // 0, 1, and 5 to 7195
    for (std::size_t i = 2; i < times.size(); ++i) {
        ASSERT_EQ(times[i], static_cast<double>(i - 1) * 5);
    }
    EXPECT_EQ(ofKind(lines, "wrote").size(), 60U); // 120 to 7080, and the end
}

} // namespace
} // namespace korvel::simulation
