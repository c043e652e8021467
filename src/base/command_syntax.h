#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace korvel {

/// An option of a program: one word, or two where it takes a value.
struct CommandOption {
    std::string_view name;    ///< with its dashes
    std::string_view value;   ///< what the help calls its value; empty: it takes none
    std::string_view meaning; ///< a line of the help
    bool (*accepts)(std::string_view value) = nullptr; ///< null: any value is good
};

/// One of the ways to call a program. The options are those of its syntax, by name.
struct CommandForm {
    std::string_view option; ///< that asks for this form; empty: the usual one
    std::vector<std::vector<std::string_view>> optional; ///< of each group one at most
    std::string_view operand; ///< what the help calls the word that has to be given; empty: none
};

/// A section of the help after the options.
struct HelpSection {
    std::string_view heading;
    std::vector<std::pair<std::string_view, std::string_view>> entries; ///< a term and its meaning
};

/// What the command line of a program may be, and what its help says. Besides, every program has
/// "--help" and "--version", each alone.
struct CommandSyntax {
    std::string_view program;
    std::string_view purpose; ///< a sentence
    std::vector<CommandForm> forms;
    std::vector<CommandOption> options;
    std::vector<HelpSection> sections;
};

/// A command line that its syntax allows.
struct CommandWords {
    std::map<std::string, std::string, std::less<>> options; ///< those given, with their values
    std::string operand;                                     ///< empty: none

    bool has(std::string_view option) const;
};

/// Reads the words after the program's name; none when they are wrong. Of an option that is given
/// twice the last value counts. An operand is not empty and does not begin with a dash.
std::optional<CommandWords> readCommand(const CommandSyntax& syntax,
                                        const std::vector<std::string>& words);

/// How the program is called, on one line without its end.
std::string commandUsage(const CommandSyntax& syntax);

/// What the program prints when the words ask for its help, or for its version; none when they ask
/// for its work.
std::optional<std::string> commandAnswer(const CommandSyntax& syntax, const CommandWords& words,
                                         std::string_view version);

} // namespace korvel
