#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QtQmlIntegration>

namespace korvel {

/// A drawing in one colour. Drawings are painted with QPainter, because it draws the same on every
/// scene graph, the software one included, smooth on all of them and at the screen's own
/// resolution, and knows line caps, joins and miter limits. (Name this base with its namespace: the
/// tools that check QML find it by that alone.)
class TintedItem : public QQuickPaintedItem {
    Q_OBJECT
    QML_ANONYMOUS
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
