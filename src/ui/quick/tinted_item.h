#pragma once

#include <QColor>
#include <QQuickItem>
#include <QtQmlIntegration>

#include "ui/quick/pixel_grid.h"

class QPainter;

namespace korvel {

/// A drawing in one colour. Drawings are painted with QPainter, because it draws the same on every
/// scene graph, the software one included, and knows line caps, joins and miter limits. The picture
/// has as many pixels as the screen has there: Qt Quick's own painted item is of whole logical
/// pixels, so at a fractional scale its picture is shrunk or drawn out by one of the screen's.
/// (Name this base with its namespace: the tools that check QML find it by that alone.)
class TintedItem : public QQuickItem {
    Q_OBJECT
    QML_ANONYMOUS
    Q_PROPERTY(QColor colour READ colour WRITE setColour NOTIFY colourChanged FINAL)
    Q_PROPERTY(QColor rim READ rim WRITE setRim NOTIFY rimChanged FINAL)
    Q_PROPERTY(bool mirrored READ mirrored WRITE setMirrored NOTIFY mirroredChanged FINAL)

  public:
    explicit TintedItem(QQuickItem* parent = nullptr);

    QColor colour() const { return colour_; }
    void setColour(const QColor& colour) { set(colour_, colour, &TintedItem::colourChanged); }

    /// The colour of a thin line along the edge of the drawing, which makes it seen where its own
    /// colour is faint. Transparent, as it is at first: no such line.
    QColor rim() const { return rim_; }
    void setRim(const QColor& colour) { set(rim_, colour, &TintedItem::rimChanged); }

    /// Whether a drawing that has a left and a right is drawn the other way round.
    bool mirrored() const { return mirrored_; }
    void setMirrored(bool mirrored) { set(mirrored_, mirrored, &TintedItem::mirroredChanged); }

    /// In logical pixels from the item's corner, with smooth edges.
    virtual void paint(QPainter* painter) = 0;

  Q_SIGNALS:
    void colourChanged();
    void rimChanged();
    void mirroredChanged();

  protected:
    /// Sets what the drawing depends on; where it is another value, draws anew and tells of it.
    template <typename T, typename Item>
    void set(T& member, const T& value, void (Item::*changed)()) {
        if (member != value) {
            member = value;
            update();
            Q_EMIT(static_cast<Item*>(this)->*changed)();
        }
    }

    bool hasRim() const { return rim_.alpha() > 0; }
    /// How wide the rim is, in logical pixels, which the painter must still have as its units. One
    /// of the screen's pixels at least.
    static qreal rimWidth(const QPainter& painter);

    /// Of the screen that it is on; of a usual one before it is on any.
    PixelGrid grid() const;
    /// Called when that is another one.
    virtual void gridChanged() {}
    void itemChange(ItemChange change, const ItemChangeData& data) override;
    QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData*) override;

  private:
    QColor colour_;
    QColor rim_ = Qt::transparent;
    bool mirrored_ = false;
};

} // namespace korvel
