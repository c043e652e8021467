// korvel-icon-sheet FILE.png: every size, value and panel colour of the tray icon in one picture,
// once as it is and once magnified, for a person to look at.
#include <array>

#include <QGuiApplication>
#include <QImage>
#include <QPainter>

#include "app/status_title.h"
#include "platform/linux/session/tray_icon.h"

namespace {

constexpr std::array kSizes = {16, 22, 24, 32, 48, 64};
constexpr std::array kScores = {0, 7, 19, 42, 55, 68, 71, 87, 93, 100};
constexpr std::array<QRgb, 4> kPanels = {0xfff6f5f4, 0xffd4d0c8, 0xff2e3436, 0xff000000};
constexpr int kCell = 72;

int rowHeight(int size, int magnified) {
    return size * magnified + 8;
}

void drawRows(QPainter& painter, int& y, int magnified, bool awake) {
    for (const QRgb panel : kPanels) {
        for (const int size : kSizes) {
            if (magnified > 1 && size > 32) {
                continue;
            }
            const int cell = magnified > 1 ? size * magnified + 8 : kCell;
            painter.fillRect(0, y, 2000, rowHeight(size, magnified), QColor::fromRgba(panel));
            int x = 4;
            for (const int score : kScores) {
                const QImage image =
                    korvel::platform::drawTrayIcon(korvel::statusTitle(score, awake), size);
                painter.drawImage(QRect(x, y + 4, size * magnified, size * magnified), image);
                x += cell;
            }
            y += rowHeight(size, magnified);
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    const QString file = application.arguments().value(1, QStringLiteral("icons.png"));
    const bool awake = application.arguments().contains(QStringLiteral("--awake"));
    const int magnified = application.arguments().contains(QStringLiteral("--large")) ? 4 : 1;
    QImage sheet(magnified > 1 ? 1400 : 10 * kCell + 8, 4000, QImage::Format_RGB32);
    QPainter painter(&sheet);
    int y = 0;
    drawRows(painter, y, magnified, awake);
    painter.end();
    return sheet.copy(0, 0, sheet.width(), y).save(file) ? 0 : 1;
}
