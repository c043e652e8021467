/// What a refresh cannot cost less than: every five seconds the reads of a sample, in a plain loop
/// with kept descriptors, and at every other one a bare icon in the tray that is drawn anew,
/// through Qt, with a number as its tooltip. Runs until it is ended.

#include <chrono>
#include <string>

#include <QApplication>
#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QSystemTrayIcon>
#include <QTimer>

#include "bare_loop.h"

namespace {

void showIcon(QSystemTrayIcon& icon, int number) {
    constexpr int kPixels = 22;
    QPixmap square(kPixels, kPixels);
    square.fill(QColor(number, number, number));
    icon.setIcon(QIcon(square));
    icon.setToolTip(QString::number(number));
}

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    if (bareLoopOpen() == 0) {
        return 1;
    }
    QSystemTrayIcon icon;
    showIcon(icon, 100);
    icon.show();
    int refreshes = 0;
    QTimer timer;
    timer.setTimerType(Qt::CoarseTimer); // as the program's
    timer.setInterval(std::chrono::seconds(5));
    QObject::connect(&timer, &QTimer::timeout, [&] {
        bareLoopSample();
        if (++refreshes % 2 == 0) {
            showIcon(icon, refreshes % 100);
        }
    });
    timer.start();
    return QApplication::exec();
}
