#include "ui/content/palette.h"

namespace korvel {

platform::Colour rgb(PaletteColor color) {
    switch (color) {
    case PaletteColor::cyan:
        return {0.22, 0.88, 1.0};
    case PaletteColor::pink:
        return {1.0, 0.24, 0.56};
    case PaletteColor::good:
        return {0.31, 0.85, 0.51};
    case PaletteColor::warn:
        return {1.0, 0.72, 0.30};
    case PaletteColor::bad:
        return {1.0, 0.36, 0.36};
    }
    return {};
}

std::string_view name(PaletteColor color) {
    switch (color) {
    case PaletteColor::cyan:
        return "cyan";
    case PaletteColor::pink:
        return "pink";
    case PaletteColor::good:
        return "good";
    case PaletteColor::warn:
        return "warn";
    case PaletteColor::bad:
        return "bad";
    }
    return "";
}

PaletteColor scoreColor(std::int64_t score) {
    if (score >= 72) {
        return PaletteColor::good;
    }
    if (score > 54) {
        return PaletteColor::warn;
    }
    return PaletteColor::bad;
}

} // namespace korvel
