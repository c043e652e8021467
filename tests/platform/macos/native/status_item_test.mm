#include "platform/macos/macos_status_bar.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/status_title.h"
#include "platform/macos/macos_application.h"
#import "platform/macos/native/kit/on_appkit.h"

namespace korvel {
namespace {

using platform::MacosApplication;
using platform::MacosStatusBar;
using platform::StatusItem;
using testing::ElementsAre;
using testing::IsEmpty;

class StatusItemOnAppKit : public testing::Test {
  protected:
    StatusItemOnAppKit() { make(); }

    void make() { item = bar.makeStatusItem(); }

    NSStatusBarButton* button() const { return kit::buttonOf(*item); }

    MacosApplication application;
    MacosStatusBar bar{application};
    std::unique_ptr<StatusItem> item;
};

TEST_F(StatusItemOnAppKit, IsAsWideAsItsTitle) {
    ASSERT_EQ(kit::desktop().items.size(), 1U);
    EXPECT_EQ(kit::desktop().items.front().length, -1);
}

TEST_F(StatusItemOnAppKit, LeavesTheBarWithItsOwner) {
    item.reset();
    EXPECT_TRUE(kit::desktop().items.empty());
}

TEST_F(StatusItemOnAppKit, SendsTogglePopoverToTheDelegate) {
    EXPECT_EQ(kit::nameOf(button().action), "togglePopover");
    EXPECT_EQ(button().target, (__bridge id)application.delegate());
}

TEST_F(StatusItemOnAppKit, RunsItsActionForEachClick) {
    int clicks = 0;
    item->setAction([&clicks](const platform::ActivationRequest&) { ++clicks; });
    kit::click(button());
    kit::click(button());
    EXPECT_EQ(clicks, 2);
}

TEST_F(StatusItemOnAppKit, AClickWithoutAnActionDoesNothing) {
    kit::click(button());
    EXPECT_THAT(kit::desktop().log, IsEmpty());
}

TEST_F(StatusItemOnAppKit, TheActionGoesWithTheItem) {
    int clicks = 0;
    item->setAction([&clicks](const platform::ActivationRequest&) { ++clicks; });
    item.reset();
    make();
    kit::click(button());
    EXPECT_EQ(clicks, 0);
}

TEST_F(StatusItemOnAppKit, ABarThatGivesNoButtonIsNoFault) {
    item.reset();
    kit::desktop().givesButtons = false;
    make();
    item->setTitle(statusTitle(87, true));
    EXPECT_EQ(button(), nil);
}

TEST_F(StatusItemOnAppKit, TheTitleIsADotAndTheScore) {
    item->setTitle(statusTitle(87, false));
    EXPECT_THAT(kit::linesOf(button().attributedTitle),
                ElementsAre("●: system 9, sRGB 0.31 0.85 0.51 1.00", " 87: digits 12 medium"));
}

TEST_F(StatusItemOnAppKit, TheTitleHasACupWhileTheMachineIsKeptAwake) {
    item->setTitle(statusTitle(54, true));
    EXPECT_THAT(kit::linesOf(button().attributedTitle),
                ElementsAre("●: system 9, sRGB 1.00 0.36 0.36 1.00",
                            " ☕: system 10, secondaryLabel", " 54: digits 12 medium"));
}

TEST_F(StatusItemOnAppKit, ANewTitleTakesThePlaceOfTheOneBefore) {
    item->setTitle(statusTitle(54, true));
    item->setTitle(statusTitle(72, false));
    EXPECT_THAT(kit::linesOf(button().attributedTitle),
                ElementsAre("●: system 9, sRGB 0.31 0.85 0.51 1.00", " 72: digits 12 medium"));
}

TEST_F(StatusItemOnAppKit, TextThatIsNoUtf8DoesNotStopTheTitle) {
    platform::StatusTitle title;
    title.runs = {{.text = "\xff", .size = 9}, {.text = " 5", .size = 12}};
    item->setTitle(title);
    EXPECT_THAT(kit::linesOf(button().attributedTitle), ElementsAre(" 5: system 12"));
}

} // namespace
} // namespace korvel
