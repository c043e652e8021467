#include "app/status_title.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/snapshot.h"

namespace korvel {
namespace {

using platform::Colour;
using platform::TitleFont;
using platform::TitleInk;
using platform::TitleRun;
using testing::ElementsAre;

constexpr Colour kGreen{0.31, 0.85, 0.51};
constexpr Colour kAmber{1.0, 0.72, 0.30};
constexpr Colour kRed{1.0, 0.36, 0.36};

TEST(StatusTitle, IsADotInTheScoresColourAndTheScoreInNone) {
    EXPECT_THAT(
        statusTitle(87, false).runs,
        ElementsAre(
            TitleRun{"\u25cf", 9, TitleFont::system, TitleInk::colour, "good", kGreen},
            TitleRun{" 87", 12, TitleFont::monospacedDigitMedium, TitleInk::label, "", {}}));
}

TEST(StatusTitle, HasACupBetweenThemWhileTheMachineIsKeptAwake) {
    const platform::StatusTitle title = statusTitle(87, true);
    ASSERT_EQ(title.runs.size(), 3U);
    EXPECT_EQ(
        title.runs[1],
        (TitleRun{" \u2615", 10, TitleFont::system, TitleInk::secondaryLabel, "secondary", {}}));
    EXPECT_EQ(title.text(), "\u25cf \u2615 87");
}

TEST(StatusTitle, ReadsWithoutPaddingOrPercentSign) {
    EXPECT_EQ(statusTitle(0, false).text(), "\u25cf 0");
    EXPECT_EQ(statusTitle(7, false).text(), "\u25cf 7");
    EXPECT_EQ(statusTitle(100, false).text(), "\u25cf 100");
}

TEST(StatusTitle, TheColourAndItsNameChangeAt72AndAt55) {
    struct Case {
        int score;
        std::string name;
        Colour colour;
    };
    for (const Case& c :
         {Case{100, "good", kGreen}, Case{72, "good", kGreen}, Case{71, "warn", kAmber},
          Case{55, "warn", kAmber}, Case{54, "bad", kRed}, Case{0, "bad", kRed}}) {
        const platform::StatusTitle title = statusTitle(c.score, false);
        EXPECT_EQ(title.colourName, c.name) << c.score;
        EXPECT_EQ(title.colour, c.colour) << c.score;
        EXPECT_EQ(title.runs.front().inkName, c.name) << c.score;
        EXPECT_EQ(title.runs.front().colour, c.colour) << c.score;
    }
}

TEST(StatusTitle, TellsTheScoreAndWhetherTheMachineIsKeptAwake) {
    EXPECT_EQ(statusTitle(7, false).score, 7);
    EXPECT_FALSE(statusTitle(7, false).awake);
    EXPECT_TRUE(statusTitle(7, true).awake);
}

TEST(StatusToolTip, IsTheTitleAndTheVerdict) {
    Snapshot snap;
    EXPECT_EQ(statusToolTip(snap, false), "\u25cf 0");
    snap.score = 87;
    snap.verdict = "Healthy";
    EXPECT_EQ(statusToolTip(snap, true), "\u25cf \u2615 87 · Healthy");
}

TEST(StatusSummary, IsTheScoreAndTheVerdict) {
    Snapshot snap;
    EXPECT_EQ(statusSummary(snap), "0");
    snap.score = 69;
    snap.verdict = "Fair";
    EXPECT_EQ(statusSummary(snap), "69 · Fair");
}

} // namespace
} // namespace korvel
