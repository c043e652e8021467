#include "model/model.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "support/simulated_model.h"

// The refresh cycle. The trail on file is in model_history_test.cpp.
namespace korvel {
namespace {

using platform::CallLog;

struct Program : test::SimulatedModel {
    CallLog log; ///< from the first look on

    Program() { system.logTo(log); }

    platform::SimulatedReadings& readings() { return system.machine.readings; }
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
    platform::SimulatedServices system;
    CallLog log;
    system.logTo(log);
    Metrics metrics(system.machine, system.processes, system.agents, system.clock);
    const auto model = std::make_shared<Model>(metrics, system.services());
    EXPECT_EQ(log, (CallLog{"homeDirectory", "homeDirectory", "now",
                            "read /Users/korvel/.korvel-history.json"}));
}

TEST(Model, EveryPublishedPropertyAnnouncesItsChange) {
    Program program;
    Model& model = *program.model;
    int announced = 0;
    const Observation observation = model.observe([&] { ++announced; });
    model.snap = Snapshot();
    model.history = History();
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
    program.model->refresh();
    ASSERT_GT(program.log.size(), 2U);
    EXPECT_EQ(program.log.front(), "physicalMemory");
    EXPECT_EQ(program.log.back(), "async");
    EXPECT_EQ(program.model->snap->verdict, "") << "nothing is published yet";
    EXPECT_TRUE(program.model->history->empty());
    program.settle();
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
    const Observation observation =
        model.observe([&] { seen.push_back("will change: " + state()); });
    model.onUpdate = [&] { seen.push_back("updated: " + state()); };
    model.refresh();
    program.settle();
    EXPECT_EQ(seen, (std::vector<std::string>{"will change:  0", "will change: Excellent 0",
                                              "updated: Excellent 1"}));
}

TEST(Refresh, ThePointIsInTheTrailBeforeAnybodyIsNotified) {
    Program program;
    program.system.clock.turn(3600);
    program.readings().pressureLevel.set(4);
    std::size_t points = 0;
    program.system.notifications.onPost = [&](const platform::Notification&) {
        points = program.model->history->size();
    };
    program.readings().volume.fails = true;
    program.readings().load.value = {100, 0, 0};
    program.model->refresh();
    program.settle();
    EXPECT_LT(program.model->snap->score, 55);
    EXPECT_EQ(points, 1U);
}

TEST(Refresh, PointHasTheTimeOfItsPublication) {
    Program program;
    program.readings().cpuTicks.value = platform::CpuTicks{0, 0, 0, 0};
    program.model->refresh();
    program.readings().cpuTicks.value = platform::CpuTicks{25, 0, 75, 0};
    program.model->refresh();
    program.system.clock.set(1700000007.25);
    program.settle();
    const History& points = *program.model->history;
    ASSERT_EQ(points.size(), 2U);
    EXPECT_EQ(points[1].t, 1700000007.25);
    EXPECT_EQ(points[1].cpu, 25);
    EXPECT_EQ(points[1].mem, program.model->snap->memPct);
    EXPECT_GT(points[1].mem, 0);
}

TEST(Refresh, WithoutAnOwnerToTellPublishesAllTheSame) {
    Program program;
    program.model->refresh();
    program.settle();
    EXPECT_EQ(program.model->history->size(), 1U);
}

TEST(Refresh, TwoInOneTurnPublishInTheOrderOfTheCalls) {
    Program program;
    std::vector<double> loads;
    program.model->onUpdate = [&] { loads.push_back(program.model->snap->load1); };
    program.readings().load.value[0] = 1;
    program.model->refresh();
    program.readings().load.value[0] = 2;
    program.model->refresh();
    EXPECT_EQ(std::count(program.log.begin(), program.log.end(), "async"), 2);
    EXPECT_TRUE(loads.empty());
    program.settle();
    EXPECT_EQ(loads, (std::vector<double>{1, 2}));
    EXPECT_EQ(program.model->history->size(), 2U);
}

TEST(Refresh, FromWithinAnUpdatePublishesOnTheNextTurn) {
    Program program;
    std::string order;
    program.system.runLoop.onTurnEnd = [&] { order += "."; };
    program.model->onUpdate = [&] {
        order += "(";
        if (program.model->history->size() == 1) {
            program.model->refresh();
        }
        order += ")";
    };
    program.model->refresh();
    program.settle();
    EXPECT_EQ(order, "().().");
}

TEST(Refresh, SampleThatWasTakenIsPublishedThoughNoOneElseHoldsTheModel) {
    Program program;
    bool updated = false;
    program.model->onUpdate = [&] { updated = true; };
    const std::weak_ptr<Model> model = program.model;
    program.model->refresh();
    program.model.reset();
    EXPECT_FALSE(model.expired());
    program.settle();
    EXPECT_TRUE(updated);
    EXPECT_TRUE(model.expired());
}

TEST(Refresh, PublishedReadingIsNotTheNextOne) {
    Program program;
    program.model->refresh();
    program.settle();
    const Snapshot held = *program.model->snap;
    program.readings().volume.fails = true;
    program.model->refresh();
    program.settle();
    EXPECT_EQ(held.diskFreeGB, 250);
    EXPECT_EQ(program.model->snap->diskFreeGB, 0);
}

TEST(Refresh, EveryCallAppendsOnePointHoweverClose) {
    Program program;
    for (int i = 0; i < 10; ++i) {
        program.model->refresh();
        program.settle();
    }
    EXPECT_EQ(program.model->history->size(), 10U);
    program.system.clock.turn(1e9); // thirty years later nothing has gone
    program.model->refresh();
    program.settle();
    EXPECT_EQ(program.model->history->size(), 11U);
}

TEST(Refresh, KeepsExactlyTheNewestPointsUnderTheCap) {
    Program program;
    History full;
    for (std::size_t i = 0; i < kHistoryCap - 1; ++i) {
        // Ages play no part: the times run backwards.
        full.emplace_back(-static_cast<double>(i), 1, 2);
    }
    program.model->history = full;
    const auto refreshed = [&]() -> const History& {
        program.model->refresh();
        program.settle();
        return *program.model->history;
    };
    EXPECT_EQ(refreshed().size(), 43200U) << "at the cap nothing goes";
    EXPECT_EQ(program.model->history->front().id, full[0].id);
    EXPECT_EQ(refreshed().size(), 43200U) << "above it exactly the oldest goes";
    EXPECT_EQ(program.model->history->front().id, full[1].id);
    EXPECT_EQ(program.model->history->at(43197).id, full.back().id);
    EXPECT_EQ(program.model->history->back().t, program.system.clock.now());
}

TEST(Refresh, ExcessOfAnySizeGoesFromTheFront) {
    Program program;
    History tooMany;
    for (std::size_t i = 0; i < kHistoryCap + 1000; ++i) {
        tooMany.emplace_back(static_cast<double>(i), 1, 2);
    }
    program.model->history = tooMany;
    program.model->refresh();
    program.settle();
    EXPECT_EQ(program.model->history->size(), 43200U);
    EXPECT_EQ(program.model->history->front().t, 1001);
}

} // namespace
} // namespace korvel
