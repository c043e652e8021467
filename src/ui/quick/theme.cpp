#include "ui/quick/theme.h"

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

QFont Theme::made(const FontStyle& style) {
    const int weight = qtWeight(style.weight);
    return style.design == FontStyle::Design::monospaced ? Inks::monospaced(style.size, weight)
                                                         : Inks::font(style.size, weight);
}

} // namespace korvel
