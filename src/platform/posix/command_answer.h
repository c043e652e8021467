#pragma once

#include <optional>
#include <string_view>

#include "base/command_syntax.h"

namespace korvel::platform {

/// Exit status for words that a program does not take.
constexpr int kWrongUsage = 2;

/// Answers a command line that does not ask for the program's work: help or version on standard
/// output, and for wrong words (none) the usage as one line on standard error. Gives the exit
/// status, 1 where standard output cannot be written; none: the program has its work to do.
std::optional<int> answerCommand(const CommandSyntax& syntax,
                                 const std::optional<CommandWords>& words,
                                 std::string_view version);

} // namespace korvel::platform
