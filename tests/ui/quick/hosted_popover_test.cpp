#include "ui/quick/hosted_popover.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QQuickView>

#include "platform/simulated/status_bar.h"
#include "ui/quick/scenes.h"

namespace korvel {
namespace {

using testing::ElementsAre;

/// What was asked of the desktop's popover, and what it looks like.
struct Desktop {
    std::vector<std::string> asked;
    void* content = nullptr;
    double width = 0;
    double height = 0;
    std::optional<double> visibleHeight = 1000;
    bool refuses = false; ///< has no item to stand at
    bool shown = false;
    std::function<void()> closed;

    /// As the desktop does when the user looks elsewhere.
    void goAway() {
        shown = false;
        closed();
    }
};

class DesktopPopover final : public platform::Popover {
  public:
    explicit DesktopPopover(Desktop& desktop) : desktop_(desktop) {}
    void show(platform::StatusItem& /*item*/,
              const platform::ActivationRequest& /*request*/) override {
        desktop_.asked.emplace_back("show");
        desktop_.shown = !desktop_.refuses;
    }
    void close() override {
        desktop_.asked.emplace_back("close");
        desktop_.goAway();
    }
    bool shown() const override { return desktop_.shown; }
    void activate(const platform::ActivationRequest& /*request*/) override {
        desktop_.asked.emplace_back("activate");
    }
    void makeKey() override { desktop_.asked.emplace_back("makeKey"); }
    void drawNow() override { desktop_.asked.emplace_back("drawNow"); }

  private:
    Desktop& desktop_;
};

class Hosted : public testing::Test {
  protected:
    Hosted() { stage.show(healthyReading()); }

    PopoverHost makeHost(std::function<void()> closed) {
        desktop.closed = std::move(closed);
        return {std::make_unique<DesktopPopover>(desktop),
                [this](void* view) {
                    desktop.asked.emplace_back(view != nullptr ? "content" : "no content");
                    desktop.content = view;
                },
                [this](double width, double height) {
                    desktop.width = width;
                    desktop.height = height;
                },
                [this] { return desktop.visibleHeight; }};
    }

    static QQuickView* view() {
        for (QWindow* window : QGuiApplication::allWindows()) {
            if (auto* found = qobject_cast<QQuickView*>(window)) {
                return found;
            }
        }
        return nullptr;
    }

    Stage stage;
    Desktop desktop;
    platform::SimulatedStatusBar bar;
    std::unique_ptr<platform::StatusItem> item = bar.makeStatusItem();
    HostedPopover popover{
        stage.root, [](std::string text) { return text; },
        [this](std::function<void()> closed) { return makeHost(std::move(closed)); }};
};

TEST_F(Hosted, LoadsNothingBeforeItIsOpened) {
    EXPECT_EQ(view(), nullptr);
    EXPECT_TRUE(desktop.asked.empty());
}

TEST_F(Hosted, GivesTheDesktopAViewBeforeItIsShown) {
    popover.show(*item, {});
    EXPECT_THAT(desktop.asked, ElementsAre("content", "show"));
    ASSERT_NE(view(), nullptr);
    EXPECT_EQ(desktop.content, reinterpret_cast<void*>(view()->winId()));
    EXPECT_TRUE(view()->isVisible());
    EXPECT_TRUE(popover.shown());
}

TEST_F(Hosted, IsAsWideAsTheContentAndAsTallUpToTheScreensLimit) {
    popover.show(*item, {});
    EXPECT_EQ(desktop.width, 340);
    EXPECT_GT(desktop.height, 420);
    EXPECT_LE(desktop.height, 940);
    desktop.goAway();
    desktop.visibleHeight = 400;
    popover.show(*item, {});
    EXPECT_EQ(desktop.height, 420);
    EXPECT_EQ(view()->size(), QSize(340, 420));
}

TEST_F(Hosted, FollowsTheContentWhileItIsOpen) {
    popover.show(*item, {});
    const double before = desktop.height;
    stage.root.toggleBreakdown();
    QCoreApplication::processEvents();
    EXPECT_GT(desktop.height, before);
    EXPECT_EQ(view()->height(), qRound(desktop.height));
}

TEST_F(Hosted, StaysAsItIsWhileItIsClosed) {
    popover.show(*item, {});
    desktop.goAway();
    const double before = desktop.height;
    stage.root.toggleBreakdown();
    QCoreApplication::processEvents();
    EXPECT_EQ(desktop.height, before);
}

TEST_F(Hosted, HidesTheViewsWhenTheDesktopClosesIt) {
    popover.show(*item, {});
    desktop.goAway();
    ASSERT_NE(view(), nullptr);
    EXPECT_FALSE(view()->isVisible());
    EXPECT_FALSE(popover.shown());
}

TEST_F(Hosted, OpensOnceOnly) {
    popover.show(*item, {});
    popover.show(*item, {});
    EXPECT_THAT(desktop.asked, ElementsAre("content", "show"));
}

TEST_F(Hosted, OpensAgainWithTheViewsThatAreThere) {
    popover.show(*item, {});
    desktop.goAway();
    popover.show(*item, {});
    EXPECT_THAT(desktop.asked, ElementsAre("content", "show", "show"));
    EXPECT_TRUE(view()->isVisible());
}

TEST_F(Hosted, KeepsItsViewsWhenALateWordOfTheClosingComesAfterItWasOpenedAgain) {
    popover.show(*item, {});
    desktop.shown = false; // and fades, before it says so
    popover.show(*item, {});
    desktop.closed();
    EXPECT_TRUE(popover.shown());
    EXPECT_TRUE(view()->isVisible());
    desktop.goAway();
    EXPECT_FALSE(view()->isVisible());
}

TEST_F(Hosted, ShowsNoWindowOfItsOwnWhereTheDesktopHasNoItem) {
    desktop.refuses = true;
    popover.show(*item, {});
    EXPECT_FALSE(popover.shown());
    EXPECT_FALSE(view()->isVisible());
}

TEST_F(Hosted, ClosesWithTheEscapeKey) {
    popover.show(*item, {});
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QCoreApplication::sendEvent(view(), &escape);
    EXPECT_THAT(desktop.asked, ElementsAre("content", "show", "close"));
    EXPECT_FALSE(popover.shown());
}

TEST_F(Hosted, DrawsWhatTheDesktopThenShows) {
    popover.show(*item, {});
    QCoreApplication::processEvents();
    int swapped = 0;
    QObject::connect(view(), &QQuickWindow::frameSwapped, [&] {
        ++swapped;
        desktop.asked.emplace_back("painted");
    });
    stage.simulated.updater->state = update_state::Installing{};
    popover.drawNow();
    EXPECT_EQ(swapped, 1);
    EXPECT_THAT(desktop.asked, ElementsAre("content", "show", "painted", "drawNow"));
}

TEST_F(Hosted, TakesTheKeyboardOnlyWhileItIsOpen) {
    popover.makeKey();
    EXPECT_TRUE(desktop.asked.empty());
    popover.show(*item, {});
    popover.activate({});
    popover.makeKey();
    EXPECT_THAT(desktop.asked, ElementsAre("content", "show", "activate", "makeKey"));
}

} // namespace
} // namespace korvel
