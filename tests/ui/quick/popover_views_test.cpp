#include "ui/quick/popover_views.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#ifdef __SANITIZE_ADDRESS__
#define KORVEL_TESTS_SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KORVEL_TESTS_SANITIZED
#endif
#endif
#ifdef KORVEL_TESTS_SANITIZED
#include <sanitizer/allocator_interface.h>
#elif defined(__linux__)
#include <malloc.h>
#endif

#include <QCoreApplication>
#include <QEventLoop>
#include <QImage>
#include <QKeyEvent>
#include <QPainter>
#include <QPixmap>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>
#include <QThreadPool>
#include <QTimer>
#include <QVariantAnimation>

#include "ui/quick/accessible_when_read.h"
#include "ui/quick/register_views.h"
#include "ui/quick/scenes.h"

namespace korvel {
namespace {

using std::chrono::milliseconds;

#ifdef __linux__
/// What is allocated on the heap, in KiB.
long allocated() {
#ifdef KORVEL_TESTS_SANITIZED
    return static_cast<long>(__sanitizer_get_current_allocated_bytes() / 1024);
#else
    return static_cast<long>(mallinfo2().uordblks / 1024);
#endif
}
#endif

/// Runs what waits for the next turn of the run loop, and what that leaves for the one after it.
void turn() {
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
}

/// Where in the window the part turns that says that work goes on; empty: nowhere.
QRect spinnerIn(const QQuickItem& item) {
    if (item.isVisible() && QByteArray(item.metaObject()->className()).startsWith("Spinner")) {
        return item.mapRectToScene(item.boundingRect()).toAlignedRect();
    }
    for (const QQuickItem* child : item.childItems()) {
        if (const QRect found = spinnerIn(*child); !found.isEmpty()) {
            return found;
        }
    }
    return {};
}

class Views : public testing::Test {
  protected:
    Views() {
        stage.show(healthyReading());
        QObject::connect(&views, &PopoverViews::loaded, [this] { ++loaded; });
        QObject::connect(&views, &PopoverViews::unloading, [this] { ++unloading; });
        QObject::connect(&views, &PopoverViews::rendered, [this] { ++rendered; });
        QObject::connect(&views, &PopoverViews::escaped, [this] { ++escaped; });
    }

    void pressEscape() {
        QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
        QCoreApplication::sendEvent(views.window(), &escape);
    }

