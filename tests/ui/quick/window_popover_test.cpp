#include "ui/quick/window_popover.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>
#include <QWindow>

#include "platform/simulated/status_bar.h"
#include "ui/quick/scenes.h"
#include "ui/quick/shadow_item.h"

namespace korvel {
namespace {

/// A popover that is open, and the size that it took.
class OpenWindow : public testing::Test {
  protected:
    explicit OpenWindow(PopoverDesktop desktop = silentDesktop())
        : popover(stage.root, std::move(desktop)) {
        stage.show(healthyReading());
        popover.show(*item, {});
        settle();
        for (QWindow* window : QGuiApplication::allWindows()) {
            if (auto* found = qobject_cast<QQuickView*>(window)) {
                view = found;
            }
        }
        size = view->size();
    }

    /// Sets this size each time that the window takes another, as a tiling window manager does.
    void insistOn(QSize set) {
        const auto insist = [this, set] {
            if (view->size() != set) {
                ++asks;
                QMetaObject::invokeMethod(
                    view, [this, set] { view->resize(set); }, Qt::QueuedConnection);
            }
        };
        insistence = QObject::connect(view, &QWindow::heightChanged, view, insist);
        view->resize(set);
        settle();
    }

    static PopoverDesktop silentDesktop() {
        PopoverDesktop silent;
        silent.words = [](std::string text) { return text; };
        return silent;
    }

    static void settle() {
        for (int turn = 0; turn < 50; ++turn) {
            QCoreApplication::processEvents();
        }
    }

    Stage stage;
    platform::SimulatedStatusBar bar;
    std::unique_ptr<platform::StatusItem> item = bar.makeStatusItem();
    WindowPopover popover;
    QQuickView* view = nullptr;
    QSize size;
    QMetaObject::Connection insistence;
    int asks = 0; ///< for another size than what is insisted on
};

TEST_F(OpenWindow, TakesItsSizeBackWhenTheDesktopSetsTheOneOfAMomentAgo) {
    for (const QSize set : {QSize(340, size.height() - 20), QSize(300, size.height())}) {
        view->resize(set);
        ASSERT_EQ(view->size(), set);
        settle();
        EXPECT_EQ(view->size(), size);
    }
}

TEST_F(OpenWindow, LeavesADesktopItsWayThatInsistsOnAnotherSize) {
    insistOn({800, 600});
    EXPECT_EQ(view->size(), QSize(800, 600));
    EXPECT_EQ(asks, 3);
}

TEST_F(OpenWindow, AsksAgainOnceItNeedsAnotherSize) {
    insistOn({800, 600});
    QObject::disconnect(insistence);
    size.rheight() += 50;
    view->rootObject()->setHeight(size.height());
    settle();
    ASSERT_EQ(view->size(), size);
    view->resize(340, 200);
    settle();
    EXPECT_EQ(view->size(), size);
}

TEST_F(OpenWindow, AsksAgainAtTheNextOpening) {
    insistOn({800, 600});
    QObject::disconnect(insistence);
    popover.close();
    popover.show(*item, {});
    view->resize(340, 200);
    settle();
    EXPECT_EQ(view->size(), size);
}

TEST_F(OpenWindow, ClosesWhenAnotherWindowKeepsTheKeyboardAndNotWhenItGivesItBack) {
    view->requestActivate();
    settle();
    ASSERT_TRUE(view->isActive());
    int changes = 0;
    QObject::connect(view, &QWindow::activeChanged, view, [&changes] { ++changes; });
    const auto waitUntilClosed = [this](int milliseconds) {
        const QDeadlineTimer deadline(milliseconds);
        while (popover.shown() && !deadline.hasExpired()) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        }
        return !popover.shown();
    };
    QWindow menu;
    menu.show(); // and has the keyboard
    view->requestActivate();
    settle(); // Both are told in one turn, between which no time passes.
    ASSERT_TRUE(view->isActive());
    EXPECT_EQ(changes, 2);
    EXPECT_FALSE(waitUntilClosed(300));
    const QDeadlineTimer menusEnd(50); // when a menu may still give it back
    menu.requestActivate();
    EXPECT_TRUE(waitUntilClosed(5000));
    EXPECT_TRUE(menusEnd.hasExpired());
}

/// One whose size a compositor cannot change.
class FixedWindow : public OpenWindow {
  protected:
    FixedWindow() : OpenWindow(desktop()) {}

