#pragma once

#include <optional>

#include <QObject>
#include <QSize>
#include <QtQmlIntegration>

#include "ui/content/popover_height.h"
#include "ui/quick/drawn_length.h"

namespace korvel {

/// How the popover stands on its desktop: whoever shows the views says it, and their root follows.
class PopoverFrame : public QObject {
    Q_OBJECT
    QML_ELEMENT
    /// The tallest that the panel grows before it scrolls, in logical pixels.
    Q_PROPERTY(qreal maximumHeight READ maximumHeight WRITE setMaximumHeight NOTIFY changed FINAL)
    /// Whether a line runs around the panel; not where the desktop draws the frame.
    Q_PROPERTY(bool bordered READ bordered WRITE setBordered NOTIFY changed FINAL)
    /// Whether the panel's corners are round: what is behind them must show through the window.
    Q_PROPERTY(bool rounded READ rounded WRITE setRounded NOTIFY changed FINAL)
    /// Whether the window is larger than the panel by a shadow.
    Q_PROPERTY(bool shadowed READ shadowed WRITE setShadowed NOTIFY changed FINAL)
    /// Whether a change is seen to happen.
    Q_PROPERTY(bool animated READ animated WRITE setAnimated NOTIFY changed FINAL)
    /// Said by the root: what is to be seen of the window, from the left and the top.
    Q_PROPERTY(QSizeF shown READ shown WRITE setShown NOTIFY shownChanged FINAL)
    /// Said by the root: an open menu takes the Escape key.
    Q_PROPERTY(bool menuShown READ menuShown WRITE setMenuShown NOTIFY changed FINAL)

  public:
    qreal maximumHeight() const { return maximumHeight_; }
    void setMaximumHeight(qreal height) { set(maximumHeight_, height); }
    bool bordered() const { return bordered_; }
    void setBordered(bool bordered) { set(bordered_, bordered); }
    bool rounded() const { return rounded_; }
    void setRounded(bool rounded) { set(rounded_, rounded); }
    bool shadowed() const { return shadowed_; }
    void setShadowed(bool shadowed) { set(shadowed_, shadowed); }
    /// How long a window must be for this much of it to be drawn at that scale.
    Q_INVOKABLE static qreal windowLength(qreal needed, qreal scale) {
        return lengthDrawing(qRound(needed), scale);
    }
    bool animated() const { return animated_; }
    void setAnimated(bool animated) { set(animated_, animated); }
    QSizeF shown() const { return shown_; }
    void setShown(QSizeF shown) {
        if (shown_ != shown) {
            shown_ = shown;
            Q_EMIT shownChanged();
        }
    }
    bool menuShown() const { return menuShown_; }
    void setMenuShown(bool shown) { set(menuShown_, shown); }

  Q_SIGNALS:
    void changed();
    void shownChanged();
    /// Asks the root to bring every piece into its place now, and not when it is next drawn.
    void layOut();

  private:
    template <typename T>
    void set(T& member, T value) {
        if (member != value) {
            member = value;
            Q_EMIT changed();
        }
    }

    qreal maximumHeight_ = popoverMaximumHeight(std::nullopt);
    bool bordered_ = true;
    bool rounded_ = false;
    bool shadowed_ = false;
    bool animated_ = true;
    QSizeF shown_;
    bool menuShown_ = false;
};

} // namespace korvel
