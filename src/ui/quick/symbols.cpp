#include "ui/quick/symbols.h"

#include <initializer_list>

#include <QHash>
#include <QPainterPathStroker>
#include <QPen>

// The program's symbols: one set, drawn for it and under its licence, on a grid of 24 units that a
// symbol's circle all but fills. Lines have round ends and joins.

namespace korvel {

namespace {

/// The widths of lines, in grid units.
struct Lines {
    qreal plain;  ///< of a symbol made of lines
    qreal cutOut; ///< of the sign within a filled shape
};

Lines linesOf(SymbolWeight weight) {
    return weight == SymbolWeight::bold ? Lines{3.4, 2.8} : Lines{2.0, 2.2};
}

QPainterPath polyline(std::initializer_list<QPointF> points) {
    QPainterPath path(*points.begin());
    for (const QPointF& point : points) {
        path.lineTo(point);
    }
    return path;
}

QPainterPath stroked(const QPainterPath& path, qreal width) {
    QPainterPathStroker stroker(QPen(Qt::black, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    stroker.setCurveThreshold(0.05);
    return stroker.createStroke(path).simplified();
}

QPainterPath dot(QPointF centre, qreal radius) {
    QPainterPath path;
    path.addEllipse(centre, radius, radius);
    return path;
}

QPainterPath disc() {
    return dot({12, 12}, 11);
}

QPainterPath chevronDown(const Lines& lines) {
    return stroked(polyline({{3.5, 8}, {12, 16.5}, {20.5, 8}}), lines.plain);
}

QPainterPath chevronRight(const Lines& lines) {
    return stroked(polyline({{8, 3.5}, {16.5, 12}, {8, 20.5}}), lines.plain);
}

QPainterPath cross(qreal from, qreal to, qreal width) {
    QPainterPath path = polyline({{from, from}, {to, to}});
    path.addPath(polyline({{from, to}, {to, from}}));
    return stroked(path, width);
}

QPainterPath checkmarkCircle(const Lines& lines) {
    return disc().subtracted(
        stroked(polyline({{7.1, 12.6}, {10.5, 16}, {16.9, 8.4}}), lines.cutOut));
}

QPainterPath infoCircle(const Lines& lines) {
    return disc()
        .subtracted(dot({12, 7.2}, lines.cutOut * 0.66))
        .subtracted(stroked(polyline({{12, 11.4}, {12, 17}}), lines.cutOut));
}

QPainterPath triangle() {
    QPainterPath sharp = polyline({{12, 3.6}, {21.8, 20.4}, {2.2, 20.4}});
    sharp.closeSubpath();
    return sharp.united(stroked(sharp, 3.4));
}

QPainterPath warningTriangle(const Lines& lines) {
    return triangle()
        .subtracted(dot({12, 18}, lines.cutOut * 0.66))
        .subtracted(stroked(polyline({{12, 8.8}, {12, 14}}), lines.cutOut));
}

QPainterPath xmarkCircle(const Lines& lines) {
    return disc().subtracted(cross(8.3, 15.7, lines.cutOut));
}

QPainterPath arrowDownCircle(const Lines& lines) {
    QPainterPath arrow = polyline({{12, 6.6}, {12, 17}});
    arrow.addPath(polyline({{7.7, 12.8}, {12, 17.1}, {16.3, 12.8}}));
    return disc().subtracted(stroked(arrow, lines.cutOut));
}

QPainterPath cupAndSaucer(const Lines& lines) {
    QPainterPath cup(QPointF(3.5, 4.5));
    cup.lineTo(17, 4.5);
    cup.lineTo(17, 11.5);
    cup.cubicTo(17, 14.8, 14.8, 17, 11.5, 17);
    cup.lineTo(9, 17);
    cup.cubicTo(5.7, 17, 3.5, 14.8, 3.5, 11.5);
    cup.closeSubpath();
    QPainterPath handle(QPointF(17, 6.6));
    handle.lineTo(18.4, 6.6);
    handle.cubicTo(22.9, 6.6, 22.9, 13.2, 18.4, 13.2);
    handle.lineTo(16.5, 13.2);
    return cup.united(stroked(cup, 1))
        .united(stroked(handle, lines.plain))
        .united(stroked(polyline({{3, 20.8}, {17.5, 20.8}}), lines.plain));
}

QPainterPath trash(const Lines& lines) {
    QPainterPath bin(QPointF(5.2, 6.2));
    bin.lineTo(6.1, 20);
    bin.cubicTo(6.2, 21.3, 7, 22, 8.2, 22);
    bin.lineTo(15.8, 22);
    bin.cubicTo(17, 22, 17.8, 21.3, 17.9, 20);
    bin.lineTo(18.8, 6.2);
    QPainterPath lid = polyline({{3, 6}, {21, 6}});
    lid.moveTo(8.6, 5.8);
    lid.cubicTo(8.6, 3.4, 9, 2.6, 10.6, 2.6);
    lid.lineTo(13.4, 2.6);
    lid.cubicTo(15, 2.6, 15.4, 3.4, 15.4, 5.8);
    QPainterPath ribs = polyline({{9.6, 10.2}, {9.9, 18}});
    ribs.addPath(polyline({{14.4, 10.2}, {14.1, 18}}));
    return stroked(bin, lines.plain)
        .united(stroked(lid, lines.plain))
        .united(stroked(ribs, lines.plain * 0.85));
}

QPainterPath power(const Lines& lines) {
    QPainterPath ring;
    const QRectF circle(3, 4, 18, 18);
    constexpr qreal kFrom = 128; // degrees, anticlockwise from three o'clock
    ring.arcMoveTo(circle, kFrom);
    ring.arcTo(circle, kFrom, 284);
    return stroked(ring, lines.plain).united(stroked(polyline({{12, 2}, {12, 12}}), lines.plain));
}

QPainterPath drawn(const QString& name, const Lines& lines) {
    if (name == QLatin1String("chevron.down")) {
        return chevronDown(lines);
    }
    if (name == QLatin1String("chevron.right")) {
        return chevronRight(lines);
    }
    if (name == QLatin1String("checkmark.circle.fill")) {
        return checkmarkCircle(lines);
    }
    if (name == QLatin1String("info.circle.fill")) {
        return infoCircle(lines);
    }
    if (name == QLatin1String("exclamationmark.triangle.fill")) {
        return warningTriangle(lines);
    }
    if (name == QLatin1String("xmark.circle.fill")) {
        return xmarkCircle(lines);
    }
    if (name == QLatin1String("cup.and.saucer.fill")) {
        return cupAndSaucer(lines);
    }
    if (name == QLatin1String("arrow.down.circle.fill")) {
        return arrowDownCircle(lines);
    }
    if (name == QLatin1String("trash")) {
        return trash(lines);
    }
    if (name == QLatin1String("xmark")) {
        return cross(4.5, 19.5, lines.plain);
    }
    if (name == QLatin1String("power")) {
        return power(lines);
    }
    return {};
}

} // namespace

QPainterPath symbolPath(const QString& name, SymbolWeight weight) {
    static QHash<std::pair<QString, int>, QPainterPath> paths;
    const std::pair key{name, static_cast<int>(weight)};
    if (const auto known = paths.constFind(key); known != paths.cend()) {
        return *known;
    }
    const QPainterPath path = drawn(name, linesOf(weight));
    if (!path.isEmpty()) {
        paths.insert(key, path);
    }
    return path;
}

QPainterPath symbolBody(const QString& name) {
    if (name.endsWith(QLatin1String(".circle.fill"))) {
        return disc();
    }
    return name == QLatin1String("exclamationmark.triangle.fill") ? triangle() : QPainterPath();
}

} // namespace korvel