    static PopoverDesktop desktop() {
        PopoverDesktop fixed = silentDesktop();
        fixed.sizeIsFixed = true;
        return fixed;
    }
};

TEST_F(FixedWindow, AllowsNoSizeButItsOwn) {
    EXPECT_EQ(view->minimumSize(), size);
    EXPECT_EQ(view->maximumSize(), size);
}

TEST_F(FixedWindow, FollowsItsContent) {
    for (const int grown : {50, -80}) {
        size.rheight() += grown;
        view->rootObject()->setHeight(size.height());
        settle();
        EXPECT_EQ(view->size(), size);
        EXPECT_EQ(view->minimumSize(), size);
        EXPECT_EQ(view->maximumSize(), size);
    }
}

/// One whose size is agreed with a window manager.
class HintedWindow : public OpenWindow {
  protected:
    HintedWindow() : OpenWindow(desktop()) {}

    static PopoverDesktop desktop() {
        PopoverDesktop x11 = silentDesktop();
        x11.isX11 = true;
        return x11;
    }
};

TEST_F(HintedWindow, HasTheSizeFromWhichAWindowManagerCountsItsSteps) {
    EXPECT_EQ(view->baseSize(), size);
    for (const int grown : {51, -80}) {
        size.rheight() += grown;
        view->rootObject()->setHeight(size.height());
        EXPECT_EQ(view->baseSize(), size); // before the window takes it on a later turn
        settle();
        EXPECT_EQ(view->size(), size);
        EXPECT_EQ(view->baseSize(), size);
    }
}

/// One that a desktop gives the keyboard by a token.
class GuardedWindow : public OpenWindow {
  protected:
    GuardedWindow() : OpenWindow(desktop()) {}

    static PopoverDesktop desktop() {
        PopoverDesktop guarded = silentDesktop();
        guarded.makeKey = [](QWindow&, const std::string& token) { tokens.push_back(token); };
        return guarded;
    }

    inline static std::vector<std::string> tokens;
};

TEST_F(GuardedWindow, TakesTheKeyboardByTheTokenOfItsRequestOnce) {
    tokens.clear();
    popover.activate({.place = {}, .token = "first"});
    popover.makeKey();
    popover.makeKey();
    popover.activate({.place = {}, .token = "second"});
    popover.makeKey();
    EXPECT_EQ(tokens, (std::vector<std::string>{"first", "", "second"}));
    popover.close();
    popover.activate({.place = {}, .token = "third"});
    popover.makeKey();
    EXPECT_EQ(tokens.size(), 3U);
}

/// What the desktop was told, in its order.
class StoodWindow : public OpenWindow {
  protected:
    StoodWindow() : OpenWindow(desktop()) {}

    static PopoverDesktop desktop() {
        PopoverDesktop standing = silentDesktop();
        standing.blendsWindows = [] { return true; };
        standing.stand = PopoverStand{
            .adopt = [](QWindow& window) { told += window.isVisible() ? "late " : "adopt "; },
            .open =
                [](std::optional<platform::Point> place, std::function<void()> outside) {
                    told += place ? "open at a place " : "open ";
                    clickOutside = std::move(outside);
                    return QGuiApplication::primaryScreen();
                },
            .fit = [](QWindow& window,
                      const QMargins& shadow) { fitted = window.size().shrunkBy(shadow); },
            .closed = [] { told += "closed "; },
        };
        return standing;
    }

