#include "report/self_check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/child_processes.h"

namespace korvel {
namespace {

using platform::ChildResult;
using testing::HasSubstr;
using testing::Not;

class SelfChecked : public testing::Test {
  protected:
    /// The self-check of one reading, when its tool says this.
    SelfCheck check(Comparison comparison, std::optional<ChildResult> answer) {
        comparison.tool = "/usr/bin/tool";
        children.answers["/usr/bin/tool"] = [answer](const auto&) { return answer; };
        return selfCheck({comparison}, {}, {}, children);
    }

    platform::SimulatedChildProcesses children;
};

TEST_F(SelfChecked, BothSidesAreShownWithTheCommand) {
    const SelfCheck shown = check({"loadAverages", "1.00 2.00 3.00", "", {"-n", "vm.loadavg"}},
                                  ChildResult{"{ 1.01 2.00 3.00 }\n", 0});
    EXPECT_EQ(shown.text, "loadAverages [compare]\n  korvel: 1.00 2.00 3.00\n"
                          "  /usr/bin/tool -n vm.loadavg:\n    { 1.01 2.00 3.00 }\n"
                          "Nothing that has to be the same differs.\n");
    EXPECT_TRUE(shown.passed);
    EXPECT_EQ(children.runs.front().arguments, (std::vector<std::string>{"-n", "vm.loadavg"}));
}

TEST_F(SelfChecked, WhatHasToBeTheSameIsJudgedByItsFirstNumber) {
    struct Case {
        const char* ours;
        const char* theirs;
        bool same;
    };
    const Comparison exact{"physicalMemory", "", "", {}, {}, true};
    for (const Case& given : std::vector<Case>{{"16384 bytes", "16384\n", true},
                                               {"16384 bytes", "page size of 16384 bytes", true},
                                               {"16384 bytes", "4096\n", false},
                                               {"16384 bytes", "163840\n", false},
                                               {"none", "", false},
                                               {"16384 bytes", "", false},
                                               {"16384 bytes", "no number", false}}) {
        Comparison comparison = exact;
        comparison.ours = given.ours;
        const SelfCheck shown = check(comparison, ChildResult{given.theirs, 0});
        EXPECT_EQ(shown.passed, given.same) << given.ours << " and " << given.theirs;
        EXPECT_THAT(shown.text, HasSubstr(given.same ? "[same]" : "[DIFFERS]"));
    }
}

TEST_F(SelfChecked, AToolThatDoesNotRunAgreesWithNothing) {
    EXPECT_FALSE(check({"pageSize", "4096 bytes", "", {}, {}, true}, std::nullopt).passed);
    const SelfCheck looked = check({"pageSize", "4096 bytes", "", {}}, std::nullopt);
    EXPECT_TRUE(looked.passed);
    EXPECT_THAT(looked.text, HasSubstr("(it says nothing)"));
}

TEST_F(SelfChecked, OnlyTheWantedLinesOfALongAnswerAreShown) {
    const SelfCheck shown = check({"swapUsage", "0", "", {}, {"Swap:", "swap"}},
                                  ChildResult{"Mem: 1\nSwap: 2\nno swap\nSwAp", 0});
    EXPECT_THAT(shown.text, HasSubstr(":\n    Swap: 2\n    no swap\nNothing"));
    std::string lines;
    for (int line = 1; line <= 40; ++line) {
        lines += "line " + std::to_string(line) + "\n";
    }
    const SelfCheck first = check({"processes", "40", "", {}}, ChildResult{lines, 0});
    EXPECT_THAT(first.text, HasSubstr("line 12\n"));
    EXPECT_THAT(first.text, Not(HasSubstr("line 13\n")));
}

TEST_F(SelfChecked, NoNameDrivesTheTerminal) {
    const SelfCheck shown =
        check({"processes", "1 listed; \x1b[2J", "", {}}, ChildResult{"1 \x1b]0;x\a \xff", 0});
    EXPECT_THAT(shown.text, Not(HasSubstr("\x1b")));
    EXPECT_THAT(shown.text, HasSubstr("1 ?]0;x? \xef\xbf\xbd"));
}

TEST_F(SelfChecked, AClassOrMethodThatIsNotAsDeclaredFails) {
    const SelfCheck shown = selfCheck({}, {"NSStatusBar is missing"}, {}, children);
    EXPECT_FALSE(shown.passed);
    EXPECT_THAT(shown.text, HasSubstr("NSStatusBar is missing\n"));
    EXPECT_THAT(shown.text, HasSubstr("Something that has to be the same differs."));
}

TEST_F(SelfChecked, WhatAPersonIsToLookAtComesLastAndIsNoFault) {
    const SelfCheck shown = selfCheck({}, {}, {"the item", "the popover"}, children);
    EXPECT_EQ(shown.text, "Nothing that has to be the same differs.\n"
                          "To be looked at by a person:\n  1. the item\n  2. the popover\n");
    EXPECT_TRUE(shown.passed);
    EXPECT_EQ(selfCheck({}, {}, {}, children).text, "Nothing that has to be the same differs.\n");
}

TEST(FirstNumber, IsTheFirstRunOfDigits) {
    EXPECT_EQ(firstNumber("page size of 16384 bytes, 3"), "16384");
    EXPECT_EQ(firstNumber("0"), "0");
    EXPECT_EQ(firstNumber("none"), "");
    EXPECT_EQ(firstNumber(""), "");
    EXPECT_EQ(firstNumber("{ sec = 1700000000, usec = 1 }"), "1700000000");
}

} // namespace
} // namespace korvel
