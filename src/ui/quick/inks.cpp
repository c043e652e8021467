#include "ui/quick/inks.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QScreen>

#include "ui/quick/desktop_style.h"

namespace korvel {

namespace {

QColor toQColor(const platform::Colour& colour) {
    return QColor::fromRgbF(static_cast<float>(colour.red), static_cast<float>(colour.green),
                            static_cast<float>(colour.blue));
}

/// Primary for a name that is none of the palette's.
Ink inkOf(const QString& name) {
    for (const Ink ink :
         {Ink::cyan, Ink::pink, Ink::good, Ink::warn, Ink::bad, Ink::secondary, Ink::tertiary}) {
        const std::string_view known = korvel::name(ink);
        if (name == QLatin1String(known.data(), static_cast<qsizetype>(known.size()))) {
            return ink;
        }
    }
    return Ink::primary;
}

/// A font's own pixel size is whole: a fraction goes by way of points.
QFont sized(QFont font, qreal size, int weight) {
    constexpr qreal kPointsAnInch = 72;
    const QScreen* screen = QGuiApplication::primaryScreen();
    const qreal dotsAnInch = screen ? screen->logicalDotsPerInchY() : kPointsAnInch;
    font.setPointSizeF(size * kPointsAnInch / dotsAnInch);
    font.setWeight(static_cast<QFont::Weight>(weight));
    return font;
}

} // namespace

QColor InkTable::of(const QString& name) const {
    return toQColor(colours_(inkOf(name), appearance_));
}

QColor RimTable::of(const QString& name) const {
    const std::optional<platform::Colour> rim = rimColour(inkOf(name), appearance_);
    return rim ? toQColor(*rim) : QColor(Qt::transparent);
}

QColor InkTable::track(qreal opacity) const {
    return isStrong(appearance_) ? toQColor(strongLineColour(isDark(appearance_))) : wash(opacity);
}

QColor InkTable::faint(const QString& name, qreal opacity) const {
    QColor colour = of(name);
    if (!isStrong(appearance_)) {
        colour.setAlphaF(static_cast<float>(opacity));
    }
    return colour;
}

QColor InkTable::wash(qreal opacity) const {
    QColor colour = toQColor(colours_(Ink::primary, appearance_));
    colour.setAlphaF(static_cast<float>(opacity));
    return colour;
}

Inks* Inks::create(QQmlEngine* engine, QJSEngine*) {
    auto* inks = new Inks(nullptr); // the engine takes it
    if (const DesktopStyle* style = DesktopStyle::of(*engine)) {
        const auto follow = [inks, style] {
            inks->setAppearance(appearanceOf(style->values().dark, style->values().highContrast));
        };
        follow();
        connect(style, &DesktopStyle::changed, inks, follow);
    }
    return inks;
}

void Inks::setAppearance(Appearance appearance) {
    if (appearance_ != appearance) {
        appearance_ = appearance;
        Q_EMIT changed();
    }
}

QColor Inks::ground() const {
    return toQColor(groundColour(appearance_));
}

QFont Inks::font(qreal size, int weight) {
    return sized(QGuiApplication::font(), size, weight);
}

QFont Inks::monospaced(qreal size, int weight) {
    return sized(QFontDatabase::systemFont(QFontDatabase::FixedFont), size, weight);
}

} // namespace korvel
