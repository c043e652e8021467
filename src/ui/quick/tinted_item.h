#pragma once

#include <QColor>
#include <QQuickPaintedItem>

namespace korvel {

/// A drawing in one colour. Drawings are painted with QPainter, because it draws the same on every
/// scene graph, the software one included, smooth on all of them and at the screen's own
/// resolution, and knows line caps, joins and miter limits.
class TintedItem : public QQuickPaintedItem {
    Q_OBJECT
    Q_PROPERTY(QColor colour READ colour WRITE setColour NOTIFY colourChanged FINAL)

  public:
    explicit TintedItem(QQuickItem* parent = nullptr);

    QColor colour() const { return colour_; }
    void setColour(const QColor& colour);

  Q_SIGNALS:
    void colourChanged();

  private:
    QColor colour_;
};

} // namespace korvel
