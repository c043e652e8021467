#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/uuid.h"
#include "ui/content/palette.h"
#include "ui/content/row.h"

namespace korvel {

/// Everything that the popover shows, top to bottom, as finished values: whoever draws it decides
/// nothing but places and sizes. All texts are plain text.
struct PopoverContent {
    /// The card that greets after a first installation or an update.
    struct Banner {
        std::string heading;
        std::string subline;
        std::vector<std::string> notes; ///< at most three lines; two may be the same

        bool operator==(const Banner&) const = default;
    };

    struct Header {
        std::int64_t score = 0;
        std::string verdict;
        Ink colour = Ink::bad; ///< of the dial's arc, the number and the verdict
        std::string spoken;    ///< what a screen reader says of the dial
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

    /// The button that ends a process; it shows a symbol alone.
    struct QuitButton {
        std::string label; ///< what a screen reader calls it
        std::string tooltip;
        std::string description; ///< what a screen reader says after the label

        bool operator==(const QuitButton&) const = default;
    };

    /// A process and the button that ends it.
    struct ProcessLine {
        std::int32_t id = 0; ///< identity in the list
        std::string name;
        std::string size;
        std::optional<QuitButton> quit; ///< none: it cannot be ended here
    };

    /// The block under the SWAP row: a button until there is something to list.
    struct SwapHolders {
        bool scanning = false;
        std::string button; ///< empty while holders are listed
        std::vector<ProcessLine> holders;
        std::string note; ///< under the list
    };

    /// The line that keeps the machine awake.
    struct KeepAwake {
        /// One entry of the menu that switches it on.
        struct Choice {
            std::string title;
            std::optional<std::int64_t> minutes; ///< none: without an end

            bool operator==(const Choice&) const = default;
        };

        bool on = false;                      ///< the symbol is tinted then
        std::optional<std::string> remaining; ///< how long still, while on
        std::string control;                  ///< a button while on, else the menu's title
        std::vector<Choice> choices;          ///< the menu's; none while on
        bool display = false;                 ///< kept awake at this moment
        bool system = false;                  ///< likewise
    };

    /// The state of an update, and what can be done about it.
    struct UpdateLine {
        enum class Progress { none, spinning, determinate };
        enum class Style { regular, semibold, small };
        enum class Action { none, install, relaunch };

        std::string symbol;     ///< empty: the progress stands in its place
        Ink colour = Ink::cyan; ///< of the symbol
        Progress progress = Progress::none;
        double value = 0; ///< of a determinate progress, 0 to 1
        std::string text;
        Style style = Style::regular;
        std::string control; ///< the button; empty: none
        Action action = Action::none;

        bool operator==(const UpdateLine&) const = default;
    };

    /// The button that clears disk space, in its four states.
    struct ReclaimButton {
        static constexpr const char* kAtRest = "Reclaim"; ///< its text while nothing is under way
        enum class Action { none, preview, run };

        std::string text;
        std::string symbol;           ///< empty: none
        bool semibold = false;        ///< else regular
        bool dismissible = false;     ///< a waiting preview can be put away
        Action action = Action::none; ///< what a press does; none: it is disabled
    };

    struct Footer {
        std::string warden; ///< whether the watchdog runs
        std::string wardenTooltip;
        ReclaimButton reclaim;
        std::string quit;
    };

    static constexpr const char* kFootnote = "points lost, out of 100";
    static constexpr const char* kHeaviestCaption = "HEAVIEST";
    static constexpr const char* kKeepAwake = "Keep awake";
    static constexpr const char* kKeepAwakeTooltip =
        "Stops the display and system idle-sleeping. Always released when Korvel quits.";

    /// What a screen reader says of the button that looks for the holders of the swap.
    static constexpr const char* kFindHoldersDescription = "Finds the processes that hold swap";

    /// What the crosses are called that put the greeting away, and a waiting preview.
    static constexpr const char* kDismiss = "Dismiss";

    std::optional<Banner> banner; ///< none: nothing to greet with
    Header header;
    std::optional<std::vector<FactorLine>> breakdown; ///< none while closed; most points first
    std::vector<StatusLine> status;
    std::vector<Row> rows;
    SwapHolders swapHolders;
    std::vector<ProcessLine> heaviest;
    KeepAwake keepAwake;
    std::optional<UpdateLine> update; ///< none: nothing to tell
    Footer footer;
    std::optional<std::string> reclaimResult; ///< the last line; none: no such line
};

} // namespace korvel
