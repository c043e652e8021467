#include "ui/quick/digits_item.h"

#include <algorithm>

#include <QFontMetricsF>
#include <QPainter>

namespace korvel {

namespace {

bool isDigit(QChar c) {
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

} // namespace

void DigitsItem::setText(const QString& text) {
    if (text_ == text) {
        return;
    }
    text_ = text;
    layOut();
    Q_EMIT textChanged();
}

void DigitsItem::setFont(const QFont& font) {
    if (font_ == font) {
        return;
    }
    font_ = font;
    layOut();
    Q_EMIT fontChanged();
}

template <typename Visit>
qreal DigitsItem::forEachPiece(Visit visit) const {
    const QFontMetricsF metrics(font_);
    qreal digitWidth = 0;
    for (char digit = '0'; digit <= '9'; ++digit) {
        digitWidth = std::max(digitWidth, metrics.horizontalAdvance(QLatin1Char(digit)));
    }
    qreal x = 0;
    for (qsizetype i = 0; i < text_.size();) {
        qsizetype end = i + 1;
        if (isDigit(text_[i])) {
            const QString digit = text_.mid(i, 1);
            visit(x + (digitWidth - metrics.horizontalAdvance(digit)) / 2, digit);
            x += digitWidth;
        } else {
            while (end < text_.size() && !isDigit(text_[end])) {
                ++end;
            }
            const QString piece = text_.mid(i, end - i);
            visit(x, piece);
            x += metrics.horizontalAdvance(piece);
        }
        i = end;
    }
    return x;
}

void DigitsItem::layOut() {
    const QFontMetricsF metrics(font_);
    const qreal width = forEachPiece([](qreal, const QString&) {});
    setImplicitSize(grid().holding(width), grid().holding(metrics.height()));
    setBaselineOffset(grid().holding(metrics.ascent()));
    update();
}

void DigitsItem::paint(QPainter* painter) {
    painter->setFont(font_);
    painter->setPen(colour());
    forEachPiece([&](qreal x, const QString& piece) {
        painter->drawText(QPointF(x, baselineOffset()), piece);
    });
}

} // namespace korvel
