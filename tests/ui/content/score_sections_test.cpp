#include "ui/content/score_sections.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/snapshot.h"

namespace korvel {
namespace {

Snapshot scored(std::int64_t score) {
    Snapshot snap;
    snap.score = score;
    snap.factors.emplace_back("Memory", 0.26, 50, "2.8 GB free to use · macOS is under pressure");
    snap.factors.emplace_back("CPU", 0.16, 88, "12% busy");
    return snap;
}

/// A reading with one factor that costs exactly that many points.
Snapshot losing(double points) {
    Snapshot snap;
    snap.factors.emplace_back("Disk", 1, 100 - points, "9 GB free");
    return snap;
}

TEST(Header, SaysTheScoreAndTheMachine) {
    Snapshot snap;
    snap.score = 87;
    snap.verdict = "Healthy";
    snap.cores = 10;
    snap.memTotalGB = 15.5;
    snap.uptime = "3d 4h";
    const PopoverContent::Header header = headerOf(snap, false);
    EXPECT_EQ(header.score, 87);
    EXPECT_EQ(header.verdict, "Healthy");
    EXPECT_EQ(header.colour, Ink::good);
    EXPECT_EQ(header.line, "10 cores · 16 GB · up 3d 4h");
    EXPECT_EQ(header.spoken, "Health score 87");
}

TEST(Header, RoundsMemoryWithExactHalvesToTheEvenNumber) {
    const struct {
        double gb;
        const char* text;
    } rows[] = {{0.5, "0"}, {1.5, "2"}, {2.5, "2"}, {7.49, "7"}, {7.51, "8"}, {16, "16"}};
    for (const auto& row : rows) {
        Snapshot snap;
        snap.memTotalGB = row.gb;
        EXPECT_EQ(headerOf(snap, false).line, std::string("1 cores · ") + row.text + " GB · up ");
    }
}

TEST(Header, TheToggleSaysWhatPressingItDoes) {
    EXPECT_EQ(headerOf({}, false).toggle, "what's affecting this");
    EXPECT_FALSE(headerOf({}, false).breakdownShown);
    EXPECT_EQ(headerOf({}, true).toggle, "hide breakdown");
    EXPECT_TRUE(headerOf({}, true).breakdownShown);
}

TEST(Breakdown, TextAndColoursOfAFactorChangeAtTheirThresholds) {
    const struct {
        double lost;
        const char* text;
        Ink bar;
        Ink number;
    } rows[] = {
        {0, "—", Ink::good, Ink::secondary},      {0.3, "—", Ink::good, Ink::secondary},
        {0.4999, "—", Ink::good, Ink::secondary}, {0.5, "−0", Ink::good, Ink::secondary},
        {0.51, "−1", Ink::good, Ink::secondary},  {1.5, "−2", Ink::good, Ink::secondary},
        {2.5, "−2", Ink::good, Ink::secondary},   {3, "−3", Ink::good, Ink::secondary},
        {3.25, "−3", Ink::warn, Ink::secondary},  {8, "−8", Ink::warn, Ink::secondary},
        {8.125, "−8", Ink::bad, Ink::bad},        {26, "−26", Ink::bad, Ink::bad},
        {100, "−100", Ink::bad, Ink::bad},
    };
    for (const auto& row : rows) {
        const auto lines = breakdownOf(losing(row.lost));
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].lost, row.text) << row.lost;
        EXPECT_EQ(lines[0].barColour, row.bar) << row.lost;
        EXPECT_EQ(lines[0].lostColour, row.number) << row.lost;
    }
}

TEST(Breakdown, ABarIsFullAtTwentySixPoints) {
    const struct {
        double lost;
        double fraction;
    } rows[] = {{0, 0}, {13, 0.5}, {26, 1}, {27, 1}, {100, 1}};
    for (const auto& row : rows) {
        EXPECT_DOUBLE_EQ(breakdownOf(losing(row.lost))[0].barFraction, row.fraction) << row.lost;
    }
}

