#pragma once

#include <QFont>
#include <QtQmlIntegration>

#include "ui/quick/tinted_item.h"

namespace korvel {

/// One line of text whose digits all take the same width, whatever the font: nothing moves when a
/// number changes. (This Qt cannot ask a font for its tabular figures.) For short texts: it never
/// wraps or elides.
class DigitsItem : public korvel::TintedItem {
    Q_OBJECT
    QML_NAMED_ELEMENT(Digits)
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged FINAL)
    Q_PROPERTY(QFont font READ font WRITE setFont NOTIFY fontChanged FINAL)

  public:
    using TintedItem::TintedItem;

    QString text() const { return text_; }
    void setText(const QString& text);
    QFont font() const { return font_; }
    void setFont(const QFont& font);

    void paint(QPainter* painter) override;

  Q_SIGNALS:
    void textChanged();
    void fontChanged();

  protected:
    void gridChanged() override { layOut(); }

  private:
    /// Walks over the pieces that are drawn as one, and returns the width of all.
    template <typename Visit>
    qreal forEachPiece(Visit visit) const;
    void layOut();

    QString text_;
    QFont font_;
};

} // namespace korvel
