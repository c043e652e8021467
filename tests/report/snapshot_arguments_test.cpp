#include "report/snapshot_arguments.h"

#include <gtest/gtest.h>

namespace korvel {
namespace {

using Format = SnapshotArguments::Format;

TEST(SnapshotArguments, WithoutAnyAReportOfTwoSamplesIsAskedFor) {
    const auto arguments = parseSnapshotArguments({});
    ASSERT_TRUE(arguments);
    EXPECT_EQ(arguments->format, Format::report);
    EXPECT_FALSE(arguments->once);
    EXPECT_FALSE(arguments->watchInterval);
}

TEST(SnapshotArguments, GoTogetherInAnyOrder) {
    const auto arguments = parseSnapshotArguments({"--watch", "2.5", "--once", "--bar"});
    ASSERT_TRUE(arguments);
    EXPECT_EQ(arguments->format, Format::bar);
    EXPECT_TRUE(arguments->once);
    EXPECT_EQ(arguments->watchInterval, 2.5);
    EXPECT_EQ(parseSnapshotArguments({"--json"})->format, Format::json);
    EXPECT_EQ(parseSnapshotArguments({"--once", "--prometheus"})->format, Format::prometheus);
}

TEST(SnapshotArguments, ASelfCheckStandsAlone) {
    EXPECT_TRUE(parseSnapshotArguments({"--selfcheck"})->selfcheck);
    EXPECT_FALSE(parseSnapshotArguments({"--selfcheck", "--once"}));
    EXPECT_FALSE(parseSnapshotArguments({"--once", "--selfcheck"}));
    EXPECT_FALSE(parseSnapshotArguments({})->selfcheck);
}

TEST(SnapshotArguments, WrongOnesAreRefused) {
    const std::vector<std::vector<std::string>> wrong = {
        {"--help"},
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
        EXPECT_FALSE(parseSnapshotArguments(words)) << testing::PrintToString(words);
    }
    EXPECT_TRUE(parseSnapshotArguments({"--watch", "0.1"}));
    EXPECT_TRUE(parseSnapshotArguments({"--watch", "86400"}));
}

} // namespace
} // namespace korvel
