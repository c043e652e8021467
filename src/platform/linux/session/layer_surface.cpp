#include "platform/linux/session/layer_surface.h"

#include <algorithm>
#include <chrono>
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
#include "platform/linux/session/wayland_offer.h"

namespace korvel::platform {

namespace {

using Layer = LayerShellQt::Window;

constexpr std::chrono::milliseconds kPatience(100); ///< with a compositor that is asked anew

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
            learnOutputs();
            // Plasma's host counts in device pixels, all others in logical ones.
            place_ = clickPlace(QPointF(place->x, place->y), outputs_,
                                offer_.has("org_kde_plasma_shell"));
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
    /// Qt does not tell a scale that is no whole number before a window was shown.
    void learnOutputs() {
        const QList<QScreen*> screens = QGuiApplication::screens();
        const bool known = std::ranges::all_of(
            screens, [this](const QScreen* screen) { return scaleOf(*screen).has_value(); });
        if (!known) {
            offer_ = askWayland(kPatience).value_or(WaylandOffer());
        }
        outputs_.clear();
        for (const QScreen* screen : screens) {
            outputs_.push_back({.logical = screen->geometry(),
                                .scale = scaleOf(*screen).value_or(screen->devicePixelRatio())});
        }
    }

    std::optional<double> scaleOf(const QScreen& screen) const {
        for (const WaylandOutput& output : offer_.outputs) {
            if (QRect(output.logicalX, output.logicalY, output.logicalWidth,
                      output.logicalHeight) == screen.geometry()) {
                return double(std::max(output.width, output.height)) /
                       std::max(output.logicalWidth, output.logicalHeight);
            }
        }
        return std::nullopt;
    }

    WaylandOffer offer_; ///< as of when its outputs were last others than Qt's
    QList<ScaledOutput> outputs_;
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
