#include "model/disk_reclaim.h"

#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/simulated_model.h"

namespace korvel {
namespace {

using platform::ChildResult;
using testing::ElementsAre;
using testing::IsEmpty;

struct PreviewCase {
    const char* name;
    std::string output;
    const char* text;
};

class ReclaimPreviewText : public testing::TestWithParam<PreviewCase> {};

TEST_P(ReclaimPreviewText, IsTheLastTwoWordsOfTheLastMarkerLine) {
    EXPECT_EQ(reclaimableIn(GetParam().output), GetParam().text);
}

constexpr const char* kNothing = "nothing worth clearing";

INSTANTIATE_TEST_SUITE_P(
    Outputs, ReclaimPreviewText,
    testing::Values(
        PreviewCase{"one", "caches 1 GB\nTOTAL RECLAIMABLE: 4.7 GB\n", "4.7 GB"},
        PreviewCase{"lastOfTwo", "TOTAL RECLAIMABLE 1.0 GB\nTOTAL RECLAIMABLE 2.5 GB", "2.5 GB"},
        PreviewCase{"onlyTheMarker", "TOTAL RECLAIMABLE\n", "TOTAL RECLAIMABLE"},
        PreviewCase{"runsOfSpaces", "TOTAL RECLAIMABLE     3 GB  \n", "3 GB"},
        PreviewCase{"insideALine", "== TOTAL RECLAIMABLE == 9 MB\n", "9 MB"},
        PreviewCase{"tabsDoNotSplit", "TOTAL RECLAIMABLE\t3\tGB\n", "TOTAL RECLAIMABLE\t3\tGB"},
        PreviewCase{"notValidated", "TOTAL RECLAIMABLE whatever it is\n", "it is"},
        PreviewCase{"carriageReturnStays", "TOTAL RECLAIMABLE 3 GB\r\n", "3 GB\r"},
        PreviewCase{"otherCase", "total reclaimable 3 GB\n", kNothing},
        PreviewCase{"otherSpacing", "TOTAL  RECLAIMABLE 3 GB\n", kNothing},
        PreviewCase{"noMarker", "3 GB\n", kNothing}, PreviewCase{"empty", "", kNothing},
        PreviewCase{"emptyLines", "\n\n\nTOTAL RECLAIMABLE 3 GB\n\n\n", "3 GB"},
        PreviewCase{"textAfterTheMarkerLine", "TOTAL RECLAIMABLE 3 GB\nbye\n", "3 GB"}),
    [](const auto& row) { return std::string(row.param.name); });

struct ResultCase {
    const char* name;
    double before;
    double after;
    const char* text;
};

class ReclaimResultText : public testing::TestWithParam<ResultCase> {};

TEST_P(ReclaimResultText, NamesAGainOfMoreThanATenthOfAGigabyte) {
    EXPECT_EQ(reclaimResultText(GetParam().before, GetParam().after), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Gains, ReclaimResultText,
    testing::Values(ResultCase{"exactlyATenth", 0.0, 0.1, "nothing to reclaim right now"},
                    ResultCase{"aTenthThatTheDoubleExceeds", 50.0, 50.1,
                               "reclaimed 0.1 GB · 50 GB free"},
                    ResultCase{"gain", 49.26, 51.6, "reclaimed 2.3 GB · 52 GB free"},
                    ResultCase{"none", 50, 50, "nothing to reclaim right now"},
                    ResultCase{"loss", 50, 40, "nothing to reclaim right now"},
                    ResultCase{"unreadableAfter", 50, 0, "nothing to reclaim right now"}),
    [](const auto& row) { return std::string(row.param.name); });

class DiskReclaim : public testing::Test, public test::SimulatedModel {
  protected:
    using Arguments = platform::SimulatedChildProcesses::Arguments;

    /// What the script prints, and how much it frees when it is let.
    void haveScript(const std::string& output, double freesGB) {
        system.childProcesses.answers["/bin/bash"] =
            [this, output, freesGB](const Arguments& arguments) -> std::optional<ChildResult> {
            if (arguments.size() > 1) {
                platform::VolumeStatistics& volume = system.machine.readings.volume.value;
                volume.f_bavail += static_cast<std::uint64_t>(freesGB * 0x1p30 /
                                                              static_cast<double>(volume.f_bsize));
            }
            return ChildResult{output, 3};
        };
    }
    std::vector<platform::SimulatedChildProcesses::Run>& runs() {
        return system.childProcesses.runs;
    }
    platform::CallLog stepsOf(void (Model::*remedy)());
    const std::string script = "/Users/korvel/reclaim.sh";
};

TEST_F(DiskReclaim, APreviewRunsTheScriptThroughBashAndPublishesItsTotal) {
    haveScript("TOTAL RECLAIMABLE: 4.7 GB\n", 0);
    model->previewReclaim();
    EXPECT_TRUE(*model->scanning);
    EXPECT_THAT(runs(), IsEmpty()) << "not on the caller's turn";
    settle();
    ASSERT_EQ(runs().size(), 1U);
    EXPECT_EQ(runs()[0].executable, "/bin/bash");
    EXPECT_THAT(runs()[0].arguments, ElementsAre(script));
    EXPECT_EQ(*model->reclaimPreview, "4.7 GB");
    EXPECT_FALSE(*model->scanning);
}

TEST_F(DiskReclaim, WithoutAShellOrTextThereIsNothingWorthClearing) {
    model->previewReclaim();
    settle();
    EXPECT_EQ(*model->reclaimPreview, kNothing);

    haveScript("TOTAL RECLAIMABLE 4.7 GB \xff\n", 0);
    model->previewReclaim();
    settle();
    EXPECT_EQ(*model->reclaimPreview, kNothing) << "not UTF-8";
}

TEST_F(DiskReclaim, APreviewIsOverBeforeItsTextAppears) {
    haveScript("TOTAL RECLAIMABLE 1 GB\n", 0);
    model->previewReclaim();
    std::vector<std::pair<bool, bool>> seen; // scanning, has a text: before each change
    const Observation observation = model->observe(
        [&] { seen.emplace_back(*model->scanning, model->reclaimPreview->has_value()); });
    settle();
    EXPECT_THAT(seen, ElementsAre(std::pair(true, false), std::pair(false, false)));
}

TEST_F(DiskReclaim, ASecondPreviewWhileOneRunsChangesNothing) {
    haveScript("", 0);
    model->previewReclaim();
    int announced = 0;
    const Observation observation = model->observe([&] { ++announced; });
    model->previewReclaim();
    EXPECT_EQ(announced, 0);
    settle();
    EXPECT_EQ(runs().size(), 1U);
}

TEST_F(DiskReclaim, ARunClearsWithBothFlagsAndReportsTheGain) {
    haveScript("", 2);
    model->runReclaim();
    EXPECT_TRUE(*model->reclaiming);
    settle();
    ASSERT_EQ(runs().size(), 1U);
    EXPECT_THAT(runs()[0].arguments, ElementsAre(script, "--go", "--yes"));
    EXPECT_FALSE(*model->reclaiming);
    EXPECT_THAT(*model->reclaimResult,
                testing::Optional(testing::StartsWith("reclaimed 2.0 GB · ")));
}

TEST_F(DiskReclaim, ARunSamplesBeforeAndAfterAndRefreshesAtItsEnd) {
    haveScript("", 2);
    platform::CallLog log;
    system.logTo(log);
    model->runReclaim();
    settle();
    EXPECT_EQ(std::count(log.begin(), log.end(), "dataVolume"), 3);
    EXPECT_EQ(model->history->size(), 1U) << "only the refresh is published";
}

/// What a preview or a run does of its own, in order, from the caller's turn to the last.
platform::CallLog DiskReclaim::stepsOf(void (Model::*remedy)()) {
    platform::CallLog log;
    system.logTo(log);
    system.childProcesses.onRun = [&](const auto&) { log.emplace_back("script"); };
    model->scanning.didSet = [&] { log.emplace_back(*model->scanning ? "scanning" : "scanned"); };
    model->reclaiming.didSet = [&] {
        log.emplace_back(*model->reclaiming ? "reclaiming" : "reclaimed");
    };
    model->reclaimPreview.didSet = [&] {
        log.emplace_back(model->reclaimPreview->has_value() ? "preview" : "no preview");
    };
    model->reclaimResult.didSet = [&] {
        log.emplace_back(model->reclaimResult->has_value() ? "result" : "no result");
    };
    model->snap.didSet = [&] { log.emplace_back("snap"); };
    system.runLoop.onTurnEnd = [&] { log.emplace_back("|"); };
    ((*model).*remedy)();
    settle();
    std::erase_if(log, [](const std::string& call) {
        static const std::set<std::string> own = {
            "script", "scanning", "scanned",   "reclaiming", "reclaimed",  "preview", "no preview",
            "result", "snap",     "no result", "|",          "background", "async",   "dataVolume"};
        return own.count(call) == 0;
    });
    return log;
}

TEST_F(DiskReclaim, APreviewAsksInTheBackgroundAndPublishesOnTheMainThread) {
    EXPECT_THAT(stepsOf(&Model::previewReclaim),
                ElementsAre("scanning", "no preview", "no result", "background", "script", "async",
                            "|", "scanned", "preview", "|"));
}

TEST_F(DiskReclaim, ARunSamplesInTheBackgroundAndPublishesTheFlagTheResultAndASample) {
    EXPECT_THAT(stepsOf(&Model::runReclaim),
                ElementsAre("reclaiming", "no preview", "no result", "background", "dataVolume",
                            "script", "dataVolume", "async", "|", "reclaimed", "result",
                            "dataVolume", "async", "|", "snap", "|"));
}

TEST_F(DiskReclaim, APreviewReadsTheOutputAndARunNothing) {
    using platform::ChildStream;
    model->previewReclaim();
    settle();
    model->runReclaim();
    settle();
    const auto& streams = system.childProcesses.streams;
    ASSERT_EQ(streams.size(), 2U);
    EXPECT_EQ(streams[0].standardOutput, ChildStream::capture);
    EXPECT_EQ(streams[0].standardError, ChildStream::discard);
    EXPECT_EQ(streams[1].standardOutput, ChildStream::discard);
    EXPECT_EQ(streams[1].standardError, ChildStream::discard);
}

TEST_F(DiskReclaim, ARunClearsTheResultOfTheLast) {
    model->runReclaim();
    settle();
    ASSERT_TRUE(model->reclaimResult->has_value());
    model->runReclaim();
    EXPECT_FALSE(model->reclaimResult->has_value());
}

TEST_F(DiskReclaim, ARunDuringAPreviewIsAllowedAndBothFinish) {
    haveScript("TOTAL RECLAIMABLE 1 GB\n", 2);
    model->previewReclaim();
    model->runReclaim();
    EXPECT_TRUE(*model->scanning);
    EXPECT_TRUE(*model->reclaiming);
    settle();
    EXPECT_EQ(runs().size(), 2U);
    EXPECT_EQ(*model->reclaimPreview, "1 GB");
    EXPECT_THAT(*model->reclaimResult,
                testing::Optional(testing::StartsWith("reclaimed 2.0 GB · ")));
    EXPECT_FALSE(*model->scanning);
    EXPECT_FALSE(*model->reclaiming);
}

TEST_F(DiskReclaim, ARunThatCannotStartReportsNothingToReclaim) {
    model->runReclaim();
    settle();
    EXPECT_EQ(*model->reclaimResult, "nothing to reclaim right now");
}

TEST_F(DiskReclaim, ASecondRunWhileOneRunsIsIgnored) {
    haveScript("", 0);
    model->runReclaim();
    model->runReclaim();
    settle();
    EXPECT_EQ(runs().size(), 1U);
}

TEST_F(DiskReclaim, APreviewDuringARunIsAllowedAndEachStartClearsBothTexts) {
    haveScript("TOTAL RECLAIMABLE 1 GB\n", 2);
    model->previewReclaim();
    settle();
    ASSERT_TRUE(model->reclaimPreview->has_value());
    model->runReclaim();
    EXPECT_FALSE(model->reclaimPreview->has_value());
    model->previewReclaim();
    EXPECT_TRUE(*model->scanning);
    EXPECT_TRUE(*model->reclaiming);
    settle();
    EXPECT_TRUE(model->reclaimPreview->has_value());
    EXPECT_TRUE(model->reclaimResult->has_value());
    model->previewReclaim();
    EXPECT_FALSE(model->reclaimPreview->has_value());
    EXPECT_FALSE(model->reclaimResult->has_value());
}

TEST_F(DiskReclaim, DismissingAPreviewClearsNothingElse) {
    haveScript("TOTAL RECLAIMABLE 1 GB\n", 2);
    model->runReclaim();
    model->previewReclaim();
    settle();
    const auto result = *model->reclaimResult;
    model->dismissReclaimPreview();
    EXPECT_FALSE(model->reclaimPreview->has_value());
    EXPECT_EQ(*model->reclaimResult, result);
    EXPECT_EQ(runs().size(), 2U);
}

} // namespace
} // namespace korvel
