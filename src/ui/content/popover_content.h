#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/uuid.h"
#include "ui/content/palette.h"
#include "ui/content/row.h"

namespace korvel {

/// Everything that the popover shows, top to bottom, as finished values: whoever draws it decides
/// nothing but places and sizes. All texts are plain text.
struct PopoverContent {
    struct Header {
        std::int64_t score = 0;
        std::string verdict;
        Ink colour = Ink::bad; ///< of the dial's arc, the number and the verdict
        std::string line;      ///< the machine and its uptime
        std::string toggle;    ///< the label of the button that opens the breakdown
        bool breakdownShown = false;
    };

    /// What one factor costs.
    struct FactorLine {
        Uuid id; ///< identity in the list
        std::string name;
        std::string lost; ///< the points, as text
        double barFraction = 0;
        Ink barColour = Ink::good;
        Ink lostColour = Ink::secondary;
        std::string detail;
    };

    struct StatusLine {
        std::string symbol;
        Ink colour = Ink::good; ///< of the symbol
        std::string text;
        Ink textStyle = Ink::secondary;
    };

    /// A process and the button that ends it.
    struct ProcessLine {
        std::int32_t id = 0; ///< identity in the list
        std::string name;
        std::string size;
        std::optional<std::string> quit; ///< the button's tooltip; none: no button
    };

    /// The block under the SWAP row: a button until there is something to list.
    struct SwapHolders {
        bool scanning = false;
        std::string button; ///< empty while holders are listed
        std::vector<ProcessLine> holders;
        std::string note; ///< under the list
    };

    static constexpr const char* kFootnote = "points lost, out of 100";
    static constexpr const char* kHeaviestCaption = "HEAVIEST";
    static constexpr double kShortestFactorBar = 2; ///< logical pixels

    Header header;
    std::optional<std::vector<FactorLine>> breakdown; ///< none while closed; most points first
    std::vector<StatusLine> status;
    std::vector<Row> rows;
    SwapHolders swapHolders;
    std::vector<ProcessLine> heaviest;
};

} // namespace korvel
