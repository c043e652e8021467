#include "ui/content/content_view.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/simulated_model.h"
#include "ui/content/update_sections.h"

namespace korvel {
namespace {

class RootView : public testing::Test {
  protected:
    test::SimulatedModel simulated;
    ContentView view{simulated.model, simulated.system.services(), simulated.awake,
                     simulated.updater, simulated.whatsNew};
};

TEST_F(RootView, ShowsTheEmptyReadingBeforeTheFirstPublication) {
    const PopoverContent content = view.content();
    EXPECT_EQ(content.header.score, 0);
    EXPECT_EQ(content.header.verdict, "");
    EXPECT_EQ(content.header.line, "1 cores · 0 GB · up ");
    EXPECT_EQ(content.header.colour, Ink::bad);
    EXPECT_FALSE(content.breakdown);
    ASSERT_EQ(content.status.size(), 1u);
    EXPECT_EQ(content.status[0].text, "Nothing urgent");
    EXPECT_EQ(content.rows.size(), 5u);
    EXPECT_EQ(content.swapHolders.button, "what's holding it");
    EXPECT_TRUE(content.heaviest.empty());
}

TEST_F(RootView, TheBreakdownStartsClosedAndThereIsOneOnlyWhileOpen) {
    Snapshot snap;
    Metrics::score(snap);
    simulated.model->snap = snap;
    EXPECT_FALSE(view.content().breakdown);
    view.toggleBreakdown();
    ASSERT_TRUE(view.content().breakdown);
    EXPECT_EQ(view.content().breakdown->size(), 6u);
    view.toggleBreakdown();
    EXPECT_FALSE(view.content().breakdown);
}

TEST_F(RootView, AnnouncesEveryChangeOfWhatItShows) {
    int announced = 0;
    const Observation observation = view.observe([&] { ++announced; });
    view.toggleBreakdown();
    EXPECT_EQ(announced, 1);
    simulated.model->snap = Snapshot();
    EXPECT_EQ(announced, 2);
    simulated.model->swapHolders = std::vector<ProcInfo>{{7, "firefox", 1}};
    EXPECT_EQ(announced, 3);
    simulated.model->scanningSwap = true;
    EXPECT_EQ(announced, 4);
    simulated.model->history = History();
    EXPECT_EQ(announced, 5);
}

TEST_F(RootView, LooksForSwapHoldersOnRequest) {
    simulated.addProcess(7, "firefox", 2, 1.5);
    view.findSwapHolders();
    EXPECT_EQ(view.content().swapHolders.button, "checking…");
    simulated.settle();
    const PopoverContent content = view.content();
    ASSERT_EQ(content.swapHolders.holders.size(), 1u);
    EXPECT_EQ(content.swapHolders.holders[0].size, "1.5 GB");
}

TEST_F(RootView, QuitsAProcessOfEitherListAndNoOther) {
    Snapshot snap;
    snap.topProcs = {{7, "firefox", 2}};
    simulated.model->snap = snap;
    simulated.model->swapHolders = std::vector<ProcInfo>{{9, "clangd", 1}};
    view.quitProcess(7);
    view.quitProcess(9);
    view.quitProcess(11);
    EXPECT_THAT(simulated.system.processes.terminated, testing::ElementsAre(7, 9));
    EXPECT_EQ(view.content().heaviest.size(), 1u) << "a line goes with the next reading";
    EXPECT_EQ(view.content().swapHolders.holders.size(), 1u);
}

TEST_F(RootView, AProcessThatIsInBothListsIsAskedOnce) {
    Snapshot snap;
    snap.topProcs = {{7, "firefox", 2}};
    simulated.model->snap = snap;
    simulated.model->swapHolders = std::vector<ProcInfo>{{7, "firefox", 1}};
    view.quitProcess(7);
    EXPECT_THAT(simulated.system.processes.terminated, testing::ElementsAre(7));
}

TEST_F(RootView, ALineOfASwapHolderNeverMeansAnotherProcessOfItsPid) {
    simulated.addProcess(7, "clangd", 2, 1);
    simulated.system.processes.table.back().startTime = 200;
    Snapshot snap;
    snap.topProcs = {{7, "clangd", 2, 200}};
    simulated.model->snap = snap;
    simulated.model->swapHolders = std::vector<ProcInfo>{{7, "firefox", 1, 100}};
    view.quitSwapHolder(7);
    EXPECT_THAT(simulated.system.processes.terminated, testing::IsEmpty());
    view.quitProcess(7);
    EXPECT_THAT(simulated.system.processes.terminated, testing::ElementsAre(7));
}

TEST_F(RootView, ByThemselvesTheViewAndItsBannerAreThoseOfTheProgram) {
    const platform::Services services = simulated.system.services();
    platform::installedServices = &services;
    EXPECT_EQ(WhatsNewBanner().wn, WhatsNew::shared());
    EXPECT_EQ(WhatsNew::shared()->version(), Updater::shared()->currentVersion());

    const ContentView programs(simulated.model, services);
    Awake::shared()->on = true;
    Updater::shared()->state = update_state::Checking{};
    WhatsNew::shared()->kind = WhatsNew::Kind{WhatsNew::Kind::Case::installed, ""};
    EXPECT_TRUE(programs.content().keepAwake.on);
    EXPECT_TRUE(programs.content().update);
    EXPECT_TRUE(programs.content().banner);

    const ContentView others(simulated.model, services, simulated.awake);
    EXPECT_FALSE(others.content().keepAwake.on);
    EXPECT_TRUE(others.content().update);
    EXPECT_FALSE(view.content().update);
    EXPECT_FALSE(view.content().banner);
    platform::installedServices = nullptr;
}

} // namespace
} // namespace korvel
