#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QQuickItem>
#include <QQuickView>

#include "app/main_popover_macos.h"
#include "platform/macos/macos_application.h"
#include "platform/macos/macos_status_bar.h"
#import "platform/macos/native/kit/on_appkit.h"
#import "platform/macos/native/with_qt/qt_view.h"
#include "ui/quick/scenes.h"

namespace korvel {
namespace {

using kit::finishFading;
using kit::openPopover;
using kit::pressElsewhere;
using kit::qtView;
using kit::quickView;
using testing::ElementsAre;
using testing::IsEmpty;

class PopoverViewsOnAppKit : public testing::Test {
  protected:
    PopoverViewsOnAppKit() {
        stage.show(healthyReading());
        kit::desktop().onFrame = [this](NSView*) { look(); };
    }
    ~PopoverViewsOnAppKit() override { kit::desktop().onFrame = nullptr; }

    /// What a user would see of the content at this moment.
    void look() {
        if (qtView() == nil || qtView().window == nil) {
            return;
        }
        const NSRect frame = qtView().frame;
        if (frame.origin.x != 0 || qtView().kitTopInWindow != 0) {
            misplaced.push_back(std::to_string(frame.origin.x) + " from the left and " +
                                std::to_string(qtView().kitTopInWindow) + " from the top");
        }
        if (frame.size.width != qtView()->own_.width ||
            frame.size.height != qtView()->own_.height) {
            misplaced.push_back(std::to_string(frame.size.height) + " high for " +
                                std::to_string(qtView()->own_.height));
        }
    }

    static double popoverHeight() { return openPopover().contentSize.height; }

    /// The popover, its content and Qt's window are of one size.
    static void expectOneSize() {
        const QSize size = quickView()->rootObject()->size().toSize();
        EXPECT_EQ(openPopover().contentSize.width, size.width());
        EXPECT_EQ(popoverHeight(), size.height());
        EXPECT_EQ(qtView().frame.size.width, size.width());
        EXPECT_EQ(qtView().frame.size.height, size.height());
        EXPECT_EQ(qtView().superview.frame.size.height, size.height());
    }

    /// Lets the popover and Qt take turns until neither has anything left to do. The next frame is
    /// drawn at once: Qt would wait some milliseconds for more to draw.
    static void settle() {
        do {
            QCoreApplication::processEvents();
            QEvent request(QEvent::UpdateRequest);
            QCoreApplication::sendEvent(quickView(), &request);
            QCoreApplication::processEvents();
        } while ([openPopover() kitAnimateStep]);
    }

