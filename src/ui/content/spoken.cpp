#include "ui/content/spoken.h"

#include <array>
#include <vector>

#include <fmt/format.h>

namespace korvel {

namespace {

using Content = PopoverContent;

constexpr std::string_view kNothing = "—"; ///< in the place of a figure
constexpr std::string_view kMinus = "−";

std::string joined(const std::vector<std::string>& parts, std::string_view between) {
    return fmt::format("{}", fmt::join(parts, between));
}

/// Of several lines; one says itself.
std::string sentenceOf(const std::vector<std::string>& lines) {
    return lines.size() > 1 ? joined(lines, "; ") : std::string();
}

/// "12" of "−12"; empty where nothing was lost.
std::string_view figure(std::string_view lost) {
    return lost.starts_with(kMinus) ? lost.substr(kMinus.size()) : std::string_view();
}

/// A caption that is painted in capitals, as a word.
std::string captionAsWord(std::string caption) {
    if (caption == "CPU") {
        return caption;
    }
    for (std::size_t i = 1; i < caption.size(); ++i) {
        if (caption[i] >= 'A' && caption[i] <= 'Z') {
            caption[i] = static_cast<char>(caption[i] - 'A' + 'a');
        }
    }
    return caption;
}

std::string inFull(std::string_view word) {
    struct Unit {
        char sign;
        std::string_view name;
    };
    constexpr std::array kUnits{Unit{'d', "day"}, Unit{'h', "hour"}, Unit{'m', "minute"}};
    if (word.size() > 1) {
        const std::string_view number = word.substr(0, word.size() - 1);
        for (const Unit& unit : kUnits) {
            if (word.back() == unit.sign &&
                number.find_first_not_of("0123456789") == std::string_view::npos) {
                return fmt::format("{} {}{}", number, unit.name, number == "1" ? "" : "s");
            }
        }
    }
    return std::string(word);
}

std::string spokenBanner(const Content::Banner& banner, const Words& words) {
    std::vector<std::string> lines{words(banner.heading) + ", " +
                                   spokenText(words(banner.subline))};
    for (const std::string& note : banner.notes) {
        lines.push_back(words(note));
    }
    return joined(lines, "; ");
}

std::string spokenBreakdown(const std::vector<Content::FactorLine>& lines) {
    std::vector<std::string> parts;
    for (const Content::FactorLine& line : lines) {
        if (const std::string_view lost = figure(line.lost); !lost.empty()) {
            parts.push_back(fmt::format("{} {}", line.name, lost));
        }
    }
    if (parts.empty()) {
        return fmt::format("No {}", Content::kFootnote);
    }
    if (parts.size() < lines.size()) {
        parts.emplace_back("the others none");
    }
    std::string sentence = fmt::format("{}: {}", Content::kFootnote, joined(parts, ", "));
    sentence.front() = 'P';
    return sentence;
}

std::string spokenAwake(const Content::KeepAwake& keepAwake) {
    return fmt::format("{}, {}", Content::kKeepAwake,
                       spokenTime(keepAwake.remaining.value_or("off")));
}

} // namespace

SpokenSections spokenSections(const Content& content, const Words& words) {
    SpokenSections spoken;
    const Content::Header& header = content.header;
    spoken.header = words(header.spoken);
    if (!header.verdict.empty()) { // before the first reading
        spoken.header += ", " + words(header.verdict);
    }
    spoken.opening = "Korvel, " + spoken.header;
    spoken.opening[sizeof("Korvel, ") - 1] = 'h'; // the score no longer begins the sentence
    if (content.banner) {
        spoken.banner = spokenBanner(*content.banner, words);
    }
    spoken.header += ", " + spokenTime(spokenText(words(header.line)));
    if (content.breakdown) {
        spoken.breakdown = spokenBreakdown(*content.breakdown);
    }
    std::vector<std::string> status;
    for (const Content::StatusLine& line : content.status) {
        status.push_back(words(line.text));
    }
    spoken.status = sentenceOf(status);
    std::vector<std::string> rows;
    for (const Row& row : content.rows) {
        rows.push_back(spokenRow(row, words));
    }
    spoken.rows = sentenceOf(rows);
    std::vector<std::string> processes;
    for (const Content::ProcessLine& line : content.heaviest) {
        processes.push_back(spokenProcess(line));
    }
    spoken.heaviest =
        "Heaviest processes: " + (processes.empty() ? "none" : joined(processes, "; "));
    spoken.awake = spokenAwake(content.keepAwake);
    spoken.footer = words(content.footer.warden) + ": " + words(content.footer.wardenTooltip);
    spoken.result = spokenText(words(content.reclaimResult.value_or(std::string())));
    return spoken;
}

std::string spokenText(std::string text) {
    constexpr std::string_view kDot = " · ";
    for (std::size_t at = text.find(kDot); at != std::string::npos; at = text.find(kDot, at)) {
        text.replace(at, kDot.size(), ", ");
    }
    return text;
}

std::string spokenTime(const std::string& text) {
    std::vector<std::string> said;
    std::string_view rest = text;
    for (;;) {
        const std::size_t end = rest.find(' ');
        said.push_back(inFull(rest.substr(0, end)));
        if (end == std::string_view::npos) {
            return joined(said, " ");
        }
        rest.remove_prefix(end + 1);
    }
}

std::string spokenFactor(const Content::FactorLine& line, const Words& words) {
    const std::string_view lost = figure(line.lost);
    return fmt::format("{}, {} {} lost, {}", words(line.name), lost.empty() ? "no" : lost,
                       lost == "1" ? "point" : "points", spokenText(words(line.detail)));
}

std::string spokenRow(const Row& row, const Words& words) {
    const std::string percent = row.percentText();
    return fmt::format("{}{}{}, {}", captionAsWord(words(row.label)),
                       percent == kNothing ? "" : " ", percent == kNothing ? "" : percent,
                       spokenText(words(row.detail)));
}

std::string spokenProcess(const Content::ProcessLine& line) {
    return spokenName(line.name) + ", " + line.size;
}

std::string spokenName(const std::string& process) {
    return process.empty() ? "unnamed process" : process;
}

} // namespace korvel
