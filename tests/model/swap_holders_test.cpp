#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/simulated_model.h"

namespace korvel {
namespace {

using test::SimulatedModel;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> namesOf(const std::vector<ProcInfo>& processes) {
    std::vector<std::string> names;
    for (const ProcInfo& process : processes) {
        names.push_back(process.name);
    }
    return names;
}

class SwapHolders : public testing::Test, public SimulatedModel {
  protected:
    void search() {
        model->findSwapHolders();
        settle();
    }
};

TEST_F(SwapHolders, ACandidateIsListedFromATwentiethOfAGigabyteOn) {
    addProcess(1, "just", 1, 0.05);
    addProcess(2, "under", 1, 0.0499);
    search();
    ASSERT_THAT(namesOf(*model->swapHolders), ElementsAre("just"));
    EXPECT_EQ(model->swapHolders->front().id, 1);
    EXPECT_DOUBLE_EQ(model->swapHolders->front().gb, 0.05) << "what it holds in swap, not its size";
}

TEST_F(SwapHolders, WithoutACandidateTheListIsEmptyAndTheSearchOver) {
    addProcess(1, "none", 1, 0);
    search();
    EXPECT_THAT(*model->swapHolders, IsEmpty());
    EXPECT_FALSE(*model->scanningSwap);
}

TEST_F(SwapHolders, MostComesFirstAndEqualsKeepTheOrderOfTheHeaviestList) {
    addProcess(1, "light", 1, 0.5);
    addProcess(2, "heavy", 2, 0.5);
    addProcess(3, "swapped", 0.5, 0.7);
    search();
    EXPECT_THAT(namesOf(*model->swapHolders), ElementsAre("swapped", "heavy", "light"));
}

TEST_F(SwapHolders, OnlyTheSixLargestArePublished) {
    for (std::int32_t pid = 1; pid <= 10; ++pid) {
        addProcess(pid, "p" + std::to_string(pid), 1, 0.1 * pid);
    }
    search();
    EXPECT_THAT(namesOf(*model->swapHolders), ElementsAre("p10", "p9", "p8", "p7", "p6", "p5"));
}

TEST_F(SwapHolders, OnlyTheTwelveHeaviestProcessesAreMeasured) {
    for (std::int32_t pid = 1; pid <= 13; ++pid) {
        addProcess(pid, "p" + std::to_string(pid), 20 - pid, pid == 13 ? 5 : 0.1);
    }
    platform::CallLog log;
    system.logTo(log);
    search();
    EXPECT_THAT(namesOf(*model->swapHolders), testing::Not(testing::Contains("p13")));
    EXPECT_EQ(std::count_if(log.begin(), log.end(),
                            [](const std::string& call) { return call.starts_with("swappedOut"); }),
              12);
}

TEST_F(SwapHolders, CandidatesAreTakenAtOnceAndMeasuredLater) {
    addProcess(1, "then", 1, 0.2);
    model->findSwapHolders();
    system.processes.table.clear();
    addProcess(2, "now", 1, 0.2);
    settle();
    EXPECT_THAT(namesOf(*model->swapHolders), ElementsAre("then"));
}

TEST_F(SwapHolders, AProcessThatCannotBeMeasuredIsNotListed) {
    addProcess(1, "gone", 1, 1);
    system.swappedMemory.bytes.clear();
    search();
    EXPECT_THAT(*model->swapHolders, IsEmpty());
}

TEST_F(SwapHolders, ASearchEmptiesTheOldListBeforeAnythingElse) {
    addProcess(1, "old", 1, 1);
    search();
    model->findSwapHolders();
    EXPECT_TRUE(*model->scanningSwap);
    EXPECT_THAT(*model->swapHolders, IsEmpty());
}

TEST_F(SwapHolders, ASearchIsOnBeforeItsOldListGoes) {
    addProcess(1, "old", 1, 1);
    search();
    std::vector<std::pair<bool, std::size_t>> seen; // scanning, listed, before each change
    const Observation observation = model->observe(
        [&] { seen.emplace_back(*model->scanningSwap, model->swapHolders->size()); });
    model->findSwapHolders();
    EXPECT_THAT(seen, ElementsAre(std::pair(false, 1U), std::pair(true, 1U)));
}

TEST_F(SwapHolders, CandidatesAreTakenHereMeasuredInTheBackgroundAndPublishedOnTheMainThread) {
    addProcess(1, "one", 1, 1);
    platform::CallLog log;
    system.logTo(log);
    const Observation observation = model->observe([&] { log.emplace_back("change"); });
    system.runLoop.onTurnEnd = [&] { log.emplace_back("end of a turn"); };
    model->findSwapHolders();
    settle();
    std::erase_if(log, [](const std::string& call) {
        return call != "listAllPids" && call != "background" && call != "swappedOut 1" &&
               call != "async" && call != "change" && call != "end of a turn";
    });
    EXPECT_THAT(log, ElementsAre("change", "change", "listAllPids", "background", "swappedOut 1",
                                 "async", "end of a turn", "change", "change", "end of a turn"));
}

TEST_F(SwapHolders, ASecondSearchWhileOneRunsChangesNothing) {
    addProcess(1, "one", 1, 1);
    model->findSwapHolders();
    int announced = 0;
    const Observation observation = model->observe([&] { ++announced; });
    model->findSwapHolders();
    EXPECT_EQ(announced, 0);
    platform::CallLog log;
    system.logTo(log);
    settle();
    EXPECT_EQ(std::count(log.begin(), log.end(), "swappedOut 1"), 1);
}

TEST_F(SwapHolders, TheListIsWrittenBeforeTheSearchIsOver) {
    addProcess(1, "one", 1, 1);
    model->findSwapHolders();
    std::vector<std::pair<std::size_t, bool>> seen; // listed, scanning, before each change
    const Observation observation = model->observe(
        [&] { seen.emplace_back(model->swapHolders->size(), *model->scanningSwap); });
    settle();
    EXPECT_THAT(seen, ElementsAre(std::pair(0U, true), std::pair(1U, true)));
    EXPECT_FALSE(*model->scanningSwap);
}

TEST_F(SwapHolders, TheModelLivesUntilTheSearchHasPublished) {
    addProcess(1, "one", 1, 1);
    const std::weak_ptr<Model> weak = model;
    model->findSwapHolders();
    model.reset();
    EXPECT_FALSE(weak.expired());
    settle();
    EXPECT_TRUE(weak.expired());
}

class Quit : public testing::Test, public SimulatedModel {};

TEST_F(Quit, AsksTheProcessOnceAndKeepsItListed) {
    addProcess(7, "seven", 1, 1);
    model->findSwapHolders();
    model->refresh();
    settle();
    model->quit(model->snap->topProcs.front());
    settle();
    EXPECT_THAT(system.processes.terminated, ElementsAre(7));
    EXPECT_THAT(namesOf(*model->swapHolders), ElementsAre("seven"));
    EXPECT_THAT(namesOf(model->snap->topProcs), ElementsAre("seven"));
}

TEST_F(Quit, SparesAnotherProcessThatHasGotThePidSince) {
    addProcess(7, "seven", 1, 1);
    system.processes.table.back().startTime = 100;
    model->findSwapHolders();
    model->refresh();
    settle();
    const ProcInfo listed = model->snap->topProcs.front();
    const ProcInfo holder = model->swapHolders->front();
    system.processes.table.back().startTime = 200;
    model->quit(listed);
    model->quit(holder);
    EXPECT_THAT(system.processes.terminated, IsEmpty());
    system.processes.table.back().startTime = 100;
    model->quit(holder);
    EXPECT_THAT(system.processes.terminated, ElementsAre(7));
}

TEST_F(Quit, SamplesOneAndAFifthSecondsLaterEvenWhenTheProcessIsGone) {
    model->quit({4242, "gone", 1});
    system.runLoop.advance(1.19);
    EXPECT_EQ(model->history->size(), 0U);
    system.runLoop.advance(0.02);
    EXPECT_EQ(model->history->size(), 1U);
    system.runLoop.advance(60);
    EXPECT_EQ(model->history->size(), 1U) << "one sample, and no second signal";
    EXPECT_THAT(system.processes.terminated, ElementsAre(4242));
}

TEST_F(Quit, AsksTheProcessBeforeTheSampleIsPlanned) {
    platform::CallLog log;
    addProcess(7, "seven", 1, 1);
    system.logTo(log);
    model->quit({7, "seven", 1});
    EXPECT_THAT(log, ElementsAre("currentProcessIdentifier", "terminate 7", "after 1.2"));
}

TEST_F(Quit, OfTheProgramItselfDoesNothing) {
    system.processes.ownPid = 500;
    model->quit({500, "korvel", 1});
    system.runLoop.advance(10);
    EXPECT_THAT(system.processes.terminated, IsEmpty());
    EXPECT_EQ(model->history->size(), 0U);
}

TEST_F(Quit, TheModelLivesUntilTheSampleIsTaken) {
    const std::weak_ptr<Model> weak = model;
    model->quit({7, "seven", 1});
    model.reset();
    EXPECT_FALSE(weak.expired());
    system.runLoop.advance(2);
    EXPECT_TRUE(weak.expired());
}

} // namespace
} // namespace korvel
