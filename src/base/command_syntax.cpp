#include "base/command_syntax.h"

#include <algorithm>

#include <fmt/format.h>

namespace korvel {

namespace {

constexpr std::string_view kHelp = "--help";
constexpr std::string_view kVersion = "--version";

/// With what every program has.
CommandSyntax completed(CommandSyntax syntax) {
    syntax.options.push_back({kHelp, "", "print this help"});
    syntax.options.push_back({kVersion, "", "print the version"});
    syntax.forms.push_back({kHelp, {}, ""});
    syntax.forms.push_back({kVersion, {}, ""});
    return syntax;
}

/// Null: there is no such option.
const CommandOption* optionNamed(const CommandSyntax& syntax, std::string_view name) {
    const auto found =
        std::find_if(syntax.options.begin(), syntax.options.end(),
                     [&](const CommandOption& option) { return option.name == name; });
    return found == syntax.options.end() ? nullptr : &*found;
}

std::string withValue(const CommandOption& option) {
    return option.value.empty() ? std::string(option.name)
                                : fmt::format("{} {}", option.name, option.value);
}

std::string textOf(const CommandSyntax& syntax, const CommandForm& form) {
    std::string text(form.option);
    const auto add = [&](std::string_view part) {
        text += text.empty() ? "" : " ";
        text += part;
    };
    for (const auto& group : form.optional) {
        std::string alternatives;
        for (const std::string_view name : group) {
            alternatives += alternatives.empty() ? "" : " | ";
            alternatives += withValue(*optionNamed(syntax, name));
        }
        add(fmt::format("[{}]", alternatives));
    }
    if (!form.operand.empty()) {
        add(form.operand);
    }
    return text;
}

/// Those of a single word share a line.
std::string usageLines(const CommandSyntax& syntax) {
    std::string text;
    std::string single;
    for (const CommandForm& form : syntax.forms) {
        if (form.optional.empty() && form.operand.empty()) {
            single += (single.empty() ? "" : " | ") + textOf(syntax, form);
        } else {
            text += fmt::format("  {} {}\n", syntax.program, textOf(syntax, form));
        }
    }
    return text + fmt::format("  {} {}\n", syntax.program, single);
}

std::string helpOf(const CommandSyntax& syntax) {
    std::vector<std::string> terms;
    HelpSection options{"Options", {}};
    terms.reserve(syntax.options.size());
    for (const CommandOption& option : syntax.options) {
        options.entries.emplace_back(terms.emplace_back(withValue(option)), option.meaning);
    }
    std::vector<HelpSection> sections = syntax.sections;
    sections.insert(sections.begin(), options);
    std::size_t width = 0;
    for (const HelpSection& section : sections) {
        for (const auto& entry : section.entries) {
            width = std::max(width, entry.first.size());
        }
    }
    std::string text = fmt::format("Usage:\n{}\n{}\n", usageLines(syntax), syntax.purpose);
    for (const HelpSection& section : sections) {
        text += fmt::format("\n{}:\n", section.heading);
        for (const auto& [term, meaning] : section.entries) {
            text += fmt::format("  {:<{}}  {}\n", term, width, meaning);
        }
    }
    return text;
}

bool allows(const CommandForm& form, const CommandWords& words) {
    if (form.operand.empty() != words.operand.empty()) {
        return false;
    }
    std::size_t known = 0;
    if (!form.option.empty()) {
        if (!words.has(form.option)) {
            return false;
        }
        ++known;
    }
    for (const auto& group : form.optional) {
        const auto given = std::count_if(group.begin(), group.end(),
                                         [&](std::string_view name) { return words.has(name); });
        if (given > 1) {
            return false;
        }
        known += given == 1 ? 1 : 0;
    }
    return known == words.options.size();
}

} // namespace

bool CommandWords::has(std::string_view option) const {
    return options.find(option) != options.end();
}

std::optional<CommandWords> readCommand(const CommandSyntax& syntax,
                                        const std::vector<std::string>& words) {
    const CommandSyntax whole = completed(syntax);
    CommandWords read;
    for (auto word = words.begin(); word != words.end(); ++word) {
        const CommandOption* option = optionNamed(whole, *word);
        if (!option) {
            if (!read.operand.empty() || word->empty() || word->front() == '-') {
                return std::nullopt;
            }
            read.operand = *word;
            continue;
        }
        std::string value;
        if (!option->value.empty()) {
            if (++word == words.end() || (option->accepts && !option->accepts(*word))) {
                return std::nullopt;
            }
            value = *word;
        }
        read.options[std::string(option->name)] = value;
    }
    const bool isAllowed = std::any_of(whole.forms.begin(), whole.forms.end(),
                                       [&](const CommandForm& form) { return allows(form, read); });
    return isAllowed ? std::optional(read) : std::nullopt;
}

std::string commandUsage(const CommandSyntax& syntax) {
    const CommandSyntax whole = completed(syntax);
    std::string text;
    for (const CommandForm& form : whole.forms) {
        text += (text.empty() ? "" : " | ") + textOf(whole, form);
    }
    return fmt::format("usage: {} {}", syntax.program, text);
}

std::optional<std::string> commandAnswer(const CommandSyntax& syntax, const CommandWords& words,
                                         std::string_view version) {
    if (words.has(kHelp)) {
        return helpOf(completed(syntax));
    }
    if (words.has(kVersion)) {
        return fmt::format("{} {}\n", syntax.program, version);
    }
    return std::nullopt;
}

} // namespace korvel
