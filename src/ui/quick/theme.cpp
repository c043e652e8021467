#include "ui/quick/theme.h"

#include <utility>

#include <QMetaProperty>
#include <QQmlEngine>
#include <QSignalBlocker>

#include "ui/quick/desktop_style.h"
#include "ui/quick/inks.h"
#include "ui/quick/screen_scale.h"

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

Theme::Theme(QObject* parent) : QObject(parent) {
    fit();
}

Theme* Theme::create(QQmlEngine* engine, QJSEngine*) {
    auto* theme = new Theme(nullptr); // the engine takes it
    if (const DesktopStyle* style = DesktopStyle::of(*engine)) {
        const auto follow = [theme, style] {
            theme->setMoves(style->values().moves);
            theme->setTextScale(style->values().textScale);
        };
        follow();
        connect(style, &DesktopStyle::changed, theme, follow);
    }
    const auto* screen = engine->property(ScreenScale::kEngineProperty).value<ScreenScale*>();
    if (screen) {
        const auto follow = [theme, screen] { theme->setPixelRatio(screen->pixelRatio()); };
        follow();
        connect(screen, &ScreenScale::changed, theme, follow);
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

void Theme::setPixelRatio(qreal ratio) {
    const PixelGrid grid(ratio);
    if (std::exchange(grid_, grid) != grid) {
        fit();
        Q_EMIT changed();
    }
}

void Theme::setTextScale(qreal scale) {
    if (std::exchange(textScale_, scale) != scale) {
        fit();
        Q_EMIT changed();
    }
}

void Theme::fit() {
    const QSignalBlocker once(this); // `changed` says it of all
    const Theme usual;
    const auto setEach = [this](int type, auto value) {
        for (int i = staticMetaObject.propertyOffset(); i < staticMetaObject.propertyCount(); ++i) {
            const QMetaProperty property = staticMetaObject.property(i);
            if (property.typeId() == type && property.isWritable()) {
                property.write(this, value(property));
            }
        }
    };
    setEach(QMetaType::QFont, [&](const QMetaProperty& property) {
        auto font = property.read(&usual).value<QFont>();
        font.setPointSizeF(font.pointSizeF() * textScale_);
        return font;
    });
    setEach(QMetaType::Double, [&](const QMetaProperty& property) {
        return property.read(&usual).toDouble() * textScale_;
    });
    const PopoverMarkSizes marks = static_cast<const PopoverMarkSizes&>(*this);
    // Lines stay as thin as they are, and the panel's corners, behind which the shadow is, as
    // round.
    borderWidth = usual.borderWidth;
    focusRing = usual.focusRing;
    focusRingStrong = usual.focusRingStrong;
    popoverRadius = usual.popoverRadius;
    cornerInset = usual.cornerInset;
    setEach(QMetaType::Double, [this](const QMetaProperty& property) {
        return grid_.length(property.read(this).toDouble());
    });
    static_cast<PopoverMarkSizes&>(*this) = marks;
}

QFont Theme::made(const FontStyle& style) {
    const int weight = qtWeight(style.weight);
    return style.design == FontStyle::Design::monospaced ? Inks::monospaced(style.size, weight)
                                                         : Inks::font(style.size, weight);
}

} // namespace korvel
