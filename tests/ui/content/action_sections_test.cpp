#include "ui/content/action_sections.h"

#include <optional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/simulated_model.h"
#include "ui/content/content_view.h"

namespace korvel {
namespace {

using platform::ChildResult;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using Action = PopoverContent::ReclaimButton::Action;
using Choice = PopoverContent::KeepAwake::Choice;

class Actions : public testing::Test {
  protected:
    PopoverContent::KeepAwake keepAwake() const { return view.content().keepAwake; }
    PopoverContent::ReclaimButton reclaim() const { return view.content().footer.reclaim; }
    void runs(const std::string& preview) {
        simulated.system.childProcesses.answers["/bin/bash"] = [preview](const auto&) {
            return ChildResult{preview, 0};
        };
    }

    test::SimulatedModel simulated;
    ContentView view{simulated.model, simulated.system.services(), simulated.awake,
                     simulated.updater, simulated.whatsNew};
};

TEST_F(Actions, WhileOffThereIsAMenuOfFourPeriodsAndNoTime) {
    EXPECT_FALSE(keepAwake().on);
    EXPECT_EQ(keepAwake().remaining, std::nullopt);
    EXPECT_EQ(keepAwake().control, "On");
    EXPECT_THAT(keepAwake().choices,
                ElementsAre(Choice{"30 minutes", 30}, Choice{"1 hour", 60}, Choice{"3 hours", 180},
                            Choice{"Until I turn it off", std::nullopt}));
}

TEST_F(Actions, WhileOnThereIsAButtonAndTheTimeThatIsLeft) {
    view.enableAwake(30);
    EXPECT_TRUE(keepAwake().on);
    simulated.system.runLoop.advance(1);
    EXPECT_THAT(keepAwake().remaining, Optional(std::string("on for 30m more")));
    EXPECT_EQ(keepAwake().control, "Off");
    EXPECT_THAT(keepAwake().choices, IsEmpty());
    simulated.system.runLoop.advance(60);
    EXPECT_THAT(keepAwake().remaining, Optional(std::string("on for 29m more")));
    view.disableAwake();
    EXPECT_EQ(keepAwake().control, "On");
}

TEST_F(Actions, EachOfDisplayAndSystemIsSaidToBeHeldWhileItIs) {
    platform::SimulatedPower& power = simulated.system.power;
    for (const bool display : {false, true}) {
        for (const bool system : {false, true}) {
            power.grantsDisplay = display;
            power.grantsSystem = system;
            view.enableAwake(30);
            EXPECT_EQ(keepAwake().display, display);
            EXPECT_EQ(keepAwake().system, system);
        }
    }
    power.held.erase(power.held.begin()); // the display's, which is taken first
    EXPECT_FALSE(keepAwake().display);
    EXPECT_TRUE(keepAwake().system);
    view.disableAwake();
    EXPECT_FALSE(keepAwake().system);
}

TEST_F(Actions, WithoutAnEndTheLabelSaysSo) {
    view.enableAwake(std::nullopt);
    EXPECT_THAT(keepAwake().remaining, Optional(std::string("on, indefinitely")));
}

TEST_F(Actions, ARefusedSwitchLeavesTheMenu) {
    simulated.system.power.grantsDisplay = false;
    simulated.system.power.grantsSystem = false;
    view.enableAwake(60);
    EXPECT_EQ(keepAwake().control, "On");
    EXPECT_EQ(keepAwake().remaining, std::nullopt);
}

TEST_F(Actions, TheWatchdogLineSaysWhetherItRuns) {
    Snapshot snap;
    simulated.model->snap = snap;
    EXPECT_EQ(view.content().footer.warden, "Warden off");
    EXPECT_EQ(view.content().footer.wardenTooltip, "Watchdog is not running");
    snap.wardenOn = true;
    simulated.model->snap = snap;
    EXPECT_EQ(view.content().footer.warden, "Warden on");
    EXPECT_EQ(view.content().footer.wardenTooltip,
              "Background watchdog: kills runaway processes and reclaims disk every 15 min");
}

struct ReclaimCase {
    const char* name;
    bool reclaiming;
    bool scanning;
    std::optional<std::string> preview;
    const char* text;
    const char* symbol;
    bool semibold;
    bool dismissible;
    Action action;
};

class ReclaimButtonText : public Actions, public testing::WithParamInterface<ReclaimCase> {};

TEST_P(ReclaimButtonText, FollowsTheStateInItsOrder) {
    const ReclaimCase& row = GetParam();
    simulated.model->reclaiming = row.reclaiming;
    simulated.model->scanning = row.scanning;
    simulated.model->reclaimPreview = row.preview;
    EXPECT_EQ(reclaim().text, row.text);
    EXPECT_EQ(reclaim().symbol, row.symbol);
    EXPECT_EQ(reclaim().semibold, row.semibold);
    EXPECT_EQ(reclaim().dismissible, row.dismissible);
    EXPECT_EQ(reclaim().action, row.action);
}

INSTANTIATE_TEST_SUITE_P(
    States, ReclaimButtonText,
    testing::Values(ReclaimCase{"plain", false, false, std::nullopt, "Reclaim", "trash", false,
                                false, Action::preview},
                    ReclaimCase{"scanning", false, true, std::nullopt, "Scanning…", "", false,
                                false, Action::none},
                    ReclaimCase{"waiting", false, false, "4.7 GB", "Clear 4.7 GB", "", true, true,
                                Action::run},
                    ReclaimCase{"waitingWithNothing", false, false, "nothing worth clearing",
                                "Clear nothing worth clearing", "", true, true, Action::run},
                    ReclaimCase{"waitingBeforeScanning", false, true, "1 GB", "Clear 1 GB", "",
                                true, true, Action::run},
                    ReclaimCase{"clearing", true, false, std::nullopt, "Clearing…", "", true, false,
                                Action::none},
                    ReclaimCase{"clearingBeforeAll", true, true, "1 GB", "Clearing…", "", true,
                                false, Action::none}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(Actions, APressPreviewsAndThenClears) {
    runs("TOTAL RECLAIMABLE 2.5 GB\n");
    view.pressReclaim();
    EXPECT_EQ(reclaim().text, "Scanning…");
    view.pressReclaim();
    simulated.settle();
    EXPECT_EQ(reclaim().text, "Clear 2.5 GB");
    view.pressReclaim();
    EXPECT_EQ(reclaim().text, "Clearing…");
    EXPECT_EQ(view.content().reclaimResult, std::nullopt);
    simulated.settle();
    EXPECT_EQ(reclaim().text, "Reclaim");
    EXPECT_THAT(view.content().reclaimResult,
                Optional(std::string("nothing to reclaim right now")));
    ASSERT_EQ(simulated.system.childProcesses.runs.size(), 2U) << "one of each";
    EXPECT_THAT(simulated.system.childProcesses.runs[1].arguments,
                ElementsAre("/Users/korvel/reclaim.sh", "--go", "--yes"));
}

TEST_F(Actions, AWaitingPreviewCanBePutAway) {
    runs("TOTAL RECLAIMABLE 2.5 GB\n");
    view.previewReclaim();
    simulated.settle();
    view.dismissReclaimPreview();
    EXPECT_EQ(reclaim().text, "Reclaim");
    EXPECT_EQ(simulated.system.childProcesses.runs.size(), 1U);
}

TEST_F(Actions, TheQuitButtonEndsTheProgram) {
    EXPECT_EQ(view.content().footer.quit, "Quit Halden");
    view.terminate();
    EXPECT_TRUE(simulated.system.runLoop.terminated());
}

TEST_F(Actions, ASwitchOfKeepAwakeIsAnnounced) {
    int announced = 0;
    const Observation observation = view.observe([&] { ++announced; });
    view.enableAwake(30);
    EXPECT_GT(announced, 0);
}

} // namespace
} // namespace korvel
