#include "ui/quick/inks.h"

#include <array>
#include <cstddef>
#include <map>
#include <optional>

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

constexpr std::array kInks = {Ink::cyan, Ink::pink,    Ink::good,      Ink::warn,
                              Ink::bad,  Ink::primary, Ink::secondary, Ink::tertiary};

/// Primary for a name that is none of the palette's.
Ink inkOf(const QString& name) {
    for (const Ink ink : kInks) {
        const std::string_view known = korvel::name(ink);
        if (name == QLatin1String(known.data(), static_cast<qsizetype>(known.size()))) {
            return ink;
        }
    }
    return Ink::primary;
}

/// The colours of an appearance. Many are worked out by a search for one that can be read, and the
/// views ask for them hundreds of times at each opening.
struct Palette {
    explicit Palette(Appearance appearance) {
        for (const Ink ink : kInks) {
            const auto i = static_cast<std::size_t>(ink);
            fills[i] = toQColor(fillColour(ink, appearance));
            texts[i] = toQColor(textColour(ink, appearance));
            const std::optional<platform::Colour> rim = rimColour(ink, appearance);
            rims[i] = rim ? toQColor(*rim) : QColor(Qt::transparent);
        }
    }

    std::array<QColor, kInks.size()> fills, texts, rims; ///< by ink
};

const Palette& paletteOf(Appearance appearance) {
    static std::map<Appearance, Palette> known;
    return known.try_emplace(appearance, appearance).first->second;
}

const QColor& colourOf(Ink ink, InkTable::Use use, Appearance appearance) {
    const Palette& palette = paletteOf(appearance);
    return (use == InkTable::Use::fill ? palette.fills
                                       : palette.texts)[static_cast<std::size_t>(ink)];
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
    return colourOf(inkOf(name), use_, appearance_);
}

QColor RimTable::of(const QString& name) const {
    return paletteOf(appearance_).rims[static_cast<std::size_t>(inkOf(name))];
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
    QColor colour = colourOf(Ink::primary, use_, appearance_);
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
