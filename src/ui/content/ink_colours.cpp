#include "ui/content/ink_colours.h"

#include "ui/content/contrast.h"

namespace korvel {

namespace {

platform::Colour fromLevels(int red, int green, int blue) {
    constexpr double kHighest = 255;
    return {red / kHighest, green / kHighest, blue / kHighest};
}

} // namespace

platform::Colour groundColour(Appearance appearance) {
    return appearance == Appearance::dark ? fromLevels(0x1f, 0x20, 0x23)
                                          : fromLevels(0xf8, 0xf8, 0xfa);
}

platform::Colour fillColour(Ink ink, Appearance appearance) {
    const bool dark = appearance == Appearance::dark;
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

} // namespace korvel
