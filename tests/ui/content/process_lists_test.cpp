#include "ui/content/process_lists.h"

#include <gtest/gtest.h>

#include "core/snapshot.h"
#include "platform/simulated/services.h"

namespace korvel {
namespace {

class ProcessLists : public testing::Test {
  protected:
    platform::SimulatedServices system;
    std::int32_t own = system.processes.currentProcessIdentifier();
};

TEST_F(ProcessLists, HeaviestShowsEachProcessInOrderWithItsQuitTip) {
    Snapshot snap;
    snap.topProcs = {{7, "<b>x</b> %s {}", 3.425}, {9, "", 1}};
    const auto lines = heaviestOf(snap, system.processes);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].id, 7);
    EXPECT_EQ(lines[0].name, "<b>x</b> %s {}");
    EXPECT_EQ(lines[0].size, "3.42 GB");
    ASSERT_TRUE(lines[0].quit && lines[1].quit);
    EXPECT_EQ(lines[0].quit->label, "Quit <b>x</b> %s {}");
    EXPECT_EQ(lines[0].quit->tooltip, "Quit <b>x</b> %s {}. Sends SIGTERM so it closes cleanly");
    EXPECT_EQ(lines[1].quit->tooltip, "Quit . Sends SIGTERM so it closes cleanly");
}

TEST_F(ProcessLists, TheProgramItselfCannotBeQuitThere) {
    Snapshot snap;
    snap.topProcs = {{own, "korvel", 0.05}};
    EXPECT_FALSE(heaviestOf(snap, system.processes)[0].quit);
    EXPECT_FALSE(swapHoldersOf(snap.topProcs, false, system.processes).holders[0].quit);
}

TEST_F(ProcessLists, HeaviestIsEmptyWithoutProcesses) {
    EXPECT_TRUE(heaviestOf({}, system.processes).empty());
}

TEST_F(ProcessLists, HoldersAreAButtonUntilThereAreSome) {
    const auto idle = swapHoldersOf({}, false, system.processes);
    EXPECT_EQ(idle.button, "what's holding it");
    EXPECT_FALSE(idle.scanning);
    EXPECT_TRUE(idle.holders.empty() && idle.note.empty());
    const auto scanning = swapHoldersOf({}, true, system.processes);
    EXPECT_EQ(scanning.button, "checking\u2026");
    EXPECT_TRUE(scanning.scanning);
}

TEST_F(ProcessLists, ListedHoldersTakeTheButtonsPlaceEvenDuringAScan) {
    for (const bool scanning : {false, true}) {
        const auto block = swapHoldersOf({{7, "firefox", 1.25}}, scanning, system.processes);
        EXPECT_EQ(block.button, "");
        ASSERT_EQ(block.holders.size(), 1u);
        EXPECT_EQ(block.holders[0].name, "firefox");
        EXPECT_EQ(block.holders[0].size, "1.2 GB");
        ASSERT_TRUE(block.holders[0].quit);
        EXPECT_EQ(block.holders[0].quit->label, "Quit firefox");
        EXPECT_EQ(block.holders[0].quit->tooltip, "Quit this app to free its swap");
        EXPECT_EQ(block.note, "Quitting one frees its swap straight away. No restart needed.");
    }
}

} // namespace
} // namespace korvel
