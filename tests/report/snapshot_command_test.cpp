#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <simdjson.h>

#include "platform/posix/child_processes.h"
#include "report/snapshot_arguments.h"

// The korvel-snapshot program itself, on the readings of the machine that runs the test.
namespace korvel {
namespace {

using platform::ChildResult;
using platform::ChildStream;

ChildResult run(const std::vector<std::string>& arguments) {
    const auto result = platform::PosixChildProcesses().run(
        KORVEL_SNAPSHOT, arguments, {ChildStream::capture, ChildStream::capture});
    return result.value_or(ChildResult{"did not start", -1});
}

TEST(SnapshotCommand, WrongUsageIsOneLineAndStatusTwo) {
    const std::vector<std::vector<std::string>> wrong = {
        {"--help", "--json"}, {"--json", "--bar"},  {"--prometheus", "--watch", "1"},
        {"--watch"},          {"--watch", "never"}, {"file"}};
    for (const auto& arguments : wrong) {
        const ChildResult result = run(arguments);
        EXPECT_EQ(result.status, 2) << testing::PrintToString(arguments);
        EXPECT_EQ(result.output, commandUsage(snapshotSyntax()) + "\n");
    }
}

TEST(SnapshotCommand, HelpAndVersionAreNoErrors) {
    const ChildResult help = run({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.output, testing::StartsWith("Usage:\n  korvel-snapshot [--json"));
    const ChildResult version = run({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.output, "korvel-snapshot " KORVEL_VERSION "\n");
}

TEST(SnapshotCommand, WhatCannotBeWrittenIsAnError) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "this system has no /dev/full";
    }
    for (const char* arguments : {"--once", "--once --json", "--help", "--version"}) {
        const std::string line = std::string("exec \"$0\" ") + arguments + " >/dev/full";
        const auto result = platform::PosixChildProcesses().run(
            "/bin/sh", {"-c", line, KORVEL_SNAPSHOT}, {ChildStream::discard, ChildStream::discard});
        ASSERT_TRUE(result);
        EXPECT_EQ(result->status, 1) << arguments;
    }
}

TEST(SnapshotCommand, JsonIsOneLineWithAWholeReading) {
    const ChildResult result = run({"--json", "--once"});
    ASSERT_EQ(result.status, 0);
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 1);
    simdjson::dom::parser parser;
    const simdjson::dom::object reading = parser.parse(result.output);
    EXPECT_GT(double(reading["memTotalGB"]), 0);
    EXPECT_GE(std::int64_t(reading["cores"]), 1);
    EXPECT_EQ(double(reading["cpuPct"]), 0) << "one sample alone knows no share of time";
    EXPECT_EQ(simdjson::dom::array(reading["factors"]).size(), 6U);
    EXPECT_GE(std::int64_t(reading["score"]), 0);
    EXPECT_LE(std::int64_t(reading["score"]), 100);
}

TEST(SnapshotCommand, ASelfCheckAgreesWithTheSystemsTools) {
    const ChildResult result = run({"--selfcheck"});
    EXPECT_EQ(result.status, 0) << result.output;
    for (const char* exact :
         {"physicalMemory [same]", "processorCount [same]", "pageSize [same]"}) {
        EXPECT_THAT(result.output, testing::HasSubstr(exact));
    }
    EXPECT_THAT(result.output, testing::HasSubstr("processes [compare]"));
}

TEST(SnapshotCommand, AReportOutsideATerminalIsPlain) {
    const ChildResult result = run({"--once"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, testing::StartsWith("● "));
    EXPECT_THAT(result.output, testing::Not(testing::HasSubstr("\x1b")));
}

} // namespace
} // namespace korvel
