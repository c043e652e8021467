#include "report/self_check.h"

#include <algorithm>
#include <iterator>

#include <fmt/format.h>

#include "base/lines.h"
#include "base/utf8.h"
#include "platform/child_process.h"
#include "report/printable.h"

namespace korvel {

namespace {

constexpr std::string_view kDigits = "0123456789";
constexpr std::size_t kMostLines = 12; // of one tool

/// The lines of the tool's output that are to be shown; none when it did not run.
std::vector<std::string> said(const Comparison& comparison, platform::ChildProcesses& children) {
    const auto result = children.run(comparison.tool, comparison.arguments, {});
    std::vector<std::string> lines;
    std::string_view rest = result ? std::string_view(result->output) : "";
    while (const auto taken = takeLineOrRest(rest)) {
        const std::string_view line = *taken;
        const bool wanted = comparison.lines.empty() ||
                            std::any_of(comparison.lines.begin(), comparison.lines.end(),
                                        [line](const std::string& part) {
                                            return line.find(part) != std::string_view::npos;
                                        });
        if (wanted && lines.size() < kMostLines) {
            lines.emplace_back(line);
        }
    }
    return lines;
}

} // namespace

std::string_view firstNumber(std::string_view text) {
    constexpr std::size_t kMostDigits = 20;
    const std::size_t start = text.find_first_of(kDigits);
    if (start == std::string_view::npos) {
        return "";
    }
    text.remove_prefix(start);
    return text.substr(0, std::min(text.find_first_not_of(kDigits), kMostDigits));
}

SelfCheck selfCheck(const std::vector<Comparison>& comparisons,
                    const std::vector<std::string>& declarationFaults,
                    const std::vector<std::string>& toLookAt, platform::ChildProcesses& children) {
    SelfCheck check;
    auto out = std::back_inserter(check.text);
    for (const Comparison& comparison : comparisons) {
        const std::vector<std::string> lines = said(comparison, children);
        std::string_view verdict = "compare";
        if (comparison.exact) {
            const bool same =
                !lines.empty() && firstNumber(comparison.ours) == firstNumber(lines.front());
            verdict = same ? "same" : "DIFFERS";
            check.passed = check.passed && same;
        }
        fmt::format_to(out, "{} [{}]\n  korvel: {}\n", comparison.reading, verdict,
                       printable(comparison.ours));
        std::string command = comparison.tool;
        for (const std::string& argument : comparison.arguments) {
            command += " " + argument;
        }
        fmt::format_to(out, "  {}:\n", command);
        for (const std::string& line : lines) {
            fmt::format_to(out, "    {}\n", printable(decodeUtf8Lossy(line)));
        }
        if (lines.empty()) {
            fmt::format_to(out, "    (it says nothing)\n");
        }
    }
    for (const std::string& fault : declarationFaults) {
        fmt::format_to(out, "declaration [DIFFERS]\n  {}\n", fault);
        check.passed = false;
    }
    fmt::format_to(out, "{}\n",
                   check.passed ? "Nothing that has to be the same differs."
                                : "Something that has to be the same differs.");
    if (!toLookAt.empty()) {
        fmt::format_to(out, "To be looked at by a person:\n");
    }
    for (std::size_t point = 0; point < toLookAt.size(); ++point) {
        fmt::format_to(out, "{:3}. {}\n", point + 1, toLookAt[point]);
    }
    return check;
}

} // namespace korvel
