#include "report/snapshot_arguments.h"

#include <gtest/gtest.h>

namespace korvel {
namespace {

using Format = SnapshotArguments::Format;

std::optional<SnapshotArguments> parsed(const std::vector<std::string>& words) {
    const auto read = readCommand(snapshotSyntax(), words);
    return read ? std::optional(snapshotArguments(*read)) : std::nullopt;
}

TEST(SnapshotArguments, WithoutAnyAReportOfTwoSamplesIsAskedFor) {
    const auto arguments = parsed({});
    ASSERT_TRUE(arguments);
    EXPECT_EQ(arguments->format, Format::report);
    EXPECT_FALSE(arguments->once);
    EXPECT_FALSE(arguments->watchInterval);
}

TEST(SnapshotArguments, GoTogetherInAnyOrder) {
    const auto arguments = parsed({"--watch", "2.5", "--once", "--bar"});
    ASSERT_TRUE(arguments);
    EXPECT_EQ(arguments->format, Format::bar);
    EXPECT_TRUE(arguments->once);
    EXPECT_EQ(arguments->watchInterval, 2.5);
    EXPECT_EQ(parsed({"--json"})->format, Format::json);
    EXPECT_EQ(parsed({"--once", "--prometheus"})->format, Format::prometheus);
}

TEST(SnapshotArguments, OfTwoIntervalsTheLastCounts) {
    EXPECT_EQ(parsed({"--watch", "2", "--once", "--watch", "5"})->watchInterval, 5);
}

TEST(SnapshotArguments, ASelfCheckStandsAlone) {
    EXPECT_TRUE(parsed({"--selfcheck"})->selfcheck);
    EXPECT_FALSE(parsed({"--selfcheck", "--once"}));
    EXPECT_FALSE(parsed({"--once", "--selfcheck"}));
    EXPECT_FALSE(parsed({})->selfcheck);
}

TEST(SnapshotArguments, WrongOnesAreRefused) {
    const std::vector<std::vector<std::string>> wrong = {
        {"--help", "--once"},
        {"extra"},
        {""},
        {"--json=1"},
        {"--json", "--bar"},
        {"--bar", "--json"},
        {"--watch"},
        {"--watch", ""},
        {"--watch", "soon"},
        {"--watch", "-1"},
        {"--watch", "0"},
        {"--watch", "0.05"},
        {"--watch", "1e3"},
        {"--watch", "86401"},
        {"--watch", "--json"},
        {"--prometheus", "--json"},
        {"--prometheus", "--watch", "5"},
        {"--watch", "5", "--prometheus"},
    };
    for (const auto& words : wrong) {
        EXPECT_FALSE(parsed(words)) << testing::PrintToString(words);
    }
    EXPECT_TRUE(parsed({"--watch", "0.1"}));
    EXPECT_TRUE(parsed({"--watch", "86400"}));
}

} // namespace
} // namespace korvel
