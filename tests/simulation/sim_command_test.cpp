#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/posix/child_processes.h"
#include "platform/posix/files.h"
#include "simulation/traced_run.h"

namespace korvel::simulation {
namespace {

using platform::ChildResult;
using platform::ChildStream;
using testing::IsEmpty;

constexpr platform::ChildStreams kOutput{ChildStream::capture, ChildStream::discard};
constexpr platform::ChildStreams kErrors{ChildStream::discard, ChildStream::capture};

/// Runs the program itself, on scenarios that are written to a folder of the test's own.
class SimCommand : public testing::Test {
  protected:
    SimCommand() { std::filesystem::create_directory(folder_); }
    ~SimCommand() override { std::filesystem::remove_all(folder_); }

    std::string scenario(const std::string& json) {
        std::string path = folder_ / "scenario.json";
        EXPECT_TRUE(platform::PosixFiles().write(path, json));
        return path;
    }

    ChildResult run(const std::vector<std::string>& arguments, platform::ChildStreams streams) {
        const auto result = platform::PosixChildProcesses().run(KORVEL_SIM, arguments, streams);
        EXPECT_TRUE(result);
        return result.value_or(ChildResult{});
    }

    std::filesystem::path folder_ =
        std::filesystem::path(testing::TempDir()) /
        ("korvel-sim." +
         std::string(testing::UnitTest::GetInstance()->current_test_info()->name()));
};

TEST_F(SimCommand, PrintsTheTraceAndNothingElse) {
    const char* json = R"({"until": 6, "events": [{"at": 2, "do": "togglePopover"}]})";
    const std::string path = scenario(json);
    const ChildResult printed = run({path}, kOutput);
    EXPECT_EQ(printed.status, 0);
    EXPECT_EQ(printed.output, traceOf(json));
    EXPECT_THAT(run({path}, kErrors).output, IsEmpty());
}

TEST_F(SimCommand, AWrongScenarioIsOneLineThatNamesTheKeyAndStatusTwo) {
    const std::string path = scenario(R"({"machine": {"vm": {"frei": 1}}})");
    const ChildResult errors = run({path}, kErrors);
    EXPECT_EQ(errors.status, 2);
    EXPECT_EQ(errors.output, "korvel-sim: " + path + ": unknown key \"machine.vm.frei\"\n");
    EXPECT_THAT(run({path}, kOutput).output, IsEmpty());
}

TEST_F(SimCommand, AnEmptyScenarioFileIsRefused) {
    const ChildResult errors = run({scenario("")}, kErrors);
    EXPECT_EQ(errors.status, 2);
    EXPECT_THAT(errors.output, testing::HasSubstr("no valid JSON"));
}

TEST_F(SimCommand, AFileThatCannotBeReadIsRefused) {
    for (const std::string& path : {(folder_ / "none.json").string(), folder_.string()}) {
        const ChildResult errors = run({path}, kErrors);
        EXPECT_EQ(errors.status, 2);
        EXPECT_EQ(errors.output, "korvel-sim: cannot read " + path + "\n");
    }
}

TEST_F(SimCommand, WrongArgumentsPrintTheUsage) {
    const std::string path = scenario("{}");
    const std::vector<std::vector<std::string>> wrong = {{},     {path, path}, {"--until", "5"},
                                                         {"-x"}, {""},         {"--help", path}};
    for (const std::vector<std::string>& arguments : wrong) {
        const ChildResult errors = run(arguments, kErrors);
        EXPECT_EQ(errors.status, 2) << testing::PrintToString(arguments);
        EXPECT_EQ(errors.output, "usage: korvel-sim SCENARIO.json | --help | --version\n")
            << testing::PrintToString(arguments);
        EXPECT_THAT(run(arguments, kOutput).output, IsEmpty()) << testing::PrintToString(arguments);
    }
}

TEST_F(SimCommand, HelpAndVersionGoToStandardOutput) {
    const ChildResult help = run({"--help"}, kOutput);
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.output, testing::StartsWith("Usage:\n  korvel-sim SCENARIO.json\n"));
    const ChildResult version = run({"--version"}, kOutput);
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.output, "korvel-sim " KORVEL_VERSION "\n");
}

TEST_F(SimCommand, AShortHistoryRowIsFatalAtLaunch) {
    const ChildResult result =
        run({scenario(R"({"home": {".korvel-history.json": "[[1,2,3],[4,5]]"}})")}, kOutput);
    EXPECT_EQ(result.status, -SIGABRT);
    EXPECT_EQ(result.output, "{\"t\":0,\"what\":\"exit\",\"reason\":\"fatal\"}\n");
}

TEST_F(SimCommand, ACounterThatRunsBackIsFatalAndTheTraceUntilThenIsWhole) {
    const ChildResult result =
        run({scenario(R"({"events": [{"at": 3, "set": {"cpuTicks": [1, 1, 1, 0]}}]})")}, kOutput);
    EXPECT_EQ(result.status, -SIGABRT);
    const TraceLines lines = traceLines(result.output);
    EXPECT_THAT(timesOf(lines, "snapshot"), testing::ElementsAre(0, 1));
    EXPECT_EQ(lines.back().text(), R"({"t":5,"what":"exit","reason":"fatal"})");
    EXPECT_THAT(kindsAt(lines, 5), testing::ElementsAre("exit"));
}

TEST_F(SimCommand, RunsEverySampleScenarioTheSameWayTwice) {
    for (const char* folder : {KORVEL_FIXTURES "/scenarios", KORVEL_SCENARIOS}) {
        int count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            ++count;
            const std::string path = entry.path().string();
            const ChildResult first = run({path}, kOutput);
            EXPECT_EQ(first.status, 0) << path;
            EXPECT_EQ(traceLines(first.output).back().what(), "exit") << path;
            EXPECT_EQ(first.output, run({path}, kOutput).output) << path;
        }
        EXPECT_GE(count, 4) << folder;
    }
}

TEST_F(SimCommand, AFullOutputIsAnError) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "this system has no /dev/full";
    }
    const auto result = platform::PosixChildProcesses().run(
        "/bin/sh", {"-c", "\"$0\" \"$1\" > /dev/full", KORVEL_SIM, scenario("{}")}, kErrors);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 1);
    EXPECT_EQ(result->output, "korvel-sim: cannot write to standard output\n");
}

} // namespace
} // namespace korvel::simulation
