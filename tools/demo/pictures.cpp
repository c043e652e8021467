#include "tools/demo/pictures.h"

#include <algorithm>

#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPalette>
#include <QQuickItem>
#include <QQuickWindow>

#include "platform/simulated/status_bar.h"
#include "simulation/program.h"
#include "ui/content/linux_words.h"
#include "ui/quick/window_popover.h"

namespace korvel::simulation {

namespace {

constexpr int kScreenWidth = 800;
constexpr int kWithoutScreen = 800; ///< tall enough for what the popover then grows to

/// The window of the open popover.
QQuickWindow* shownWindow() {
    for (QWindow* window : QGuiApplication::topLevelWindows()) {
        if (auto* quick = qobject_cast<QQuickWindow*>(window); quick && quick->isVisible()) {
            return quick;
        }
    }
    return nullptr;
}

/// A window of this display has no alpha channel: what it leaves transparent is worked out from how
/// it looks on white and on black.
QImage grabWithAlpha(QQuickWindow& window) {
    const auto grabOn = [&window](QColor ground) {
        window.setColor(ground);
        return window.grabWindow().convertToFormat(QImage::Format_RGB32);
    };
    const QImage onWhite = grabOn(Qt::white);
    QImage picture = grabOn(Qt::black).convertToFormat(QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < picture.height(); ++y) {
        auto* pixels = reinterpret_cast<QRgb*>(picture.scanLine(y));
        const auto* light = reinterpret_cast<const QRgb*>(onWhite.constScanLine(y));
        for (int x = 0; x < picture.width(); ++x) {
            const int alpha = 255 - (qGreen(light[x]) - qGreen(pixels[x]));
            pixels[x] = qRgba(qRed(pixels[x]), qGreen(pixels[x]), qBlue(pixels[x]), alpha);
        }
    }
    return picture;
}

/// Of a picture of the window, what is to be seen: the rest is there for drawing alone.
QImage shownOf(const QQuickWindow& window, const QImage& picture) {
    const QQuickItem& root = *window.contentItem()->childItems().first();
    const QSizeF shown = root.property("shown").toSizeF() * window.devicePixelRatio();
    // Without what is only in part within it: nothing says what a window has there.
    const QSize whole(static_cast<int>(shown.width()), static_cast<int>(shown.height()));
    return picture.copy(QRect(QPoint(), whole));
}

void preferDark(bool dark) {
    QPalette palette;
    palette.setColor(QPalette::Window, dark ? Qt::black : Qt::white);
    QGuiApplication::setPalette(palette);
    QCoreApplication::processEvents();
}

/// The item of that objectName that is seen; null: there is none. The items of a list are none of
/// its children as objects, so it is looked for among what is drawn.
QQuickItem* seenItem(QQuickItem& root, const QString& name) {
    if (root.objectName() == name) {
        return &root;
    }
    for (QQuickItem* child : root.childItems()) {
        if (QQuickItem* found = child->isVisible() ? seenItem(*child, name) : nullptr) {
            return found;
        }
    }
    return nullptr;
}

/// What a user did with the open popover. False: there is no such piece.
bool use(QQuickWindow& window, const PictureView& view) {
    if (!view.focused.isEmpty()) {
        QQuickItem* const piece = seenItem(*window.contentItem(), view.focused);
        if (!piece) {
            return false;
        }
        piece->forceActiveFocus(Qt::TabFocusReason);
    }
    if (!view.clicked.isEmpty()) {
        QQuickItem* const button = seenItem(*window.contentItem(), view.clicked);
        if (!button || !QMetaObject::invokeMethod(button, "clicked")) {
            return false;
        }
    }
    QCoreApplication::processEvents();
    return true;
}

bool draw(ContentView& root, bool dark, const QString& file, const PictureView& view) {
    preferDark(dark);
    platform::SimulatedStatusBar bar;
    const auto item = bar.makeStatusItem();
    WindowPopover popover(root, PopoverDesktop{.words = linuxWords,
                                               .appearance = nullptr,
                                               .released = {},
                                               .blendsWindows = [&view] { return view.shadowed; },
                                               .declareShadow = [](QWindow&, const QMargins&) {}});
    popover.show(*item, {});
    QQuickWindow* window = shownWindow();
    return window && use(*window, view) && shownOf(*window, grabWithAlpha(*window)).save(file);
}

} // namespace

PictureScreen::PictureScreen(const Scenario& scenario, double scale) {
    const double height = scenario.visibleHeight.value_or(kWithoutScreen);
    const QJsonObject screen{{QStringLiteral("name"), QStringLiteral("simulated")},
                             {QStringLiteral("x"), 0},
                             {QStringLiteral("y"), 0},
                             {QStringLiteral("width"), qRound(scale * kScreenWidth)},
                             {QStringLiteral("height"), std::max(1, qRound(scale * height))},
                             {QStringLiteral("logicalDpi"), 96}};
    const QJsonObject configuration{{QStringLiteral("screens"), QJsonArray{screen}}};
    const QString path = folder_.filePath(QStringLiteral("screen.json"));
    QFile file(path);
    valid_ = folder_.isValid() && file.open(QIODevice::WriteOnly) &&
             file.write(QJsonDocument(configuration).toJson()) > 0;
    qputenv("QT_QPA_PLATFORM", ("offscreen:configfile=" + path).toUtf8());
    qputenv("QT_SCALE_FACTOR", QByteArray::number(scale));
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:"); // a picture does not depend on the desktop
}

bool takePictures(const Scenario& scenario, const QString& base, const PictureView& view) {
    bool written = false;
    SimulatedProgram program(scenario, {});
    program.atTheEnd = [&](ContentView& root) {
        written = draw(root, false, base + QStringLiteral("-light.png"), view) &&
                  draw(root, true, base + QStringLiteral("-dark.png"), view);
    };
    program.run();
    return written;
}

} // namespace korvel::simulation
