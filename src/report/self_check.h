#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace korvel::platform {
class ChildProcesses;
} // namespace korvel::platform

namespace korvel {

/// One of the program's readings, and the tool of the system that says the same.
struct Comparison {
    std::string reading;                ///< its name
    std::string ours;                   ///< its value
    std::string tool;                   ///< absolute path
    std::vector<std::string> arguments; ///< of the tool
    /// Only the tool's lines with one of these are shown; all of them where there is none.
    std::vector<std::string> lines = {};
    /// Whether the two have to be the same number: what cannot change between the two looks.
    bool exact = false;
};

struct SelfCheck {
    std::string text;   ///< what to print, ending in a newline
    bool passed = true; ///< nothing that had to be the same differed
};

/// Prints each reading above what its tool says, and in the end what a person is to look at. A
/// reading that has to be the same differs when the first number in the tool's lines is another
/// one, or when the tool does not run.
SelfCheck selfCheck(const std::vector<Comparison>& comparisons,
                    const std::vector<std::string>& declarationFaults,
                    const std::vector<std::string>& toLookAt, platform::ChildProcesses& children);

/// The first run of digits, up to 20 of them; "" without any.
std::string_view firstNumber(std::string_view text);

} // namespace korvel