    // Told as early as by the base's constructor, so no members of this class.
    inline static std::string told;
    inline static QSize fitted;
    inline static std::function<void()> clickOutside;
};

TEST_F(StoodWindow, IsStoodByTheDesktopUntilItIsClosed) {
    EXPECT_EQ(std::exchange(told, ""), "open adopt ");
    EXPECT_EQ(fitted.width(), 340);
    size.rheight() += 50;
    view->rootObject()->setHeight(size.height());
    settle();
    EXPECT_EQ(fitted, size.shrunkBy(ShadowItem::kMargins));
    EXPECT_EQ(told, "");
    clickOutside();
    EXPECT_FALSE(popover.shown());
    EXPECT_FALSE(view->isVisible());
    EXPECT_EQ(std::exchange(told, ""), "closed ");
    popover.show(*item, {.place = platform::Point{.x = 7, .y = 8}});
    EXPECT_EQ(std::exchange(told, ""), "open at a place ");
    popover.close();
    EXPECT_EQ(std::exchange(told, ""), "closed ");
    popover.close();
    EXPECT_EQ(told, "");
}

TEST(StartingAnew, IsInPlaceOfLoadingTheViewsAndOfNothingElse) {
    int asked = 0;
    bool anew = false;
    Stage stage;
    platform::SimulatedStatusBar bar;
    const auto item = bar.makeStatusItem();
    PopoverDesktop desktop;
    desktop.words = [](std::string text) { return text; };
    desktop.startsAnew = [&] {
        ++asked;
        return anew;
    };
    WindowPopover popover(stage.root, std::move(desktop));
    anew = true;
    popover.show(*item, {});
    popover.activate({});
    popover.makeKey();
    EXPECT_FALSE(popover.shown());
    EXPECT_EQ(asked, 1);
    anew = false;
    popover.show(*item, {});
    EXPECT_TRUE(popover.shown());
    EXPECT_EQ(asked, 2);
    popover.close();
    anew = true;
    popover.show(*item, {});
    EXPECT_TRUE(popover.shown()) << "the views are still loaded";
    EXPECT_EQ(asked, 2);
}

/// What was told to the desktop that a window is placed on.
struct Told {
    std::string told;
    std::function<void()> pressElsewhere;
    bool hearsOfPresses = true;
    bool wasPressed = false;
};

/// How long it was told to leave clicks unheard, and one that comes late.
class DeafItem final : public platform::StatusItem {
  public:
    void setTitle(const platform::StatusTitle&) override {}
    void setToolTip(const std::string&) override {}
    void setAction(Action) override {}
    std::optional<platform::Rectangle> frame() const override { return place; }
    void ignoreClicks(double seconds) override { deafFor = seconds; }
    void ignoreLateClick(double seconds, std::function<bool()> another) override {
        lateFor = seconds;
        isAnother = std::move(another);
    }

    std::optional<platform::Rectangle> place;
    std::optional<double> deafFor; ///< seconds
    std::optional<double> lateFor; ///< seconds
    std::function<bool()> isAnother;
};

/// One that the program places itself.
class PlacedWindow : public Told, public OpenWindow {
  protected:
    PlacedWindow() : OpenWindow(desktop()) {}

    PopoverDesktop desktop() {
        PopoverDesktop placed = silentDesktop();
        placed.placing = {
            .whereAsked = [](const platform::ActivationRequest&) { return QRect(400, 2, 1, 1); },
            .panelAt = [](QPoint place) { return QRect(0, 0, 800, place.y() + 20); },
            .aboutToShow =
                [this](QWindow& window, const platform::ActivationRequest& request) {
                    told += window.isVisible() ? "visible," : "about " + request.token + ',';
                },
            .shown =
                [this](QWindow& window, const std::function<QMargins()>& shadow,
                       std::function<void()> pressed) {
                    told += window.isVisible() && shadow().isNull() ? "shown," : "hidden,";
                    pressElsewhere = std::move(pressed);
                },
            .answered =
                [this](const platform::ActivationRequest& request) {
                    told += "answered " + request.token + ',';
                },
            .closed = [this] { told += "closed,"; },
            .awaitPress = [this](std::chrono::milliseconds) { return hearsOfPresses; },
            .wasPressed = [this] { return wasPressed; }};
        return placed;
    }

    /// Moves it to this place each time that it leaves it.
    void insistOnPlace(QPoint set) {
        QObject::connect(view, &QWindow::xChanged, view, [this, set] {
            if (view->x() != set.x() && !backOnItsWay) {
                ++asks;
                backOnItsWay = true;
                QMetaObject::invokeMethod(
                    view,
                    [this, set] {
                        backOnItsWay = false;
                        view->setPosition(set);
                    },
                    Qt::QueuedConnection);
            }
        });
        view->setPosition(set);
        settle();
    }

