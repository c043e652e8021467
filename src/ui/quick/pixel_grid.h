#pragma once

#include <QtQmlIntegration>

namespace korvel {

/// The screen's pixels, by which the popover is laid out: at a fractional scale a piece that stands
/// between two pixels is blurred, or loses an edge. All lengths are logical pixels.
class PixelGrid {
    Q_GADGET
    QML_ANONYMOUS
    /// Screen pixels for one logical pixel.
    Q_PROPERTY(qreal ratio READ ratio FINAL)

  public:
    PixelGrid() = default;
    explicit PixelGrid(qreal ratio) : ratio_(ratio) {}

    qreal ratio() const { return ratio_; }
    /// The whole number of screen pixels that is nearest; never nothing for what is something.
    Q_INVOKABLE qreal length(qreal length) const;
    /// The nearest place between two screen pixels.
    Q_INVOKABLE qreal place(qreal place) const;
    /// The last place between two screen pixels that is not beyond `place`.
    Q_INVOKABLE qreal before(qreal place) const;
    /// As few whole screen pixels as hold `extent`.
    Q_INVOKABLE qreal holding(qreal extent) const;
    /// Where something of the extent `inner` stands in the middle of `outer`.
    Q_INVOKABLE qreal middle(qreal outer, qreal inner) const;

    bool operator==(const PixelGrid&) const = default;

  private:
    qreal ratio_ = 1;
};

} // namespace korvel
