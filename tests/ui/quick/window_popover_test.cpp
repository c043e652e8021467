#include "ui/quick/window_popover.h"

#include <utility>

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickView>

#include "platform/simulated/status_bar.h"
#include "ui/quick/scenes.h"

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

} // namespace
} // namespace korvel
