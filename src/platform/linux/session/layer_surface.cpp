#include "platform/linux/session/layer_surface.h"

#include <utility>
#include <vector>

#include <LayerShellQt/Window>

#include <QGuiApplication>
#include <QMargins>
#include <QPainter>
#include <QPointer>
#include <QRasterWindow>
#include <QScreen>
#include <QSurfaceFormat>
#include <QWindow>

#include "platform/linux/session/layer_place.h"

namespace korvel::platform {

namespace {

using Layer = LayerShellQt::Window;

/// All of an output, seen through, below the popover and above all else: it takes the click that
/// closes the popover.
class ClickCatcher final : public QRasterWindow {
  public:
    ClickCatcher(QScreen* screen, const std::function<void()>& clicked) : clicked_(clicked) {
        QSurfaceFormat format;
        format.setAlphaBufferSize(8);
        setFormat(format);
        setFlags(Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus);
        setScreen(screen);
        create();
        Layer* layer = Layer::get(this);
        layer->setScope(QStringLiteral("korvel-outside"));
        layer->setLayer(Layer::LayerOverlay);
        layer->setKeyboardInteractivity(Layer::KeyboardInteractivityNone);
        layer->setExclusiveZone(-1); // bars too
        layer->setAnchors(Layer::Anchors(Layer::AnchorTop) | Layer::AnchorBottom |
                          Layer::AnchorLeft | Layer::AnchorRight);
    }

  protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.fillRect(QRect(QPoint(), size()), Qt::transparent);
    }

    void mousePressEvent(QMouseEvent* /*event*/) override { clicked_(); }

  private:
    const std::function<void()>& clicked_;
};

class LayerShellSurface final : public LayerSurface {
  public:
    void adopt(QWindow& window) override {
        Layer* layer = Layer::get(&window);
        layer->setScope(QStringLiteral("korvel"));
        layer->setLayer(Layer::LayerOverlay);
        layer->setKeyboardInteractivity(Layer::KeyboardInteractivityExclusive);
        layer->setExclusiveZone(0); // off the bars
    }

    QScreen* open(std::optional<Point> place, std::function<void()> clickedOutside) override {
        closed();
        if (place) {
            place_ = QPointF(place->x, place->y).toPoint();
        }
        screen_ = place_ ? QGuiApplication::screenAt(*place_) : nullptr;
        if (!screen_) {
            screen_ = QGuiApplication::primaryScreen();
            place_.reset(); // of an output that has gone
        }
        clickedOutside_ = std::move(clickedOutside);
        const QList<QScreen*> screens = QGuiApplication::screens();
        for (QScreen* screen : screens) {
            // Ahead of the popover: within a layer the later one is above.
            catchers_.push_back(std::make_unique<ClickCatcher>(screen, clickedOutside_));
            catchers_.back()->show();
        }
        return screen_;
    }

    void fit(QWindow& window, const QMargins& shadow) override {
        if (!screen_) {
            return;
        }
        window.setScreen(screen_);
        const QRect output = screen_->geometry();
        const QPoint click =
            place_ ? *place_ - output.topLeft() : QPoint(output.width() - 1, 0); // the top right
        const QSize panel = window.size().shrunkBy(shadow);
        const LayerPlace place = layerPlace(click, output.size(), panel, shadow);
        Layer* layer = Layer::get(&window);
        layer->setAnchors(Layer::Anchors(place.atRight ? Layer::AnchorRight : Layer::AnchorLeft) |
                          (place.atBottom ? Layer::AnchorBottom : Layer::AnchorTop));
        layer->setMargins(place.margins);
        window.setMask(shadow.isNull() ? QRegion() : QRect({shadow.left(), shadow.top()}, panel));
    }

    void closed() override {
        for (std::unique_ptr<ClickCatcher>& catcher : catchers_) {
            catcher->hide();
            catcher.release()->deleteLater(); // one of them may be telling of the click
        }
        catchers_.clear();
        screen_ = nullptr;
    }

  private:
    std::optional<QPoint> place_; ///< of the last click that is known, among all outputs
    QPointer<QScreen> screen_;    ///< that it opens on; null while closed
    std::function<void()> clickedOutside_;
    std::vector<std::unique_ptr<ClickCatcher>> catchers_; ///< one for each output, while it is open
};

} // namespace

bool layerSurfacesAreBuilt() {
    return true;
}

std::unique_ptr<LayerSurface> makeLayerSurface() {
    return std::make_unique<LayerShellSurface>();
}

} // namespace korvel::platform
