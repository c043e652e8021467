// korvel-icon-sheet FILE.png: the tray icon in the sizes that panels draw, on a light and on a dark
// panel, each row once without and once with the mark of a machine that is kept awake.
//     --large: the small sizes, those that only some panels ask for among them, magnified four
//     times
#include <array>
#include <span>

#include <QGuiApplication>
#include <QImage>
#include <QPainter>

#include "app/status_title.h"
#include "platform/linux/session/tray_icon.h"

namespace {

constexpr std::array kSizes = {16, 22, 24, 32, 48, 64};
constexpr std::array kSmallSizes = {16, 18, 20, 22, 24, 28, 32};
constexpr std::array kScores = {0, 7, 19, 42, 55, 68, 71, 87, 93, 100};
constexpr std::array<QRgb, 2> kPanels = {0xfff6f5f4, 0xff2e3436};
constexpr int kGap = 8; // pixels between two icons

/// Draws all rows, and gives the height that they take.
int drawRows(QPainter& painter, std::span<const int> sizes, int magnified) {
    const int cell = sizes.back() * magnified + kGap;
    int y = 0;
    for (const QRgb panel : kPanels) {
        for (const int size : sizes) {
            for (const bool awake : {false, true}) {
                const int side = size * magnified;
                painter.fillRect(0, y, cell * static_cast<int>(kScores.size()), side + kGap,
                                 QColor::fromRgb(panel));
                int x = kGap / 2;
                for (const int score : kScores) {
                    painter.drawImage(
                        QRect(x, y + kGap / 2, side, side),
                        korvel::platform::drawTrayIcon(korvel::statusTitle(score, awake), size));
                    x += cell;
                }
                y += side + kGap;
            }
        }
    }
    return y;
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    const QString file = application.arguments().value(1, QStringLiteral("icons.png"));
    const bool large = application.arguments().contains(QStringLiteral("--large"));
    const std::span<const int> sizes =
        large ? std::span<const int>(kSmallSizes) : std::span<const int>(kSizes);
    const int magnified = large ? 4 : 1;
    constexpr int kTallest = 4000;
    QImage sheet(static_cast<int>(kScores.size()) * (sizes.back() * magnified + kGap), kTallest,
                 QImage::Format_RGB32);
    QPainter painter(&sheet);
    const int height = drawRows(painter, sizes, magnified);
    painter.end();
    return sheet.copy(0, 0, sheet.width(), height).save(file) ? 0 : 1;
}
