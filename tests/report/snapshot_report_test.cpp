#include "report/snapshot_report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <simdjson.h>

#include "core/metrics.h"
#include "core/snapshot.h"
#include "ui/content/linux_words.h"

namespace korvel {
namespace {

using testing::HasSubstr;
using testing::Not;

Snapshot strained() {
    Snapshot s;
    s.memTotalGB = 16;
    s.memAvailableGB = 5.25;
    s.diskFreeGB = 18.9;
    s.cores = 10;
    s.load1 = 3.41;
    s.uptime = "3d 4h";
    s.topProcs = {{42, "builder", 9.34}, {7, "shell", 0.5}};
    Metrics::score(s);
    return s;
}

TEST(SnapshotReport, SaysTheScoreTheMachineTheFactorsTheAlertsAndTheHeaviest) {
    EXPECT_EQ(snapshotReport(strained(), Colours::plain),
              "● 45 Strained\n"
              "10 cores · 16 GB · up 3d 4h\n"
              "\n"
              "Disk      −18  18 GB free\n"
              "Load       −5  3.41 across 10 cores\n"
              "Memory      —  5.2 GB free to use · macOS is comfortable\n"
              "CPU         —  0% busy\n"
              "Swap        —  not paging\n"
              "Thermal     —  normal\n"
              "\n! builder is holding 9.3GB"
              "\n! Disk getting tight: 18GB free\n"
              "\n"
              "   9.34 GB  builder (42)\n"
              "   0.50 GB  shell (7)\n");
}

/// A desktop that shouts, so that it shows what it was given to say.
std::string shouted(std::string text) {
    return text + "!";
}

TEST(SnapshotReport, SaysTheProgramsTextsInTheWordsOfTheDesktop) {
    EXPECT_EQ(snapshotReport(strained(), Colours::plain, shouted),
              "● 45 Strained\n"
              "10 cores · 16 GB · up 3d 4h\n"
              "\n"
              "Disk      −18  18 GB free!\n"
              "Load       −5  3.41 across 10 cores!\n"
              "Memory      —  5.2 GB free to use · macOS is comfortable!\n"
              "CPU         —  0% busy!\n"
              "Swap        —  not paging!\n"
              "Thermal     —  normal!\n"
              "\n! builder is holding 9.3GB!"
              "\n! Disk getting tight: 18GB free!\n"
              "\n"
              "   9.34 GB  builder (42)\n"
              "   0.50 GB  shell (7)\n");
}

TEST(SnapshotReport, SaysWhatTheMachineDoesNotReport) {
    Snapshot s = strained();
    s.diskFreeGB = 0;
    s.unreported = {
        .dataVolume = true, .thermalState = true, .memoryStall = true, .otherProcesses = true};
    Metrics::score(s);
    EXPECT_EQ(
        snapshotReport(s, Colours::plain, linuxWords),
        "● 45 Strained\n"
        "10 cores · 16 GB · up 3d 4h\n"
        "\n"
        "Load       −5  3.41 across 10 cores\n"
        "Memory      —  5.2 GB free to use · Linux is comfortable · stalls not reported here\n"
        "Disk        —  not reported here\n"
        "CPU         —  0% busy\n"
        "Swap        —  not paging\n"
        "Thermal     —  not reported here\n"
        "\n! builder is holding 9.3GB\n"
        "\n"
        "   9.34 GB  builder (42)\n"
        "   0.50 GB  shell (7)\n"
        "            processes of other users: not reported here\n");
}

TEST(SnapshotReport, SaysThatOthersAreHiddenWhereNoneIsListed) {
    Snapshot s;
    s.unreported.otherProcesses = true;
    EXPECT_EQ(snapshotReport(s, Colours::plain),
              "● 0 \n1 cores · 0 GB · up \n\n\n"
              "            processes of other users: not reported here\n");
}

TEST(SnapshotReport, OfAnEmptyReadingIsTwoLines) {
    EXPECT_EQ(snapshotReport(Snapshot(), Colours::plain), "● 0 \n1 cores · 0 GB · up \n\n");
}

TEST(SnapshotReport, HasColoursOnlyWhenAsked) {
    EXPECT_THAT(snapshotReport(strained(), Colours::plain), Not(HasSubstr("\x1b")));
    EXPECT_THAT(snapshotReport(strained(), Colours::ansi), HasSubstr("\x1b[31m●\x1b[0m"));
}

TEST(SnapshotReport, LetsNoProcessNameDriveTheTerminal) {
    Snapshot s;
    s.topProcs = {{1,
                   "a\x1b[2Jb\nc\x7f\xc2\x9b"
                   "d·é",
                   8.5}};
    Metrics::score(s);
    const std::string report = snapshotReport(s, Colours::plain);
    EXPECT_THAT(report, HasSubstr("a?[2Jb?c??d·é (1)"));
    EXPECT_THAT(report, HasSubstr("! a?[2Jb?c??d·é is holding 8.5GB"));
}

TEST(SnapshotBarLine, IsOneObjectThatABarReads) {
    const std::string line = snapshotBarLine(strained());
    EXPECT_EQ(line, R"({"text":"● 45","tooltip":"Strained\n10 cores · 16 GB · up 3d 4h\n)"
                    R"(builder is holding 9.3GB\nDisk getting tight: 18GB free",)"
                    R"("class":"strained","percentage":45})");
}

