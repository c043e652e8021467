#include "ui/quick/theme.h"

#include <utility>

#include <QQmlEngine>

#include "ui/quick/desktop_style.h"
#include "ui/quick/inks.h"

namespace korvel {

namespace {

int qtWeight(FontStyle::Weight weight) {
    switch (weight) {
    case FontStyle::Weight::regular:
        return QFont::Normal;
    case FontStyle::Weight::medium:
        return QFont::Medium;
    case FontStyle::Weight::semibold:
        return QFont::DemiBold;
    case FontStyle::Weight::bold:
        break;
    }
    return QFont::Bold;
}

} // namespace

Theme* Theme::create(QQmlEngine* engine, QJSEngine*) {
    auto* theme = new Theme(nullptr); // the engine takes it
    if (const DesktopStyle* style = DesktopStyle::of(*engine)) {
        const auto follow = [theme, style] { theme->setMoves(style->values().moves); };
        follow();
        connect(style, &DesktopStyle::changed, theme, follow);
    }
    return theme;
}

void Theme::setMoves(bool moves) {
    if (std::exchange(moves_, moves) != moves) {
        Q_EMIT movesChanged();
    }
}

void Theme::setMirrored(bool mirrored) {
    if (std::exchange(mirrored_, mirrored) != mirrored) {
        Q_EMIT mirroredChanged();
    }
}

QFont Theme::made(const FontStyle& style) {
    const int weight = qtWeight(style.weight);
    return style.design == FontStyle::Design::monospaced ? Inks::monospaced(style.size, weight)
                                                         : Inks::font(style.size, weight);
}

} // namespace korvel
