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
