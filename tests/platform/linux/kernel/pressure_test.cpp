#include "platform/linux/kernel/pressure.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace korvel::platform {
namespace {

TEST(MemoryStall, ReadsTheTenSecondAverages) {
    const auto stall = parseMemoryStall("some avg10=12.50 avg60=1.00 avg300=0.10 total=8812203\n"
                                        "full avg10=3.25 avg60=0.50 avg300=0.01 total=4410221\n");
    ASSERT_TRUE(stall);
    EXPECT_EQ(stall->some, 12.5);
    EXPECT_EQ(stall->full, 3.25);
}

TEST(MemoryStall, UnknownFieldsAndLinesArePassedOverAndTheFirstOfTwoCounts) {
    const auto stall = parseMemoryStall("most avg10=1.00\nsome avg5=9.00 avg10=2.00 avg10=7.00\n"
                                        "some avg10=8.00\nfull avg10=100.00\n");
    ASSERT_TRUE(stall);
    EXPECT_EQ(stall->some, 2);
    EXPECT_EQ(stall->full, 100);
}

TEST(MemoryStall, WithoutBothFiguresThereIsNone) {
    const std::string some = "some avg10=1.00 avg60=0.00 avg300=0.00 total=0\n";
    struct Case {
        const char* name;
        std::string text;
    };
    for (const Case& c : std::vector<Case>{
             {"empty", ""},
             {"garbage", "\xff\xfe\n\n"},
             {"one line only", some},
             {"cut in the number", some + "full avg10=1"},
             {"cut before the newline", some + "full avg10=1.00 avg60=0.00"},
             {"no avg10", some + "full avg60=1.00\n"},
             {"text", some + "full avg10=none\n"},
             {"not a number", some + "full avg10=nan\n"},
             {"infinite", some + "full avg10=inf\n"},
             {"negative", some + "full avg10=-1.00\n"},
             {"more than all", some + "full avg10=100.01\n"},
             {"a comma", some + "full avg10=1,00\n"},
             {"a bad figure before a good one", some + "full avg10=x avg10=1.00\n"},
         }) {
        EXPECT_FALSE(parseMemoryStall(c.text)) << c.name;
    }
}

PressureFigures stalled(double some, double full, std::uint64_t available = 40) {
    PressureFigures figures;
    figures.stall = MemoryStall{some, full};
    figures.memTotal = 100;
    figures.memAvailable = available;
    return figures;
}

PressureFigures available(std::uint64_t percent, std::uint64_t swapTotal = 0,
                          std::uint64_t swapFree = 0) {
    PressureFigures figures;
    figures.memTotal = 1000;
    figures.memAvailable = percent * 10;
    figures.swapTotal = swapTotal;
    figures.swapFree = swapFree;
    return figures;
}

struct Step {
    PressureFigures figures;
    int level;
};

struct Walk {
    const char* name;
    std::vector<Step> steps;
};

void expectLevels(const std::vector<Walk>& walks) {
    for (const Walk& walk : walks) {
        PressureRule rule;
        for (std::size_t i = 0; i < walk.steps.size(); ++i) {
            EXPECT_EQ(rule.level(walk.steps[i].figures), walk.steps[i].level)
                << walk.name << ", step " << i;
        }
    }
}

TEST(PressureRule, ALevelIsEnteredAtItsThreshold) {
    expectLevels({
        {"no stall", {{stalled(0, 0), 1}}},
        {"just below", {{stalled(9.99, 4.99), 1}}},
        {"some at 10", {{stalled(10, 0), 2}}},
        {"full at 5", {{stalled(5, 5), 2}}},
        {"full just below 10", {{stalled(60, 9.99), 2}}},
        {"full at 10", {{stalled(10, 10), 4}}},
        {"everything stalled", {{stalled(100, 100), 4}}},
    });
}

TEST(PressureRule, ALevelIsLeftOnlyUnderHalfOfItsThreshold) {
    expectLevels({
        {"warning by some",
         {{stalled(10, 0), 2}, {stalled(5, 0), 2}, {stalled(4.99, 0), 1}, {stalled(9.99, 0), 1}}},
        {"warning by full", {{stalled(6, 5), 2}, {stalled(3, 2.5), 2}, {stalled(2.49, 2.49), 1}}},
        {"critical, then warning, then normal",
         {{stalled(20, 10), 4},
          {stalled(20, 5), 4},
          {stalled(6, 4.99), 2},
          {stalled(6, 9.99), 2},
          {stalled(4, 2.4), 1}}},
        {"critical straight to normal", {{stalled(20, 10), 4}, {stalled(1, 0), 1}}},
    });
}

TEST(PressureRule, StallsDoNotCountWhileHalfOfTheMemoryIsAvailable) {
    expectLevels({
        {"half", {{stalled(90, 90, 50), 1}}},
        {"just under half", {{stalled(90, 90, 49), 4}}},
        {"regained", {{stalled(90, 90, 20), 4}, {stalled(90, 90, 60), 1}}},
    });
}

constexpr std::uint64_t kGiB = std::uint64_t{1} << 30;

/// A machine whose tasks do not stall.
PressureFigures quiet(double availableGiB, double totalGiB = 100, double swapTotalGiB = 0,
                      double swapFreeGiB = 0) {
    const auto bytes = [](double size) {
        return static_cast<std::uint64_t>(size * static_cast<double>(kGiB));
    };
    PressureFigures figures;
    figures.stall = MemoryStall{0, 0};
    figures.memTotal = bytes(totalGiB);
    figures.memAvailable = bytes(availableGiB);
    figures.swapTotal = bytes(swapTotalGiB);
    figures.swapFree = bytes(swapFreeGiB);
    return figures;
}

TEST(PressureRule, AQuietMachineIsAtTheLevelOfWhatIsAvailable) {
    expectLevels({
        {"a full cache", {{quiet(70), 1}}},
        {"a set that fits exactly", {{quiet(10), 1}}},
        {"at a twentieth", {{quiet(5), 1}}},
        {"under a twentieth, no swap", {{quiet(4.9), 2}}},
        {"under a twentieth, swap free", {{quiet(4.9, 100, 50, 50), 2}}},
        {"at 3 percent, no swap", {{quiet(3), 2}}},
        {"under 3 percent, no swap", {{quiet(2.9), 4}}},
        {"under 3 percent, swap free", {{quiet(2.9, 100, 50, 50), 2}}},
        {"0.2 of 16 GiB, no swap", {{quiet(0.2, 16), 4}}},
        {"0.2 of 16 GiB, swap free", {{quiet(0.2, 16, 8, 6), 2}}},
        {"none", {{quiet(0), 4}}},
    });
}

TEST(PressureRule, HardlyAnySwapIsATenthOfItOrLessThanTheCriticalShareOfMemory) {
    expectLevels({
        {"a tenth", {{quiet(1, 100, 50, 5), 2}}},
        {"under a tenth", {{quiet(1, 100, 50, 4.9), 4}}},
        {"a small swap, all of it free", {{quiet(1, 100, 3, 3), 2}}},
        {"a smaller one", {{quiet(1, 100, 2.9, 2.9), 4}}},
    });
}

TEST(PressureRule, AQuietLevelIsLeftAtOneAndAHalfTimesItsThreshold) {
    expectLevels({
        {"warning", {{quiet(4.9), 2}, {quiet(7.4), 2}, {quiet(7.5), 1}, {quiet(5), 1}}},
        {"critical", {{quiet(2.9), 4}, {quiet(4.4), 4}, {quiet(4.5), 2}, {quiet(3), 2}}},
        {"critical with swap",
         {{quiet(1, 100, 50, 4), 4}, {quiet(1, 100, 50, 7.4), 4}, {quiet(1, 100, 50, 7.5), 2}}},
    });
}

TEST(PressureRule, OnLargeMachinesBytesDecide) {
    expectLevels({
        {"1 percent of 512 GiB", {{quiet(5.12, 512), 2}}},
        {"8 of 512 GiB", {{quiet(8, 512), 1}}},
        {"under 4 of 512 GiB", {{quiet(3.9, 512), 4}}},
        {"left at 12", {{quiet(7.9, 512), 2}, {quiet(11.9, 512), 2}, {quiet(12, 512), 1}}},
    });
    PressureFigures untold = quiet(8, 512);
    untold.stall.reset();
    expectLevels({{"without stall figures", {{untold, 1}}}});
}

TEST(PressureRule, TheLevelIsTheWorseOfStallsAndAvailabilityAndNeitherHoldsTheOther) {
    const auto both = [](double full, double availableGiB) {
        PressureFigures figures = quiet(availableGiB);
        figures.stall = MemoryStall{full, full};
        return figures;
    };
    expectLevels({
        {"stalls are worse", {{both(10, 4), 4}}},
        {"availability is worse", {{both(5, 2), 4}}},
        {"a level by availability does not hold the one by stalls",
         {{both(0, 2), 4}, {both(9, 40), 2}, {both(2.4, 40), 1}}},
        {"a level by stalls does not hold the one by availability",
         {{both(10, 6), 4}, {both(0, 6), 1}, {both(0, 4.9), 2}}},
        {"with half of the memory to spare", {{both(90, 50), 1}}},
    });
}

TEST(PressureRule, SwapIsLookedAtOnlyWhereItCanDecide) {
    EXPECT_TRUE(PressureRule::looksAtSwap(quiet(4.4)));
    EXPECT_FALSE(PressureRule::looksAtSwap(quiet(4.5)));
    EXPECT_TRUE(PressureRule::looksAtSwap(available(9)));
    EXPECT_FALSE(PressureRule::looksAtSwap(available(10)));
}

TEST(PressureRule, WithoutStallFiguresAvailableMemoryDecides) {
    expectLevels({
        {"at a tenth", {{available(10), 1}}},
        {"under a tenth", {{available(9), 2}}},
        {"at a twentieth", {{available(5), 2}}},
        {"under a twentieth, no swap", {{available(4), 4}}},
        {"under a twentieth, swap left", {{available(4, 1000, 100), 2}}},
        {"under a twentieth, swap nearly full", {{available(4, 1000, 99), 4}}},
        {"none", {{available(0), 4}}},
    });
}

TEST(PressureRule, ALevelByAvailableMemoryIsLeftOnlyAtTwiceItsThreshold) {
    expectLevels({
        {"warning",
         {{available(9), 2}, {available(19), 2}, {available(20), 1}, {available(10), 1}}},
        {"critical",
         {{available(4), 4}, {available(9), 4}, {available(10), 2}, {available(20), 1}}},
        {"critical with swap",
         {{available(4, 1000, 50), 4}, {available(4, 1000, 199), 4}, {available(4, 1000, 200), 2}}},
    });
}

TEST(PressureRule, StallFiguresThatComeAndGoAreFollowed) {
    expectLevels({{"both", {{available(9), 2}, {stalled(0, 0), 1}, {available(4), 4}}}});
}

} // namespace
} // namespace korvel::platform
