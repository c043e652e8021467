#include "model/model.h"

#include <gtest/gtest.h>

#include "support/fake_system.h"

// The refresh cycle. The trail on file is in model_history_test.cpp.
namespace korvel {
namespace {

using test::CallLog;
using test::FakeSystem;

struct Program : FakeSystem {
    Metrics metrics{machine, processes, agents, clock};
    std::shared_ptr<Model> model = std::make_shared<Model>(metrics, runLoop, clock, files);
};

TEST(Model, StartsWithTheEmptyReadingAndNothingUnderWay) {
    const Program program;
    const Model& model = *program.model;
    EXPECT_EQ(model.snap->score, 0);
    EXPECT_EQ(model.snap->verdict, "");
    EXPECT_EQ(model.snap->cores, 1);
    EXPECT_TRUE(model.history->empty());
    EXPECT_FALSE(*model.reclaiming);
    EXPECT_EQ(*model.reclaimResult, std::nullopt);
    EXPECT_EQ(*model.reclaimPreview, std::nullopt);
    EXPECT_FALSE(*model.scanning);
    EXPECT_FALSE(model.onUpdate);
    EXPECT_TRUE(model.swapHolders->empty());
    EXPECT_FALSE(*model.scanningSwap);
}

TEST(Model, CreationEndsWithTheHistoryAndStartsNoTimer) {
    const Program program;
    EXPECT_EQ(program.log, (CallLog{"homeDirectory", "now",
                                    "read /home/someone/"
                                    ".korvel-history.json"}));
    EXPECT_EQ(program.runLoop.pending(), 0U);
}

TEST(Model, EveryPublishedPropertyAnnouncesItsChange) {
    Program program;
    Model& model = *program.model;
    int announced = 0;
    model.observe([&] { ++announced; });
    model.snap = Snapshot();
    model.history = std::vector<HistoryPoint>();
    model.reclaiming = true;
    model.reclaimResult = std::optional<std::string>("done");
    model.reclaimPreview = std::optional<std::string>("soon");
    model.scanning = true;
    model.swapHolders = std::vector<ProcInfo>();
    model.scanningSwap = true;
    EXPECT_EQ(announced, 8);
    model.onUpdate = [] {};
    EXPECT_EQ(announced, 8) << "not published";
}

TEST(Refresh, SamplesAtOnceAndPublishesLater) {
    Program program;
    program.log.clear();
    program.model->refresh();
    ASSERT_GT(program.log.size(), 2U);
    EXPECT_EQ(program.log.front(), "physicalMemory");
    EXPECT_EQ(program.log.back(), "async");
    EXPECT_EQ(program.model->snap->verdict, "") << "nothing is published yet";
    EXPECT_TRUE(program.model->history->empty());
    program.runLoop.turn();
    EXPECT_EQ(program.model->snap->verdict, "Excellent");
    EXPECT_EQ(program.model->history->size(), 1U);
}

TEST(Refresh, WritesTheReadingThenTheTrailThenTellsTheOwner) {
    Program program;
    Model& model = *program.model;
    std::vector<std::string> seen;
    const auto state = [&] {
        return model.snap->verdict + " " + std::to_string(model.history->size());
    };
    model.observe([&] { seen.push_back("will change: " + state()); });
    model.onUpdate = [&] { seen.push_back("updated: " + state()); };
    model.refresh();
    program.runLoop.turn();
    EXPECT_EQ(seen, (std::vector<std::string>{"will change:  0", "will change: Excellent 0",
                                              "updated: Excellent 1"}));
}

TEST(Refresh, PointHasTheTimeOfItsPublication) {
    Program program;
    program.clock.time = 1700000000;
    program.machine.ticks = platform::CpuTicks{0, 0, 0, 0};
    program.model->refresh();
    program.machine.ticks = platform::CpuTicks{25, 0, 75, 0};
    program.model->refresh();
    program.clock.time = 1700000007.25;
    program.runLoop.turn();
    const std::vector<HistoryPoint>& points = *program.model->history;
    ASSERT_EQ(points.size(), 2U);
    EXPECT_EQ(points[1].t, 1700000007.25);
    EXPECT_EQ(points[1].cpu, 25);
    EXPECT_EQ(points[1].mem, program.model->snap->memPct);
    EXPECT_GT(points[1].mem, 0);
}

TEST(Refresh, WithoutAnOwnerToTellPublishesAllTheSame) {
    Program program;
    program.model->refresh();
    program.runLoop.turn();
    EXPECT_EQ(program.model->history->size(), 1U);
}

TEST(Refresh, TwoInOneTurnPublishInTheOrderOfTheCalls) {
    Program program;
    std::vector<double> loads;
    program.model->onUpdate = [&] { loads.push_back(program.model->snap->load1); };
    program.machine.load[0] = 1;
    program.model->refresh();
    program.machine.load[0] = 2;
    program.model->refresh();
    EXPECT_EQ(program.runLoop.pending(), 2U);
    program.runLoop.turn();
    EXPECT_EQ(loads, (std::vector<double>{1, 2}));
    EXPECT_EQ(program.model->history->size(), 2U);
}

TEST(Refresh, FromWithinAnUpdatePublishesOnTheNextTurn) {
    Program program;
    int updates = 0;
    program.model->onUpdate = [&] {
        if (++updates == 1) {
            program.model->refresh();
        }
    };
    program.model->refresh();
    program.runLoop.turn();
    EXPECT_EQ(updates, 1);
    program.runLoop.turn();
    EXPECT_EQ(updates, 2);
}

TEST(Refresh, SampleThatWasTakenIsPublishedThoughNoOneElseHoldsTheModel) {
    Program program;
    bool updated = false;
    program.model->onUpdate = [&] { updated = true; };
    const std::weak_ptr<Model> model = program.model;
    program.model->refresh();
    program.model.reset();
    EXPECT_FALSE(model.expired());
    program.runLoop.turn();
    EXPECT_TRUE(updated);
    EXPECT_TRUE(model.expired());
}

TEST(Refresh, PublishedReadingIsNotTheNextOne) {
    Program program;
    program.model->refresh();
    program.runLoop.turn();
    const Snapshot held = *program.model->snap;
    program.machine.volume.reset();
    program.model->refresh();
    program.runLoop.turn();
    EXPECT_EQ(held.diskFreeGB, 80);
    EXPECT_EQ(program.model->snap->diskFreeGB, 0);
}

TEST(Refresh, EveryCallAppendsOnePointHoweverClose) {
    Program program;
    for (int i = 0; i < 10; ++i) {
        program.model->refresh();
        program.runLoop.turn();
    }
    EXPECT_EQ(program.model->history->size(), 10U);
    program.clock.time += 1e9; // thirty years later nothing has gone
    program.model->refresh();
    program.runLoop.turn();
    EXPECT_EQ(program.model->history->size(), 11U);
}

TEST(Refresh, KeepsExactlyTheNewestPointsUnderTheCap) {
    Program program;
    std::vector<HistoryPoint> full;
    for (std::size_t i = 0; i < kHistoryCap - 1; ++i) {
        // Ages play no part: the times run backwards.
        full.emplace_back(-static_cast<double>(i), 1, 2);
    }
    program.model->history = full;
    const auto refreshed = [&]() -> const std::vector<HistoryPoint>& {
        program.model->refresh();
        program.runLoop.turn();
        return *program.model->history;
    };
    EXPECT_EQ(refreshed().size(), 43200U) << "at the cap nothing goes";
    EXPECT_EQ(program.model->history->front().id, full[0].id);
    EXPECT_EQ(refreshed().size(), 43200U) << "above it exactly the oldest goes";
    EXPECT_EQ(program.model->history->front().id, full[1].id);
    EXPECT_EQ(program.model->history->at(43197).id, full.back().id);
    EXPECT_EQ(program.model->history->back().t, program.clock.time);
}

TEST(Refresh, ExcessOfAnySizeGoesFromTheFront) {
    Program program;
    std::vector<HistoryPoint> tooMany;
    for (std::size_t i = 0; i < kHistoryCap + 1000; ++i) {
        tooMany.emplace_back(static_cast<double>(i), 1, 2);
    }
    program.model->history = tooMany;
    program.model->refresh();
    program.runLoop.turn();
    EXPECT_EQ(program.model->history->size(), 43200U);
    EXPECT_EQ(program.model->history->front().t, 1001);
}

} // namespace
} // namespace korvel