TEST(SnapshotBarLine, LetsNoProcessNameBecomeMarkup) {
    Snapshot s;
    s.topProcs = {{1, "<b>a&b\n\x1b[2J\"</b>", 8.5}};
    Metrics::score(s);
    EXPECT_THAT(
        snapshotBarLine(s),
        HasSubstr(R"(\n&lt;b&gt;a&amp;b??[2J\"&lt;/b&gt; is holding 8.5GB\nDisk critical)"));
}

TEST(SnapshotBarLine, HasTheAlertsInTheWordsOfTheDesktopAndNothingOfWhatIsNotReported) {
    Snapshot s;
    s.diskFreeGB = 100;
    s.thermal = ThermalState::serious;
    s.unreported = {.memoryStall = true, .otherProcesses = true};
    Metrics::score(s);
    EXPECT_THAT(
        snapshotBarLine(s),
        HasSubstr(R"(\n1 cores · 0 GB · up \nRunning hot. macOS is throttling to cool down",)"));
    EXPECT_THAT(
        snapshotBarLine(s, linuxWords),
        HasSubstr(R"(\n1 cores · 0 GB · up \nRunning hot. Linux is throttling to cool down",)"));
}

TEST(SnapshotJson, IsOneObjectWithTheFieldsOfTheReading) {
    const std::string text = snapshotJson(strained());
    EXPECT_THAT(text, Not(HasSubstr("\n")));
    simdjson::dom::parser parser;
    const simdjson::dom::object object = parser.parse(text);
    EXPECT_EQ(std::int64_t(object["score"]), 45);
    EXPECT_EQ(std::int64_t(object["memPressure"]), 1);
    EXPECT_EQ(std::int64_t(object["runaway"]["id"]), 42);
    EXPECT_EQ(std::string_view(object["worstFactor"]["name"]), "Disk");
}

TEST(SnapshotJson, StartsWithTheNumberOfItsSchema) {
    EXPECT_THAT(snapshotJson(Snapshot()), testing::StartsWith(R"({"schema":1,"factors":)"));
}

TEST(SnapshotJson, EndsWithTheNamesOfWhatIsNotReported) {
    const std::pair<platform::Unreported, std::string> rows[] = {
        {{}, "[]"},
        {{.dataVolume = true}, R"(["dataVolume"])"},
        {{.thermalState = true}, R"(["thermalState"])"},
        {{.memoryStall = true}, R"(["memoryStall"])"},
        {{.otherProcesses = true}, R"(["otherProcesses"])"},
        {{.dataVolume = true, .thermalState = true, .memoryStall = true, .otherProcesses = true},
         R"(["dataVolume","thermalState","memoryStall","otherProcesses"])"},
    };
    for (const auto& [unreported, names] : rows) {
        Snapshot s;
        s.unreported = unreported;
        EXPECT_THAT(snapshotJson(s), testing::EndsWith(R"(,"unreported":)" + names + "}"));
    }
}

} // namespace
} // namespace korvel
