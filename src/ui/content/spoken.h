#pragma once

#include <string>
#include <string_view>

#include "ui/content/popover_content.h"
#include "ui/content/words.h"

namespace korvel {

/// What a screen reader says of each section of the popover as a whole, in one sentence that holds
/// what it says of the lines in it. Empty: the section is one line, which says it, or is not there.
struct SpokenSections {
    std::string opening; ///< as the popover opens, after the program's name
    std::string banner;
    std::string header;
    std::string breakdown;
    std::string status;
    std::string rows;
    std::string heaviest;
    std::string awake;
    std::string footer;
    std::string result;

    bool operator==(const SpokenSections&) const = default;
};

/// All of them, in the words of the desktop.
SpokenSections spokenSections(const PopoverContent& content, const Words& words);

/// A text of the program as it is said: commas for the dots between its parts.
std::string spokenText(std::string text);

/// A text of the program with its days, hours and minutes in full: "up 3d 4h" is "up 3 days 4
/// hours".
std::string spokenTime(const std::string& text);

/// The lines, each whole. A process may call itself anything, or nothing.
std::string spokenFactor(const PopoverContent::FactorLine& line, const Words& words);
std::string spokenRow(const Row& row, const Words& words);
std::string spokenProcess(const PopoverContent::ProcessLine& line);
std::string spokenName(const std::string& process);

} // namespace korvel
