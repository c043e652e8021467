#include <string>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simulation/traced_run.h"

// What a simulated run shows of the popover, and what its buttons do.
namespace korvel::simulation {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Two processes of 2 and 1 GB that hold 300 MB and 1.5 GB in swap.
constexpr const char* kMachine = R"json("machine": {"processes": [
    {"pid": 7, "name": "builder", "phys_footprint": 2147483648,
     "vmmap": "Writable regions: Total=1G swapped_out=300M(1%)"},
    {"pid": 500, "name": "korvel", "phys_footprint": 1073741824,
     "vmmap": "Writable regions: swapped_out=1.5G"}]})json";

TraceLines runWith(std::string_view events, double until = 4) {
    return runQuietScenario(
        fmt::format(R"({{{}, "until": {}, "events": [{}]}})", kMachine, until, events));
}

TEST(SimPopover, DescribesWhatItShowsInTheOrderOfThePopover) {
    const TraceLines lines = runWith(R"({"at": 2, "do": "describePopover"})");
    const TraceLine content = ofKind(lines, "content").at(0);
    EXPECT_EQ(content.json("/header"),
              R"({"score":100,"verdict":"Excellent","line":"10 cores · 16 GB · up 3d 4h",)"
              R"("toggle":"what's affecting this"})");
    EXPECT_EQ(content.json("/breakdown"), "null");
    EXPECT_EQ(content.json("/status"), R"([{"symbol":"checkmark.circle.fill","colour":"good",)"
                                       R"("text":"All clear, nothing needs attention"}])");
    EXPECT_EQ(content.json("/rows/1"),
              R"({"label":"MEMORY","pct":43.75,"percentText":"43%","barFraction":0.4375,)"
              R"("detail":"9.0 GB free to use · macOS is comfortable","colour":"good",)"
              R"("spark":[[0,0],[44,0]]})");
    EXPECT_EQ(content.json("/rows/2/spark"), "null");
    EXPECT_EQ(content.json("/swapHolders"), R"({"button":"what's holding it"})");
    EXPECT_EQ(content.json("/heaviest"),
              R"([{"name":"builder","size":"2.00 GB",)"
              R"("quit":"Quit builder. Sends SIGTERM so it closes cleanly"},)"
              R"({"name":"korvel","size":"1.00 GB","quit":null}])");
}

TEST(SimPopover, TheBreakdownIsThereWhileItIsOpen) {
    const TraceLines lines = runWith(R"({"at": 2, "do": "toggleBreakdown"},
                                        {"at": 2, "do": "describePopover"},
                                        {"at": 3, "do": "toggleBreakdown"},
                                        {"at": 3, "do": "describePopover"})");
    const TraceLines contents = ofKind(lines, "content");
    ASSERT_EQ(contents.size(), 2U);
    EXPECT_EQ(contents[0].json("/breakdown/0"),
              R"({"name":"Memory","lost":"—","barFraction":0,"barColour":"good",)"
              R"("lostColour":"secondary","detail":"9.0 GB free to use · macOS is comfortable"})");
    EXPECT_EQ(contents[0].string("/header/toggle"), "hide breakdown");
    EXPECT_EQ(contents[1].json("/breakdown"), "null");
}

TEST(SimPopover, BeforeTheFirstPublicationNothingIsUrgent) {
    const TraceLine content =
        ofKind(runWith(R"({"at": 0, "do": "describePopover"})"), "content").at(0);
    EXPECT_EQ(content.string("/status/0/text"), "Nothing urgent");
    EXPECT_EQ(content.number("/header/score"), 0);
    EXPECT_EQ(content.json("/rows/0/spark"), "[]");
}

TEST(SimPopover, ASearchForSwapHoldersIsSeenToStartAndToEnd) {
    const TraceLines lines = runWith(R"({"at": 2, "do": "findSwapHolders"},
                                        {"at": 3, "do": "describePopover"})");
    EXPECT_THAT(kindsAt(lines, 2), ElementsAre("swapHolders", "spawn", "spawn", "swapHolders"));
    const TraceLines holders = ofKind(lines, "swapHolders");
    EXPECT_EQ(holders[0].text(), R"({"t":2,"what":"swapHolders","scanning":true,"holders":[]})");
    EXPECT_EQ(holders[1].text(),
              R"({"t":2,"what":"swapHolders","scanning":false,"holders":[)"
              R"({"id":500,"name":"korvel","gb":1.5},{"id":7,"name":"builder","gb":0.29296875}]})");
    EXPECT_EQ(ofKind(lines, "content")[0].json("/swapHolders"),
              R"({"holders":[{"name":"korvel","size":"1.5 GB","quit":null},)"
              R"({"name":"builder","size":"0.3 GB","quit":"Quit this app to free its swap"}],)"
              R"("note":"Quitting one frees its swap straight away. No restart needed."})");
}

TEST(SimPopover, TheMemoryMapToolIsAskedForEachCandidate) {
    const TraceLines lines = runWith(R"({"at": 2, "do": "findSwapHolders"})");
    const TraceLines spawned = ofKind(lines, "spawn");
    EXPECT_EQ(
        spawned.at(2).text(),
        R"({"t":2,"what":"spawn","executable":"/usr/bin/vmmap","arguments":["--summary","7"]})");
}

TEST(SimPopover, QuittingAProcessSignalsItOnceAndSamplesALittleLater) {
    const TraceLines lines = runWith(R"({"at": 2, "do": "quitProcess", "pid": 7},
                                        {"at": 3.5, "do": "describePopover"})");
    EXPECT_EQ(ofKind(lines, "signal").at(0).text(),
              R"({"t":2,"what":"signal","pid":7,"signal":15})");
    EXPECT_THAT(timesOf(lines, "snapshot"), ElementsAre(0, 1, 3.2));
    EXPECT_EQ(ofKind(lines, "content")[0].string("/heaviest/0/name"), "builder");
}

TEST(SimPopover, TheProgramItselfAndAProcessThatNoListShowsAreNotSignalled) {
    const TraceLines lines = runWith(R"({"at": 2, "do": "quitProcess", "pid": 500},
                                        {"at": 2, "do": "quitProcess", "pid": 8})");
    EXPECT_THAT(ofKind(lines, "signal"), IsEmpty());
    EXPECT_THAT(timesOf(lines, "snapshot"), ElementsAre(0, 1));
}

TEST(SimPopover, AnActionTakesOnlyItsOwnKey) {
    const auto failure = [](const char* event) {
        const auto scenario = readScenario(fmt::format(R"({{"events": [{}]}})", event));
        return scenario ? std::string() : scenario.error().subject;
    };
    EXPECT_EQ(failure(R"({"at": 1, "do": "togglePopover", "pid": 7})"), "events[0].pid");
    EXPECT_EQ(failure(R"({"at": 1, "do": "quitProcess"})"), "events[0].pid");
    EXPECT_EQ(failure(R"({"at": 1, "do": "quitProcess", "pid": "7"})"), "events[0].pid");
    EXPECT_EQ(failure(R"({"pid": 7, "do": "quitProcess", "at": 1})"), "");
}

} // namespace
} // namespace korvel::simulation
