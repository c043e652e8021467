#pragma once

#include <string>
#include <vector>

#include "ui/content/palette.h"

namespace korvel {

/// Everything that the popover shows, as finished values.
struct PopoverContent {
    struct Header {
        std::int64_t score = 0;
        std::string verdict;
        PaletteColor color = PaletteColor::bad; ///< of the score and the verdict
    };

    struct Factor {
        std::string name;
        std::string detail;
    };

    Header header;
    std::vector<Factor> factors; ///< most points lost first
};

} // namespace korvel