TEST(Breakdown, ListsTheFactorsWorstFirstByTheirOwnIdentity) {
    Snapshot snap;
    snap.factors.emplace_back("CPU", 0.16, 90, "10% busy");
    snap.factors.emplace_back("Disk", 0.24, 15, "8 GB free");
    snap.factors.emplace_back("Load", 0.16, 90, "equal to CPU");
    const auto lines = breakdownOf(snap);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].name, "Disk");
    EXPECT_EQ(lines[0].id, snap.factors[1].id);
    EXPECT_EQ(lines[0].detail, "8 GB free");
    EXPECT_EQ(lines[1].name, "CPU");
    EXPECT_EQ(lines[1].id, snap.factors[0].id);
    EXPECT_EQ(lines[2].name, "Load");
}

TEST(Breakdown, SaysOfHeatWithoutASensorThatItIsNotReported) {
    Snapshot snap;
    snap.factors.emplace_back("Thermal", 0.08, 100, "normal");
    EXPECT_EQ(breakdownOf(snap)[0].detail, "normal");
    snap.unreported.thermalState = true;
    EXPECT_EQ(breakdownOf(snap)[0].detail, "not reported here");
}

TEST(Status, WithoutAlertsTheSentenceDependsOnTheScore) {
    const std::string worst = "Memory is what's ";
    const std::string why = " (2.8 GB free to use · macOS is under pressure)";
    const struct {
        std::int64_t score;
        const char* symbol;
        Ink colour;
        std::string text;
    } rows[] = {
        {100, "checkmark.circle.fill", Ink::good, "All clear, nothing needs attention"},
        {72, "checkmark.circle.fill", Ink::good, "All clear, nothing needs attention"},
        {71, "info.circle.fill", Ink::cyan,
         "Nothing urgent. " + worst + "holding the score down" + why},
        {55, "info.circle.fill", Ink::cyan,
         "Nothing urgent. " + worst + "holding the score down" + why},
        {54, "info.circle.fill", Ink::cyan, worst + "dragging this down" + why},
        {0, "info.circle.fill", Ink::cyan, worst + "dragging this down" + why},
    };
    for (const auto& row : rows) {
        const auto lines = statusOf(scored(row.score));
        ASSERT_EQ(lines.size(), 1u) << row.score;
        EXPECT_EQ(lines[0].symbol, row.symbol) << row.score;
        EXPECT_EQ(lines[0].colour, row.colour) << row.score;
        EXPECT_EQ(lines[0].text, row.text) << row.score;
        EXPECT_EQ(lines[0].textStyle, Ink::secondary) << row.score;
    }
}

TEST(Status, NothingIsUrgentBeforeTheFirstReading) {
    const auto lines = statusOf(Snapshot());
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].text, "Nothing urgent");
    EXPECT_EQ(lines[0].symbol, "info.circle.fill");
    EXPECT_EQ(lines[0].colour, Ink::cyan);
}

TEST(Status, CapitalisesTheFirstLetterOnly) {
    const struct {
        const char* factor;
        const char* start;
    } rows[] = {{"CPU", "CPU is "}, {"cpu", "Cpu is "}, {"Load", "Load is "},
                {"", " is "},       {"éa", "éa is "},   {"1x", "1x is "},
                {"a", "A is "},     {"z", "Z is "},     {"{a", "{a is "}};
    for (const auto& row : rows) {
        Snapshot snap;
        snap.score = 40;
        snap.factors.emplace_back(row.factor, 0.16, 0, "12% busy");
        EXPECT_EQ(statusOf(snap)[0].text,
                  std::string(row.start) + "what's dragging this down (12% busy)");
    }
}

TEST(Status, AlertsTakeThePlaceOfTheSentenceAtAnyScore) {
    for (const std::int64_t score : {0, 54, 71, 72, 100}) {
        Snapshot snap = scored(score);
        snap.alerts = {"first <b>alert</b>", "second"};
        const auto lines = statusOf(snap);
        ASSERT_EQ(lines.size(), 2u) << score;
        EXPECT_EQ(lines[0].text, "first <b>alert</b>");
        EXPECT_EQ(lines[1].text, "second");
        for (const auto& line : lines) {
            EXPECT_EQ(line.symbol, "exclamationmark.triangle.fill");
            EXPECT_EQ(line.colour, Ink::warn);
            EXPECT_EQ(line.textStyle, Ink::primary);
        }
    }
}

} // namespace
} // namespace korvel
