/// What a changed score costs in a tray: shows an icon, changes it twenty times a second, and
/// prints the milliseconds of processor time that each change took, in all threads of this process.
///
///     korvel_tray_bench item|icon|bare|paint
///
/// item: the program's own item on the bus, with its menu and its tooltip.
/// icon: the same picture and tooltip through Qt's tray icon.
/// bare: Qt's tray icon with a plain square and a number as its tooltip.
/// paint: only the painting of the pictures in all sizes; shows nothing, and needs no panel.

#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include <QApplication>
#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QString>
#include <QSystemTrayIcon>
#include <QTimer>

#include "app/status_title.h"
#include "platform/linux/session/tray_icon.h"
#include "platform/linux/session/tray_pixmaps.h"
#include "platform/linux/session/tray_status_bar.h"

namespace {

using namespace korvel;

constexpr int kInterval = 50;   // milliseconds
constexpr int kSettling = 2000; // milliseconds, in which the panel takes the icon in
constexpr int kChanges = 200;

double processorMilliseconds() {
    std::timespec used{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) * 1e3 + static_cast<double>(used.tv_nsec) / 1e6;
}

std::string words(int score) {
    return std::to_string(score) + " · Fair";
}

/// Shows a score through the program's own item.
std::function<void(int)> throughItem(platform::TrayStatusBar& bar) {
    const std::shared_ptr<platform::StatusItem> item = bar.makeStatusItem();
    return [item](int score) {
        item->setTitle(statusTitle(score, false));
        item->setToolTip("● " + words(score));
        item->setSummary(words(score));
    };
}

/// Shows what `picture` makes of a score through Qt's icon.
std::function<void(int)> throughQt(std::function<QIcon(int)> picture,
                                   std::function<std::string(int)> toolTip) {
    const auto icon = std::make_shared<QSystemTrayIcon>();
    return [icon, picture = std::move(picture), toolTip = std::move(toolTip)](int score) {
        icon->setIcon(picture(score));
        icon->setToolTip(QString::fromStdString(toolTip(score)));
        icon->show();
    };
}

double millisecondsOfPainting() {
    constexpr int kScores = 101;
    constexpr int kRounds = 20;
    platform::TrayPixmapCache cache; // holds fewer titles than there are
    const double before = processorMilliseconds();
    for (int round = 0; round < kRounds; ++round) {
        for (int score = 0; score < kScores; ++score) {
            cache.of(statusTitle(score, round % 2 == 1));
        }
    }
    return (processorMilliseconds() - before) / (kRounds * kScores);
}

QIcon plainSquare(int score) {
    constexpr int kPixels = 22;
    QPixmap square(kPixels, kPixels);
    square.fill(QColor(score, score, score));
    return {square};
}

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    const std::string_view kind = argc > 1 ? argv[1] : "";
    if (kind == "paint") {
        millisecondsOfPainting(); // what only the first painting costs
        std::printf("%.3f\n", millisecondsOfPainting());
        return 0;
    }
    platform::TrayStatusBar bar;
    std::function<void(int)> show;
    if (kind == "item") {
        show = throughItem(bar);
    } else if (kind == "icon") {
        show = throughQt([](int score) { return platform::trayIcon(statusTitle(score, false)); },
                         [](int score) { return "● " + words(score); });
    } else if (kind == "bare") {
        show = throughQt(plainSquare, [](int score) { return std::to_string(score); });
    } else {
        std::fputs("usage: korvel_tray_bench item|icon|bare|paint\n", stderr);
        return 2;
    }
    int changes = 0;
    double before = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        if (changes == kChanges) {
            std::printf("%.3f\n", (processorMilliseconds() - before) / kChanges);
            std::fflush(stdout);
            QApplication::quit();
            return;
        }
        show(changes++ % 100); // each a score that was not shown lately
    });
    show(100);
    QTimer::singleShot(kSettling, [&] {
        before = processorMilliseconds();
        timer.start(kInterval);
    });
    return QApplication::exec();
}
