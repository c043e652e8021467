#include "ui/content/popover_content.h"

#include <gtest/gtest.h>

namespace korvel {
namespace {

TEST(PopoverContent, TheTextsThatNeverChangeAreThese) {
    EXPECT_STREQ(PopoverContent::kFootnote, "points lost, out of 100");
    EXPECT_STREQ(PopoverContent::kHeaviestCaption, "HEAVIEST");
    EXPECT_STREQ(PopoverContent::kKeepAwake, "Keep awake");
    EXPECT_STREQ(PopoverContent::kKeepAwakeTooltip, "Stops the display and system idle-sleeping. "
                                                    "Always released when Korvel quits.");
    EXPECT_STREQ(PopoverContent::kFindHoldersDescription, "Finds the processes that hold swap");
    EXPECT_STREQ(PopoverContent::kDismiss, "Dismiss");
}

TEST(PopoverContent, AnEmptyOneOffersNothing) {
    const PopoverContent content;
    EXPECT_EQ(content.header.colour, Ink::bad) << "that of the score 0";
    EXPECT_FALSE(content.header.breakdownShown);
    EXPECT_FALSE(content.swapHolders.scanning);
    EXPECT_FALSE(content.keepAwake.on);
    EXPECT_FALSE(content.footer.reclaim.semibold);
    EXPECT_FALSE(content.footer.reclaim.dismissible);
    EXPECT_EQ(content.footer.reclaim.action, PopoverContent::ReclaimButton::Action::none);
    EXPECT_EQ(PopoverContent::StatusLine().textStyle, Ink::secondary);
    EXPECT_EQ(PopoverContent::ProcessLine().id, 0) << "no process";
}

} // namespace
} // namespace korvel