    std::vector<std::string> misplaced;
    platform::MacosApplication application;
    platform::MacosStatusBar bar{application};
    std::unique_ptr<platform::StatusItem> item = bar.makeStatusItem();
    Stage stage;
    std::unique_ptr<platform::Popover> popover = makeMacosPopover(stage.root);
};

TEST_F(PopoverViewsOnAppKit, OpensInTheSizeOfItsContent) {
    popover->show(*item, {});
    expectOneSize();
    settle();
    expectOneSize();
    EXPECT_EQ(openPopover().contentSize.width, 340);
    EXPECT_THAT(misplaced, IsEmpty());
}

TEST_F(PopoverViewsOnAppKit, ItsContentIsInThePopoversWindow) {
    popover->show(*item, {});
    EXPECT_TRUE(quickView()->isVisible());
    EXPECT_NE(qtView().window, nil);
    EXPECT_TRUE(qtView().window.visible);
}

TEST_F(PopoverViewsOnAppKit, GrowsAndShrinksWithTheBreakdownAndStaysInPlace) {
    popover->show(*item, {});
    settle();
    const double small = popoverHeight();
    for (int round = 0; round < 2; ++round) {
        stage.root.toggleBreakdown();
        settle();
        EXPECT_GT(popoverHeight(), small);
        expectOneSize();
        stage.root.toggleBreakdown();
        settle();
        EXPECT_EQ(popoverHeight(), small);
        expectOneSize();
    }
    EXPECT_THAT(misplaced, IsEmpty());
}

TEST_F(PopoverViewsOnAppKit, IsNoTallerThanTheScreenAllows) {
    kit::desktop().visibleFrame = NSRect{{0, 0}, {1024, 520}};
    popover->show(*item, {});
    settle();
    EXPECT_EQ(popoverHeight(), 460);
    expectOneSize();
}

TEST_F(PopoverViewsOnAppKit, ReopensInTheSizeOfWhatHasChangedMeanwhile) {
    popover->show(*item, {});
    settle();
    const double small = popoverHeight();
    popover->close();
    finishFading();
    stage.root.toggleBreakdown();
    settle();
    popover->show(*item, {});
    EXPECT_GT(popoverHeight(), small);
    expectOneSize();
    EXPECT_THAT(misplaced, IsEmpty());
}

TEST_F(PopoverViewsOnAppKit, ClosesWithTheEscapeKey) {
    popover->show(*item, {});
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QCoreApplication::sendEvent(quickView(), &escape);
    EXPECT_FALSE(popover->shown());
    EXPECT_EQ(openPopover(), nil);
}

TEST_F(PopoverViewsOnAppKit, GivesThePopoversWindowTheKeyboard) {
    popover->show(*item, {});
    popover->activate({});
    popover->makeKey();
    EXPECT_TRUE(qtView().window.keyWindow);
    EXPECT_THAT(kit::desktop().log, ElementsAre("show", "activate", "makeKeyAndOrderFront"));
}

TEST_F(PopoverViewsOnAppKit, AClosedPopoverTakesNoKeyboard) {
    popover->show(*item, {});
    popover->close();
    popover->makeKey();
    EXPECT_EQ(NSApplication.sharedApplication.keyWindow, nil);
}

TEST_F(PopoverViewsOnAppKit, WithoutAButtonToStandAtNothingIsShown) {
    item.reset();
    kit::desktop().givesButtons = false;
    item = bar.makeStatusItem();
    popover->show(*item, {});
    EXPECT_FALSE(popover->shown());
    EXPECT_FALSE(quickView()->isVisible());
}

TEST_F(PopoverViewsOnAppKit, CommitsToTheScreenWhatItHasPainted) {
    popover->show(*item, {});
    settle();
    std::vector<int> flushesBeforeThePaint;
    QObject::connect(quickView(), &QQuickWindow::frameSwapped,
                     [&] { flushesBeforeThePaint.push_back(kit::desktop().flushes); });
    popover->drawNow();
    EXPECT_THAT(flushesBeforeThePaint, ElementsAre(0));
    EXPECT_EQ(kit::desktop().flushes, 1);
}

TEST_F(PopoverViewsOnAppKit, NothingOfItIsLeftWhenItIsDestroyed) {
    popover->show(*item, {});
    settle();
    __weak NSPopover* watched = openPopover();
    const NSView* view = qtView();
    EXPECT_NE(watched, nil);
    EXPECT_NE(view.superview, nil);
    popover.reset();
    EXPECT_EQ(watched, nil);
    EXPECT_EQ(view.superview, nil);
    EXPECT_EQ(quickView(), nullptr);
    EXPECT_TRUE(kit::desktop().windows.empty());
}

TEST_F(PopoverViewsOnAppKit, DestroyedWhileItFadesNothingIsLeftToBeTold) {
    popover->show(*item, {});
    popover->close();
    const NSView* view = qtView();
    EXPECT_NE(view.superview, nil);
    popover.reset();
    EXPECT_EQ(view.superview, nil);
    EXPECT_EQ(quickView(), nullptr);
    finishFading();
    EXPECT_TRUE(kit::desktop().windows.empty());
    EXPECT_TRUE(kit::desktop().fading.empty());
}

class FadingViews : public PopoverViewsOnAppKit, public testing::WithParamInterface<kit::Fading> {
  protected:
    FadingViews() {
        kit::desktop().whileFading = GetParam().whileFading;
        kit::desktop().reopening = GetParam().reopening;
        popover->show(*item, {});
        settle();
    }
};

TEST_P(FadingViews, AreHiddenWhenTheUserHasClosedThem) {
    pressElsewhere();
    EXPECT_FALSE(popover->shown());
    finishFading();
    EXPECT_FALSE(popover->shown());
    EXPECT_FALSE(quickView()->isVisible());
}

TEST_P(FadingViews, AreThereWhenTheyAreOpenedAgainWithinTheFading) {
    pressElsewhere();
    popover->show(*item, {});
    finishFading();
    settle();
    EXPECT_TRUE(popover->shown());
    EXPECT_TRUE(quickView()->isVisible());
    EXPECT_NE(qtView().window, nil);
    expectOneSize();
    EXPECT_THAT(misplaced, IsEmpty());
}

TEST_P(FadingViews, FollowTheContentAfterTheyWereOpenedAgain) {
    popover->close();
    popover->show(*item, {});
    finishFading();
    const double small = popoverHeight();
    stage.root.toggleBreakdown();
    settle();
    EXPECT_GT(popoverHeight(), small);
    expectOneSize();
}

TEST_P(FadingViews, AreHiddenWhenTheSecondOpeningIsClosedToo) {
    for (int i = 0; i < 3; ++i) { // rapid clicks
        popover->close();
        popover->show(*item, {});
    }
    popover->close();
    finishFading();
    settle();
    EXPECT_FALSE(popover->shown());
    EXPECT_FALSE(quickView()->isVisible());
    EXPECT_TRUE(kit::desktop().windows.empty());
}

INSTANTIATE_TEST_SUITE_P(EachWay, FadingViews, testing::ValuesIn(kit::fadings()),
                         [](const auto& info) { return info.param.name; });

} // namespace
} // namespace korvel
