#include "simulation/trace.h"

#include <string>

#include <gtest/gtest.h>

#include "app/status_title.h"
#include "core/metrics.h"
#include "core/snapshot.h"
#include "simulation/traced_run.h"
#include "ui/content/palette.h"

namespace korvel::simulation {
namespace {

class TraceTest : public testing::Test {
  protected:
    double now = 2.5;
    std::string printed;
    Trace trace{[this] { return now; }, [this](std::string_view line) { printed += line; }};
};

TEST_F(TraceTest, ATitleNamesTheColourOfEachRun) {
    trace.title(statusTitle(72, true));
    EXPECT_EQ(printed, R"({"t":2.5,"what":"title","text":"● ☕ 72","runs":[)"
                       R"({"text":"●","size":9,"colour":"good"},)"
                       R"({"text":" ☕","size":10,"colour":"secondary"},)"
                       R"({"text":" 72","size":12,"colour":null}]})"
                       "\n");
}

TEST_F(TraceTest, APopoverSaysWhetherItIsShown) {
    trace.popover(true);
    trace.popover(false);
    EXPECT_EQ(printed, "{\"t\":2.5,\"what\":\"popover\",\"shown\":true}\n"
                       "{\"t\":2.5,\"what\":\"popover\",\"shown\":false}\n");
}

TEST_F(TraceTest, ASpawnHasTheExecutableAndEachArgument) {
    trace.spawn("/bin/sh", {"-c", "say \"x\""});
    EXPECT_EQ(printed, R"({"t":2.5,"what":"spawn","executable":"/bin/sh",)"
                       R"("arguments":["-c","say \"x\""]})"
                       "\n");
}

TEST_F(TraceTest, TimesAreInShortestForm) {
    now = 0;
    trace.exit("until");
    now = 86400;
    trace.exit("until");
    now = 0.1;
    trace.exit("until");
    EXPECT_EQ(printed, "{\"t\":0,\"what\":\"exit\",\"reason\":\"until\"}\n"
                       "{\"t\":86400,\"what\":\"exit\",\"reason\":\"until\"}\n"
                       "{\"t\":0.1,\"what\":\"exit\",\"reason\":\"until\"}\n");
}

TEST_F(TraceTest, AWrittenFileOf65536BytesIsShownWhole) {
    const std::string text(65536, 'x');
    trace.wrote("f", text);
    const TraceLine line = traceLines(printed).front();
    EXPECT_EQ(line.number("/bytes"), 65536);
    EXPECT_EQ(line.string("/text"), text);
}

TEST_F(TraceTest, ALongerFileIsShownFromItsBeginning) {
    trace.wrote("f", std::string(65536, 'x') + "y");
    const TraceLine line = traceLines(printed).front();
    EXPECT_EQ(line.number("/bytes"), 65537);
    EXPECT_EQ(line.string("/text"), std::string(65536, 'x'));
}

TEST_F(TraceTest, TheCutNeverSplitsACharacter) {
    trace.wrote("f", std::string(65534, 'x') + "€€");
    const TraceLine line = traceLines(printed).front();
    EXPECT_EQ(line.number("/bytes"), 65540);
    EXPECT_EQ(line.string("/text"), std::string(65534, 'x'));
}

TEST_F(TraceTest, ASnapshotIsOneLineWithItsMembersBesideTheTime) {
    Snapshot snapshot;
    snapshot.topProcs = {{7, "two\nlines", 1.5}};
    Metrics::score(snapshot);
    trace.snapshot(snapshot);
    const TraceLines lines = traceLines(printed);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].t(), 2.5);
    EXPECT_EQ(lines[0].what(), "snapshot");
    EXPECT_EQ(lines[0].string("/topProcs/0/name"), "two\nlines");
    EXPECT_EQ(lines[0].json("/runaway"), "null");
}

} // namespace
} // namespace korvel::simulation