    Stage stage;
    /// Let go on the first turn after they were hidden.
    PopoverViews views{stage.root,
                       {.words = [](std::string text) { return text; },
                        .flags = Qt::FramelessWindowHint,
                        .keptLoaded = milliseconds(0)}};
    int loaded = 0;
    int unloading = 0;
    int rendered = 0;
    int escaped = 0;
};

TEST_F(Views, AreLoadedWhenTheyAreFirstPrepared) {
    EXPECT_EQ(views.window(), nullptr);
    views.prepare();
    ASSERT_NE(views.window(), nullptr);
    EXPECT_FALSE(views.window()->isVisible());
    views.prepare();
    EXPECT_EQ(loaded, 1);
}

#ifdef __linux__ // where they are let go, and the heap tells what is in use
TEST_F(Views, LeaveNothingBehindEachTimeTheyAreLetGo) {
    const AccessibleWhenRead silence;
    const auto openAndLetGo = [this] {
        views.prepare();
        views.hide();
        while (views.window()) {
            turn();
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        forgetViews();
    };
    constexpr int kBefore = 8; // what is kept for ever is there then
    constexpr int kTimes = 12;
    for (int i = 0; i < kBefore; ++i) {
        openAndLetGo();
    }
    const long before = allocated();
    for (int i = 0; i < kTimes; ++i) {
        openAndLetGo();
    }
    constexpr double kMost = 1.5; // KiB; all types take 57, the names that Qt keeps of them 2.6
    EXPECT_LT(static_cast<double>(allocated() - before), kTimes * kMost);
    EXPECT_EQ(loaded, kBefore + kTimes);
}
#endif

#ifdef __linux__
/// Without those that are ending: the kernel lists them for a moment after they have been joined.
long threads() {
    constexpr unsigned long kExiting = 4; // PF_EXITING
    long found = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string line;
        std::getline(std::ifstream(task.path() / "stat"), line);
        std::istringstream afterName(line.substr(line.rfind(')') + 1));
        std::string word;
        for (int field = 3; field < 9 && afterName >> word; ++field) {
        }
        unsigned long flags = kExiting;
        found += afterName >> flags && (flags & kExiting) == 0;
    }
    return found;
}

TEST_F(Views, StartAllTheirThreadsWhenTheyAreLoadedAndEndThemWhenTheyAreLetGo) {
    QThreadPool::globalInstance()->waitForDone(); // that of views which were never let go
    const auto before = threads();
    views.prepare();
    EXPECT_EQ(threads(), before + PopoverViews::kThreads);
    views.show();
    for (const Snapshot& reading : {strainedReading(), healthyReading()}) {
        stage.show(reading);
        stage.root.toggleBreakdown();
        turn();
        views.window()->grabWindow();
    }
    EXPECT_EQ(threads(), before + PopoverViews::kThreads);
    views.hide();
    turn();
    ASSERT_EQ(views.window(), nullptr);
    EXPECT_EQ(threads(), before);
}
#endif

TEST_F(Views, AreNotLoadedWhileNoThreadIsToBeHadForThem) {
    bool hadThreads = false;
    PopoverViews refused(stage.root, {.words = [](std::string text) { return text; },
                                      .flags = Qt::FramelessWindowHint,
                                      .threadsAreToBeHad = [&] { return hadThreads; }});
    EXPECT_FALSE(refused.prepare());
    EXPECT_EQ(refused.window(), nullptr);
    hadThreads = true;
    EXPECT_TRUE(refused.prepare());
    ASSERT_NE(refused.window(), nullptr);
    hadThreads = false;
    EXPECT_TRUE(refused.prepare()) << "they are loaded";
}

TEST_F(Views, ThatCannotBeLoadedAreNoWindow) {
    PopoverViews broken(stage.root,
                        {.words = [](std::string text) { return text; },
                         .flags = Qt::FramelessWindowHint,
                         .source = QUrl(QStringLiteral("qrc:/qt/qml/Korvel/None.qml"))});
    int events = 0;
    QObject::connect(&broken, &PopoverViews::loaded, [&] { ++events; });
    EXPECT_FALSE(broken.prepare());
    EXPECT_EQ(broken.window(), nullptr);
    EXPECT_FALSE(broken.shown());
    EXPECT_EQ(events, 0);
    EXPECT_FALSE(broken.prepare()) << "and are tried again";
}

TEST_F(Views, AreInTheirFinalSizeOnceTheyArePrepared) {
    views.prepare();
    const QSize closed = views.window()->size();
    EXPECT_EQ(closed, views.window()->rootObject()->size().toSize());
    stage.root.toggleBreakdown();
    views.prepare();
    EXPECT_GT(views.window()->height(), closed.height());
    views.frame().setMaximumHeight(420);
    views.prepare();
    EXPECT_EQ(views.window()->size(), QSize(340, 420));
}

TEST_F(Views, OfManyChangesInOneTurnOneIsRendered) {
    views.prepare();
    views.show();
    stage.root.toggleBreakdown();
    stage.show(fairReading());
    stage.show(strainedReading());
    EXPECT_EQ(rendered, 0);
    turn();
    EXPECT_EQ(rendered, 1);
    stage.show(fairReading());
    turn();
    EXPECT_EQ(rendered, 2);
}

TEST_F(Views, AreOnTheScreenAtOnceWhenTheyAreDrawnNow) {
    using namespace update_state;
    stage.simulated.updater->state = Downloading{};
    views.prepare();
    views.show();
    turn();
    const auto screen = [this] {
        return views.window()->screen()->grabWindow(views.window()->winId()).toImage();
    };
    const QImage downloading = screen();
    int turns = 0;
    QTimer::singleShot(0, [&] { ++turns; });
    stage.simulated.updater->state = Installing{};
    EXPECT_EQ(screen(), downloading);
    views.drawNow();
    const QImage drawn = screen();
    EXPECT_EQ(turns, 0);
    EXPECT_EQ(rendered, 0);
    turn();
    const QRect spinner = spinnerIn(*views.window()->rootObject());
    ASSERT_FALSE(spinner.isEmpty());
    const auto withoutSpinner = [&](QImage image) { // which goes on turning
        QPainter(&image).fillRect(spinner.adjusted(-4, -4, 4, 4), Qt::black);
        return image;
    };
    EXPECT_NE(withoutSpinner(drawn), withoutSpinner(downloading));
    EXPECT_EQ(withoutSpinner(screen()), withoutSpinner(drawn))
        << "what was drawn is what a turn of the run loop draws";
    EXPECT_EQ(turns, 1);
}

TEST_F(Views, KeepTheirSizeWhenTheyAreDrawnNow) {
    views.frame().setMaximumHeight(2000);
    stage.simulated.updater->state = update_state::Downloading{};
    views.prepare();
    views.show();
    turn();
    const int before = qRound(views.window()->rootObject()->height());
    stage.root.toggleBreakdown();
    stage.simulated.updater->state = update_state::Installing{};
    views.drawNow();
    EXPECT_EQ(qRound(views.window()->rootObject()->height()), before);
    turn();
    Q_EMIT views.frame().layOut();
    EXPECT_GT(qRound(views.window()->rootObject()->height()), before);
}

TEST_F(Views, AreNotDrawnWhileTheyAreHidden) {
    views.drawNow();
    EXPECT_EQ(views.window(), nullptr);
    views.prepare();
    int swapped = 0;
    QObject::connect(views.window(), &QQuickWindow::frameSwapped, [&] { ++swapped; });
    stage.show(strainedReading());
    views.drawNow();
    EXPECT_EQ(swapped, 0);
}

TEST_F(Views, RenderNothingWhileTheyAreHidden) {
    views.prepare();
    stage.show(fairReading());
    turn();
    views.show();
    stage.show(strainedReading());
    views.hide();
    turn();
    EXPECT_EQ(rendered, 0);
}

TEST_F(Views, AreLetGoAfterTheyWereHidden) {
    views.prepare();
    views.show();
    turn();
    EXPECT_EQ(unloading, 0);
    views.hide();
    EXPECT_NE(views.window(), nullptr);
    turn();
    EXPECT_EQ(views.window(), nullptr);
    EXPECT_EQ(unloading, 1);
}

TEST_F(Views, StayForWhoLooksAgainInTime) {
    views.prepare();
    views.show();
    views.hide();
    views.prepare();
    turn();
    EXPECT_NE(views.window(), nullptr);
    EXPECT_EQ(loaded, 1);
}

TEST_F(Views, LeaveTheEscapeKeyToAnOpenMenu) {
    views.prepare();
    views.show();
    pressEscape();
    EXPECT_EQ(escaped, 1);
    views.frame().setMenuShown(true);
    pressEscape();
    EXPECT_EQ(escaped, 1);
}

TEST_F(Views, ForgetAMenuThatWasOpenWhenTheyWereLetGo) {
    views.prepare();
    views.show();
    views.frame().setMenuShown(true);
    views.hide();
    turn();
    ASSERT_EQ(views.window(), nullptr);
    views.prepare();
    views.show();
    pressEscape();
    EXPECT_EQ(escaped, 1);
}

TEST_F(Views, AreAnimatedOnlyOnceTheyArePrepared) {
    bool animated = true;
    QObject::connect(&views.frame(), &PopoverFrame::layOut,
                     [&] { animated = views.frame().animated(); });
    views.prepare();
    EXPECT_FALSE(animated);
    EXPECT_TRUE(views.frame().animated());
}

TEST_F(Views, MoveThirtyTimesASecondAtMost) {
    constexpr int kDuration = 350; // milliseconds
    QVariantAnimation animation;
    animation.setDuration(kDuration);
    animation.setStartValue(0.0);
    animation.setEndValue(1.0);
    int steps = 0;
    QObject::connect(&animation, &QVariantAnimation::valueChanged, [&] { ++steps; });
    QEventLoop loop;
    QObject::connect(&animation, &QVariantAnimation::finished, &loop, &QEventLoop::quit);
    animation.start();
    loop.exec();
    EXPECT_EQ(animation.currentValue(), 1.0);
    EXPECT_GE(steps, 2) << "it jumped";
    EXPECT_LE(steps, kDuration / 33 + 3);
}

} // namespace
} // namespace korvel