    bool backOnItsWay = false;
};

TEST_F(PlacedWindow, StandsBesideThePanelAtTheItem) {
    EXPECT_EQ(view->position(), QPoint(400 - 170, 22 + 4));
}

TEST_F(PlacedWindow, GoesBackToItsPlaceWhenTheDesktopMovesItAsItTakesIt) {
    for (const QPoint moved : {QPoint(2, 22), QPoint(0, 22), QPoint(2, 0)}) {
        const QPoint place = view->position();
        view->setPosition(place + moved);
        settle();
        EXPECT_EQ(view->position(), place);
    }
}

TEST_F(PlacedWindow, LeavesADesktopItsWayThatInsistsOnAnotherPlace) {
    insistOnPlace({10, 300});
    EXPECT_EQ(view->position(), QPoint(10, 300));
    EXPECT_EQ(asks, 3);
}

TEST_F(PlacedWindow, TellsItsDesktopHowItIsShownAndClosed) {
    popover.close();
    told.clear();
    popover.show(*item, {.place = {}, .token = "A"});
    popover.activate({.place = {}, .token = "B"});
    popover.close();
    EXPECT_EQ(told, "about A,shown,answered B,closed,");
}

TEST_F(PlacedWindow, IsClosedByAButtonPressedElsewhereAndOnlyOnce) {
    pressElsewhere();
    EXPECT_FALSE(popover.shown());
    pressElsewhere();
    EXPECT_EQ(told, "about ,shown,closed,");
}

TEST_F(PlacedWindow, TakesALateClickOnTheItemForTheOneThatClosedItUnlessAButtonWasPressedSince) {
    DeafItem deaf;
    popover.close();
    popover.show(deaf, {});
    pressElsewhere();
    EXPECT_EQ(deaf.deafFor, 0.4) << "the second of two quick clicks opens nothing";
    EXPECT_EQ(deaf.lateFor, 3);
    EXPECT_FALSE(deaf.isAnother());
    wasPressed = true;
    EXPECT_TRUE(deaf.isAnother());
}

TEST_F(PlacedWindow, TakesNoLateClickForTheOneThatClosedItWhereItHearsOfNoPress) {
    DeafItem deaf;
    hearsOfPresses = false;
    popover.close();
    popover.show(deaf, {});
    pressElsewhere();
    EXPECT_EQ(deaf.deafFor, 0.4);
    EXPECT_EQ(deaf.lateFor, std::nullopt);
}

TEST_F(PlacedWindow, TakesNoLateClickForTheOneThatClosedItWhereTheItemHasAWindow) {
    DeafItem deaf;
    deaf.place = platform::Rectangle{400, 2, 20, 20};
    popover.close();
    popover.show(deaf, {});
    pressElsewhere();
    EXPECT_EQ(deaf.deafFor, 0.4);
    EXPECT_EQ(deaf.lateFor, std::nullopt);
}

TEST_F(PlacedWindow, LeavesNoClickUnheardThatComesAfterItWasClosedOtherwise) {
    DeafItem deaf;
    popover.close();
    popover.show(deaf, {});
    popover.close();
    EXPECT_EQ(deaf.deafFor, std::nullopt);
    EXPECT_EQ(deaf.lateFor, std::nullopt);
}

TEST(ClosedWindow, OpensOnceThereAreThreadsForItsViews) {
    Stage stage;
    stage.show(healthyReading());
    platform::SimulatedStatusBar bar;
    const std::unique_ptr<platform::StatusItem> item = bar.makeStatusItem();
    bool hadThreads = false;
    std::string told;
    PopoverDesktop desktop;
    desktop.words = [](std::string text) { return text; };
    desktop.threadsAreToBeHad = [&] { return hadThreads; };
    desktop.stand = PopoverStand{.adopt = [&](QWindow&) { told += "adopted,"; },
                                 .open = [&](auto, auto) -> QScreen* {
                                     told += "opened,";
                                     return nullptr;
                                 },
                                 .fit = [](QWindow&, const QMargins&) {},
                                 .closed = [&] { told += "closed,"; }};
    WindowPopover popover(stage.root, std::move(desktop));
    popover.show(*item, {});
    popover.activate({});
    popover.makeKey();
    popover.drawNow();
    EXPECT_FALSE(popover.shown());
    EXPECT_EQ(told, "opened,closed,");
    hadThreads = true;
    popover.show(*item, {});
    EXPECT_TRUE(popover.shown());
    EXPECT_EQ(told, "opened,closed,opened,adopted,");
}

} // namespace
} // namespace korvel
