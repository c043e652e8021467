#include "ui/content/palette.h"

#include "base/fatal.h"

namespace korvel {

platform::Colour rgb(Ink color) {
    switch (color) {
    case Ink::cyan:
        return {0.22, 0.88, 1.0};
    case Ink::pink:
        return {1.0, 0.24, 0.56};
    case Ink::good:
        return {0.31, 0.85, 0.51};
    case Ink::warn:
        return {1.0, 0.72, 0.30};
    case Ink::bad:
        return {1.0, 0.36, 0.36};
    case Ink::primary:
    case Ink::secondary:
    case Ink::tertiary:
        break;
    }
    fatal();
}

std::string_view name(Ink ink) {
    switch (ink) {
    case Ink::cyan:
        return "cyan";
    case Ink::pink:
        return "pink";
    case Ink::good:
        return "good";
    case Ink::warn:
        return "warn";
    case Ink::bad:
        return "bad";
    case Ink::primary:
        return "primary";
    case Ink::secondary:
        return "secondary";
    case Ink::tertiary:
        return "tertiary";
    }
    return {};
}

Ink scoreColor(std::int64_t score) {
    if (score >= 72) {
        return Ink::good;
    }
    if (score > 54) {
        return Ink::warn;
    }
    return Ink::bad;
}

Ink gaugeTint(double value, double warnAt, double critAt) {
    if (value >= critAt) {
        return Ink::bad;
    }
    if (value >= warnAt) {
        return Ink::warn;
    }
    return Ink::good;
}

} // namespace korvel
