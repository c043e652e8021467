#include "platform/simulated/child_processes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace korvel::platform {
namespace {

using testing::ElementsAre;

TEST(SimulatedChildProcesses, AnUnlistedExecutableCannotBeStartedButIsRemembered) {
    SimulatedChildProcesses children;
    EXPECT_EQ(children.run("/bin/none", {"-x"}, {}), std::nullopt);
    EXPECT_THAT(children.runs, ElementsAre(SimulatedChildProcesses::Run{"/bin/none", {"-x"}}));
}

TEST(SimulatedChildProcesses, AnswersByExecutableAndArguments) {
    SimulatedChildProcesses children;
    children.answers["/bin/echo"] = [](const SimulatedChildProcesses::Arguments& arguments) {
        return std::optional(ChildResult{arguments.front() + "\n", 3});
    };
    const auto result = children.run("/bin/echo", {"word"}, {});
    ASSERT_TRUE(result);
    EXPECT_EQ(result->output, "word\n");
    EXPECT_EQ(result->status, 3);
}

} // namespace
} // namespace korvel::platform
