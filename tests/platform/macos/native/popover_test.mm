#include "platform/macos/macos_popover.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/macos/macos_application.h"
#include "platform/macos/macos_status_bar.h"
#import "platform/macos/native/kit/on_appkit.h"

namespace korvel {
namespace {

using kit::buttonOf;
using kit::finishFading;
using kit::openPopover;
using kit::pressElsewhere;
using platform::MacosApplication;
using platform::MacosPopover;
using platform::MacosStatusBar;
using platform::MacosStatusItem;
using platform::StatusItem;
using testing::ElementsAre;

class PopoverOnAppKit : public testing::Test {
  protected:
    PopoverOnAppKit() {
        content = [[NSView alloc] init];
        content.frame = NSRect{{0, 0}, {340, 500}};
    }

    NSStatusBarButton* button() const { return buttonOf(*item); }

    void fill() {
        popover->setContent((__bridge void*)content);
        popover->setPreferredContentSize(340, 500);
    }

    void open() {
        fill();
        popover->show(*item, {});
    }

    MacosApplication application;
    MacosStatusBar bar{application};
    std::unique_ptr<StatusItem> item = bar.makeStatusItem();
    NSView* content = nil;
    int closed = 0;
    std::optional<MacosPopover> popover{[this] { ++closed; }};
};

TEST_F(PopoverOnAppKit, StandsUnderTheWholeButton) {
    open();
    NSPopover* shown = openPopover();
    ASSERT_NE(shown, nil);
    EXPECT_TRUE(popover->shown());
    EXPECT_EQ(shown.kitAnchor, button());
    EXPECT_EQ(shown.kitEdge, NSRectEdgeMinY);
    EXPECT_EQ(shown.kitRect.size.width, button().bounds.size.width);
    EXPECT_EQ(shown.kitRect.size.height, button().bounds.size.height);
}

TEST_F(PopoverOnAppKit, IsTransient) {
    open();
    EXPECT_EQ(openPopover().behavior, NSPopoverBehaviorTransient);
}

TEST_F(PopoverOnAppKit, HasTheSizeThatTheContentAsksFor) {
    open();
    EXPECT_EQ(openPopover().contentSize.width, 340);
    EXPECT_EQ(openPopover().contentSize.height, 500);
    EXPECT_EQ(content.superview.frame.size.height, 500);
}

TEST_F(PopoverOnAppKit, LeavesTheContentsSizeToItsOwner) {
    content.autoresizingMask = NSViewWidthSizable | NSViewHeightSizable;
    open();
    popover->setPreferredContentSize(340, 650);
    EXPECT_EQ(content.frame.size.width, 340);
    EXPECT_EQ(content.frame.size.height, 500);
}

TEST_F(PopoverOnAppKit, KeepsTheContentAtItsTopLeftWhateverItsOwnSize) {
    content.frame = NSRect{{30, 40}, {340, 500}}; // where its owner had it before
    open();
    for (const double height : {500.0, 650.0, 420.0}) {
        popover->setPreferredContentSize(340, height);
        EXPECT_EQ(content.frame.origin.x, 0) << height;
        EXPECT_EQ(content.kitTopInWindow, 0) << height;
    }
}

TEST_F(PopoverOnAppKit, TakesANewSizeInOneStep) {
    open();
    std::vector<double> heights;
    kit::desktop().onFrame = [&](NSView* view) {
        if (view == content.superview) {
            heights.push_back(view.frame.size.height);
        }
    };
    popover->setPreferredContentSize(340, 650);
    [openPopover() kitFinishAnimations];
    EXPECT_THAT(heights, ElementsAre(650));
}

TEST_F(PopoverOnAppKit, OpensAndClosesWithAnimation) {
    open();
    EXPECT_TRUE(openPopover().animates);
    popover->setPreferredContentSize(340, 650);
    EXPECT_TRUE(openPopover().animates) << "it fades away as other popovers do";
}

TEST_F(PopoverOnAppKit, ABarWithoutAButtonShowsNothing) {
    item.reset();
    kit::desktop().givesButtons = false;
    item = bar.makeStatusItem();
    open();
    EXPECT_EQ(openPopover(), nil);
    EXPECT_FALSE(popover->shown());
}

TEST_F(PopoverOnAppKit, OpensOnceOnly) {
    open();
    popover->show(*item, {});
    EXPECT_THAT(kit::desktop().log, ElementsAre("show"));
}

TEST_F(PopoverOnAppKit, TellsItsOwnerOnceOfEachClosing) {
    open();
    popover->close();
    finishFading();
    EXPECT_EQ(closed, 1);
    popover->show(*item, {});
    pressElsewhere();
    finishFading();
    EXPECT_EQ(closed, 2);
}

TEST_F(PopoverOnAppKit, ClosingWhatIsNotOpenIsNoClosing) {
    fill();
    popover->close();
    finishFading();
    EXPECT_EQ(closed, 0);
}

TEST_F(PopoverOnAppKit, ClosesWhenTheUserPressesElsewhere) {
    open();
    pressElsewhere();
    EXPECT_FALSE(popover->shown());
}

TEST_F(PopoverOnAppKit, StaysWhenTheUserPressesInIt) {
    open();
    kit::press(content.window);
    EXPECT_TRUE(popover->shown());
}

TEST_F(PopoverOnAppKit, LeavesAPressOfItsOwnItemToTheItemsAction) {
    open();
    std::vector<bool> shownAtTheAction;
    item->setAction([&](const platform::ActivationRequest&) {
        shownAtTheAction.push_back(popover->shown());
        popover->close();
    });
    kit::click(button());
    EXPECT_THAT(shownAtTheAction, ElementsAre(true));
    EXPECT_FALSE(popover->shown());
}

TEST_F(PopoverOnAppKit, ClosesByItselfDuringAPressOfItsItem) {
    open();
    kit::desktop().currentEvent = [NSEvent kitEventOfType:NSEventTypeLeftMouseDown
                                                   window:button().window];
    popover->close();
    EXPECT_FALSE(popover->shown());
}

TEST_F(PopoverOnAppKit, ClosesAtThePressOfAnotherItem) {
    open();
    const auto other = bar.makeStatusItem();
    kit::press(((__bridge NSView*)static_cast<MacosStatusItem&>(*other).button()).window);
    EXPECT_FALSE(popover->shown());
}

TEST_F(PopoverOnAppKit, ClosesWhenAnotherKindOfEventTakesTheUserElsewhere) {
    open();
    kit::desktop().currentEvent = [NSEvent kitEventOfType:kit::kLeftMouseUp window:button().window];
    [openPopover() kitPressedOutside];
    EXPECT_FALSE(popover->shown());
}

TEST_F(PopoverOnAppKit, ClosesAtAPressInNoWindowOfTheProgram) {
    open();
    item.reset(); // its button, and with it the window, is gone
    kit::desktop().currentEvent = [NSEvent kitEventOfType:NSEventTypeLeftMouseDown window:nil];
    [openPopover() kitPressedOutside];
    EXPECT_FALSE(popover->shown());
}

TEST_F(PopoverOnAppKit, TakesTheKeyboardInItsOwnWindow) {
    open();
    popover->activate({});
    popover->makeKey();
    EXPECT_THAT(kit::desktop().log, ElementsAre("show", "activate", "makeKeyAndOrderFront"));
    EXPECT_EQ(NSApplication.sharedApplication.keyWindow, content.window);
    EXPECT_TRUE(content.window.keyWindow);
}

TEST_F(PopoverOnAppKit, OpeningAloneDoesNotActivateTheProgram) {
    open();
    EXPECT_FALSE(NSApplication.sharedApplication.active);
    EXPECT_EQ(NSApplication.sharedApplication.keyWindow, nil);
}

TEST_F(PopoverOnAppKit, DrawsByCommittingWhatTheLayersWereGiven) {
    open();
    popover->drawNow();
    EXPECT_EQ(kit::desktop().flushes, 1);
}

TEST_F(PopoverOnAppKit, LetsGoOfTheContentThatItIsToldToDrop) {
    open();
    __weak NSView* watched = content;
    popover->setContent(nullptr);
    EXPECT_EQ(content.superview, nil);
    content = nil;
    EXPECT_EQ(watched, nil);
}

TEST_F(PopoverOnAppKit, HoldsTheContentThatItShows) {
    open();
    __weak NSView* watched = content;
    content = nil;
    EXPECT_NE(watched, nil);
}

TEST_F(PopoverOnAppKit, ANewContentTakesThePlaceOfTheOneBefore) {
    open();
    auto* other = [[NSView alloc] init];
    NSView* const container = content.superview;
    popover->setContent((__bridge void*)other);
    EXPECT_EQ(content.superview, nil);
    EXPECT_EQ(other.superview, container);
    EXPECT_EQ([container kitSubviews].size(), 1U);
}

TEST_F(PopoverOnAppKit, TakesItsWindowFromTheScreenWhenItIsDestroyed) {
    open();
    popover.reset();
    EXPECT_TRUE(kit::desktop().windows.empty());
    EXPECT_EQ(closed, 0) << "nobody is left to be told";
}

TEST_F(PopoverOnAppKit, DestroyedWhileItFadesItTellsNobodyOfTheEnd) {
    open();
    id heldByAppKit = openPopover().delegate;
    popover->close();
    popover.reset();
    EXPECT_NE(heldByAppKit, nil);
    EXPECT_EQ(content.superview, nil) << "its owner may be gone before the window is";
    finishFading();
    EXPECT_EQ(closed, 0);
    EXPECT_TRUE(kit::desktop().windows.empty());
}

TEST_F(PopoverOnAppKit, WithoutAnybodyToTellItClosesAllTheSame) {
    popover.emplace(nullptr);
    open();
    popover->close();
    finishFading();
    EXPECT_FALSE(popover->shown());
}

class FadingPopover : public PopoverOnAppKit, public testing::WithParamInterface<kit::Fading> {
  protected:
    FadingPopover() {
        kit::desktop().whileFading = GetParam().whileFading;
        kit::desktop().reopening = GetParam().reopening;
        open();
    }
};

TEST_P(FadingPopover, IsNotShownFromTheMomentItBeginsToClose) {
    pressElsewhere();
    EXPECT_FALSE(popover->shown());
    finishFading();
    EXPECT_FALSE(popover->shown());
    EXPECT_EQ(closed, 1);
}

TEST_P(FadingPopover, OpensAgainWithinTheFading) {
    popover->close();
    popover->show(*item, {});
    EXPECT_TRUE(popover->shown());
    EXPECT_NE(openPopover(), nil);
}

TEST_P(FadingPopover, TheLateEndOfAFadingIsNoClosingOfTheReopened) {
    popover->close();
    popover->show(*item, {});
    const int before = closed;
    finishFading();
    EXPECT_EQ(closed, before);
    EXPECT_TRUE(popover->shown());
    EXPECT_NE(content.window, nil);
}

TEST_P(FadingPopover, TheReopenedClosesAsTheFirstDid) {
    popover->close();
    popover->show(*item, {});
    finishFading();
    const int before = closed;
    pressElsewhere();
    EXPECT_FALSE(popover->shown());
    finishFading();
    EXPECT_EQ(closed, before + 1);
}

TEST_P(FadingPopover, ClosedTwiceWithinOneFadingItEndsClosed) {
    popover->close();
    popover->show(*item, {});
    popover->close();
    EXPECT_FALSE(popover->shown());
    finishFading();
    EXPECT_GE(closed, 1);
    EXPECT_FALSE(popover->shown());
    EXPECT_TRUE(kit::desktop().windows.empty());
}

INSTANTIATE_TEST_SUITE_P(EachWay, FadingPopover, testing::ValuesIn(kit::fadings()),
                         [](const auto& info) { return info.param.name; });

} // namespace
} // namespace korvel
