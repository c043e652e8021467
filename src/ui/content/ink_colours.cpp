#include "ui/content/ink_colours.h"

#include "ui/content/contrast.h"

namespace korvel {

namespace {

/// More than the 3 that a drawing is to have: a curved line a pixel wide nowhere fills its pixels,
/// and a bar's rim lies on its track as well.
constexpr double kRimContrast = 4.25;

platform::Colour fromLevels(int red, int green, int blue) {
    constexpr double kHighest = 255;
    return {red / kHighest, green / kHighest, blue / kHighest};
}

/// Three times that of a line, so that a bar stands out from its track.
constexpr double kStrongContrast = 9.3;

platform::Colour grey(int level) {
    return fromLevels(level, level, level);
}

platform::Colour strongColour(Ink ink, Appearance appearance) {
    const bool dark = isDark(appearance);
    switch (ink) {
    case Ink::primary:
        return grey(dark ? 0xff : 0);
    case Ink::secondary:
        return grey(dark ? 0xc8 : 0x33);
    case Ink::tertiary:
        return grey(dark ? 0x9b : 0x55);
    case Ink::cyan:
    case Ink::pink:
    case Ink::good:
    case Ink::warn:
    case Ink::bad:
        break;
    }
    return strongOn(groundColour(appearance), rgb(ink), kStrongContrast);
}

} // namespace

Appearance appearanceOf(bool dark, bool highContrast) {
    if (highContrast) {
        return dark ? Appearance::strongDark : Appearance::strongLight;
    }
    return dark ? Appearance::dark : Appearance::light;
}

bool isDark(Appearance appearance) {
    return appearance == Appearance::dark || appearance == Appearance::strongDark;
}

bool isStrong(Appearance appearance) {
    return appearance == Appearance::strongLight || appearance == Appearance::strongDark;
}

platform::Colour groundColour(Appearance appearance) {
    switch (appearance) {
    case Appearance::light:
        return fromLevels(0xf8, 0xf8, 0xfa);
    case Appearance::dark:
        return fromLevels(0x1f, 0x20, 0x23);
    case Appearance::strongLight:
        return grey(0xff);
    case Appearance::strongDark:
        break;
    }
    return grey(0);
}

platform::Colour fillColour(Ink ink, Appearance appearance) {
    if (isStrong(appearance)) {
        return strongColour(ink, appearance);
    }
    const bool dark = isDark(appearance);
    switch (ink) {
    case Ink::primary:
        return dark ? fromLevels(0xf3, 0xf3, 0xf6) : fromLevels(0x1c, 0x1c, 0x20);
    case Ink::secondary:
        return dark ? fromLevels(0xad, 0xae, 0xb6) : fromLevels(0x50, 0x51, 0x5a);
    case Ink::tertiary:
        return dark ? fromLevels(0x85, 0x86, 0x90) : fromLevels(0x6f, 0x70, 0x7a);
    case Ink::cyan:
    case Ink::pink:
    case Ink::good:
    case Ink::warn:
    case Ink::bad:
        break;
    }
    return rgb(ink);
}

platform::Colour textColour(Ink ink, Appearance appearance) {
    return readableOn(groundColour(appearance), fillColour(ink, appearance));
}

std::optional<platform::Colour> rimColour(Ink ink, Appearance appearance) {
    const platform::Colour rim =
        darkenedOn(groundColour(appearance), fillColour(ink, appearance), kRimContrast);
    if (rim == fillColour(ink, appearance)) {
        return std::nullopt;
    }
    return rim;
}

platform::Colour strongLineColour(bool dark) {
    return grey(dark ? 0x5b : 0x93);
}

} // namespace korvel
